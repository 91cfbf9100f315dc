#include "Vellomir/PropertyLists/OldTextEditor.h"

#include "Vellomir/PropertyLists/CharacterSet.h"
#include "Vellomir/PropertyLists/ListText.h"
#include "Vellomir/PropertyLists/OldTextReader.h"
#include "Vellomir/PropertyLists/UnicodeForm.h"

#include <map>
#include <utility>

namespace vellomir {
namespace {

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

/// A part of a text, and what is to be there instead.
struct Replacement {
    std::size_t start = 0;
    std::size_t end = 0;
    std::string text;
};

std::vector<Replacement> replacements(const std::vector<OldTextPlace> &places,
                                      const std::map<std::string, std::string> &texts) {
    std::vector<Replacement> found;
    for (const OldTextPlace &place : places)
        if (const auto changed = texts.find(place.key); changed != texts.end())
            found.push_back(
                {.start = place.start,
                 .end = place.end,
                 .text = (place.start == place.end ? " = " : "") + quotedValue(changed->second)});
    return found;
}

/// One pass, because a text may have any number of duplicate keys.
std::string replaced(std::string_view text, const std::vector<Replacement> &changes) {
    std::string result;
    std::size_t done = 0;
    for (const Replacement &change : changes) {
        result += text.substr(done, change.start - done);
        result += change.text;
        done = change.end;
    }
    return result.append(text.substr(done));
}

/// The same changes of the bytes in their character set; nothing if it lacks a character.
std::optional<std::string> replacedInSet(std::string_view bytes, const char *set,
                                         const std::vector<Replacement> &changes) {
    CharacterSet characters(set);
    std::vector<std::size_t> offsets;
    for (const Replacement &change : changes)
        offsets.insert(offsets.end(), {change.start, change.end});
    offsets = characters.byteOffsets(bytes, offsets);
    std::vector<Replacement> inBytes;
    for (std::size_t index = 0; index < changes.size(); ++index) {
        auto text = characters.encode(changes[index].text);
        if (!text)
            return std::nullopt;
        inBytes.push_back({offsets[2 * index], offsets[2 * index + 1], *std::move(text)});
    }
    return replaced(bytes, inBytes);
}

/// Whether the bytes are read as this list.
bool areRead(std::string_view bytes, const PropertyList &list, std::string_view language,
             const archive::Progress *progress) {
    const ListText read = decodeListText(std::as_bytes(std::span(bytes)), language, progress);
    return readOldTextPropertyList(read.text, progress) == list.value();
}

} // namespace

std::optional<archive::Data> editOldTextPropertyList(std::span<const std::byte> bytes,
                                                     const PropertyList &changed,
                                                     std::string_view language,
                                                     const archive::Progress *progress) {
    const auto [text, set] = decodeListText(bytes, language, progress);
    std::vector<OldTextPlace> places;
    const PropertyListValue old = readOldTextPropertyList(text, progress, &places);
    const auto *const members = std::get_if<PropertyListDictionary>(&old.content);
    const auto texts = members ? differences(*members, changed.members()) : std::nullopt;
    if (!texts)
        return std::nullopt;
    const auto changes = replacements(places, *texts);
    const std::string_view view(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    UnicodeForm form{.units = UnicodeForm::Units::utf16LittleEndian, .isMarked = true};
    if (set != nullptr) {
        const auto edited = replacedInSet(view, set, changes);
        if (edited && areRead(*edited, changed, language, progress))
            return archive::Data(*edited);
    } else {
        form = unicodeFormOf(bytes);
    }
    const std::string edited = encodeUnicode(replaced(text, changes), form);
    if (!areRead(edited, changed, language, progress))
        return std::nullopt;
    return archive::Data(edited);
}

} // namespace vellomir
