// Property lists in all their formats: what is read is read again as equal values when the
// product's writer or one of the fuzzer's own has written it, and an edit changes what it names and
// nothing else. Input: the list's bytes.

#include "Vellomir/PropertyLists/PropertyList.h"
#include "fuzz/ListWriters.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace vellomir::archive {

using fuzz::require;

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

/// Whether no date in the value is "not a number", which equals nothing.
bool equalsItself(const PropertyListValue &value) {
    return value == value; // NOLINT(misc-redundant-expression)
}

void requireReadAs(std::span<const std::byte> written, const PropertyListValue &value,
                   const char *promise) {
    const auto list = parse(written);
    require(list && list->value() == value, promise);
}

/// Each reader reads what a writer of its format makes of the values.
void readOtherFormats(const PropertyListValue &value, fuzz::Style style, bool fitsXml) {
    constexpr std::size_t maximumValues = 5000;
    if (fuzz::countValues(value) > maximumValues || !equalsItself(value))
        return;
    requireReadAs(fuzz::writeBinary(value, style), value, "the binary reader reads all values");
    if (const auto text = fuzz::writeOldText(value, style)) {
        requireReadAs(Data(*text), value, "the reader of old texts reads all values");
        requireReadAs(fuzz::inUTF16(*text, style % 2 == 0), value, "and reads them in UTF-16");
    }
    const auto xml = fitsXml ? fuzz::writeXml(value, style) : std::nullopt;
    if (!xml)
        return;
    requireReadAs(Data(*xml), value, "the XML reader reads all values");
    requireReadAs(fuzz::inUTF16(*xml, style % 2 == 0), value, "and reads them in UTF-16");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto list = parse(std::as_bytes(std::span(data, size)));
    if (!list)
        return 0;
    const auto xml = write(*list);
    readOtherFormats(list->value(), data[size / 2], xml.has_value());
    if (!xml)
        return 0;
    const auto again = parse(*xml);
    require(again.has_value(), "what was written can be read");
    require(again->value() == inXml(list->value()), "and has the same values");
    require(write(*again) == xml, "and is written in the same way");
    edit(*again);
    return 0;
}

} // namespace vellomir::archive
