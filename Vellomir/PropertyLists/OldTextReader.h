#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// Where the value of a key of the outermost dictionary is in the text.
struct OldTextPlace {
    std::string key;
    std::size_t start = 0; ///< of the value; the end of the key if there is no "="
    std::size_t end = 0;   ///< equal to `start` if there is no "="
};

/// Reads a list in the old text format: `{ key = "text"; list = (a, b); data = <00ff>; }`. The
/// outer braces may be missing. Quoted texts keep their line ends.
///
/// `text` is UTF-8. If `places` is not null, the places of all keys are appended to it in their
/// order, also of duplicate ones. Throws `PropertyListError::unreadablePropertyList` with the line
/// and the keys; `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue
readOldTextPropertyList(std::string_view text, const archive::Progress *progress,
                        std::vector<OldTextPlace> *places = nullptr);

/// Whether there are only white space and comments in the text.
[[nodiscard]] bool isBlankOldText(std::string_view text, const archive::Progress *progress);

} // namespace vellomir
