#include "Vellomir/PropertyLists/CharacterUse.h"

#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vellomir {
namespace {

enum class Kind {
    none,   ///< ASCII, but for its letters
    lower,  ///< a small letter
    upper,  ///< a large letter
    letter, ///< of a script without small letters
    sign,   ///< usual in texts
    odd,
};

struct Range {
    char32_t first;
    char32_t last;
    Kind kind;
};

/// The first match counts.
constexpr std::array ranges = {
    Range{'A', 'Z', Kind::upper}, Range{'a', 'z', Kind::lower}, Range{0x00, 0x7F, Kind::none},
    Range{0xD7, 0xD7, Kind::odd}, // multiplication
    Range{0xF7, 0xF7, Kind::odd}, // division
    Range{0xC0, 0xDE, Kind::upper}, Range{0xDF, 0xFF, Kind::lower},
    Range{0x386, 0x386, Kind::upper}, Range{0x388, 0x38F, Kind::upper},
    Range{0x390, 0x390, Kind::lower}, Range{0x391, 0x3AB, Kind::upper},
    Range{0x3AC, 0x3CE, Kind::lower},
    // Of Serbian and Macedonian: rare in all other languages, and in these fewer than the rest.
    Range{0x402, 0x403, Kind::odd}, Range{0x409, 0x40C, Kind::odd}, Range{0x40F, 0x40F, Kind::odd},
    Range{0x452, 0x453, Kind::odd}, Range{0x459, 0x45C, Kind::odd}, Range{0x45F, 0x45F, Kind::odd},
    Range{0x400, 0x42F, Kind::upper}, Range{0x430, 0x45F, Kind::lower},
    Range{0x490, 0x490, Kind::upper}, Range{0x491, 0x491, Kind::lower},
    Range{0x5D0, 0x5EA, Kind::letter},   // Hebrew
    Range{0x600, 0x6FF, Kind::letter},   // Arabic
    Range{0xE00, 0xE7F, Kind::letter},   // Thai
    Range{0x3000, 0x30FF, Kind::letter}, // Japanese
    Range{0x4E00, 0x9FFF, Kind::letter}, // Chinese
    Range{0xAC00, 0xD7A3, Kind::letter}, // Korean
    Range{0xFF01, 0xFF60, Kind::letter}, // wide forms of ASCII
    Range{0x2013, 0x2014, Kind::sign},   // dashes
    Range{0x2018, 0x201E, Kind::sign},   // quotation marks
};

constexpr std::array<char32_t, 17> signs = {0xA0, 0xA1, 0xA3,   0xA7,   0xA9,  0xAA,
                                            0xAB, 0xAE, 0xB0,   0xB7,   0xBA,  0xBB,
                                            0xBF, 0xB4, 0x2022, 0x2026, 0x2122};
constexpr char32_t euro = 0x20AC;

/// From U+0100 to U+017F and from U+0218 to U+021B, small letters follow the large ones, which have
/// even numbers but for these two stretches.
Kind kindOfExtendedLatin(char32_t character) {
    const bool isShifted =
        (character >= 0x139 && character <= 0x148) || (character >= 0x179 && character <= 0x17E);
    return (character % 2 == 1) == isShifted ? Kind::upper : Kind::lower;
}

Kind kindOf(char32_t character) {
    const auto *const found =
        std::find_if(ranges.begin(), ranges.end(), [character](const Range &each) {
            return character >= each.first && character <= each.last;
        });
    if (found != ranges.end())
        return found->kind;
    if ((character >= 0x100 && character < 0x180) || (character >= 0x218 && character <= 0x21B))
        return kindOfExtendedLatin(character);
    const bool isSign =
        character == euro || std::find(signs.begin(), signs.end(), character) != signs.end();
    return isSign ? Kind::sign : Kind::odd;
}

bool isLetter(Kind kind) {
    return kind == Kind::lower || kind == Kind::upper;
}

bool isApostrophe(char32_t character) {
    return character == 0x2019;
}

int use(char32_t character, Kind previous, Kind kind, Kind next) {
    const bool isInWord = isLetter(previous) && isLetter(next);
    switch (kind) {
    case Kind::letter:
        return 2;
    case Kind::lower:
        if (next == Kind::upper)
            return -1;
        return isLetter(previous) || isLetter(next) ? 2 : 1;
    case Kind::upper:
        if (previous == Kind::lower)
            return -1;
        return next == Kind::lower ? 2 : 1;
    case Kind::sign:
        if (isApostrophe(character) && isInWord)
            return 3;
        return isInWord ? -1 : 1;
    case Kind::none:
    case Kind::odd:
        break;
    }
    return -2;
}

} // namespace

double usualness(std::string_view text) {
    long total = 0;
    long count = 0;
    Kind previous = Kind::none;
    TextCharacter here = text.empty() ? TextCharacter() : characterAt(text, 0);
    for (std::size_t position = here.size; here.size != 0; position += here.size) {
        const bool isLast = position >= text.size();
        const TextCharacter next = isLast ? TextCharacter() : characterAt(text, position);
        const Kind kind = kindOf(here.code);
        if (here.code >= 0x80) {
            total += use(here.code, previous, kind, isLast ? Kind::none : kindOf(next.code));
            ++count;
        }
        previous = kind;
        here = next;
    }
    return count == 0 ? 0 : static_cast<double>(total) / static_cast<double>(count);
}

} // namespace vellomir
