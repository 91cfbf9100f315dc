#include "Vellomir/HexColor.h"

#include <gtest/gtest.h>

namespace vellomir {

namespace {

HexColor bytes(int red, int green, int blue) {
    return {red / 255.0, green / 255.0, blue / 255.0};
}

const HexColor black{};
const HexColor white{1, 1, 1};

TEST(AHexColor, IsReadFromSixDigits) {
    EXPECT_EQ(HexColor::parse("#13131B"), bytes(0x13, 0x13, 0x1B));
    EXPECT_EQ(HexColor::parse("#1D1E24"), bytes(0x1D, 0x1E, 0x24));
    EXPECT_EQ(HexColor::parse("#ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("#000000"), black);
    EXPECT_EQ(HexColor::parse("#FFFFFF"), white);
}

TEST(AHexColor, NeedsNoSignAndTakesBothLetterCases) {
    EXPECT_EQ(HexColor::parse("ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("FFa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("abcdef"), HexColor::parse("#ABCDEF"));
}

TEST(AHexColor, HasNoShortForm) {
    EXPECT_EQ(HexColor::parse("#abc"), bytes(0, 0x0A, 0xBC));
    EXPECT_EQ(HexColor::parse("#f"), bytes(0, 0, 15));
    EXPECT_EQ(HexColor::parse("#12345"), bytes(1, 0x23, 0x45));
}

TEST(AHexColor, LosesAllButItsLastSixDigits) {
    EXPECT_EQ(HexColor::parse("#80ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("#123456789abcdef0"), bytes(0xbc, 0xde, 0xf0));
}

TEST(AHexColor, IsBlackWithoutDigits) {
    for (const char *text :
         {"", "#", "##ffffff", "# ", " ", "orange", "#xyz", "-ffffff", "+ffffff"})
        EXPECT_EQ(HexColor::parse(text), black) << text;
}

TEST(AHexColor, EndsAtTheFirstOtherCharacter) {
    EXPECT_EQ(HexColor::parse("#ffa828;"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("#ffa828 00"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("#12g456"), bytes(0, 0, 0x12));
    EXPECT_EQ(HexColor::parse("0xffffff"), black);
    EXPECT_EQ(HexColor::parse("#0Xffffff"), black);
}

TEST(AHexColor, OfTooLargeANumberIsThatOfTheLargest) {
    EXPECT_EQ(HexColor::parse("#ffffffffff13131B"), bytes(0x13, 0x13, 0x1B));
    EXPECT_EQ(HexColor::parse("#10000000000000000"), white);
    EXPECT_EQ(HexColor::parse("#1234567890123456789012"), white);
    EXPECT_EQ(HexColor::parse("#" + std::string(100'000, '1')), white);
    EXPECT_EQ(HexColor::parse("#" + std::string(40, '0') + "13131B"), bytes(0x13, 0x13, 0x1B))
        << "zeros in front make no number larger";
}

TEST(AHexColor, MayFollowWhiteSpace) {
    EXPECT_EQ(HexColor::parse(" \t\n\v\f\r#ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("  ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("# ffa828"), bytes(255, 168, 40));
    EXPECT_EQ(HexColor::parse("#ff a828"), bytes(0, 0, 255));
}

TEST(AHexColor, EndsWithItsText) {
    const std::string text = "#ffa828ff";
    EXPECT_EQ(HexColor::parse(std::string_view(text).substr(0, 7)), bytes(255, 168, 40));
}

} // namespace

} // namespace vellomir
