#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace archive {

/// How the name of an entry is stored.
enum class TextEncoding {
    utf8,
    codePage437, ///< IBM's DOS Latin US, the ZIP format's own (APPNOTE.TXT, appendix D)
};

/// The bytes as UTF-8 text, or nothing if they are not valid in the encoding. Every byte is valid
/// in code page 437; its bytes below 0x80 are ASCII.
[[nodiscard]] std::optional<std::string> decode(std::span<const std::byte> bytes,
                                                TextEncoding encoding);

/// Well-formed by Unicode's table 3-7: no overlong forms, no surrogates, nothing above U+10FFFF.
[[nodiscard]] bool isValidUTF8(std::string_view text);

/// For one line of a terminal or a log: control characters, and bytes that are not UTF-8, as
/// `\xNN`.
[[nodiscard]] std::string printable(std::string_view text);

} // namespace archive
