#include "fuzz/PlainText.h"

#include <charconv>

namespace vellomir::fuzz {
namespace {

/// The front of a text: one character, or a piece that is none.
struct Front {
    std::size_t size = 0;
    bool isCharacter = false;
    char32_t code = 0;
};

/// The least character of so many bytes.
constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};

/// Whether the bits so far, with `missing` bytes to come, can become a character.
bool canBecomeCharacter(char32_t code, std::size_t length, std::size_t missing) {
    const auto shift = static_cast<unsigned>(6 * missing);
    const char32_t lowest = code << shift;
    const char32_t highest = lowest | ((char32_t{1} << shift) - 1);
    const bool isSurrogate = lowest >= 0xD800 && highest <= 0xDFFF;
    return highest >= least[length] && lowest <= 0x10FFFF && !isSurrogate;
}

Front frontOf(std::string_view text) {
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const char32_t first = byte(0);
    if (first < 0x80)
        return {1, true, first};
    if (first < 0xC2 || first > 0xF4)
        return {1, false, 0};
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    char32_t code = first & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if (index == text.size() || (byte(index) & 0xC0U) != 0x80)
            return {index, false, 0};
        const char32_t longer = (code << 6U) | (byte(index) & 0x3FU);
        if (!canBecomeCharacter(longer, length, length - index - 1))
            return {index, false, 0};
        code = longer;
    }
    return {length, true, code};
}

} // namespace

bool isCleanLine(std::string_view text) {
    while (!text.empty()) {
        const Front front = frontOf(text);
        if (!front.isCharacter || front.code < 0x20 || (front.code >= 0x7F && front.code < 0xA0))
            return false;
        text.remove_prefix(front.size);
    }
    return true;
}

std::string withReplacements(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Front front = frontOf(text);
        result += front.isCharacter ? text.substr(0, front.size) : "\xEF\xBF\xBD";
        text.remove_prefix(front.size);
    }
    return result;
}

std::string withoutEscapes(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        unsigned value = 0;
        const bool isEscape = text.starts_with("\\x") && text.size() >= 4;
        if (isEscape)
            std::from_chars(text.data() + 2, text.data() + 4, value, 16);
        result += isEscape ? static_cast<char>(value) : text.front();
        text.remove_prefix(isEscape ? 4 : 1);
    }
    return result;
}

} // namespace vellomir::fuzz
