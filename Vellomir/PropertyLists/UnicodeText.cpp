#include "Vellomir/PropertyLists/UnicodeText.h"

#include <bit>

namespace vellomir {
namespace {

bool isLeadSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isTrailSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

/// The smallest code point whose UTF-8 form has `size` bytes; smaller ones are overlong.
char32_t lowestOfSize(std::size_t size) {
    return size == 2 ? 0x80 : size == 3 ? 0x800 : 0x10000;
}

} // namespace

TextCharacter characterAt(std::string_view text, std::size_t position) {
    const auto first = static_cast<unsigned char>(text[position]);
    if (first < 0x80)
        return {first, 1};
    const auto size = static_cast<std::size_t>(std::countl_one(first));
    if (size < 2 || size > 4 || text.size() - position < size)
        return {};
    char32_t code = first & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        const auto byte = static_cast<unsigned char>(text[position + index]);
        if ((byte & 0xC0U) != 0x80)
            return {};
        code = (code << 6U) | (byte & 0x3FU);
    }
    const bool isValid = code >= lowestOfSize(size) && code < 0x110000 && !isLeadSurrogate(code) &&
                         !isTrailSurrogate(code);
    return isValid ? TextCharacter{code, size} : TextCharacter{};
}

std::size_t findInvalidUTF8(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t size = characterAt(text, position).size;
        if (size == 0)
            return position;
        position += size;
    }
    return position;
}

void appendUTF8(std::string &text, char32_t character) {
    const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto appendLow = [&](unsigned shift) { append(0x80U | ((character >> shift) & 0x3FU)); };
    if (character < 0x80)
        return append(character);
    if (character < 0x800) {
        append(0xC0U | (character >> 6U));
    } else {
        if (character < 0x10000) {
            append(0xE0U | (character >> 12U));
        } else {
            append(0xF0U | (character >> 18U));
            appendLow(12);
        }
        appendLow(6);
    }
    appendLow(0);
}

std::size_t appendUTF16(std::string &text, std::u16string_view units) {
    for (std::size_t index = 0; index < units.size(); ++index) {
        const char16_t unit = units[index];
        if (!isLeadSurrogate(unit) && !isTrailSurrogate(unit)) {
            appendUTF8(text, unit);
            continue;
        }
        if (isTrailSurrogate(unit) || index + 1 == units.size() ||
            !isTrailSurrogate(units[index + 1]))
            return index;
        appendUTF8(text, 0x10000U + ((char32_t{unit} - 0xD800U) << 10U) + units[++index] - 0xDC00U);
    }
    return units.size();
}

} // namespace vellomir
