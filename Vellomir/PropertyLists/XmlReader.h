#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <string_view>

namespace vellomir {

/// Whether a text begins as XML does.
[[nodiscard]] bool isXmlPropertyList(std::string_view text);

/// Reads a list in the XML format. The <plist> element may be missing, and the declaration may
/// follow white space. Entities of its own are refused and nothing outside the text is ever read.
///
/// `text` is UTF-8, whatever its declaration says. Throws
/// `PropertyListError::unreadablePropertyList` with the line and the keys;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readXmlPropertyList(std::string_view text,
                                                    const archive::Progress *progress);

} // namespace vellomir
