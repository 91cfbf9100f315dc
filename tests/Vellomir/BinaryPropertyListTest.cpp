#include "Vellomir/Platform/PropertyList.h"

#include <gmock/gmock.h>

using archive::Data;
using archive::Error;
using testing::HasSubstr;
using vellomir::PropertyList;
using vellomir::PropertyListError;

namespace {

Data bytes(std::string_view text) {
    return Data(text);
}

/// What the refusal says; "" if there is none.
std::string refusal(std::string_view list) {
    try {
        static_cast<void>(PropertyList::parse(bytes(list)));
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PropertyListError::unreadablePropertyList);
        EXPECT_EQ(error.name(), "PropertyListError.unreadablePropertyList");
        return error.what();
    }
    return "";
}

/// A binary property list of these objects; the first is the top.
std::string binary(const std::vector<std::string> &objects) {
    const auto number = [](std::uint64_t value, int size) {
        std::string text;
        while (size-- > 0)
            text += static_cast<char>(value >> (8 * size));
        return text;
    };
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string &object : objects) {
        offsets += number(list.size(), 4);
        list += object;
    }
    const std::uint64_t start = list.size();
    return list + offsets + std::string(6, '\0') + "\x04\x01" + number(objects.size(), 8) +
           number(0, 8) + number(start, 8);
}

/// A dictionary with one key, "k", and this value.
std::string binaryValue(const std::string &value) {
    return binary({"\xD1\x01\x02", "\x51k", value});
}

std::string fromBinary(const std::string &value) {
    const Data xml = PropertyList::parse(bytes(binaryValue(value))).xmlData();
    const std::string text(xml.text());
    const std::string start = "<key>k</key>\n\t";
    const std::size_t from = text.find(start) + start.size();
    return text.substr(from, text.rfind("\n</dict>") - from);
}

std::string z(const char *text, std::size_t size) {
    return {text, size};
}

TEST(Binary, ValuesKeepTheirTypeAndValue) {
    EXPECT_EQ(fromBinary("\x10\xFF"), "<integer>255</integer>");
    EXPECT_EQ(fromBinary("\x11\xFF\xFF"), "<integer>65535</integer>");
    EXPECT_EQ(fromBinary("\x12\xFF\xFF\xFF\xFF"), "<integer>4294967295</integer>");
    EXPECT_EQ(fromBinary("\x13" + std::string(8, '\xFF')), "<integer>-1</integer>");
    EXPECT_EQ(fromBinary("\x14" + std::string(8, '\0') + std::string(8, '\xFF')),
              "<integer>18446744073709551615</integer>");
    EXPECT_EQ(fromBinary("\x22\x3F\xC0" + z("\0\0", 2)), "<real>1.5</real>");
    EXPECT_EQ(fromBinary("\x23\x3F\xF8" + std::string(6, '\0')), "<real>1.5</real>");
    EXPECT_EQ(fromBinary("\x33" + std::string(8, '\0')), "<date>2001-01-01T00:00:00Z</date>");
    EXPECT_EQ(fromBinary("\x08"), "<false/>");
    EXPECT_EQ(fromBinary("\x09"), "<true/>");
    EXPECT_EQ(fromBinary(z("\x43\0\1\2", 4)), "<data>\n\tAAEC\n\t</data>");
    EXPECT_EQ(fromBinary("\x53"
                         "abc"),
              "<string>abc</string>");
    EXPECT_EQ(fromBinary(z("\x62\xD8\x3D\xDE\0", 5)), "<string>\xF0\x9F\x98\x80</string>");
    EXPECT_EQ(fromBinary("\x80\x05"),
              "<dict>\n\t\t<key>CF$UID</key>\n\t\t<integer>5</integer>\n\t</dict>");
    EXPECT_EQ(fromBinary("\xA0"), "<array/>");
    EXPECT_EQ(fromBinary("\xD0"), "<dict/>");
}

TEST(Binary, SizesFromFifteenOnStandInAnIntegerOfTheirOwn) {
    const std::string text(300, 'x');
    EXPECT_EQ(fromBinary("\x5F\x11\x01\x2C" + text), "<string>" + text + "</string>");
    EXPECT_EQ(fromBinary("\x5F\x10\x0F" + text), "<string>" + text.substr(0, 15) + "</string>");
}

TEST(Binary, WhatCannotBeKeptIsRefused) {
    const std::vector<std::string> values = {
        z("\x00", 1),                                                // null
        "\x0F",                                                      // fill
        "\x14" + std::string(7, '\0') + '\1' + std::string(8, '\0'), // 2^64
        "\x14" + std::string(16, '\xFF'),                            // -1 in 128 bits
        "\x15" + std::string(32, '\0'),
        "\x21" + std::string(2, '\0'),
        "\x23\x80" + std::string(7, '\0'),     // -0.0
        "\x33\x3F\xE0" + std::string(6, '\0'), // half a second
        "\x33\x7F\xF8" + std::string(6, '\0'), // no number
        "\x33\x7F\xE0" + std::string(6, '\0'), // far beyond
        "\x32" + std::string(4, '\0'),
        z("\x53"
          "a\0b",
          4),
        z("\x61\0\0", 3),
        "\x61\xD8\x3D", // half a character
        "\x51\xE9",
        "\x51\x01",
        "\xC1\x01", // a set
        "\x70",
        "\x90",
        "\xB0",
        "\xE0",
        "\xF0",
    };
    for (const std::string &value : values)
        EXPECT_NE(refusal(binaryValue(value)), "") << Data(std::string_view(value)).size();
    EXPECT_NE(refusal(binary({"\xD1\x01\x02", "\x10\x05", "\x09"})), "") << "a key that is no text";
    EXPECT_THAT(refusal(binary({"\xD2\x01\x01\x02\x02", "\x51k", "\x09"})),
                HasSubstr("stands twice"));
    EXPECT_THAT(refusal(binary({"\xA0"})), HasSubstr("no dictionary"));
}

TEST(Binary, DamageIsRefused) {
    EXPECT_NE(refusal(binary({"\xD1\x01\x07", "\x51k"})), "") << "a reference to nothing";
    EXPECT_NE(refusal(binary({"\xD1\x01", "\x51k"})), "") << "a reference missing";
    EXPECT_NE(refusal(binary({"\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "\x51k"})), "");
    EXPECT_NE(refusal(binary({"\xDF\x51k"})), "") << "a size that is text";
    EXPECT_NE(refusal(binary({})), "");
    const std::string list = binaryValue("\x09");
    for (std::size_t size = 6; size < list.size(); ++size)
        EXPECT_NE(refusal(list.substr(0, size)), "") << size;
    for (std::size_t index = list.size() - 26; index < list.size(); ++index)
        for (const char value : {'\0', '\x7F', '\xFF'}) {
            std::string damaged = list;
            damaged[index] = value;
            static_cast<void>(refusal(damaged)); // must neither crash nor hang
        }
}

TEST(Binary, CirclesAndBombsEnd) {
    EXPECT_THAT(refusal(binary({"\xD1\x01\x02", "\x51k", "\xA1\x02"})), HasSubstr("in themselves"));
    EXPECT_THAT(refusal(binary({std::string("\xD1\x01\x00", 3), "\x51k"})),
                HasSubstr("in themselves"));
    std::vector<std::string> doubling = {"\xD1\x01\x02", "\x51k"};
    for (char index = 3; index < 60; ++index)
        doubling.push_back("\xA2" + std::string(2, index));
    doubling.emplace_back("\x09");
    EXPECT_THAT(refusal(binary(doubling)), HasSubstr("grow beyond"));
}

TEST(Binary, SharedValuesAreToldOnceForEachUse) {
    EXPECT_EQ(
        PropertyList::parse(bytes(binary({"\xD2\x01\x02\x03\x03", "\x51k", "\x51l", "\x51v"})))
            .text("l"),
        "v");
}

} // namespace
