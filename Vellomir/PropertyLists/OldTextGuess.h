#pragma once

#include "archive/Progress.h"

#include <optional>
#include <string>
#include <string_view>

namespace vellomir {

/// A text whose character set was found by its language and by what the bytes would mean.
struct GuessedText {
    std::string text;         ///< UTF-8
    const char *characterSet; ///< for `CharacterSet`
};

/// Decodes a text that is no Unicode. `language` is the name of the folder that the file is in,
/// without its extension: "de", "zh_TW", "Japanese". Of the sets that were usual for the language,
/// the one in which the further characters look most like words of it is taken.
///
/// Nothing if the bytes are invalid in all of these sets, or if the system lacks one of them.
/// `progress` may be null. Throws `ArchiveError::cancelledOperation`.
[[nodiscard]] std::optional<GuessedText>
guessOldText(std::string_view bytes, std::string_view language, const archive::Progress *progress);

} // namespace vellomir
