#include "files/PrintableText.h"

#include "files/ASCII.h"

#include <cstdint>
#include <cstring>

namespace vellomir {
namespace {

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

std::size_t asciiLength(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    std::size_t length = 0;
    for (std::uint64_t word = 0; text.size() - length >= sizeof(word); length += sizeof(word)) {
        std::memcpy(&word, text.data() + length, sizeof(word));
        if ((word & highBits) != 0)
            break;
    }
    while (length < text.size() && static_cast<std::uint8_t>(text[length]) < 0x80)
        ++length;
    return length;
}

bool isValidUTF8(std::string_view text) {
    for (text.remove_prefix(asciiLength(text)); !text.empty();) {
        const std::size_t length = characterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
        text.remove_prefix(asciiLength(text));
    }
    return true;
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

} // namespace vellomir
