// Decoding names, and making text printable.

#include "archive/TextEncoding.h"

#include "archive/Data.h"
#include "files/ASCII.h"
#include "tests/support/Hex.h"
#include "tests/support/Referee.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

namespace vellomir::archive {

using test::hex;

namespace {

std::vector<std::string> python(const std::string &script, const std::string &argument = {}) {
    const test::Verdict verdict = test::run({"python3", "-c", script, argument});
    EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
    std::istringstream text(verdict.output);
    std::vector<std::string> words;
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

std::string asText(std::string_view hexDigits) {
    return std::string(test::fromHex(hexDigits).text());
}

// --- Code page 437 ----------------------------------------------------------------------------

TEST(CodePage437, AgreesWithPython) {
    const auto expected = python("for byte in range(256):\n"
                                 "    print(bytes([byte]).decode('cp437').encode().hex())");
    ASSERT_EQ(expected.size(), 256U);
    for (unsigned byte = 0; byte < 256; ++byte) {
        Data data;
        data.appendValue(static_cast<std::uint8_t>(byte));
        const auto text = decode(data, TextEncoding::codePage437);
        ASSERT_TRUE(text) << byte;
        EXPECT_EQ(hex(Data(*text)), expected[byte]) << byte;
    }
}

TEST(CodePage437, DecodesWholeNames) {
    EXPECT_EQ(decode(Data(std::string_view("\x81")), TextEncoding::codePage437), "ü");
    EXPECT_EQ(decode(Data(std::string_view("M\x81ller & S\x94hne/")), TextEncoding::codePage437),
              "Müller & Söhne/");
    EXPECT_EQ(decode({}, TextEncoding::codePage437), "");
    EXPECT_EQ(decode(Data(std::string_view("a\0b", 3)), TextEncoding::codePage437),
              std::string("a\0b", 3));
}

TEST(CodePage437, DecodesNamesByteByByte) {
    const std::string all = [] {
        std::string bytes;
        for (int byte = 0; byte < 256; ++byte)
            bytes += static_cast<char>(byte * 77); // all values, ASCII and others mixed
        return bytes;
    }();
    for (std::size_t size = 0; size <= 40; ++size) {
        for (std::size_t start = 0; start + size <= all.size(); ++start) {
            std::string expected;
            for (std::size_t index = start; index < start + size; ++index)
                expected += *decode(Data(all.substr(index, 1)), TextEncoding::codePage437);
            ASSERT_EQ(decode(Data(all.substr(start, size)), TextEncoding::codePage437), expected);
        }
    }
}

TEST(ASCII, LengthEndsAtTheFirstOtherByte) {
    EXPECT_EQ(asciiLength({}), 0U);
    for (std::size_t size = 1; size <= 40; ++size) {
        EXPECT_EQ(asciiLength(std::string(size, '\x7f')), size);
        for (std::size_t place = 0; place < size; ++place) {
            std::string text(size, 'a');
            text[place] = '\x80';
            EXPECT_EQ(asciiLength(text), place);
            text.back() = '\xff';
            EXPECT_EQ(asciiLength(text), place);
        }
    }
}

// --- UTF-8 ------------------------------------------------------------------------------------

TEST(UTF8, ScalarsAreValidAndNothingElse) {
    for (std::uint32_t scalar = 0; scalar <= 0x1FFFFF; ++scalar) {
        // The pattern of the encoding, also for what it must not encode.
        const auto tail = [=](unsigned shift) {
            return static_cast<char>(0x80U | (scalar >> shift & 0x3FU));
        };
        std::string text;
        if (scalar < 0x80)
            text = {static_cast<char>(scalar)};
        else if (scalar < 0x800)
            text = {static_cast<char>(0xC0U | scalar >> 6U), tail(0)};
        else if (scalar < 0x10000)
            text = {static_cast<char>(0xE0U | scalar >> 12U), tail(6), tail(0)};
        else
            text = {static_cast<char>(0xF0U | scalar >> 18U), tail(12), tail(6), tail(0)};
        const bool isScalar = scalar <= 0x10FFFF && (scalar < 0xD800 || scalar > 0xDFFF);
        ASSERT_EQ(isValidUTF8(text), isScalar) << scalar;
    }
}

// The first and the last sequence of each row of Unicode's table 3-7, and their neighbours; a
// byte-order mark, which is a character like any other; surrogates.
constexpr const char *validSequences[] = {
    "00",          "7F",          "C2 80",       "DF BF",       "E0 A0 80",
    "E0 BF BF",    "E1 80 80",    "EC BF BF",    "ED 80 80",    "ED 9F BF",
    "EE 80 80",    "EF BF BF",    "F0 90 80 80", "F0 BF BF BF", "F1 80 80 80",
    "F3 BF BF BF", "F4 80 80 80", "F4 8F BF BF", "EF BB BF",    "41 C3 A9 42"};
constexpr const char *invalidSequences[] = {"80",
                                            "BF",
                                            "C0 80",
                                            "C1 BF",
                                            "C2 7F",
                                            "C2 C0",
                                            "C2",
                                            "DF",
                                            "E0 80 80",
                                            "E0 9F BF",
                                            "ED A0 80",
                                            "ED BF BF",
                                            "E1 7F 80",
                                            "E1 C0 80",
                                            "E1 80 7F",
                                            "E1 80 C0",
                                            "E1 80",
                                            "E1",
                                            "F0 80 80 80",
                                            "F0 8F BF BF",
                                            "F4 90 80 80",
                                            "F5 80 80 80",
                                            "F7 BF BF BF",
                                            "F8 88 80 80 80",
                                            "FC 84 80 80 80 80",
                                            "FE",
                                            "FF",
                                            "F1 80 80",
                                            "F1 80",
                                            "F1 80 80 7F",
                                            "F1 80 C0 80",
                                            "F1 7F 80 80",
                                            "F1",
                                            "C3 A9 C3",
                                            "41 A9",
                                            "ED A0 BD ED B8 80"};

TEST(UTF8, FollowsTheTable) {
    for (const char *bytes : validSequences) {
        EXPECT_TRUE(isValidUTF8(asText(bytes))) << bytes;
        EXPECT_EQ(decode(test::fromHex(bytes), TextEncoding::utf8), asText(bytes)) << bytes;
    }
    for (const char *bytes : invalidSequences) {
        EXPECT_FALSE(isValidUTF8(asText(bytes))) << bytes;
        EXPECT_FALSE(decode(test::fromHex(bytes), TextEncoding::utf8)) << bytes;
    }
    EXPECT_TRUE(isValidUTF8(""));
    EXPECT_EQ(decode({}, TextEncoding::utf8), "");
}

TEST(UTF8, AgreesWithPython) {
    // Every lead byte with every second byte, filled up to four bytes in two ways.
    std::vector<std::string> texts;
    for (unsigned lead = 0x80; lead < 0x100; ++lead)
        for (unsigned second = 0; second < 0x100; ++second)
            for (std::string rest : {"", "\x80", "\x80\xBF", "a"})
                texts.push_back(std::string{static_cast<char>(lead), static_cast<char>(second)} +
                                rest);
    const auto verdicts = python(R"(
for lead in range(0x80, 0x100):
    for second in range(0x100):
        for rest in (b'', b'\x80', b'\x80\xBF', b'a'):
            try:
                bytes([lead, second]).__add__(rest).decode()
                print(1)
            except UnicodeDecodeError:
                print(0)
)");
    ASSERT_EQ(verdicts.size(), texts.size());
    EXPECT_GT(std::count(verdicts.begin(), verdicts.end(), "1"), 1000);
    for (std::size_t index = 0; index < texts.size(); ++index)
        EXPECT_EQ(isValidUTF8(texts[index]), verdicts[index] == "1") << hex(Data(texts[index]));
}

// --- Printable text -----------------------------------------------------------------------------

TEST(Printable, KeepsText) {
    for (const char *text : {"", "a b/c.txt", "Ünï 漢字 😀", "50% \\ \"x\" 'y'", "\u00A0", "\u2028"})
        EXPECT_EQ(printable(text), text);
}

TEST(Printable, EscapesControlCharacters) {
    for (unsigned byte = 0; byte < 0x80; ++byte) {
        const std::string text = {'a', static_cast<char>(byte), 'b'};
        const bool isControl = byte < 0x20 || byte == 0x7F;
        Data data;
        data.appendValue(static_cast<std::uint8_t>(byte));
        EXPECT_EQ(printable(text), isControl ? "a\\x" + hex(data) + "b" : text) << byte;
    }
    EXPECT_EQ(printable("\x1B[31mred\r\n"), "\\x1b[31mred\\x0d\\x0a");
}

TEST(Printable, EscapesTheControlCharactersOfLatin1) {
    for (unsigned byte = 0x80; byte < 0xC0; ++byte) {
        const std::string text = {'\xC2', static_cast<char>(byte)};
        EXPECT_EQ(printable(text), byte < 0xA0 ? "\\xc2\\x" + hex(Data(text)).substr(2) : text)
            << byte;
    }
    EXPECT_EQ(printable("\u009B31m"), "\\xc2\\x9b31m");
    EXPECT_EQ(printable("\u0100"), "\u0100");
}

TEST(Printable, EscapesBytesThatAreNotUTF8) {
    EXPECT_EQ(printable("a\xFF\xFE"), "a\\xff\\xfe");
    EXPECT_EQ(printable("\x81"), "\\x81");
    EXPECT_EQ(printable("\xE2\x82"), "\\xe2\\x82");
    EXPECT_EQ(printable("\xE2\x82z\xE2\x82\xAC"), "\\xe2\\x82z€");
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(printable("\xC2"), "\\xc2");
}

TEST(Printable, IsAlwaysOneLineOfUTF8) {
    for (unsigned first = 0; first < 0x100; ++first)
        for (unsigned second = 0; second < 0x100; ++second) {
            const std::string line =
                printable(std::string{static_cast<char>(first), static_cast<char>(second), 'x'});
            ASSERT_TRUE(isValidUTF8(line)) << first << ' ' << second;
            ASSERT_EQ(line.find_first_of("\r\n\x1B\x7F"), std::string::npos);
            ASSERT_TRUE(line.ends_with('x'));
        }
}

} // namespace

} // namespace vellomir::archive
