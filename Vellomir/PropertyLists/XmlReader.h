#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <string_view>

namespace vellomir {

/// Whether a text begins like XML.
[[nodiscard]] bool isXmlPropertyList(std::string_view text);

/// Reads an XML list. The <plist> element may be missing, and white space may precede the
/// declaration. Entity declarations are refused, and nothing outside the text is read.
///
/// `text` is UTF-8, whatever its declaration says. Throws
/// `PropertyListError::unreadablePropertyList` with the line and the keys;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readXmlPropertyList(std::string_view text,
                                                    const archive::Progress *progress);

} // namespace vellomir
