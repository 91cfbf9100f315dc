#include "tests/PropertyLists/Lists.h"

#include "Vellomir/PropertyLists/XmlWriter.h"
#include "archive/Archive.h"

#include <cmath>

namespace vellomir {

using archive::Data;
using testing::HasSubstr;

namespace {

constexpr const char *head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                             "<plist version=\"1.0\">\n";

std::string write(const PropertyListValue &value) {
    return std::string(writeXmlPropertyList(value, nullptr).text());
}

/// The XML without the lines around the value.
std::string body(const PropertyListValue &value) {
    const std::string xml = write(value);
    const std::size_t start = std::string(head).size();
    return xml.substr(start, xml.rfind("\n</plist>") - start);
}

std::string refusal(const PropertyListValue &value) {
    try {
        return write(value);
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PropertyListError::unwritablePropertyList);
        return error.what();
    }
}

PropertyListValue text(const std::string &text) {
    return {text};
}

TEST(XmlWriter, WritesEveryKind) {
    const PropertyListArray list = {
        text("x"), {PropertyListArray()}, {PropertyListUID{UINT64_MAX}}};
    const PropertyListDictionary root = {{"z", text("1")},
                                         {"a", {std::int64_t{-1}}},
                                         {"big", {UINT64_MAX}},
                                         {"r", {PropertyListReal{1.5}}},
                                         {"t", {true}},
                                         {"f", {false}},
                                         {"when", {PropertyListDate{0}}},
                                         {"bytes", {Data(std::string_view("\0\1\2", 3))}},
                                         {"none", {Data()}},
                                         {"list", {list}},
                                         {"empty", {PropertyListDictionary()}}};
    EXPECT_EQ(write({root}),
              std::string(head) +
                  "<dict>\n"
                  "\t<key>z</key>\n\t<string>1</string>\n"
                  "\t<key>a</key>\n\t<integer>-1</integer>\n"
                  "\t<key>big</key>\n\t<integer>18446744073709551615</integer>\n"
                  "\t<key>r</key>\n\t<real>1.5</real>\n"
                  "\t<key>t</key>\n\t<true/>\n"
                  "\t<key>f</key>\n\t<false/>\n"
                  "\t<key>when</key>\n\t<date>2001-01-01T00:00:00Z</date>\n"
                  "\t<key>bytes</key>\n\t<data>\n\tAAEC\n\t</data>\n"
                  "\t<key>none</key>\n\t<data>\n\t</data>\n"
                  "\t<key>list</key>\n\t<array>\n\t\t<string>x</string>\n\t\t<array/>\n"
                  "\t\t<dict>\n\t\t\t<key>CF$UID</key>\n"
                  "\t\t\t<integer>18446744073709551615</integer>\n\t\t</dict>\n"
                  "\t</array>\n"
                  "\t<key>empty</key>\n\t<dict/>\n"
                  "</dict>\n</plist>\n");
}

TEST(XmlWriter, EscapesTexts) {
    EXPECT_EQ(body(text("<&>\"'\t\n\r]]>\xC3\xA9\xF0\x9F\x98\x80\x7F")),
              "<string>&lt;&amp;&gt;\"'\t\n&#13;]]&gt;\xC3\xA9\xF0\x9F\x98\x80\x7F</string>");
}

TEST(XmlWriter, WritesShortestReals) {
    const auto real = [](double value) { return body({PropertyListReal{value}}); };
    EXPECT_EQ(real(0.1), "<real>0.1</real>");
    EXPECT_EQ(real(1e22), "<real>1e+22</real>");
    EXPECT_EQ(real(5e-324), "<real>5e-324</real>");
    EXPECT_EQ(real(-0.0), "<real>-0</real>");
    EXPECT_EQ(real(INFINITY), "<real>+infinity</real>");
    EXPECT_EQ(real(-INFINITY), "<real>-infinity</real>");
    EXPECT_EQ(real(NAN), "<real>nan</real>");
    EXPECT_EQ(real(-NAN), "<real>nan</real>");
}

TEST(XmlWriter, BreaksDataIntoLines) {
    const std::string full(76, 'A');
    EXPECT_EQ(body({Data(std::string(57, '\0'))}), "<data>\n" + full + "\n</data>");
    EXPECT_EQ(body({Data(std::string(115, '\0'))}),
              "<data>\n" + full + '\n' + full + "\nAA==\n</data>");
}

TEST(XmlWriter, IndentsUpToSixteenLevels) {
    PropertyListValue value = text("x");
    for (int level = 0; level < 20; ++level)
        value = {PropertyListArray{value}};
    EXPECT_THAT(body(value), HasSubstr("\n" + std::string(16, '\t') + "<string>x</string>\n"));
}

TEST(XmlWriter, RefusesInvalidXmlValues) {
    for (const std::string &bad :
         {std::string("\x01"), std::string("a\0b", 3), std::string("\xFF"),
          std::string("\xEF\xBF\xBE"), std::string("\xEF\xBF\xBF"), std::string("\xED\xA0\x80"),
          std::string("\x0B"), std::string("\x1F")}) {
        EXPECT_THAT(refusal(text(bad)), HasSubstr("cannot be written as XML: a text "));
        const PropertyListArray array = {text("x"), {PropertyListDictionary{{"b\n", text(bad)}}}};
        EXPECT_THAT(refusal({PropertyListDictionary{{"a", {array}}}}),
                    HasSubstr("\"a\" > 1 > \"b\\x0a\": a text "));
        EXPECT_THAT(refusal({PropertyListDictionary{{bad, text("x")}}}), HasSubstr(": a text "));
    }
    EXPECT_THAT(refusal({}), HasSubstr("null"));
}

TEST(XmlWriter, RefusesDeepValues) {
    PropertyListValue value = {PropertyListArray()};
    for (int level = 0; level < 513; ++level) {
        PropertyListArray array;
        array.push_back(std::move(value));
        value = {std::move(array)};
    }
    EXPECT_THAT(refusal(value), HasSubstr("nested more than 512 deep"));
}

TEST(XmlWriter, CanBeCancelled) {
    const auto progress = archive::Progress::make();
    EXPECT_GT(writeXmlPropertyList(text("x"), progress.get()).size(), 0U);
    progress->cancel();
    try {
        static_cast<void>(writeXmlPropertyList(text("x"), progress.get()));
        ADD_FAILURE() << "not heard";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), archive::Archive::ArchiveError::cancelledOperation);
    }
}

} // namespace

} // namespace vellomir
