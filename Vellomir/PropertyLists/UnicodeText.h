#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellomir {

/// XML 1.0, section 2.3.
inline constexpr std::string_view xmlWhitespace = " \t\r\n";

/// One decoded character of a UTF-8 text.
struct TextCharacter {
    char32_t code = 0;
    std::size_t size = 0; ///< in bytes; 0 if no valid character begins at the position
};

/// Decodes the character at the position, which must be inside the text.
[[nodiscard]] TextCharacter characterAt(std::string_view text, std::size_t position);

/// The offset of the first invalid byte; the size of the text if all of it is valid UTF-8.
[[nodiscard]] std::size_t findInvalidUTF8(std::string_view text);

/// Appends one character.
void appendUTF8(std::string &text, char32_t character);

/// Appends UTF-16 code units up to the first unpaired surrogate. Returns the number of units
/// appended.
[[nodiscard]] std::size_t appendUTF16(std::string &text, std::u16string_view units);

} // namespace vellomir
