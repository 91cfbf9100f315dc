#include "Vellomir/Job/LocalizedNames.h"

#include "Vellomir/Inspection/LocalizedNames.h"

namespace vellomir {
namespace {

bool isName(const std::string &key) {
    return key == "CFBundleDisplayName" || key == "CFBundleName";
}

/// `path` leads to the texts.
void change(PropertyListDictionary &texts, const KeyPath &path, const NameChange &newName,
            LocalizedChanges &result) {
    for (PropertyListMember &member : texts) {
        if (!isName(member.key))
            continue;
        KeyPath place = path;
        place.push_back(member.key);
        auto *const text = std::get_if<std::string>(&member.value.content);
        if (text == nullptr) {
            result.unusable.push_back(std::move(place));
            continue;
        }
        std::string name = newName(*text);
        if (name == *text)
            continue;
        result.changes.push_back({.keyPath = std::move(place),
                                  .from = PropertyListValue{*text},
                                  .to = PropertyListValue{name}});
        *text = std::move(name);
    }
}

} // namespace

LocalizedChanges changeNames(PropertyListDictionary &texts, const NameChange &newName) {
    LocalizedChanges result;
    change(texts, {}, newName, result);
    return result;
}

LocalizedChanges changeNamesOfLanguages(PropertyListDictionary &languages,
                                        const NameChange &newName) {
    LocalizedChanges result;
    for (PropertyListMember &language : languages)
        if (auto *const texts = std::get_if<PropertyListDictionary>(&language.value.content);
            texts != nullptr && language.key != keyOfNoLanguage)
            change(*texts, {language.key}, newName, result);
    return result;
}

} // namespace vellomir
