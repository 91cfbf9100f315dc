#include "archive/TextEncoding.h"

#include <array>
#include <cstdint>

namespace archive {
namespace {

/// IBM code page 437, bytes 0x80 to 0xFF, as Unicode scalars.
constexpr std::array<std::uint16_t, 128> codePage437 = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};

void appendUTF8(std::string &text, std::uint16_t scalar) {
    const auto append = [&](unsigned byte) { text.push_back(static_cast<char>(byte)); };
    if (scalar < 0x80) {
        append(scalar);
    } else if (scalar < 0x800) {
        append(0xC0U | (scalar >> 6U));
        append(0x80U | (scalar & 0x3FU));
    } else {
        append(0xE0U | (scalar >> 12U));
        append(0x80U | ((scalar >> 6U) & 0x3FU));
        append(0x80U | (scalar & 0x3FU));
    }
}

std::string decodeCodePage437(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const std::byte byte : bytes) {
        const auto value = std::to_integer<std::uint8_t>(byte);
        appendUTF8(text, value < 0x80 ? value : codePage437[value - 0x80U]);
    }
    return text;
}

/// What may follow a lead byte: how many bytes, and the range of the first of them.
struct Sequence {
    std::size_t length = 0; ///< the lead byte included; 0 if it leads nothing
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
};

Sequence sequence(std::uint8_t lead) {
    if (lead < 0x80)
        return {1};
    if (lead >= 0xC2 && lead <= 0xDF)
        return {2};
    if (lead >= 0xE0 && lead <= 0xEF)
        return {3, static_cast<std::uint8_t>(lead == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(lead == 0xED ? 0x9F : 0xBF)};
    if (lead >= 0xF0 && lead <= 0xF4)
        return {4, static_cast<std::uint8_t>(lead == 0xF0 ? 0x90 : 0x80),
                static_cast<std::uint8_t>(lead == 0xF4 ? 0x8F : 0xBF)};
    return {};
}

/// Bytes of the character at the start of the text; 0 if there is no valid one.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const Sequence expected = sequence(byte(0));
    if (expected.length == 0 || text.size() < expected.length)
        return 0;
    for (std::size_t index = 1; index < expected.length; ++index) {
        const std::uint8_t low = index == 1 ? expected.low : 0x80;
        const std::uint8_t high = index == 1 ? expected.high : 0xBF;
        if (byte(index) < low || byte(index) > high)
            return 0;
    }
    return expected.length;
}

/// Those of ASCII, and those of Latin-1 (U+0080 to U+009F), which terminals obey as well.
bool isControl(std::string_view character) {
    const auto first = static_cast<std::uint8_t>(character[0]);
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<std::uint8_t>(character[1]) < 0xA0);
}

void appendEscaped(std::string &text, std::string_view bytes) {
    static constexpr std::string_view digits = "0123456789abcdef";
    for (const char each : bytes) {
        const auto value = static_cast<std::uint8_t>(each);
        text += {'\\', 'x', digits[value >> 4U], digits[value & 15U]};
    }
}

} // namespace

bool isValidUTF8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::optional<std::string> decode(std::span<const std::byte> bytes, TextEncoding encoding) {
    if (encoding == TextEncoding::codePage437)
        return decodeCodePage437(bytes);
    std::string text(bytes.size(), '\0');
    for (std::size_t index = 0; index < bytes.size(); ++index)
        text[index] = static_cast<char>(bytes[index]);
    return isValidUTF8(text) ? std::optional(std::move(text)) : std::nullopt;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || isControl(character))
            appendEscaped(result, character);
        else
            result += character;
        text.remove_prefix(character.size());
    }
    return result;
}

} // namespace archive
