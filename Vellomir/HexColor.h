#pragma once

#include <string_view>

namespace vellomir {

/// An opaque sRGB colour; each component is from 0 to 1.
struct HexColor {
    double red = 0;
    double green = 0;
    double blue = 0;

    /// Reads "#ffa828" or "ffa828", in upper or lower case. Only the last six hexadecimal digits
    /// count; fewer digits get leading zeros. There is no short form and no opacity. White space
    /// before the "#" and before the digits is skipped; text after the digits is ignored. Text
    /// without digits is black. A number of more than 64 bits saturates: white.
    [[nodiscard]] static HexColor parse(std::string_view text);

    friend bool operator==(const HexColor &, const HexColor &) = default;
};

} // namespace vellomir
