#include "tests/PropertyLists/Lists.h"

namespace vellomir {

using archive::Data;
using test::refusal;
using testing::HasSubstr;

namespace {

std::string utf16(std::string_view ascii, bool isBig, bool hasMark) {
    std::string text = !hasMark ? "" : isBig ? "\xFE\xFF" : "\xFF\xFE";
    for (const char character : ascii)
        text += isBig ? std::string{'\0', character} : std::string{character, '\0'};
    return text;
}

std::string declared(const std::string &encoding, const std::string &text) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding +
           "\"?>\n<plist><dict><key>k</key><string>" + text + "</string></dict></plist>";
}

std::string read(const std::string &list) {
    return PropertyList::parse(Data(std::string_view(list))).text("k").value_or("nothing");
}

TEST(XmlEncodings, DeclaredEncodingIsUsed) {
    EXPECT_EQ(read(declared("ISO-8859-1", "caf\xE9 \x80")), "caf\xC3\xA9 \xC2\x80");
    EXPECT_EQ(read(declared("windows-1252", "\x80 caf\xE9")), "\xE2\x82\xAC caf\xC3\xA9");
    EXPECT_EQ(read(declared("macintosh", "caf\x8E \xDB\xC6\xF0")),
              "caf\xC3\xA9 \xE2\x82\xAC\xE2\x88\x86\xEF\xA3\xBF");
    EXPECT_EQ(read(declared("x-mac-roman", "caf\x8E")), "caf\xC3\xA9");
    EXPECT_EQ(read(declared("GBK", "\xD6\xD0\xB9\xFA")), "\xE4\xB8\xAD\xE5\x9B\xBD");
    EXPECT_EQ(read(declared("gb2312", "\xD6\xD0")), "\xE4\xB8\xAD");
    EXPECT_EQ(read(declared("Shift_JIS", "\\~\x93\xFA")), "\\~\xE6\x97\xA5");
    EXPECT_EQ(read(declared("UTF-8", "caf\xC3\xA9")), "caf\xC3\xA9");
    EXPECT_EQ(read(declared("US-ASCII", "cafe")), "cafe");
}

/// The second byte of both characters is "|" or "<" in ASCII.
TEST(XmlEncodings, MultiByteCharactersMayContainMarkup) {
    EXPECT_EQ(read(declared("GBK", "\x81\x7C")), "\xE4\xBA\x85");
    EXPECT_EQ(read(declared("Shift_JIS", "\x83\x5C")), "\xE3\x82\xBD");
    EXPECT_EQ(read(declared("GB18030", "\x81\x30\x81\x30")), "\xC2\x80");
}

TEST(XmlEncodings, OnlyWellFormedDeclarationsAreUsed) {
    const std::string rest = "<dict><key>k</key><string>\xE9</string></dict>";
    for (const char *declaration :
         {"<?xml version='1.0' encoding='iso-8859-1'?>",
          "<?xml version='1.0' encoding = \"Latin1\" ?>",
          "\n <?xml version='1.0'\n\tencoding=\"ISO-8859-1\" standalone='yes'?>"})
        EXPECT_EQ(read(declaration + rest), "\xC3\xA9") << declaration;
    for (const char *declaration :
         {"", "<?xml version='1.0'?>", "<?xml-x encoding='ISO-8859-1'?>",
          "<?xml version='1.0' encoding?>", "<?xml version='1.0' encoding=ISO-8859-1?>",
          "<!-- encoding='ISO-8859-1' -->"})
        EXPECT_THAT(refusal(declaration + rest), HasSubstr("expected text in UTF-8"))
            << declaration;
}

TEST(XmlEncodings, ErrorNamesUnknownEncoding) {
    for (const char *name : {"klingon", "UTF-7", "ISO-2022-CN-EXT", "UTF-8//IGNORE", "", "../x"}) {
        const std::string list = declared(name, "caf\xE9");
        if (std::string(name).empty())
            EXPECT_THAT(refusal(list), HasSubstr("expected text in UTF-8"));
        else
            EXPECT_THAT(refusal(list), HasSubstr("its encoding \"")) << name;
    }
    EXPECT_THAT(refusal(declared("Klingon\x1B", "x")), HasSubstr("\"klingon\\x1b\" is not known"));
}

TEST(XmlEncodings, ErrorNamesInvalidByte) {
    EXPECT_THAT(refusal(declared("windows-1252", "\x81")),
                HasSubstr("byte 79: expected text in windows-1252"));
    EXPECT_THAT(refusal(declared("GBK", "\xD6")), HasSubstr("expected text in gbk"));
    EXPECT_THAT(refusal(declared("UTF-8", "caf\xE9")),
                HasSubstr("byte 75: expected text in UTF-8"));
    EXPECT_THAT(refusal("<dict>\x80"), HasSubstr("byte 6"));
}

TEST(XmlEncodings, ByteOrderMarksAndZerosOverrideDeclarations) {
    const std::string list = declared("ISO-8859-1", "v");
    for (const std::string &text :
         {"\xEF\xBB\xBF" + declared("ISO-8859-1", "\xC3\xA9"),
          utf16(declared("UTF-16", ""), true, true).insert(2 + 2 * 73, std::string("\0\xE9", 2))})
        EXPECT_EQ(read(text), "\xC3\xA9");
    for (const std::string &text : {utf16(list, true, true), utf16(list, false, true),
                                    utf16(list, true, false), utf16(list, false, false)})
        EXPECT_EQ(read(text), "v");
    EXPECT_EQ(read(declared("UTF-16", "caf\xC3\xA9")), "caf\xC3\xA9");
}

TEST(Encodings, SurrogatePairsAreDecodedAndUnpairedOnesRefused) {
    const auto list = [](const std::string &unit) {
        return utf16("<dict><key>k</key><string>", true, true) + unit +
               utf16("</string></dict>", true, false);
    };
    EXPECT_EQ(read(list(std::string("\xD8\x3D\xDE\x00", 4))), "\xF0\x9F\x98\x80");
    EXPECT_THAT(refusal(list("\xD8\x3D")), HasSubstr("byte 54: expected text in UTF-16"));
    EXPECT_NE(refusal(list(std::string("\xDE\x00", 2))), "");
    EXPECT_NE(refusal(list("\x01")), "");
}

TEST(Encodings, InvalidUTF8IsRefused) {
    for (const char *bytes :
         {"\xE9", "\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE0\x80\x80",
          "\xF0\x80\x80\x80", "\x80", "\xC3", "\xF8\x88\x80\x80\x80"})
        for (const std::string &list :
             {test::xmlListOf("<string>" + std::string(bytes) + "</string>"),
              "{k=\"" + std::string(bytes) + "\";}"})
            EXPECT_THAT(refusal(list), HasSubstr("expected text in UTF-8")) << list;
    for (const char *bytes : {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                              "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBD"})
        EXPECT_EQ(read("{k=\"" + std::string(bytes) + "\";}"), bytes);
}

/// Each unit as many bytes, with the mark in front.
std::string utf32(const std::u32string &text, bool isBig, bool hasMark) {
    std::string bytes;
    for (const char32_t character : (hasMark ? U"\uFEFF" : U"") + text)
        for (unsigned index = 0; index < 4; ++index)
            bytes += static_cast<char>((character >> 8 * (isBig ? 3 - index : index)) & 0xFFU);
    return bytes;
}

TEST(Encodings, ListsMayBeUTF32) {
    for (const bool isBig : {true, false})
        for (const bool hasMark : {true, false}) {
            EXPECT_EQ(read(utf32(U"{k = \"\u00E9\U0001F600\";}", isBig, hasMark)),
                      "\xC3\xA9\xF0\x9F\x98\x80");
            EXPECT_EQ(read(utf32(U"<dict><key>k</key><string>v</string></dict>", isBig, hasMark)),
                      "v");
        }
    EXPECT_THAT(refusal(utf32(U"{k = \"", true, true) + std::string("\0\0\xD8\0", 4)),
                HasSubstr("byte 28: expected text in UTF-32"));
    EXPECT_THAT(refusal(utf32(U"{}", true, true) + "\x01"), HasSubstr("byte 12"));
}

/// The first character, a line separator, is "( " or " (" in bytes.
TEST(Encodings, UTF16IsFoundByZerosBehindTheFirstCharacter) {
    for (const bool isBig : {true, false})
        EXPECT_EQ(read((isBig ? "\x20\x28" : "\x28\x20") + utf16("k = vv;", isBig, false)), "vv");
}

TEST(Encodings, RareZerosDoNotMakeUTF16) {
    std::string list = "{k = \"" + std::string(100, 'v') + "\";}";
    list[50] = '\0';
    EXPECT_EQ(read(list), list.substr(6, 100));
}

TEST(Encodings, OldTextMayBeUTF16) {
    for (const bool isBig : {true, false})
        for (const bool hasMark : {true, false})
            EXPECT_EQ(read(utf16("{k = \"v\r\";}", isBig, hasMark)), "v\r");
    EXPECT_EQ(read("\xEF\xBB\xBF{k = v;}"), "v");
}

} // namespace

} // namespace vellomir
