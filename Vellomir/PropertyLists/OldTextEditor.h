#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <optional>

namespace vellomir {

/// Replaces texts in a list in the old text format and leaves all other bytes as they are: white
/// space, comments, quotes, encoding and byte order. `changed` is the list as it is to be read
/// afterwards.
///
/// Nothing if that cannot be done: if `changed` differs in more than texts of its own keys, or if
/// the encoding is none of UTF-8 and UTF-16. Throws like `PropertyList::parse`.
[[nodiscard]] std::optional<archive::Data>
editOldTextPropertyList(std::span<const std::byte> bytes, const PropertyList &changed,
                        const archive::Progress *progress);

} // namespace vellomir
