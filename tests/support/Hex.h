#pragma once

#include "archive/Data.h"

#include <string>
#include <string_view>

namespace vellomir::test {

/// "50 4b 03 04" and "504B0304" as four bytes.
[[nodiscard]] inline archive::Data fromHex(std::string_view hex) {
    static constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    archive::Data data;
    std::string pair;
    for (const char character : hex) {
        if (digits.find(character) == std::string_view::npos)
            continue;
        pair += character;
        if (pair.size() < 2)
            continue;
        data.appendValue(static_cast<std::uint8_t>(std::stoul(pair, nullptr, 16)));
        pair.clear();
    }
    return data;
}

/// Each byte as two lower-case digits.
[[nodiscard]] inline std::string hex(std::span<const std::byte> bytes) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : bytes) {
        text += digits[std::to_integer<std::size_t>(byte) >> 4U];
        text += digits[std::to_integer<std::size_t>(byte) & 15U];
    }
    return text;
}

} // namespace vellomir::test
