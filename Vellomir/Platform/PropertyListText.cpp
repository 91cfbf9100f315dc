#include "Vellomir/Platform/PropertyListText.h"

#include "Vellomir/Platform/PropertyList.h"
#include "archive/TextEncoding.h"

#include <optional>

namespace vellomir {
namespace {

bool isLeadSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isTrailSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

enum class ByteOrder { little, big };

/// Nothing for text in single bytes. Every property list begins with an ASCII character.
std::optional<ByteOrder> byteOrderOfUTF16(std::span<const std::byte> bytes) {
    if (bytes.size() < 2)
        return std::nullopt;
    const auto first = std::to_integer<unsigned>(bytes[0]);
    const auto second = std::to_integer<unsigned>(bytes[1]);
    if ((first == 0xFE && second == 0xFF) || (first == 0 && second != 0))
        return ByteOrder::big;
    if ((first == 0xFF && second == 0xFE) || (first != 0 && second == 0))
        return ByteOrder::little;
    return std::nullopt;
}

std::string decodeUTF16(std::span<const std::byte> bytes, ByteOrder byteOrder) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        const auto first = std::to_integer<unsigned>(bytes[index]);
        const auto second = std::to_integer<unsigned>(bytes[index + 1]);
        units += static_cast<char16_t>(byteOrder == ByteOrder::big ? (first << 8U) | second
                                                                   : (second << 8U) | first);
    }
    std::string text;
    if (bytes.size() % 2 != 0 || !appendUTF16(text, units))
        throw unreadable("The property list is no valid UTF-16 text");
    return text;
}

std::string decodeUTF8(std::span<const std::byte> bytes) {
    std::string text(archive::Data(bytes).text());
    if (!archive::isValidUTF8(text))
        throw unreadable("The property list is neither binary nor UTF-8 nor UTF-16 text");
    return text;
}

/// As XML wants it read (XML 1.0, section 2.11).
void normalizeLineEnds(std::string &text) {
    std::size_t end = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool isReturn = text[index] == '\r';
        if (isReturn && index + 1 < text.size() && text[index + 1] == '\n')
            continue;
        text[end++] = isReturn ? '\n' : text[index];
    }
    text.resize(end);
}

} // namespace

std::string propertyListText(std::span<const std::byte> bytes) {
    static constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const auto byteOrder = byteOrderOfUTF16(bytes);
    std::string text = byteOrder ? decodeUTF16(bytes, *byteOrder) : decodeUTF8(bytes);
    if (text.starts_with(byteOrderMark))
        text.erase(0, byteOrderMark.size());
    normalizeLineEnds(text);
    return text;
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

bool appendUTF16(std::string &text, std::u16string_view units) {
    for (std::size_t index = 0; index < units.size(); ++index) {
        const char16_t unit = units[index];
        if (!isLeadSurrogate(unit) && !isTrailSurrogate(unit)) {
            appendUTF8(text, unit);
            continue;
        }
        if (isTrailSurrogate(unit) || index + 1 == units.size() ||
            !isTrailSurrogate(units[index + 1]))
            return false;
        appendUTF8(text, 0x10000U + ((char32_t{unit} - 0xD800U) << 10U) + units[++index] - 0xDC00U);
    }
    return true;
}

archive::Error unreadable(const std::string &what) {
    return archive::Error(PropertyListError::unreadablePropertyList, {.detail = what});
}

} // namespace vellomir
