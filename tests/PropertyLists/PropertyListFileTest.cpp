#include "Vellomir/PropertyLists/PropertyListFile.h"

#include "tests/PropertyLists/Lists.h"

namespace vellomir {

using archive::Data;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// The list with another text for the key.
std::string changed(std::string_view list, const std::string &key, const std::string &text) {
    auto file = PropertyListFile::parse(Data(list));
    file.list().setText(key, text);
    return file.data().text();
}

TEST(PropertyListFile, BinaryAndXmlKeepTheirFormat) {
    EXPECT_THAT(changed(test::binaryListOf("\x51v"), "k", "new"), StartsWith("bplist00"));
    EXPECT_EQ(test::readValue(changed(test::binaryListOf("\x51v"), "k", "new")),
              PropertyListValue{std::string("new")});
    EXPECT_THAT(changed(test::xmlListOf("<string>v</string>"), "k", "new"),
                HasSubstr("<key>k</key>\n\t<string>new</string>"));
}

TEST(PropertyListFile, OldTextIsChangedInPlace) {
    EXPECT_EQ(changed("// first\r\nk = v ;\r\nx=y;", "k", "n\"\\"),
              "// first\r\nk = \"n\\\"\\\\\" ;\r\nx=y;");
    EXPECT_EQ(changed("{x = {k = v;}; k = (1);}", "x", "y"), "{x = \"y\"; k = (1);}");
    EXPECT_EQ(changed("k; x;", "x", "y"), "k; x = \"y\";");
}

TEST(PropertyListFile, ManyDuplicateKeysAreChangedInOnePass) {
    std::string text;
    std::string expected;
    for (int index = 0; index < 200'000; ++index) {
        text += "k=v;";
        expected += "k=\"n\";";
    }
    EXPECT_TRUE(changed(text, "k", "n") == expected);
}

TEST(PropertyListFile, OldTextWithOtherChangesBecomesXml) {
    EXPECT_THAT(changed("k = v;", "added", "a"), StartsWith("<?xml"));
    auto file = PropertyListFile::parse(Data("k = v; l = (v);"));
    file.list().remove("k");
    EXPECT_THAT(file.data().text(), StartsWith("<?xml"));
}

TEST(PropertyListFile, BlankTextIsEmptyDictionary) {
    for (const std::string_view text : {"", " \n", "/* a */", "// a", "\xFF\xFE", "\xEF\xBB\xBF"})
        EXPECT_TRUE(PropertyListFile::parse(Data(text)).list().members().empty()) << text;
    EXPECT_THROW(static_cast<void>(PropertyListFile::parse(Data("/* a"))), Error);
}

TEST(PropertyListFile, RefusesWhatPropertyListRefuses) {
    for (const std::string_view text : {"bplist00", "<array/>", "{", "(a)", "\xFF\xFF"})
        EXPECT_THROW(static_cast<void>(PropertyListFile::parse(Data(text))), Error) << text;
    EXPECT_THROW(static_cast<void>(PropertyListFile::parse(
                     Data(std::string(PropertyList::maximumSize + 1, ' ')))),
                 Error);
}

} // namespace

} // namespace vellomir
