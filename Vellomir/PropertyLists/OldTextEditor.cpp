#include "Vellomir/PropertyLists/OldTextEditor.h"

#include "Vellomir/PropertyLists/OldTextReader.h"
#include "Vellomir/PropertyLists/TextDecoding.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <array>
#include <map>

namespace vellomir {
namespace {

/// How characters become bytes.
struct TextForm {
    enum class Units { utf8, utf16BigEndian, utf16LittleEndian };

    Units units = Units::utf8;
    bool isMarked = false; ///< begins with a byte-order mark
};

constexpr std::array textForms = {
    TextForm{TextForm::Units::utf8, false},
    TextForm{TextForm::Units::utf8, true},
    TextForm{TextForm::Units::utf16BigEndian, false},
    TextForm{TextForm::Units::utf16BigEndian, true},
    TextForm{TextForm::Units::utf16LittleEndian, false},
    TextForm{TextForm::Units::utf16LittleEndian, true},
};

void appendUnit(std::string &bytes, char32_t unit, TextForm::Units units) {
    const char high = static_cast<char>((unit >> 8U) & 0xFFU);
    const char low = static_cast<char>(unit & 0xFFU);
    const bool isBigEndian = units == TextForm::Units::utf16BigEndian;
    bytes += isBigEndian ? high : low;
    bytes += isBigEndian ? low : high;
}

/// `text` is valid UTF-8.
std::string encodedText(std::string_view text, const TextForm &form) {
    std::string marked = (form.isMarked ? "\xEF\xBB\xBF" : "") + std::string(text);
    if (form.units == TextForm::Units::utf8)
        return marked;
    std::string bytes;
    for (std::size_t position = 0; position < marked.size();) {
        const TextCharacter character = characterAt(marked, position);
        if (character.code >= 0x10000) {
            const char32_t rest = character.code - 0x10000U;
            appendUnit(bytes, 0xD800U + (rest >> 10U), form.units);
            appendUnit(bytes, 0xDC00U + (rest & 0x3FFU), form.units);
        } else {
            appendUnit(bytes, character.code, form.units);
        }
        position += character.size;
    }
    return bytes;
}

/// The form in which the text gives these bytes.
const TextForm *formOf(std::string_view bytes, const std::string &text) {
    const auto *const found =
        std::find_if(textForms.begin(), textForms.end(),
                     [&](const TextForm &form) { return encodedText(text, form) == bytes; });
    return found == textForms.end() ? nullptr : found;
}

std::string quotedValue(const std::string &text) {
    std::string result = "\"";
    for (const char each : text) {
        if (each == '"' || each == '\\')
            result += '\\';
        result += each;
    }
    return result + '"';
}

/// The keys whose texts differ, with the new texts. Nothing if anything else differs.
std::optional<std::map<std::string, std::string>> differences(const PropertyListDictionary &old,
                                                              const PropertyListDictionary &now) {
    if (old.size() != now.size())
        return std::nullopt;
    std::map<std::string, std::string> texts;
    for (std::size_t index = 0; index < old.size(); ++index) {
        const auto *const text = std::get_if<std::string>(&now[index].value.content);
        if (old[index] == now[index])
            continue;
        if (old[index].key != now[index].key || text == nullptr)
            return std::nullopt;
        texts.emplace(now[index].key, *text);
    }
    return texts;
}

/// One pass, because a text may have any number of duplicate keys.
std::string replacedTexts(std::string_view text, const std::vector<OldTextPlace> &places,
                          const std::map<std::string, std::string> &texts) {
    std::string result;
    std::size_t done = 0;
    for (const OldTextPlace &place : places) {
        const auto changed = texts.find(place.key);
        if (changed == texts.end())
            continue;
        result += text.substr(done, place.start - done);
        result += place.start == place.end ? " = " : "";
        result += quotedValue(changed->second);
        done = place.end;
    }
    return result.append(text.substr(done));
}

} // namespace

std::optional<archive::Data> editOldTextPropertyList(std::span<const std::byte> bytes,
                                                     const PropertyList &changed,
                                                     const archive::Progress *progress) {
    const std::string text = decodePropertyListText(bytes, progress);
    const std::string_view view(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const TextForm *const form = formOf(view, text);
    std::vector<OldTextPlace> places;
    const PropertyListValue old = readOldTextPropertyList(text, progress, &places);
    const auto *const members = std::get_if<PropertyListDictionary>(&old.content);
    if (form == nullptr || members == nullptr)
        return std::nullopt;
    const auto texts = differences(*members, changed.members());
    if (!texts)
        return std::nullopt;
    const archive::Data edited(encodedText(replacedTexts(text, places, *texts), *form));
    if (PropertyList::parse(edited, progress).value() != changed.value())
        return std::nullopt;
    return edited;
}

} // namespace vellomir
