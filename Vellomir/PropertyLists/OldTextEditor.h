#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <optional>
#include <string_view>

namespace vellomir {

/// Replaces texts in a list in the old text format and leaves all other bytes as they are: white
/// space, comments, quotes, encoding and byte order. `changed` is the list as it is to be read
/// afterwards. A character set that lacks a character of the new texts is given up for UTF-16 with
/// a byte-order mark. `language` is that of the file, see `PropertyListFile::parse`.
///
/// Nothing if that cannot be done, as `changed` differs in more than texts of its own keys. Throws
/// like `PropertyList::parse`.
[[nodiscard]] std::optional<archive::Data>
editOldTextPropertyList(std::span<const std::byte> bytes, const PropertyList &changed,
                        std::string_view language, const archive::Progress *progress);

} // namespace vellomir
