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

/// The list in the folder of a language, with another text for the key.
std::string changedIn(std::string_view language, std::string_view list, const std::string &text) {
    auto file = PropertyListFile::parse(Data(list), nullptr, language);
    file.list().setText("k", text);
    return file.data().text();
}

TEST(PropertyListFile, OldTextKeepsItsCharacterSet) {
    EXPECT_EQ(changedIn("de", "/* f\x9Fr */ k = \"f\x9Fr\"; x = \"\xA9\";", "f\xC3\xBCr2"),
              "/* f\x9Fr */ k = \"f\x9Fr2\"; x = \"\xA9\";");
    EXPECT_EQ(changedIn("de", "/* f\xFCr */ k = \"f\xFCr\";", "f\xC3\xBCr2"),
              "/* f\xFCr */ k = \"f\xFCr2\";");
    // The second byte of these characters is a backslash.
    EXPECT_EQ(changedIn("Japanese", "x = \"\x83\x5C\"; k = \"\x83\x5C\";", "\xE3\x82\xBD\"2"),
              "x = \"\x83\x5C\"; k = \"\x83\x5C\\\"2\";");
    EXPECT_EQ(changedIn("zh_TW", "x = \"\xA5\x5C\"; k;", "\xE5\x8A\x9F"),
              "x = \"\xA5\x5C\"; k = \"\xA5\x5C\";");
}

TEST(PropertyListFile, SetWithoutACharacterBecomesUTF16) {
    const std::string list = changedIn("de", "k = \"f\x9Fr\";", "\xCE\xA9\xE5\x8A\x9F");
    EXPECT_EQ(list, std::string("\xFF\xFEk\0 \0=\0 \0\"\0\xA9\x03\x9F\x52\"\0;\0", 20));
}

TEST(PropertyListFile, OnlyOldTextOfALanguageIsGuessed) {
    for (const auto &[language, text] :
         {std::pair("", "k = \"\x9F\";"), std::pair("ja", "k = \"\xFF\xFD\";"),
          std::pair("de", "<dict><key>k</key><string>\x9F</string></dict>")})
        EXPECT_THROW(static_cast<void>(
                         PropertyListFile::parse(Data(std::string_view(text)), nullptr, language)),
                     Error)
            << text;
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
