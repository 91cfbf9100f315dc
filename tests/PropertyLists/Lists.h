#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <gmock/gmock.h>

namespace vellomir::test {

/// Reads a list in any format; returns the value of the key "k".
[[nodiscard]] inline PropertyListValue readValue(std::string_view list) {
    const auto parsed = PropertyList::parse(archive::Data(list));
    const auto &root = std::get<PropertyListDictionary>(parsed.value().content);
    for (const PropertyListMember &member : root)
        if (member.key == "k")
            return member.value;
    ADD_FAILURE() << "no key";
    return {};
}

/// The error of reading a list; "" if there is none.
[[nodiscard]] inline std::string refusal(std::string_view list) {
    try {
        static_cast<void>(PropertyList::parse(archive::Data(list)));
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PropertyListError::unreadablePropertyList);
        EXPECT_EQ(error.name(), "PropertyListError.unreadablePropertyList");
        return error.what();
    }
    return "";
}

/// The error of writing a list that can be read; "" if there is none.
[[nodiscard]] inline std::string writeRefusal(std::string_view list) {
    const auto parsed = PropertyList::parse(archive::Data(list));
    try {
        static_cast<void>(parsed.xmlData());
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PropertyListError::unwritablePropertyList);
        return error.what();
    }
    return "";
}

/// An XML list whose dictionary has this content.
[[nodiscard]] inline std::string xmlList(const std::string &content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict>" +
           content + "</dict></plist>\n";
}

/// An XML list with this value under the key "k".
[[nodiscard]] inline std::string xmlListOf(const std::string &value) {
    return xmlList("<key>k</key>" + value);
}

/// The XML of the value under the key "k" after reading and writing.
[[nodiscard]] inline std::string rewritten(std::string_view list) {
    const archive::Data xml = PropertyList::parse(archive::Data(list)).xmlData();
    const std::string text(xml.text());
    const std::string start = "<key>k</key>\n\t";
    const std::size_t from = text.find(start) + start.size();
    return text.substr(from, text.rfind("\n</dict>") - from);
}

/// A big-endian number of `size` bytes.
[[nodiscard]] inline std::string bigEndian(std::uint64_t value, int size) {
    std::string text;
    while (size-- > 0)
        text += static_cast<char>(value >> (8 * size));
    return text;
}

/// A binary list of these objects; the first is the top object. References have `referenceSize`
/// bytes.
[[nodiscard]] inline std::string binaryList(const std::vector<std::string> &objects,
                                            int referenceSize = 1) {
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string &object : objects) {
        offsets += bigEndian(list.size(), 4);
        list += object;
    }
    const std::uint64_t start = list.size();
    return list + offsets + std::string(6, '\0') + '\4' + static_cast<char>(referenceSize) +
           bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(start, 8);
}

/// A binary list with this object under the key "k".
[[nodiscard]] inline std::string binaryListOf(const std::string &object) {
    return binaryList({"\xD1\x01\x02", "\x51k", object});
}

} // namespace vellomir::test
