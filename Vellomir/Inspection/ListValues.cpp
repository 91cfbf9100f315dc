#include "Vellomir/Inspection/ListValues.h"

#include <algorithm>

namespace vellomir {

std::string kept(std::string_view text) {
    if (text.size() <= maximumKeptText)
        return std::string(text);
    std::size_t end = maximumKeptText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return std::string(text.substr(0, end));
}

const PropertyListValue *member(const PropertyListValue *value, std::string_view key) {
    if (value == nullptr)
        return nullptr;
    const auto *members = std::get_if<PropertyListDictionary>(&value->content);
    if (members == nullptr)
        return nullptr;
    const auto found = std::find_if(members->begin(), members->end(),
                                    [key](const auto &each) { return each.key == key; });
    return found == members->end() ? nullptr : &found->value;
}

std::string textAt(const PropertyListValue *value, std::string_view key) {
    const PropertyListValue *const found = member(value, key);
    const auto *text = found == nullptr ? nullptr : std::get_if<std::string>(&found->content);
    return text == nullptr ? "" : kept(*text);
}

std::vector<std::string> textsOf(const PropertyListValue *value) {
    std::vector<std::string> texts;
    if (value == nullptr)
        return texts;
    if (const auto *text = std::get_if<std::string>(&value->content))
        texts.push_back(kept(*text));
    if (const auto *array = std::get_if<PropertyListArray>(&value->content))
        for (const PropertyListValue &element : *array)
            if (const auto *text = std::get_if<std::string>(&element.content);
                text != nullptr && texts.size() < maximumKeptTexts)
                texts.push_back(kept(*text));
    return texts;
}

void addNew(std::vector<std::string> &list, const std::vector<std::string> &texts) {
    for (const std::string &text : texts)
        if (list.size() < maximumDistinctTexts &&
            std::find(list.begin(), list.end(), text) == list.end())
            list.push_back(text);
}

} // namespace vellomir
