#include "tests/PropertyLists/Lists.h"

#include <bit>
#include <cmath>

namespace vellomir {

using archive::Data;
using test::bigEndian;
using test::binaryList;
using test::binaryListOf;
using test::readValue;
using test::refusal;
using test::rewritten;
using test::writeRefusal;
using testing::AllOf;
using testing::HasSubstr;

namespace {

PropertyListValue fromBinary(const std::string &object) {
    return readValue(binaryListOf(object));
}

PropertyListValue integer(std::int64_t number) {
    return {number};
}

std::string z(const char *text, std::size_t size) {
    return {text, size};
}

std::string realObject(double value, const char *marker = "\x23") {
    return marker + bigEndian(std::bit_cast<std::uint64_t>(value), 8);
}

TEST(BinaryValues, IntegersOfEightBytesAreSigned) {
    EXPECT_EQ(fromBinary("\x10\xFF"), integer(255));
    EXPECT_EQ(fromBinary("\x11\xFF\xFE"), integer(65534));
    EXPECT_EQ(fromBinary("\x12\xFF\xFF\xFF\xFF"), integer(4294967295));
    EXPECT_EQ(fromBinary("\x13" + std::string(8, '\xFF')), integer(-1));
    EXPECT_EQ(fromBinary("\x13\x80" + std::string(7, '\0')), integer(INT64_MIN));
    EXPECT_EQ(fromBinary("\x14" + std::string(8, '\0') + std::string(8, '\xFF')),
              PropertyListValue{UINT64_MAX});
    EXPECT_EQ(fromBinary("\x14" + std::string(15, '\0') + "\x07"), integer(7));
    EXPECT_EQ(fromBinary("\x14" + std::string(16, '\xFF')), integer(-1));
}

TEST(BinaryValues, IntegersBeyond64BitsAreRefused) {
    for (const std::string &object : {"\x14" + std::string(7, '\0') + '\1' + std::string(8, '\0'),
                                      "\x14" + std::string(8, '\xFF') + std::string(8, '\0'),
                                      "\x14\x80" + std::string(15, '\0')})
        EXPECT_THAT(refusal(binaryListOf(object)),
                    AllOf(HasSubstr("byte 13, \"k\""), HasSubstr("an integer of at most 64 bits")));
    EXPECT_THAT(refusal(binaryListOf("\x15" + std::string(32, '\0'))),
                HasSubstr("expected an integer of 1, 2, 4, 8 or 16 bytes"));
}

TEST(BinaryValues, RealsKeepTheirBits) {
    const auto bits = [](const std::string &object) {
        return std::bit_cast<std::uint64_t>(
            std::get<PropertyListReal>(fromBinary(object).content).value);
    };
    EXPECT_EQ(bits("\x22\x3F\xC0" + z("\0\0", 2)), std::bit_cast<std::uint64_t>(1.5));
    EXPECT_EQ(bits(realObject(-0.0)), std::uint64_t{1} << 63U);
    EXPECT_EQ(bits(realObject(5e-324)), 1U);
    EXPECT_EQ(bits(realObject(-INFINITY)), 0xFFF0000000000000U);
    EXPECT_EQ(bits("\x23\x7F\xF8" + std::string(5, '\0') + "\x2A"), 0x7FF800000000002AU);
    EXPECT_EQ(rewritten(binaryListOf(realObject(-0.0))), "<real>-0</real>");
    EXPECT_EQ(rewritten(binaryListOf("\x23\xFF\xF8" + std::string(5, '\0') + "\x2A")),
              "<real>nan</real>");
}

TEST(BinaryValues, DatesKeepFractionsInMemory) {
    const auto date = [](double seconds) { return binaryListOf(realObject(seconds, "\x33")); };
    EXPECT_EQ(readValue(date(0.5)), PropertyListValue{PropertyListDate{0.5}});
    EXPECT_EQ(rewritten(date(0)), "<date>2001-01-01T00:00:00Z</date>");
    EXPECT_EQ(rewritten(date(0.999)), "<date>2001-01-01T00:00:00Z</date>");
    EXPECT_EQ(rewritten(date(-0.001)), "<date>2000-12-31T23:59:59Z</date>");
    EXPECT_EQ(rewritten(date(-63113904000)), "<date>0001-01-01T00:00:00Z</date>");
    EXPECT_EQ(rewritten(date(252423993599.75)), "<date>9999-12-31T23:59:59Z</date>");
}

TEST(BinaryValues, DatesOutsideYears1To9999AreNotWritten) {
    for (const double seconds : {-63113904000.5, 252423993600.0, 1e300, -1e300, double{NAN},
                                 double{INFINITY}, -double{INFINITY}})
        EXPECT_THAT(writeRefusal(binaryListOf(realObject(seconds, "\x33"))),
                    HasSubstr("\"k\": it is a date outside the years 1 to 9999"))
            << seconds;
}

TEST(BinaryValues, OtherKindsKeepTypeAndValue) {
    EXPECT_EQ(fromBinary("\x08"), PropertyListValue{false});
    EXPECT_EQ(fromBinary("\x09"), PropertyListValue{true});
    EXPECT_EQ(fromBinary(z("\x43\0\1\2", 4)),
              PropertyListValue{Data(std::string_view("\0\1\2", 3))});
    EXPECT_EQ(fromBinary("\x53"
                         "abc"),
              PropertyListValue{std::string("abc")});
    EXPECT_EQ(fromBinary(z("\x64\xD8\x3D\xDE\0\0\xE9\xFF\xFF", 9)),
              PropertyListValue{std::string("\xF0\x9F\x98\x80\xC3\xA9\xEF\xBF\xBF")});
    EXPECT_EQ(fromBinary("\xA0"), PropertyListValue{PropertyListArray()});
    EXPECT_EQ(fromBinary("\xD0"), PropertyListValue{PropertyListDictionary()});
}

TEST(BinaryValues, UIDsHaveUpTo64Bits) {
    EXPECT_EQ(fromBinary("\x80\x05"), PropertyListValue{PropertyListUID{5}});
    EXPECT_EQ(fromBinary("\x84\x01" + std::string(4, '\0')),
              PropertyListValue{PropertyListUID{std::uint64_t{1} << 32U}});
    EXPECT_EQ(fromBinary("\x87" + std::string(8, '\xFF')),
              PropertyListValue{PropertyListUID{UINT64_MAX}});
    EXPECT_EQ(fromBinary("\x8F" + std::string(15, '\0') + "\x09"),
              PropertyListValue{PropertyListUID{9}});
    EXPECT_THAT(refusal(binaryListOf("\x88\x01" + std::string(8, '\0'))),
                HasSubstr("expected a UID of at most 64 bits"));
    EXPECT_EQ(rewritten(binaryListOf("\x80\x05")),
              "<dict>\n\t\t<key>CF$UID</key>\n\t\t<integer>5</integer>\n\t</dict>");
}

TEST(BinaryValues, KindsUnknownToXmlAreReadButNotWritten) {
    const auto expect = [](const std::string &object, const std::string &reason) {
        EXPECT_EQ(refusal(binaryListOf(object)), "");
        EXPECT_THAT(writeRefusal(binaryListOf(object)),
                    AllOf(HasSubstr("cannot be written as XML: \"k\": "), HasSubstr(reason)));
    };
    expect("\x51\x01", "the character U+0001");
    expect(z("\x53"
             "a\0b",
             4),
           "the character U+0000");
    expect(z("\x61\0\x1F", 3), "the character U+001F");
    expect("\x61\xFF\xFE", "the character U+FFFE");
    expect(z("\0", 1), "null");
    EXPECT_EQ(fromBinary(z("\0", 1)), PropertyListValue{PropertyListNull()});
    EXPECT_THAT(writeRefusal(binaryList({"\xD1\x01\x02", "\x51\x1B", "\x09"})),
                HasSubstr("\"\\x1b\": a text has the character U+001B"));
}

TEST(BinaryValues, UnknownKindsAreRefused) {
    for (const std::string &object :
         {std::string("\x0F"), std::string("\x01"), "\x21" + std::string(2, '\0'),
          "\x24" + std::string(16, '\0'), "\x32" + std::string(4, '\0'),
          std::string("\x61\xD8\x3D"), std::string("\x62\xDE\x00\xD8\x3D", 5),
          std::string("\x51\xE9"), std::string("\xC1\x01"), std::string("\x70"),
          std::string("\x90"), std::string("\xB0"), std::string("\xE0"), std::string("\xF0")})
        EXPECT_THAT(refusal(binaryListOf(object)),
                    HasSubstr("The binary property list cannot be read: byte 13, \"k\": expected"))
            << testing::PrintToString(object);
    EXPECT_THAT(refusal(binaryList({"\xD1\x01\x02", "\x10\x05", "\x09"})),
                HasSubstr("byte 11: expected a text as the key, found an object of type 1"));
    EXPECT_THAT(refusal(binaryList({"\xA0"})), HasSubstr("expected a dictionary, found an array"));
    EXPECT_THAT(refusal("bplist15" + std::string(40, '\0')),
                HasSubstr("byte 6: expected a version that begins with 0"));
}

TEST(BinarySizes, SizesFrom15AreIntegerObjects) {
    const std::string text(300, 'x');
    EXPECT_EQ(fromBinary("\x5F\x11\x01\x2C" + text), PropertyListValue{text});
    EXPECT_EQ(fromBinary("\x5F\x10\x0F" + text), PropertyListValue{text.substr(0, 15)});
    EXPECT_EQ(fromBinary("\x5F\x13" + bigEndian(2, 8) + text),
              PropertyListValue{text.substr(0, 2)});
}

TEST(BinarySizes, ReferencesHaveUpToEightBytes) {
    for (int size = 1; size <= 8; ++size) {
        const std::string top = "\xD1" + bigEndian(1, size) + bigEndian(2, size);
        EXPECT_EQ(readValue(binaryList({top, "\x51k", "\x09"}, size)), PropertyListValue{true});
    }
}

TEST(BinaryDictionaries, LastDuplicateKeyCounts) {
    EXPECT_EQ(readValue(binaryList({"\xD2\x01\x01\x02\x03", "\x51k", "\x08", "\x09"})),
              PropertyListValue{true});
}

TEST(BinaryDictionaries, SharedValuesAreCopied) {
    const std::string list = binaryList({"\xD2\x01\x02\x03\x03", "\x51k", "\x51l", "\x51v"});
    EXPECT_EQ(PropertyList::parse(Data(list)).text("l"), "v");
    EXPECT_EQ(PropertyList::parse(Data(list)).text("k"), "v");
}

TEST(BinaryDamage, ErrorNamesTheByte) {
    EXPECT_THAT(refusal(binaryList({"\xD1\x01\x07", "\x51k"})),
                HasSubstr("expected an object number below 2, found 7"));
    EXPECT_THAT(refusal(binaryList({"\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "\x51k"})),
                HasSubstr("found the end"));
    EXPECT_THAT(refusal(binaryList({"\xDF\x51k"})),
                HasSubstr("byte 9: expected an integer for the size"));
    EXPECT_NE(refusal(binaryList({})), "");
    const std::string list = binaryListOf("\x09");
    for (std::size_t size = 6; size < list.size(); ++size)
        EXPECT_THAT(refusal(list.substr(0, size)), HasSubstr("byte ")) << size;
    for (std::size_t index = list.size() - 26; index < list.size(); ++index)
        for (const char value : {'\0', '\x7F', '\xFF'}) {
            std::string damaged = list;
            damaged[index] = value;
            static_cast<void>(refusal(damaged)); // must neither crash nor hang
        }
}

TEST(BinaryDamage, CyclesAreRefused) {
    EXPECT_THAT(refusal(binaryList({"\xD1\x01\x02", "\x51k", "\xA1\x02"})),
                HasSubstr("\"k\" > 0: expected a value that does not contain itself"));
    EXPECT_THAT(refusal(binaryList({z("\xD1\x01\x00", 3), "\x51k"})),
                HasSubstr("does not contain itself"));
}

/// Each array contains the next one twice, so the size doubles with each level.
TEST(BinaryDamage, ExponentialExpansionIsLimited) {
    std::vector<std::string> doubling = {"\xD1\x01\x02", "\x51k"};
    for (char index = 3; index < 60; ++index)
        doubling.push_back("\xA2" + std::string(2, index));
    doubling.emplace_back("\x09");
    EXPECT_THAT(refusal(binaryList(doubling)), HasSubstr("more than 1000000 values"));
}

TEST(BinaryDamage, SharedTextsAreLimited) {
    const std::string text = "\x5F\x12" + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x');
    EXPECT_THAT(refusal(binaryList(
                    {"\xD1\x01\x02", "\x51k", "\xAF\x10\x28" + std::string(40, '\3'), text})),
                HasSubstr("\"k\" > 31: the texts and data have more than 32 MiB"));
}

TEST(BinaryDamage, NestingIsLimited) {
    const auto nested = [](std::uint64_t depth) {
        std::vector<std::string> objects = {"\xD1" + bigEndian(1, 2) + bigEndian(2, 2), "\x51k"};
        for (std::uint64_t index = 1; index < depth; ++index)
            objects.push_back("\xA1" + bigEndian(index + 2, 2));
        objects.emplace_back("\xA0");
        return refusal(binaryList(objects, 2));
    };
    EXPECT_EQ(nested(511), "");
    EXPECT_THAT(nested(512), HasSubstr("nested more than 512 deep"));
}

} // namespace

} // namespace vellomir
