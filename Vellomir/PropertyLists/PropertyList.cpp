#include "Vellomir/PropertyLists/PropertyList.h"

#include "Vellomir/PropertyLists/BinaryReader.h"
#include "Vellomir/PropertyLists/OldTextReader.h"
#include "Vellomir/PropertyLists/TextDecoding.h"
#include "Vellomir/PropertyLists/XmlReader.h"
#include "Vellomir/PropertyLists/XmlWriter.h"

#include <algorithm>

namespace vellomir {
namespace {

PropertyListValue readValue(std::span<const std::byte> bytes, const archive::Progress *progress) {
    if (isBinaryPropertyList(bytes))
        return readBinaryPropertyList(bytes, progress);
    const std::string text = decodePropertyListText(bytes, progress);
    return isXmlPropertyList(text) ? readXmlPropertyList(text, progress)
                                   : readOldTextPropertyList(text, progress);
}

auto findKey(auto &members, const std::string &key) {
    return std::find_if(members.begin(), members.end(),
                        [&key](const PropertyListMember &member) { return member.key == key; });
}

} // namespace

PropertyList PropertyList::parse(std::span<const std::byte> bytes,
                                 const archive::Progress *progress) {
    if (bytes.size() > maximumSize)
        throw unreadable("The property list is larger than any of a bundle: expected at most " +
                         std::to_string(maximumSize) + " bytes, found " +
                         std::to_string(bytes.size()));
    PropertyListValue root = readValue(bytes, progress);
    if (!std::holds_alternative<PropertyListDictionary>(root.content))
        throw unreadable(
            std::string("The property list's top level: expected a dictionary, found ") +
            kindOf(root));
    return PropertyList(std::move(root));
}

std::optional<std::string> PropertyList::text(const std::string &key) const {
    const auto member = findKey(members(), key);
    if (member == members().end())
        return std::nullopt;
    const auto *const text = std::get_if<std::string>(&member->value.content);
    return text == nullptr ? std::nullopt : std::optional(*text);
}

void PropertyList::setText(const std::string &key, const std::string &text) {
    set(key, {text});
}

void PropertyList::setTexts(const std::string &key, const std::vector<std::string> &texts) {
    PropertyListArray array;
    for (const std::string &text : texts)
        array.push_back({text});
    set(key, {std::move(array)});
}

void PropertyList::remove(const std::string &key) {
    const auto member = findKey(members(), key);
    if (member != members().end())
        members().erase(member);
}

archive::Data PropertyList::xmlData(const archive::Progress *progress) const {
    return writeXmlPropertyList(root_, progress);
}

const PropertyListDictionary &PropertyList::members() const {
    return std::get<PropertyListDictionary>(root_.content);
}

PropertyListDictionary &PropertyList::members() {
    return std::get<PropertyListDictionary>(root_.content);
}

void PropertyList::set(const std::string &key, PropertyListValue value) {
    const auto member = findKey(members(), key);
    if (member != members().end())
        member->value = std::move(value);
    else
        members().push_back({key, std::move(value)});
}

} // namespace vellomir
