#include "tests/PropertyLists/Lists.h"

#include <bit>
#include <clocale>
#include <cmath>

namespace vellomir {

using archive::Data;
using test::readValue;
using test::refusal;
using test::rewritten;
using test::xmlList;
using test::xmlListOf;
using testing::AllOf;
using testing::HasSubstr;

namespace {

PropertyListValue fromXml(const std::string &value) {
    return readValue(xmlListOf(value));
}

std::int64_t signedInteger(const std::string &text) {
    return std::get<std::int64_t>(fromXml("<integer>" + text + "</integer>").content);
}

double real(const std::string &text) {
    return std::get<PropertyListReal>(fromXml("<real>" + text + "</real>").content).value;
}

double date(const std::string &text) {
    return std::get<PropertyListDate>(fromXml("<date>" + text + "</date>").content).seconds;
}

std::string text(const std::string &xml) {
    return std::get<std::string>(fromXml("<string>" + xml + "</string>").content);
}

std::string data(const std::string &base64) {
    return std::string(std::get<Data>(fromXml("<data>" + base64 + "</data>").content).text());
}

TEST(XmlIntegers, CoverSignedAndUnsignedRanges) {
    EXPECT_EQ(signedInteger("0"), 0);
    EXPECT_EQ(signedInteger("-0"), 0);
    EXPECT_EQ(signedInteger("-1"), -1);
    EXPECT_EQ(signedInteger("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(signedInteger("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(fromXml("<integer>9223372036854775808</integer>"),
              PropertyListValue{std::uint64_t{1} << 63U});
    EXPECT_EQ(fromXml("<integer>18446744073709551615</integer>"), PropertyListValue{UINT64_MAX});
}

TEST(XmlIntegers, SignsZerosAndHexadecimalAreAccepted) {
    EXPECT_EQ(signedInteger(" \t\r\n+31 "), 31);
    EXPECT_EQ(signedInteger("0x1F"), 31);
    EXPECT_EQ(signedInteger("0Xff"), 255);
    EXPECT_EQ(signedInteger("-0x8000000000000000"), INT64_MIN);
    EXPECT_EQ(signedInteger("010"), 10);
}

TEST(XmlIntegers, MalformedTextsAreRefused) {
    for (const char *text : {"18446744073709551616", "-9223372036854775809", "-0x8000000000000001",
                             "0x10000000000000000", "12abc", "", " ", "1.5", "- 5", "+-5", "-+5",
                             "--5", "0x", "0xg", "0x-1", "1 2", "1_000", "\xD9\xA1"})
        EXPECT_THAT(refusal(xmlListOf("<integer>" + std::string(text) + "</integer>")),
                    AllOf(HasSubstr("line 3, \"k\""), HasSubstr("expected an integer")))
            << text;
    EXPECT_NE(refusal(xmlListOf("<integer/>")), "");
}

TEST(XmlReals, KeepTheirBits) {
    EXPECT_EQ(real("1.5"), 1.5);
    EXPECT_EQ(real(" +1.50 "), 1.5);
    EXPECT_EQ(real("2.5E-3"), 0.0025);
    EXPECT_EQ(real("1e300"), 1e300);
    EXPECT_EQ(real("5e-324"), 5e-324);
    EXPECT_EQ(real(".5"), 0.5);
    EXPECT_EQ(real("-12."), -12);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(real("-0.0")), std::uint64_t{1} << 63U);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(real("0")), 0U);
}

TEST(XmlReals, InfinityAndNaNHaveNames) {
    for (const char *text : {"inf", "+inf", "Infinity", "+infinity", "INF", "1e400"})
        EXPECT_EQ(real(text), INFINITY) << text;
    for (const char *text : {"-inf", "-infinity", "-1e400"})
        EXPECT_EQ(real(text), -INFINITY) << text;
    EXPECT_TRUE(std::isnan(real("nan")));
    EXPECT_TRUE(std::isnan(real("NaN")));
    EXPECT_EQ(real("1e-400"), 0);
    EXPECT_EQ(real("0." + std::string(400, '0') + "1e401"), 1);
}

TEST(XmlReals, MalformedTextsAreRefused) {
    for (const char *text : {"abc", "", "1,5", "+-1", "1.5x", "0x1p3", "1e", "--1", "infinit"})
        EXPECT_THAT(refusal(xmlListOf("<real>" + std::string(text) + "</real>")),
                    HasSubstr("expected a real number, found \"" + std::string(text)))
            << text;
}

TEST(XmlReals, DoNotDependOnTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    bool isComma = false;
    for (const char *name : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "C.UTF-8"})
        isComma = isComma || std::setlocale(LC_ALL, name) != nullptr;
    EXPECT_TRUE(isComma);
    EXPECT_EQ(rewritten(xmlListOf("<real>1.5</real>")), "<real>1.5</real>");
    EXPECT_EQ(real("1e400"), INFINITY);
    std::setlocale(LC_ALL, before.c_str());
}

TEST(XmlDates, AreSecondsSince2001) {
    EXPECT_EQ(date("2001-01-01T00:00:00Z"), 0);
    EXPECT_EQ(date("2001-01-01T00:00:01Z"), 1);
    EXPECT_EQ(date("1970-01-01T00:00:00Z"), -978307200);
    EXPECT_EQ(date("2024-02-29T23:59:59Z"), 730943999);
    EXPECT_EQ(date("0001-01-01T00:00:00Z"), -63113904000);
    EXPECT_EQ(date("9999-12-31T23:59:59Z"), 252423993599);
    EXPECT_EQ(date(" 2001-01-01T00:00:00Z\n"), 0);
}

TEST(XmlDates, FractionsAndShortFormsAreAccepted) {
    EXPECT_EQ(date("2001-01-01T00:00:00.5Z"), 0.5);
    EXPECT_EQ(date("2000-12-31T23:59:59.25Z"), -0.75);
    EXPECT_EQ(date("2001-01-02Z"), 86400);
    EXPECT_EQ(date("2001-01-01T02Z"), 7200);
    EXPECT_EQ(date("2001-01-01T00:02Z"), 120);
}

TEST(XmlDates, MalformedTextsAreRefused) {
    for (const char *text : {"garbage",
                             "",
                             "Z",
                             "2001Z",
                             "2001-01Z",
                             "2001-01-01",
                             "2001-01-01T00:00:00",
                             "2011-02-29T03:04:05Z",
                             "2011-13-02T03:04:05Z",
                             "2011-00-02T03:04:05Z",
                             "2011-01-00T03:04:05Z",
                             "2011-01-02T24:00:00Z",
                             "2011-01-02T23:60:00Z",
                             "2011-01-02T23:00:60Z",
                             "0000-01-01T00:00:00Z",
                             "-001-01-01T00:00:00Z",
                             "2011-01-02T03:04:05.Z",
                             "2011-01-02T03:04:05.5xZ",
                             "2011-01-02T03:04:0Z",
                             "2011-01-02 03:04:05Z",
                             "2011/01/02T03:04:05Z",
                             "12011-01-02T03:04:05Z",
                             "2011-01-02T03:04:05+01:00"})
        EXPECT_THAT(refusal(xmlListOf("<date>" + std::string(text) + "</date>")),
                    HasSubstr("expected a date like "))
            << text;
}

TEST(XmlData, IsBase64WithWhitespace) {
    EXPECT_EQ(data(""), "");
    EXPECT_EQ(data(" \n\t"), "");
    EXPECT_EQ(data("YQ=="), "a");
    EXPECT_EQ(data("YWI="), "ab");
    EXPECT_EQ(data("YWJj"), "abc");
    EXPECT_EQ(data("\n\tYW\r\n\tJj ZA = =\n"), "abcd");
    EXPECT_EQ(data("+/+/"), "\xFB\xFF\xBF");
}

TEST(XmlData, MalformedTextsAreRefused) {
    for (const char *text :
         {"AA*EC", "AAE", "AA==BB", "A===", "====", "=", "AA=A", "AAAA=", "_-_-"})
        EXPECT_THAT(refusal(xmlListOf("<data>" + std::string(text) + "</data>")),
                    HasSubstr("expected data in Base64"))
            << text;
}

TEST(XmlTexts, AreDecoded) {
    EXPECT_EQ(text(""), "");
    EXPECT_EQ(text(" a \n b "), " a \n b ");
    EXPECT_EQ(text("&amp;&lt;&gt;&quot;&apos;"), "&<>\"'");
    EXPECT_EQ(text("&#65;&#x42;&#x1F600;&#13;"), "AB\xF0\x9F\x98\x80\r");
    EXPECT_EQ(text("a<!-- no -->b<?no?>c<![CDATA[<&]]>"), "abc<&");
    EXPECT_EQ(text("a\r\nb\rc"), "a\nb\nc");
    EXPECT_EQ(text("\x7F"), "\x7F");
}

TEST(XmlTexts, MalformedTextsAreRefused) {
    for (const char *text : {"\x01", "&#0;", "&#1;", "&#xD800;", "&#1114112;", "&#xFFFE;", "&foo;",
                             "&amp", "a & b", "<b/>", "\xEF\xBF\xBF", "]]>"})
        EXPECT_THAT(refusal(xmlListOf("<string>" + std::string(text) + "</string>")),
                    HasSubstr("XML property list cannot be read: line 3, \"k\": expected"))
            << text;
}

/// Earlier versions refused duplicate keys, which other readers accept.
TEST(XmlDictionaries, LastDuplicateKeyCounts) {
    const auto list = PropertyList::parse(
        Data(xmlList("<key>a</key><string>1</string><key>b</key><true/>"
                     "<key>a</key><string>2</string><key>a</key><string>3</string>")));
    const auto &root = std::get<PropertyListDictionary>(list.value().content);
    ASSERT_EQ(root.size(), 2U);
    EXPECT_EQ(root[0].key, "a");
    EXPECT_EQ(root[0].value, PropertyListValue{std::string("3")});
    EXPECT_EQ(root[1].key, "b");
}

TEST(XmlDictionaries, SingleUIDKeyIsUID) {
    const auto uid = [](const std::string &number) {
        return fromXml("<dict><key>CF$UID</key><integer>" + number + "</integer></dict>");
    };
    EXPECT_EQ(uid("7"), PropertyListValue{PropertyListUID{7}});
    EXPECT_EQ(uid("18446744073709551615"), PropertyListValue{PropertyListUID{UINT64_MAX}});
    EXPECT_TRUE(std::holds_alternative<PropertyListDictionary>(uid("-1").content));
    for (const char *other :
         {"<dict><key>CF$UID</key><true/></dict>",
          "<dict><key>CF$UID</key><integer>1</integer><key>a</key><true/></dict>",
          "<dict><key>cf$uid</key><integer>1</integer></dict>"})
        EXPECT_TRUE(std::holds_alternative<PropertyListDictionary>(fromXml(other).content))
            << other;
    EXPECT_EQ(refusal(xmlList("<key>CF$UID</key><integer>1</integer>")), "");
}

TEST(XmlBooleans, HaveNoText) {
    EXPECT_EQ(fromXml("<true/>"), PropertyListValue{true});
    EXPECT_EQ(fromXml("<false></false>"), PropertyListValue{false});
    EXPECT_EQ(fromXml("<true> \n </true>"), PropertyListValue{true});
    EXPECT_THAT(refusal(xmlListOf("<true>x</true>")), HasSubstr("expected no text in <true>"));
}

TEST(XmlDocument, PlistElementDoctypeAndCommentsAreOptional) {
    for (const char *list :
         {"<dict/>", "<plist><dict/></plist>", "  \n<dict/>\n ", "<!-- a --><?b?><dict/><!-- c -->",
          "\n\t<?xml version='1.0'?><dict/>", "<plist a=\"x>y\"><dict b='1'/></plist >",
          "<?xml version=\"1.0\"?><!DOCTYPE plist SYSTEM \"x\"><plist><!-- --><dict/> </plist>\n",
          "<!DOCTYPE plist [<!ELEMENT plist ANY><!ATTLIST plist version CDATA \"1.0\">]><dict/>"})
        EXPECT_EQ(refusal(list), "") << list;
}

TEST(XmlDocument, OtherTopLevelElementsAreRefused) {
    for (const char *list : {"<array/>", "<string>x</string>", "<plist><true/></plist>"})
        EXPECT_THAT(refusal(list), HasSubstr("top level: expected a dictionary, found a")) << list;
}

TEST(XmlErrors, NameLineKeysAndExpectation) {
    EXPECT_THAT(refusal("\n\n<dict>\n<key>a</key>\n</dict>"),
                HasSubstr("The XML property list cannot be read: line 5, \"a\": expected a value, "
                          "found </dict>"));
    EXPECT_THAT(refusal(xmlListOf("<array><true/><dict>\n<key>x\x7Fy</key><foo/></dict></array>")),
                HasSubstr("line 4, \"k\" > 1 > \"x\\x7fy\": expected a value, found <foo>"));
    EXPECT_THAT(refusal(xmlList("<true/>")), HasSubstr("line 3: expected a <key>, found <true>"));
    EXPECT_THAT(refusal(xmlList("x")), HasSubstr("expected an element, found the text \"x\""));
    EXPECT_THAT(refusal("<dict>\n</array>"),
                HasSubstr("line 2: expected well-formed XML, but: mismatched tag"));
    EXPECT_THAT(refusal(xmlListOf("<string>" + std::string(100, 'x') + "<b/></string>")),
                HasSubstr("expected only text in <string>, found <b>"));
    EXPECT_THAT(refusal(xmlListOf("<real>" + std::string(59, 'x') + "\xC3\xA9yyy</real>")),
                HasSubstr("found \"" + std::string(59, 'x') + "...\""));
}

TEST(XmlErrors, LongPathsAreShortened) {
    std::string list = "<array>";
    for (int index = 0; index < 20; ++index)
        list += "<array>";
    EXPECT_THAT(refusal(xmlListOf(list + "<b/>")),
                HasSubstr("line 3, ... > 0 > 0 > 0 > 0 > 0 > 0 > 0 > 0: expected"));
}

TEST(XmlErrors, EveryMalformedListIsRefused) {
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
                             "<plist><plist><dict/></plist></plist>",
                             "<dict/><dict/>",
                             "<plist><dict/></plist>x",
                             "<plist><dict/><dict/></plist>",
                             "<plist><dict/>x</plist>",
                             "x<dict/>",
                             "<dict>x</dict>",
                             "<dict><true/></dict>",
                             "<dict><plist/></dict>",
                             "<dict><key>a</key><key>b</key><true/></dict>",
                             "<dict><key>a</key><array><key>a</key></array></dict>",
                             "<dict><key>a</key><null/></dict>",
                             "<dict><key>a</key><TRUE/></dict>",
                             "<dict><string>k</string><true/></dict>",
                             "<dict><key>a</key><string>x</strin></dict>",
                             "<dict><key>a</key><string>x",
                             "<dict><key>a</dict>",
                             "<!-- <dict/>",
                             "<![CDATA[x]]>",
                             "<dict a=\"></dict>",
                             "<?x",
                             "<key>a</key>",
                             "&"})
        EXPECT_NE(refusal(list), "") << list;
}

TEST(XmlErrors, TruncatedListsAreRefused) {
    const std::string list = xmlListOf("<array><string>x</string><dict/></array>");
    for (std::size_t size = 0; size < list.size() - 1; ++size)
        EXPECT_NE(refusal(list.substr(0, size)), "") << size;
}

TEST(XmlSecurity, EntityDeclarationsAreRefused) {
    const auto withSubset = [](const std::string &subset) {
        return refusal("<!DOCTYPE plist [" + subset +
                       "]><plist><dict><key>k</key><string>&a;</string></dict></plist>");
    };
    EXPECT_THAT(withSubset("<!ENTITY a \"x\">"),
                HasSubstr("expected no entities of its own, found \"a\""));
    EXPECT_NE(withSubset("<!ENTITY a SYSTEM \"file:///etc/hostname\">"), "");
    EXPECT_NE(withSubset("<!ENTITY % a SYSTEM \"http://localhost/\"> %a;"), "");
    EXPECT_THAT(refusal("<!DOCTYPE plist SYSTEM \"file:///etc/hostname\"><dict><key>&a;</key>"
                        "<true/></dict>"),
                HasSubstr("expected a known entity, found \"&a;\""));
    std::string laughs = "<!ENTITY a0 \"ha\">";
    for (int index = 1; index < 40; ++index) {
        const std::string before = "&a" + std::to_string(index - 1) + ';';
        laughs += "<!ENTITY a" + std::to_string(index) + " \"" + before + before + "\">";
    }
    EXPECT_NE(withSubset(laughs + "<!ENTITY a \"&a39;\">"), "");
}

/// Expat copies the declared attributes to every element of this name.
TEST(XmlSecurity, DeclaredAttributesAreLimited) {
    std::string subset;
    for (int index = 0; index < 101; ++index)
        subset += "<!ATTLIST dict a" + std::to_string(index) + " CDATA \"\">";
    EXPECT_THAT(refusal("<!DOCTYPE plist [" + subset + "]><dict/>"),
                HasSubstr("at most 100 declared attributes"));
}

TEST(XmlSecurity, NestingIsLimited) {
    const auto nested = [](std::size_t depth) {
        std::string list = "<dict><key>k</key>";
        for (std::size_t index = 0; index < depth; ++index)
            list += "<array>";
        for (std::size_t index = 0; index < depth; ++index)
            list += "</array>";
        return list + "</dict>";
    };
    EXPECT_EQ(refusal(nested(511)), "");
    EXPECT_THAT(refusal(nested(512)), HasSubstr("nested more than 512 deep"));
    EXPECT_THAT(refusal(nested(500'000)), HasSubstr("nested more than 512 deep"));
}

} // namespace

} // namespace vellomir
