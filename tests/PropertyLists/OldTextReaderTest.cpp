#include "tests/PropertyLists/Lists.h"

namespace vellomir {

using archive::Data;
using test::readValue;
using test::refusal;
using test::writeRefusal;
using testing::AllOf;
using testing::HasSubstr;

namespace {

PropertyListValue text(const std::string &text) {
    return {text};
}

std::string quotedText(const std::string &quoted) {
    return std::get<std::string>(readValue("{k = \"" + quoted + "\";}").content);
}

PropertyListDictionary members(std::string_view list) {
    return std::get<PropertyListDictionary>(PropertyList::parse(Data(list)).value().content);
}

TEST(OldText, HoldsTextsDataArraysAndDictionaries) {
    EXPECT_EQ(members("{ bare = a.b-c/d:$_1; \"quoted key\" = 'single'; empty = \"\"; }"),
              (PropertyListDictionary{{"bare", text("a.b-c/d:$_1")},
                                      {"quoted key", text("single")},
                                      {"empty", text("")}}));
    const PropertyListArray list = {
        text("a"), text("b c"), {PropertyListArray()}, {PropertyListDictionary{{"x", text("y")}}}};
    EXPECT_EQ(readValue("{k=(a,\"b c\",(),{x=y;},);}"), PropertyListValue{list});
    EXPECT_EQ(readValue("{k=<0fB0 1\n2>;}"),
              PropertyListValue{Data(std::string_view("\x0F\xB0\x12"))});
    EXPECT_EQ(readValue("{k=<>;}"), PropertyListValue{Data()});
    EXPECT_EQ(readValue("{k=12;}"), text("12"));
    EXPECT_EQ(readValue("{k=YES;}"), text("YES"));
}

TEST(OldText, LastDuplicateKeyCounts) {
    EXPECT_EQ(members("{a=1;b=2;a=3;}"),
              (PropertyListDictionary{{"a", text("3")}, {"b", text("2")}}));
}

TEST(OldText, OuterBracesMayBeMissing) {
    EXPECT_EQ(members("// one\r/* two\n*/ \"Hello\" = /**/ \"Hallo\"; // three\nshort;"),
              (PropertyListDictionary{{"Hello", text("Hallo")}, {"short", text("short")}}));
}

TEST(OldText, UnicodeLineEndsAreWhitespace) {
    EXPECT_EQ(readValue("\xE2\x80\xA8{k\xE2\x80\xA9=\x0B\x0C v;}"), text("v"));
}

TEST(OldTextQuotes, KeepLineEndsAndControlCharacters) {
    EXPECT_EQ(quotedText("a\rb\r\nc\nd"), "a\rb\r\nc\nd");
    EXPECT_EQ(quotedText("\x01\x7F"), "\x01\x7F");
    EXPECT_EQ(quotedText(std::string("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(quotedText("\xC3\xA9 // /* '"), "\xC3\xA9 // /* '");
    EXPECT_THAT(writeRefusal(std::string("{k=(a,\"\x02\");}")),
                HasSubstr("\"k\" > 1: a text has the character U+0002, which XML cannot hold"));
}

TEST(OldTextQuotes, EscapesAreDecoded) {
    EXPECT_EQ(quotedText(R"(\"\'\\\a\b\f\n\r\t\v\q)"), "\"'\\\a\b\f\n\r\t\vq");
    EXPECT_EQ(quotedText(R"(\U00e9\Ud83d\Ude00\U0000)"),
              std::string("\xC3\xA9\xF0\x9F\x98\x80\0", 7));
    EXPECT_EQ(quotedText(R"(\101\60\1018)"), "A0A8");
    EXPECT_EQ(quotedText("a\\\nb"), "a\nb");
}

TEST(OldTextQuotes, OctalEscapesBeyondASCIIAreNextStepCharacters) {
    EXPECT_EQ(quotedText(R"(\200\326\331\341\350\371\374\377)"),
              "\xC2\xA0\xC3\xA1\xC3\xA4\xC3\x86\xC5\x81\xC3\xB8\xC3\xBE\xEF\xBF\xBD");
    EXPECT_THAT(refusal(R"({k="\400";})"), HasSubstr("expected an octal number up to 377"));
}

TEST(OldTextErrors, NameLineKeysAndExpectation) {
    EXPECT_THAT(refusal("{\na = b\n}"),
                HasSubstr("The old-style text property list cannot be read: line 3: expected "
                          "\";\", found \"}\""));
    EXPECT_THAT(refusal("{\r\na =\r(x, {b=\n;});}"),
                HasSubstr("line 4, \"a\" > 1 > \"b\": expected a text, found \";\""));
    EXPECT_THAT(refusal("{a=\"b"),
                HasSubstr("expected the closing quote of a text, found the end"));
    EXPECT_THAT(refusal("{a=\xC3\xA9;}"), HasSubstr("expected a text, found \"\xC3\xA9\""));
    EXPECT_THAT(refusal("a"), HasSubstr("expected a dictionary, found a text"));
    EXPECT_THAT(refusal("(a)"), HasSubstr("expected a dictionary, found an array"));
}

TEST(OldTextErrors, EveryMalformedListIsRefused) {
    for (const char *list : {"",
                             "{",
                             "{a",
                             "{a=",
                             "{a=b",
                             "{a=b;",
                             "{a=b}",
                             "{a=(b;}",
                             "{a=(b c);}",
                             "{a=(,);}",
                             "{a=<0>;}",
                             "{a=<0g>;}",
                             "{a=<00;}",
                             "{a=<",
                             "{a=<0",
                             "{a=;}",
                             "{=b;}",
                             "{a=b;};",
                             "{a=b;}x",
                             "{/*",
                             "{/*/ }",
                             "{a=\"\\",
                             "{a=\"\\U",
                             "{a=\"\\U12\";}",
                             "{a=\"\\Ud83d\";}",
                             "{a=\"\\Ud83d",
                             "{a=\"\\Ud83dx\";}",
                             "{a=\"\\Ude00\";}",
                             "{a=\x01;}",
                             "}",
                             "a=b",
                             "a;}",
                             "\"a\""})
        EXPECT_NE(refusal(list), "") << list;
    EXPECT_NE(refusal(std::string("{a=b;}\0", 7)), "");
    EXPECT_NE(refusal(std::string("{a\0b;}", 6)), "");
}

TEST(OldTextErrors, NestingIsLimited) {
    EXPECT_THAT(refusal("{a=" + std::string(600'000, '(')), HasSubstr("nested more than 512 deep"));
    EXPECT_EQ(refusal("{a=" + std::string(511, '(') + std::string(511, ')') + ";}"), "");
    EXPECT_NE(refusal("{a=" + std::string(512, '(') + std::string(512, ')') + ";}"), "");
}

/// Each value takes two bytes.
TEST(OldTextErrors, MillionsOfValuesAreRefused) {
    std::string list = "{k=(";
    while (list.size() < PropertyList::maximumSize - 10)
        list += "a,";
    EXPECT_THAT(refusal(list + ");}"), HasSubstr("there are more than 1000000 values"));
}

} // namespace

} // namespace vellomir
