#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vellomir {

/// How the characters of a text become bytes.
struct UnicodeForm {
    enum class Units {
        utf8,
        utf16BigEndian,
        utf16LittleEndian,
        utf32BigEndian,
        utf32LittleEndian,
    };

    Units units = Units::utf8;
    bool isMarked = false; ///< begins with a byte-order mark

    friend bool operator==(const UnicodeForm &, const UnicodeForm &) = default;
};

/// The form of a text with a byte-order mark. Without one, the form by the positions of zero bytes,
/// as the key words and the punctuation of every list are ASCII; UTF-8 if there are none.
[[nodiscard]] UnicodeForm unicodeFormOf(std::span<const std::byte> bytes);

/// Decodes to UTF-8 without byte-order mark. Throws `PropertyListError::unreadablePropertyList`
/// with the first invalid byte.
[[nodiscard]] std::string decodeUnicode(std::span<const std::byte> bytes, const UnicodeForm &form);

/// Encodes valid UTF-8, with a byte-order mark in front if the form has one.
[[nodiscard]] std::string encodeUnicode(std::string_view text, const UnicodeForm &form);

} // namespace vellomir
