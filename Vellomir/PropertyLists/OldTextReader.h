#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <string_view>

namespace vellomir {

/// Reads a list in the old text format: `{ key = "text"; list = (a, b); data = <00ff>; }`. The
/// braces around the whole list may be missing. A text in quotes is kept as it is, line ends
/// included.
///
/// `text` is UTF-8. Throws `PropertyListError::unreadablePropertyList` with the line and the keys;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readOldTextPropertyList(std::string_view text,
                                                        const archive::Progress *progress);

} // namespace vellomir
