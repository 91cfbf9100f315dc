// Property lists in all their formats: what is read and written as XML is read again as equal
// values, and an edit changes what it names and nothing else. Input: the list's bytes.

#include "Vellomir/PropertyLists/PropertyList.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <cmath>
#include <optional>

using archive::Data;
using archive::Error;
using fuzz::require;
using vellomir::PropertyList;
using vellomir::PropertyListArray;
using vellomir::PropertyListDate;
using vellomir::PropertyListDictionary;
using vellomir::PropertyListError;
using vellomir::PropertyListMember;
using vellomir::PropertyListValue;

namespace {

std::optional<PropertyList> parse(std::span<const std::byte> bytes) {
    try {
        return PropertyList::parse(bytes);
    } catch (const Error &error) {
        require(error.code() == PropertyListError::unreadablePropertyList,
                "a list that is refused says why");
        return std::nullopt;
    }
}

std::optional<Data> write(const PropertyList &list) {
    try {
        return list.xmlData();
    } catch (const Error &error) {
        require(error.code() == PropertyListError::unwritablePropertyList,
                "a list that cannot be written says why");
        return std::nullopt;
    }
}

/// What XML holds of a value: whole seconds.
PropertyListValue inXml(PropertyListValue value) {
    if (auto *date = std::get_if<PropertyListDate>(&value.content))
        date->seconds = std::floor(date->seconds);
    if (auto *array = std::get_if<PropertyListArray>(&value.content))
        for (PropertyListValue &element : *array)
            element = inXml(std::move(element));
    if (auto *dictionary = std::get_if<PropertyListDictionary>(&value.content))
        for (PropertyListMember &member : *dictionary)
            member.value = inXml(std::move(member.value));
    return value;
}

bool hasKey(const PropertyList &list, const std::string &key) {
    const auto &members = std::get<PropertyListDictionary>(list.value().content);
    return std::any_of(members.begin(), members.end(),
                       [&key](const PropertyListMember &member) { return member.key == key; });
}

void edit(const PropertyList &original) {
    const std::string key = "CFBundleName";
    PropertyList list = original;
    const std::string text = list.text(key).value_or("new") + "2 & <3>\r";
    list.setText(key, text);
    const auto edited = write(list);
    require(edited.has_value(), "an edited list can be written");
    auto again = parse(*edited);
    require(again.has_value() && again->text(key) == text, "an edit is kept");
    if (hasKey(original, key))
        return;
    again->remove(key);
    require(again->value() == original.value(), "what was added and removed leaves nothing behind");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto list = parse(std::as_bytes(std::span(data, size)));
    if (!list)
        return 0;
    const auto xml = write(*list);
    if (!xml)
        return 0;
    const auto again = parse(*xml);
    require(again.has_value(), "what was written can be read");
    require(again->value() == inXml(list->value()), "and has the same values");
    require(write(*again) == xml, "and is written in the same way");
    edit(*again);
    return 0;
}
