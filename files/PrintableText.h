#pragma once

#include <string>
#include <string_view>

namespace vellomir {

/// Well-formed by Unicode's table 3-7: no overlong forms, no surrogates, nothing above U+10FFFF.
[[nodiscard]] bool isValidUTF8(std::string_view text);

/// For one line of a terminal or a log: control characters, and bytes that are not UTF-8, as
/// `\xNN`.
[[nodiscard]] std::string printable(std::string_view text);

} // namespace vellomir
