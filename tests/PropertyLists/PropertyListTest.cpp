#include "tests/PropertyLists/Lists.h"

#include "archive/Archive.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace vellomir {

using archive::Data;
using archive::Progress;
using test::refusal;
using test::writeRefusal;
using test::xmlList;
using test::xmlListOf;
using testing::HasSubstr;

namespace {

PropertyList parse(std::string_view list) {
    return PropertyList::parse(Data(list));
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}

std::string binaryOf(const std::string &text) {
    return test::binaryListOf("\x5F\x12" + test::bigEndian(text.size(), 4) + text);
}

TEST(PropertyListEdits, OnlyTextsAreReturned) {
    const auto list = parse(xmlList("<key>a</key><string>1 &lt; 2</string>"
                                    "<key>b</key><integer>2</integer>"
                                    "<key>c</key><string/>"));
    EXPECT_EQ(list.text("a"), "1 < 2");
    EXPECT_EQ(list.text("b"), std::nullopt);
    EXPECT_EQ(list.text("c"), "");
    EXPECT_EQ(list.text("d"), std::nullopt);
}

TEST(PropertyListEdits, KeepTheOrderOfKeys) {
    auto list = parse(xmlList("<key>z</key><string>1</string><key>gone</key><dict/>"
                              "<key>m</key><integer>2</integer><key>a</key><true/>"));
    list.setText("z", "<&>\"'");
    list.remove("gone");
    list.remove("never there");
    list.setTexts("m", {"x", "y"});
    list.setText("new", "\xC3\xA9");
    EXPECT_THAT(std::string(list.xmlData().text()),
                HasSubstr("<dict>\n"
                          "\t<key>z</key>\n\t<string>&lt;&amp;&gt;\"'</string>\n"
                          "\t<key>m</key>\n\t<array>\n\t\t<string>x</string>\n"
                          "\t\t<string>y</string>\n\t</array>\n"
                          "\t<key>a</key>\n\t<true/>\n"
                          "\t<key>new</key>\n\t<string>\xC3\xA9</string>\n"
                          "</dict>"));
}

TEST(PropertyListEdits, ChangeACopyAndNotTheOriginal) {
    const auto list = parse(xmlListOf("<string>1</string>"));
    auto copy = list;
    copy.setText("k", "2");
    EXPECT_EQ(list.text("k"), "1");
    EXPECT_EQ(copy.text("k"), "2");
}

TEST(PropertyListEdits, InvalidXmlTextFailsWhenWritten) {
    for (const std::string &text : {std::string("\x01"), std::string("a\0b", 3),
                                    std::string("\xFF"), std::string("\xEF\xBF\xBE")}) {
        auto list = parse(xmlList(""));
        list.setText("k", text);
        EXPECT_EQ(list.text("k"), text);
        EXPECT_THROW(static_cast<void>(list.xmlData()), Error);
        list.setText("k", "x");
        EXPECT_NO_THROW(static_cast<void>(list.xmlData()));
    }
}

/// One list of each format that can hold a control character.
TEST(PropertyListEdits, ControlCharactersElsewhereFailOnlyWhenWritten) {
    for (const std::string &list : {test::binaryListOf("\x51\x01"), std::string("{k=\"\x01\";}")}) {
        auto parsed = parse(list);
        parsed.setText("a", "b");
        EXPECT_EQ(parsed.text("k"), "\x01");
        EXPECT_THAT(writeRefusal(list), HasSubstr("\"k\": a text has the character U+0001"));
    }
}

TEST(PropertyListLimits, SizeIsCheckedBeforeReading) {
    EXPECT_THAT(refusal(std::string(PropertyList::maximumSize + 1, ' ')),
                HasSubstr("expected at most 16777216 bytes, found 16777217"));
    const std::string list = xmlListOf("<true/>");
    EXPECT_EQ(refusal(list + std::string(PropertyList::maximumSize - list.size(), ' ')), "");
}

TEST(PropertyListLimits, HundredThousandKeysAreAccepted) {
    std::string content;
    for (int index = 0; index < 100'000; ++index)
        content += "<key>" + std::to_string(index % 60'000) + "</key><integer>" +
                   std::to_string(index) + "</integer>";
    const std::string xml(parse(xmlList(content)).xmlData().text());
    EXPECT_THAT(xml, HasSubstr("<key>39999</key>\n\t<integer>99999</integer>\n"
                               "\t<key>40000</key>\n\t<integer>40000</integer>"));
}

TEST(PropertyListLimits, MillionsOfValuesAreRefused) {
    const std::size_t count = 2'000'000;
    EXPECT_THAT(refusal(xmlListOf("<array>" + repeated("<true/>", count) + "</array>")),
                HasSubstr("\"k\" > 999998: there are more than 1000000 values"));
    const std::string array = "\xAF\x12" + test::bigEndian(8'000'000, 4);
    EXPECT_THAT(refusal(test::binaryList(
                    {"\xD1\x01\x02", "\x51k", array + repeated("\3", 8'000'000), "\x09"})),
                HasSubstr("there are more than 1000000 values"));
}

/// Each of these took minutes in an earlier version.
TEST(PropertyListLimits, MegabytesOfCarriageReturnsAndEntitiesAreAccepted) {
    const std::size_t count = 2 << 20;
    const std::string returns = repeated("\r", count);
    for (const std::string &list :
         {xmlListOf("<string>" + repeated("&#13;", count) + "</string>"), binaryOf(returns),
          "{k=\"" + returns + "\";}", "{k=\"" + repeated("\\r", count) + "\";}"}) {
        const auto parsed = parse(list);
        EXPECT_TRUE(parsed.text("k") == returns);
        EXPECT_TRUE(parse(parsed.xmlData().text()).value() == parsed.value());
    }
    const auto ampersands = parse(xmlListOf("<string>" + repeated("&amp;", count) + "</string>"));
    EXPECT_TRUE(ampersands.text("k") == repeated("&", count));
    EXPECT_TRUE(parse(ampersands.xmlData().text()).value() == ampersands.value());
    EXPECT_TRUE(parse(xmlListOf("<string>" + returns + "</string>")).text("k") ==
                repeated("\n", count));
}

TEST(PropertyListLimits, MegabytesOfMarkupAreAccepted) {
    const std::size_t size = PropertyList::maximumSize - 1000;
    EXPECT_EQ(refusal("<!--" + std::string(size, 'x') + "--><dict/>"), "");
    EXPECT_EQ(refusal(repeated("<?a?>", size / 5) + "<dict/>"), "");
    EXPECT_EQ(refusal(repeated("/**/", size / 4) + "{}"), "");
    EXPECT_NE(refusal("<" + std::string(size, 'x')), "");
    EXPECT_NE(refusal("<dict>" + repeated("<dict ", size / 6)), "");
    EXPECT_NE(refusal(repeated("<a '", size / 4)), "");
}

/// Expat reads a tag in one step and stores all names of attributes.
TEST(PropertyListLimits, MillionsOfAttributesAreRefused) {
    const std::string value(60'000, '>');
    EXPECT_EQ(refusal("<!-- <a '" + std::string(70'000, 'x') + "--><plist a='" + value +
                      "'><dict/></plist>"),
              "");
    EXPECT_THAT(refusal("<!-- \n -->\n<plist a='" + value + "' b='" + value + "'><dict/></plist>"),
                HasSubstr("line 3: expected tags of at most 65536 bytes"));
    const std::string tag = "<true a='' b='' c='' d='' e='' f='' g='' h='' i='' j=''/>";
    const auto tags = [&](std::size_t count) {
        return refusal(xmlListOf("<array>" + repeated(tag, count) + "</array>"));
    };
    EXPECT_EQ(tags(9'999), "");
    EXPECT_THAT(tags(10'001), HasSubstr("expected at most 100000 attributes"));
}

TEST(PropertyListCancellation, WorksInEveryFormat) {
    const auto progress = Progress::make();
    progress->cancel();
    for (const std::string &list :
         {xmlListOf("<true/>"), test::binaryListOf("\x09"), std::string("{k=v;}"),
          std::string("<?xml version='1.0' encoding='GBK'?><dict/>")})
        try {
            static_cast<void>(PropertyList::parse(Data(std::string_view(list)), progress.get()));
            ADD_FAILURE() << "not heard";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), archive::Archive::ArchiveError::cancelledOperation);
        }
    EXPECT_THROW(static_cast<void>(parse(xmlList("")).xmlData(progress.get())), Error);
}

/// Another thread cancels while lists are parsed again and again.
TEST(PropertyListCancellation, WorksFromAnotherThread) {
    const auto progress = Progress::make();
    const Data list(xmlListOf("<array>" + repeated("<true/>", 10'000) + "</array>"));
    std::atomic<bool> hasBegun = false;
    std::thread other([&] {
        while (!hasBegun)
            std::this_thread::yield();
        progress->cancel();
    });
    const auto parseForever = [&] {
        while (true) {
            static_cast<void>(PropertyList::parse(list, progress.get()));
            hasBegun = true;
        }
    };
    EXPECT_THROW(parseForever(), Error);
    other.join();
}

} // namespace

} // namespace vellomir
