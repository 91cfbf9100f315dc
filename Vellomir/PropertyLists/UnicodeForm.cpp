#include "Vellomir/PropertyLists/UnicodeForm.h"

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;
using Units = UnicodeForm::Units;

constexpr std::string_view markInUTF8 = "\xEF\xBB\xBF";
/// So much of a text is enough to find its form.
constexpr std::size_t sampleSize = 4096;

bool isBigEndian(Units units) {
    return units == Units::utf16BigEndian || units == Units::utf32BigEndian;
}

/// Bytes of one unit.
std::size_t sizeOf(Units units) {
    switch (units) {
    case Units::utf8:
        return 1;
    case Units::utf16BigEndian:
    case Units::utf16LittleEndian:
        return 2;
    case Units::utf32BigEndian:
    case Units::utf32LittleEndian:
        break;
    }
    return 4;
}

const char *nameOf(Units units) {
    static constexpr std::array names = {"UTF-8", "UTF-16", "UTF-16", "UTF-32", "UTF-32"};
    return names.at(static_cast<std::size_t>(units));
}

char32_t unitAt(Bytes bytes, std::size_t position, Units units) {
    const std::size_t size = sizeOf(units);
    char32_t unit = 0;
    for (std::size_t index = 0; index < size; ++index)
        unit =
            (unit << 8U) | std::to_integer<char32_t>(
                               bytes[position + (isBigEndian(units) ? index : size - 1 - index)]);
    return unit;
}

void appendUnit(std::string &bytes, char32_t unit, Units units) {
    const std::size_t size = sizeOf(units);
    for (std::size_t index = 0; index < size; ++index) {
        const std::size_t shift = 8 * (isBigEndian(units) ? size - 1 - index : index);
        bytes += static_cast<char>((unit >> shift) & 0xFFU);
    }
}

/// UTF-32 before UTF-16, whose mark begins in the same way.
std::optional<Units> unitsOfMark(Bytes bytes) {
    for (const Units units : {Units::utf32BigEndian, Units::utf32LittleEndian,
                              Units::utf16BigEndian, Units::utf16LittleEndian})
        if (bytes.size() >= sizeOf(units) && unitAt(bytes, 0, units) == 0xFEFF)
            return units;
    const std::string_view view(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    return view.starts_with(markInUTF8) ? std::optional(Units::utf8) : std::nullopt;
}

/// Whether all units are characters, and one of them ASCII. UTF-16 of real texts, seen in units of
/// 32 bits, is not so.
bool isUTF32(Bytes sample, Units units) {
    bool hasASCII = false;
    for (std::size_t position = 0; position + 4 <= sample.size(); position += 4) {
        const char32_t unit = unitAt(sample, position, units);
        if (unit > 0x10FFFF || unit == 0)
            return false;
        hasASCII |= unit < 0x80;
    }
    return hasASCII;
}

/// The first character of a list is ASCII, so that one of the first two bytes is zero in UTF-16, or
/// one of the two separators of lines and paragraphs. Those are "( " or " )" in bytes, with which
/// no dictionary begins.
std::optional<Units> unitsOfUTF16(Bytes sample) {
    if (sample.size() < 2)
        return std::nullopt;
    for (const Units units : {Units::utf16BigEndian, Units::utf16LittleEndian}) {
        const char32_t first = unitAt(sample, 0, units);
        const bool isSeparator =
            (first == 0x2028 || first == 0x2029) &&
            std::find(sample.begin(), sample.end(), std::byte{0}) != sample.end();
        if ((first > 0 && first < 0x100) || isSeparator)
            return units;
    }
    return std::nullopt;
}

Units unitsByZeros(Bytes bytes) {
    const Bytes sample = bytes.first(std::min(bytes.size(), sampleSize));
    if (bytes.size() % 4 == 0)
        for (const Units units : {Units::utf32BigEndian, Units::utf32LittleEndian})
            if (isUTF32(sample, units))
                return units;
    return unitsOfUTF16(sample).value_or(Units::utf8);
}

[[noreturn]] void refuseByteOf(Units units, std::size_t position) {
    throw unreadable("The property list cannot be read: byte " + std::to_string(position) +
                     ": expected text in " + nameOf(units));
}

std::string decodeUTF16(Bytes bytes, Units units) {
    std::u16string text16;
    text16.reserve(bytes.size() / 2);
    for (std::size_t position = 0; position + 2 <= bytes.size(); position += 2)
        text16 += static_cast<char16_t>(unitAt(bytes, position, units));
    std::string text;
    const std::size_t count = appendUTF16(text, text16);
    if (count < text16.size() || bytes.size() % 2 != 0)
        refuseByteOf(units, 2 * count);
    return text;
}

std::string decodeUTF32(Bytes bytes, Units units) {
    std::string text;
    for (std::size_t position = 0; position < bytes.size(); position += 4) {
        if (bytes.size() - position < 4)
            refuseByteOf(units, position);
        const char32_t character = unitAt(bytes, position, units);
        if (character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
            refuseByteOf(units, position);
        appendUTF8(text, character);
    }
    return text;
}

void appendCharacter(std::string &bytes, char32_t character, Units units) {
    if (sizeOf(units) == 4 || character < 0x10000)
        return appendUnit(bytes, character, units);
    const char32_t rest = character - 0x10000U;
    appendUnit(bytes, 0xD800U + (rest >> 10U), units);
    appendUnit(bytes, 0xDC00U + (rest & 0x3FFU), units);
}

} // namespace

UnicodeForm unicodeFormOf(Bytes bytes) {
    if (const auto units = unitsOfMark(bytes))
        return {.units = *units, .isMarked = true};
    return {.units = unitsByZeros(bytes)};
}

std::string decodeUnicode(Bytes bytes, const UnicodeForm &form) {
    std::string text;
    if (form.units == Units::utf8) {
        text.assign(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        const std::size_t invalid = findInvalidUTF8(text);
        if (invalid < text.size())
            refuseByteOf(form.units, invalid);
    } else {
        text = sizeOf(form.units) == 2 ? decodeUTF16(bytes, form.units)
                                       : decodeUTF32(bytes, form.units);
    }
    if (text.starts_with(markInUTF8))
        text.erase(0, markInUTF8.size());
    return text;
}

std::string encodeUnicode(std::string_view text, const UnicodeForm &form) {
    std::string marked = std::string(form.isMarked ? markInUTF8 : "") + std::string(text);
    if (form.units == Units::utf8)
        return marked;
    std::string bytes;
    bytes.reserve(marked.size() * sizeOf(form.units));
    for (std::size_t position = 0; position < marked.size();) {
        const TextCharacter character = characterAt(marked, position);
        appendCharacter(bytes, character.code, form.units);
        position += character.size;
    }
    return bytes;
}

} // namespace vellomir
