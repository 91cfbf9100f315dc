#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellomir {

/// XML 1.0, section 2.3.
inline constexpr std::string_view xmlWhitespace = " \t\r\n";

/// The character that begins at this byte of a UTF-8 text.
struct TextCharacter {
    char32_t code = 0;
    std::size_t size = 0; ///< bytes; 0 if no valid character begins there
};

/// The position must be inside the text.
[[nodiscard]] TextCharacter characterAt(std::string_view text, std::size_t position);

/// The first byte that begins no valid character of UTF-8; the size of the text if there is none.
[[nodiscard]] std::size_t findInvalidUTF8(std::string_view text);

/// Appends one character.
void appendUTF8(std::string &text, char32_t character);

/// Appends code units of UTF-16; how many: up to the first surrogate that has no partner.
[[nodiscard]] std::size_t appendUTF16(std::string &text, std::u16string_view units);

} // namespace vellomir
