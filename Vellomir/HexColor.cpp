#include "Vellomir/HexColor.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace vellomir {
namespace {

void skipWhiteSpace(std::string_view &text) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
}

std::uint64_t scanNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return result.ec == std::errc::result_out_of_range ? std::numeric_limits<std::uint64_t>::max()
                                                       : number;
}

double component(std::uint64_t number, unsigned shift) {
    return static_cast<double>((number >> shift) & 0xFFU) / 255;
}

} // namespace

HexColor HexColor::parse(std::string_view text) {
    skipWhiteSpace(text);
    if (text.starts_with('#'))
        text.remove_prefix(1);
    skipWhiteSpace(text);
    const std::uint64_t number = scanNumber(text);
    return {component(number, 16), component(number, 8), component(number, 0)};
}

} // namespace vellomir
