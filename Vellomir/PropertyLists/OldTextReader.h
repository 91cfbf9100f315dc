#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <string_view>

namespace vellomir {

/// Reads a list in the old text format: `{ key = "text"; list = (a, b); data = <00ff>; }`. The
/// outer braces may be missing. Quoted texts keep their line ends.
///
/// `text` is UTF-8. Throws `PropertyListError::unreadablePropertyList` with the line and the keys;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readOldTextPropertyList(std::string_view text,
                                                        const archive::Progress *progress);

} // namespace vellomir
