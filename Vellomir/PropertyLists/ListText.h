#pragma once

#include "archive/Progress.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vellomir {

/// A list in a text format, decoded.
struct ListText {
    std::string text;                   ///< UTF-8 without byte-order mark
    const char *characterSet = nullptr; ///< that was guessed; null for a form of Unicode
};

/// Decodes like `decodePropertyListText`. A text in the old format that cannot be decoded so is in
/// one of the character sets of its language (`guessOldText`) if it has at most 256 KiB; "" means
/// that there is no language, and so no guess.
///
/// Throws like `decodePropertyListText`.
[[nodiscard]] ListText decodeListText(std::span<const std::byte> bytes, std::string_view language,
                                      const archive::Progress *progress);

} // namespace vellomir
