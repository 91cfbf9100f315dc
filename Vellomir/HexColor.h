#pragma once

#include <string_view>

namespace vellomir {

/// An opaque sRGB colour; each component is from 0 to 1.
struct HexColor {
    double red = 0;
    double green = 0;
    double blue = 0;

    /// Reads "#ffa828" or "ffa828", in either letter case. The last six of the hexadecimal digits
    /// count, missing ones are zeros in front; there is no short form and no opacity. White space
    /// before the "#" and before the digits is skipped, and nothing behind them is looked at. Text
    /// without digits is black. A number that does not fit into 64 bits is the largest that does:
    /// white.
    [[nodiscard]] static HexColor parse(std::string_view text);

    friend bool operator==(const HexColor &, const HexColor &) = default;
};

} // namespace vellomir
