#include "Vellomir/Platform/PropertyList.h"
#include "tests/Vellomir/JobFixture.h"

#include <clocale>
#include <gmock/gmock.h>

using archive::Data;
using archive::Error;
using test::plist;
using testing::AllOf;
using testing::HasSubstr;
using vellomir::PropertyList;
using vellomir::PropertyListError;

namespace {

Data bytes(std::string_view text) {
    return Data(text);
}

/// Of one value under the key "k", after reading and writing it.
std::string rewritten(const std::string &value) {
    const Data xml = PropertyList::parse(bytes(plist("<key>k</key>" + value))).xmlData();
    std::string text(xml.text());
    const std::string start = "<key>k</key>\n\t";
    const std::size_t from = text.find(start) + start.size();
    return text.substr(from, text.rfind("\n</dict>") - from);
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

std::string refusalOfValue(const std::string &value) {
    return refusal(plist("<key>k</key>" + value));
}

std::string utf16(std::string_view ascii, bool isBig, bool hasMark) {
    std::string text = !hasMark ? "" : isBig ? "\xFE\xFF" : "\xFF\xFE";
    for (const char character : ascii)
        text += isBig ? std::string{'\0', character} : std::string{character, '\0'};
    return text;
}

// --- Editing ----------------------------------------------------------------------------------

TEST(APropertyList, GivesTextsAndNothingElseAsText) {
    const auto list = PropertyList::parse(bytes(plist("<key>a</key><string>1 &lt; 2</string>"
                                                      "<key>b</key><integer>2</integer>"
                                                      "<key>c</key><string/>")));
    EXPECT_EQ(list.text("a"), "1 < 2");
    EXPECT_EQ(list.text("b"), std::nullopt);
    EXPECT_EQ(list.text("c"), "");
    EXPECT_EQ(list.text("d"), std::nullopt);
}

TEST(APropertyList, KeepsTheOrderOfItsKeysWhenItIsChanged) {
    auto list = PropertyList::parse(bytes(plist("<key>z</key><string>1</string>"
                                                "<key>gone</key><dict/>"
                                                "<key>m</key><integer>2</integer>"
                                                "<key>a</key><true/>")));
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

TEST(APropertyList, IsWrittenAsXmlOfVersionOne) {
    const Data xml = PropertyList::parse(bytes(plist(""))).xmlData();
    EXPECT_THAT(std::string(xml.text()),
                AllOf(HasSubstr("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist"),
                      HasSubstr("<plist version=\"1.0\">\n<dict/>\n</plist>\n")));
}

TEST(APropertyList, IsNotWrittenWithTextsThatXmlCannotHold) {
    for (const std::string &text : {std::string("\x01"), std::string("a\0b", 3),
                                    std::string("\xFF"), std::string("\xEF\xBF\xBE")}) {
        auto list = PropertyList::parse(bytes(plist("")));
        list.setText("k", text);
        try {
            static_cast<void>(list.xmlData());
            ADD_FAILURE() << "written: " << text;
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), PropertyListError::unwritablePropertyList);
        }
    }
}

TEST(APropertyList, IsReadAndWrittenAlikeInEveryLocale) {
    const char *const before = std::setlocale(LC_ALL, nullptr);
    const std::string saved = before == nullptr ? "C" : before;
    for (const char *name : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "C.UTF-8"})
        if (std::setlocale(LC_ALL, name) != nullptr)
            break;
    EXPECT_EQ(rewritten("<real>1.5</real>"), "<real>1.5</real>");
    std::setlocale(LC_ALL, saved.c_str());
}

// --- XML --------------------------------------------------------------------------------------

TEST(Xml, ValuesKeepTheirTypeAndValue) {
    for (const char *value : {"<integer>0</integer>",
                              "<integer>-1</integer>",
                              "<integer>18446744073709551615</integer>",
                              "<integer>-9223372036854775808</integer>",
                              "<real>1.5</real>",
                              "<real>0.0</real>",
                              "<real>+infinity</real>",
                              "<real>-infinity</real>",
                              "<real>nan</real>",
                              "<real>1e-300</real>",
                              "<true/>",
                              "<false/>",
                              "<date>2011-01-02T03:04:05Z</date>",
                              "<date>1969-12-31T23:59:59Z</date>",
                              "<date>9999-12-31T23:59:59Z</date>",
                              "<string></string>",
                              "<string> a \n b </string>",
                              "<string>&amp;&lt;&gt;</string>",
                              "<string>a&#13;\nb</string>",
                              "<string>\xF0\x9F\x98\x80</string>",
                              "<data>\n\tAAEC\n\t</data>",
                              "<data>\n\t</data>",
                              "<array/>",
                              "<dict/>"})
        EXPECT_EQ(rewritten(value), value);
}

TEST(Xml, ManySpellingsAreReadAsOneValue) {
    EXPECT_EQ(rewritten("<integer> +0x1F </integer>"), "<integer>31</integer>");
    EXPECT_EQ(rewritten("<integer>010</integer>"), "<integer>10</integer>");
    EXPECT_EQ(rewritten("<real>inf</real>"), "<real>+infinity</real>");
    EXPECT_EQ(rewritten("<real>+1.50</real>"), "<real>1.5</real>");
    EXPECT_EQ(rewritten("<string>a<!-- no -->b<![CDATA[<&]]>&#65;&#x42;</string>"),
              "<string>ab&lt;&amp;AB</string>");
    EXPECT_EQ(rewritten("<string foo=\"a>b\">x</string >"), "<string>x</string>");
    EXPECT_EQ(rewritten("<true></true>"), "<true/>");
    EXPECT_EQ(rewritten("<string>a\r\nb\rc</string>"), "<string>a\nb\nc</string>");
}

TEST(Xml, TheFrameMayBeMissingOrLarger) {
    for (const char *list :
         {"<dict/>", "<plist><dict/></plist>", "  \n<dict/>\n ", "<!-- a --><?b?><dict/><!-- c -->",
          "<?xml version=\"1.0\"?><!DOCTYPE plist SYSTEM \"x\"><plist><!-- --><dict/> </plist>\n"})
        EXPECT_EQ(refusal(list), "") << list;
}

TEST(Xml, WhatCannotBeKeptIsRefused) {
    for (const char *value : {"<integer>18446744073709551616</integer>",
                              "<integer>-9223372036854775809</integer>",
                              "<integer>12abc</integer>",
                              "<integer></integer>",
                              "<integer/>",
                              "<integer>1.5</integer>",
                              "<integer>- 5</integer>",
                              "<integer>+-5</integer>",
                              "<real>abc</real>",
                              "<real/>",
                              "<real>1e400</real>",
                              "<real>1,5</real>",
                              "<real>-0.0</real>",
                              "<date>garbage</date>",
                              "<date/>",
                              "<date>2011-01-02T03:04:05.5Z</date>",
                              "<date>2011-02-29T03:04:05Z</date>",
                              "<date>2011-13-02T03:04:05Z</date>",
                              "<date>2011-01-02T24:00:00Z</date>",
                              "<date>0000-01-01T00:00:00Z</date>",
                              "<date>0001-01-01T00:00:00Z</date>",
                              "<data>AA*EC</data>",
                              "<data>AAE</data>",
                              "<data>AA==BB</data>",
                              "<data>A===</data>",
                              "<data>====</data>",
                              "<true>x</true>",
                              "<foo/>",
                              "<null/>",
                              "<TRUE/>",
                              "<string>\x01</string>",
                              "<string>&#0;</string>",
                              "<string>&#xD800;</string>",
                              "<string>&#1114112;</string>",
                              "<string>&foo;</string>",
                              "<string>&amp</string>",
                              "<string>a & b</string>",
                              "<string><b/></string>",
                              "<array><key>a</key></array>"})
        EXPECT_NE(refusalOfValue(value), "") << value;
}

TEST(Xml, WhatIsMalformedIsRefusedWithItsLine) {
    EXPECT_THAT(refusal("<dict>\n<key>a</key>\n</dict>"), HasSubstr("Line 3"));
    EXPECT_THAT(refusal("<dict>\n<key>a</key><string>1</string>\n<key>a</key><true/></dict>"),
                AllOf(HasSubstr("Line 3"), HasSubstr("\"a\" stands twice")));
    EXPECT_THAT(refusal(plist("<key>k</key><integer>x</integer>")),
                HasSubstr("\"x\" is no valid <integer>"));
    for (const char *list : {"",
                             " ",
                             "<",
                             "<>",
                             "</>",
                             "<dict",
                             "<dict>",
                             "<dict></array>",
                             "</dict>",
                             "<plist>",
                             "<plist></plist>",
                             "<plist><dict/>",
                             "<dict/><dict/>",
                             "<plist><dict/></plist>x",
                             "<plist><dict/><dict/></plist>",
                             "x<dict/>",
                             "<dict>x</dict>",
                             "<dict><true/></dict>",
                             "<dict><key>a</key><key>b</key><true/></dict>",
                             "<dict><string>k</string><true/></dict>",
                             "<dict><key>a</key><string>x</strin></dict>",
                             "<dict><key>a</key><string>x",
                             "<dict><key>a</dict>",
                             "<!-- <dict/>",
                             "<![CDATA[x]]>",
                             "<dict a=\"></dict>",
                             "<?x",
                             "&"})
        EXPECT_NE(refusal(list), "") << list;
}

TEST(Xml, AnyOtherTopLevelThanADictionaryIsRefused) {
    for (const char *list : {"<array/>", "<string>x</string>", "<plist><true/></plist>"})
        EXPECT_THAT(refusal(list), HasSubstr("no dictionary"));
}

TEST(Xml, EntitiesOfItsOwnAreRefused) {
    EXPECT_NE(refusal("<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;\">]>"
                      "<plist><dict><key>k</key><string>&b;</string></dict></plist>"),
              "");
    EXPECT_NE(refusal("<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><dict/>"), "");
}

TEST(Xml, NestingHasALimitAndTheStackIsSafe) {
    const auto nested = [](std::size_t depth) {
        std::string list = "<dict><key>k</key>";
        for (std::size_t index = 0; index < depth; ++index)
            list += "<array>";
        for (std::size_t index = 0; index < depth; ++index)
            list += "</array>";
        return list + "</dict>";
    };
    EXPECT_EQ(refusal(nested(500)), "");
    EXPECT_THAT(refusal(nested(513)), HasSubstr("too deeply"));
    EXPECT_THAT(refusal(nested(500'000)), HasSubstr("too deeply"));
}

TEST(Xml, ALargeListIsReadAndALargerOneIsNot) {
    std::string content;
    for (int index = 0; index < 100'000; ++index)
        content += "<key>" + std::to_string(index) + "</key><integer>" + std::to_string(index) +
                   "</integer>";
    const auto list = PropertyList::parse(bytes(plist(content)));
    EXPECT_THAT(std::string(list.xmlData().text()),
                HasSubstr("<key>99999</key>\n\t<integer>99999"));
    EXPECT_THAT(refusal(std::string(PropertyList::maximumSize + 1, ' ')), HasSubstr("larger"));
}

TEST(Xml, ACutListIsRefusedWhereverItIsCut) {
    const std::string list = test::notesPlist();
    for (std::size_t size = 0; size < list.size() - 1; ++size)
        EXPECT_NE(refusal(list.substr(0, size)), "") << size;
}

// --- Encodings --------------------------------------------------------------------------------

TEST(Encodings, ByteOrderMarksAndUTF16AreUnderstood) {
    const std::string list = plist("<key>k</key><string>v</string>");
    for (const std::string &text :
         {"\xEF\xBB\xBF" + list, utf16(list, true, true), utf16(list, false, true),
          utf16(list, true, false), utf16(list, false, false)})
        EXPECT_EQ(PropertyList::parse(bytes(text)).text("k"), "v");
}

TEST(Encodings, PairsOfUTF16MakeOneCharacterAndHalvesAreRefused) {
    const auto list = [](const std::string &unit) {
        return utf16("<dict><key>k</key><string>", true, true) + unit +
               utf16("</string></dict>", true, false);
    };
    EXPECT_EQ(PropertyList::parse(bytes(list(std::string("\xD8\x3D\xDE\x00", 4)))).text("k"),
              "\xF0\x9F\x98\x80");
    EXPECT_NE(refusal(list("\xD8\x3D")), "");
    EXPECT_NE(refusal(list(std::string("\xDE\x00", 2))), "");
    EXPECT_NE(refusal(list("\x01")), "");
}

TEST(Encodings, BytesThatAreNoUTF8AreRefused) {
    for (const char *text : {"\xE9", "\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
        EXPECT_NE(refusalOfValue("<string>" + std::string(text) + "</string>"), "");
}

// --- The old text format ----------------------------------------------------------------------

/// The dictionary's content as XML, without line ends and indents.
std::string fromOld(const std::string &text) {
    const Data xml = PropertyList::parse(bytes(text)).xmlData();
    std::string content(xml.text().substr(xml.text().find("<dict>")));
    content.erase(content.find("\n</plist>"));
    std::erase_if(content, [](char character) { return character == '\n' || character == '\t'; });
    return content;
}

TEST(TheOldFormat, HoldsTextsDataArraysAndDictionaries) {
    EXPECT_EQ(fromOld("{ bare = a.b-c/d:$_1; \"quoted key\" = 'single'; empty = \"\"; }"),
              "<dict><key>bare</key><string>a.b-c/d:$_1</string>"
              "<key>quoted key</key><string>single</string>"
              "<key>empty</key><string></string></dict>");
    EXPECT_EQ(fromOld("{list=(a,\"b c\",(),{x=y;},);bytes=<0fB0 1\n2>;none=<>;}"),
              "<dict><key>list</key><array><string>a</string><string>b c</string><array/>"
              "<dict><key>x</key><string>y</string></dict></array>"
              "<key>bytes</key><data>D7AS</data><key>none</key><data></data></dict>");
    EXPECT_EQ(
        fromOld("{number = 12; yes = YES;}"),
        "<dict><key>number</key><string>12</string><key>yes</key><string>YES</string></dict>");
}

TEST(TheOldFormat, MayHaveCommentsAndNoOuterBraces) {
    EXPECT_EQ(fromOld("// one\n/* two\n*/ \"Hello\" = /**/ \"Hallo\"; // three\nshort;"),
              "<dict><key>Hello</key><string>Hallo</string>"
              "<key>short</key><string>short</string></dict>");
}

TEST(TheOldFormat, EscapesAreUnderstood) {
    EXPECT_EQ(fromOld(R"({a = "\"\'\\\101\60\n\t\U00e9\Ud83d\Ude00\q";})"),
              "<dict><key>a</key><string>\"'\\A0\xC3\xA9\xF0\x9F\x98\x80q</string></dict>");
    EXPECT_EQ(fromOld("{a = \"\xC3\xA9\";}"), "<dict><key>a</key><string>\xC3\xA9</string></dict>");
}

TEST(TheOldFormat, WhatIsMalformedIsRefusedWithItsLine) {
    EXPECT_THAT(refusal("{\na = b\n}"), AllOf(HasSubstr("Line 3"), HasSubstr("\";\" is missing")));
    EXPECT_THAT(refusal("{a=1;a=2;}"), HasSubstr("stands twice"));
    for (const char *text : {"{",
                             "{a",
                             "{a=",
                             "{a=b",
                             "{a=b;",
                             "{a=b}",
                             "{a=\"b",
                             "{a=(b;}",
                             "{a=(b c);}",
                             "{a=<0>;}",
                             "{a=<0g>;}",
                             "{a=<00;}",
                             "{a=;}",
                             "{=b;}",
                             "{a=b;};",
                             "{a=b;}x",
                             "{/*",
                             "{a=\"\\",
                             "{a=\"\\U12\";}",
                             "{a=\"\\Ud83d\";}",
                             "{a=\"\\Ude00\";}",
                             "{a=\"\\200\";}",
                             "{a=\"\\1\x01\";}",
                             "{a=\x01;}",
                             "}",
                             "a=b",
                             "(a)",
                             "\"a\"",
                             "a"})
        EXPECT_NE(refusal(text), "") << text;
    EXPECT_NE(refusal(std::string("{a=\"b\0c\";}", 10)), "");
}

TEST(TheOldFormat, NestingHasALimit) {
    EXPECT_THAT(refusal("{a=" + std::string(600'000, '(')), HasSubstr("too deeply"));
    EXPECT_THAT(refusal("{a=" + std::string(510, '(') + std::string(510, ')') + ";}"), "");
}

} // namespace
