#include "Vellomir/PropertyLists/OldTextGuess.h"

#include "Vellomir/PropertyLists/CharacterSet.h"
#include "Vellomir/PropertyLists/CharacterUse.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <vector>

namespace vellomir {
namespace {

// Each set by iconv's name for it. None has shift states or combining characters.
constexpr std::initializer_list<const char *> western = {"MACINTOSH", "WINDOWS-1252"};
constexpr std::initializer_list<const char *> japanese = {"CP932", "EUC-JP"};
constexpr std::initializer_list<const char *> korean = {"UHC"};
constexpr std::initializer_list<const char *> simplifiedChinese = {"GB18030", "BIG5"};
constexpr std::initializer_list<const char *> traditionalChinese = {"BIG5", "GB18030"};
constexpr std::initializer_list<const char *> cyrillic = {"MAC-CYRILLIC", "WINDOWS-1251", "KOI8-U"};
constexpr std::initializer_list<const char *> central = {"MAC-CENTRALEUROPE", "WINDOWS-1250",
                                                         "ISO-8859-2"};
constexpr std::initializer_list<const char *> baltic = {"MAC-CENTRALEUROPE", "WINDOWS-1257"};
constexpr std::initializer_list<const char *> greek = {"WINDOWS-1253"};
constexpr std::initializer_list<const char *> turkish = {"WINDOWS-1254"};
constexpr std::initializer_list<const char *> arabic = {"WINDOWS-1256"};
constexpr std::initializer_list<const char *> hebrew = {"ISO-8859-8"};
constexpr std::initializer_list<const char *> thai = {"TIS-620"};

struct LanguageSets {
    std::string_view start; ///< of the folder's name, in lower case and with "-" for "_"
    const std::initializer_list<const char *> &sets;
    /// Whether a byte of a character may look like a quote or a backslash: then no other set is
    /// safe, as it would find the end of a text in the middle of a character.
    bool isMultiByte = false;
};

/// The first match counts.
constexpr std::array languages = {
    LanguageSets{"japanese", japanese, true},
    LanguageSets{"ja", japanese, true},
    LanguageSets{"korean", korean, true},
    LanguageSets{"ko", korean, true},
    LanguageSets{"zh-tw", traditionalChinese, true},
    LanguageSets{"zh-hk", traditionalChinese, true},
    LanguageSets{"zh-mo", traditionalChinese, true},
    LanguageSets{"zh-hant", traditionalChinese, true},
    LanguageSets{"zh", simplifiedChinese, true},
    LanguageSets{"russian", cyrillic},
    LanguageSets{"ru", cyrillic},
    LanguageSets{"uk", cyrillic},
    LanguageSets{"be", cyrillic},
    LanguageSets{"bg", cyrillic},
    LanguageSets{"mk", cyrillic},
    LanguageSets{"sr", cyrillic},
    LanguageSets{"polish", central},
    LanguageSets{"pl", central},
    LanguageSets{"cs", central},
    LanguageSets{"sk", central},
    LanguageSets{"hu", central},
    LanguageSets{"hr", central},
    LanguageSets{"sl", central},
    LanguageSets{"ro", central},
    LanguageSets{"lt", baltic},
    LanguageSets{"lv", baltic},
    LanguageSets{"et", baltic},
    LanguageSets{"greek", greek},
    LanguageSets{"el", greek},
    LanguageSets{"turkish", turkish},
    LanguageSets{"tr", turkish},
    LanguageSets{"ar", arabic},
    LanguageSets{"fa", arabic},
    LanguageSets{"he", hebrew},
    LanguageSets{"iw", hebrew},
    LanguageSets{"th", thai},
};

std::string normalized(std::string_view language) {
    std::string name(language);
    for (char &each : name) {
        if (each >= 'A' && each <= 'Z')
            each = static_cast<char>(each - 'A' + 'a');
        if (each == '_')
            each = '-';
    }
    return name;
}

/// The whole name, or its first part: "ru" and "ru-RU", but not "run".
bool isLanguage(std::string_view name, std::string_view start) {
    return name.starts_with(start) && (name.size() == start.size() || name[start.size()] == '-');
}

std::vector<const char *> setsOf(std::string_view language) {
    const std::string name = normalized(language);
    const auto *const found =
        std::find_if(languages.begin(), languages.end(),
                     [&](const LanguageSets &each) { return isLanguage(name, each.start); });
    std::vector<const char *> sets;
    if (found != languages.end())
        sets = found->sets;
    if (found == languages.end() || !found->isMultiByte)
        sets.insert(sets.end(), western.begin(), western.end());
    return sets;
}

} // namespace

std::optional<GuessedText> guessOldText(std::string_view bytes, std::string_view language,
                                        const archive::Progress *progress) {
    std::optional<GuessedText> best;
    double bestUse = 0;
    for (const char *set : setsOf(language)) {
        CharacterSet characters(set);
        if (!characters.isKnown())
            return std::nullopt; // It may be the right one.
        auto text = characters.decode(bytes, progress);
        if (!text)
            continue;
        const double use = usualness(*text);
        if (!best || use > bestUse) {
            best = GuessedText{std::move(*text), set};
            bestUse = use;
        }
    }
    return best;
}

} // namespace vellomir
