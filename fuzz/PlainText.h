#pragma once

#include <string>
#include <string_view>

/// A second look at texts, which shares no code with the product.
namespace vellomir::fuzz {

/// Whether it is valid UTF-8 without control characters, line ends among them.
[[nodiscard]] bool isCleanLine(std::string_view text);

/// With U+FFFD in the place of every piece that is no UTF-8: a whole beginning of a character
/// counts as one piece, as Unicode recommends.
[[nodiscard]] std::string withReplacements(std::string_view text);

/// With the bytes in the place of "\xNN".
[[nodiscard]] std::string withoutEscapes(std::string_view text);

} // namespace vellomir::fuzz
