// QR codes, read by another program: zbarimg.

#include "Vellomir/Sending/QrCode.h"

#include "Vellomir/Sending/SendingFault.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>

namespace vellomir {
namespace {

const std::string address = "http://192.168.178.123:54321/ABCDEFGHIJKLMNOPQRSTUVWX23";

/// A grey picture in the format PGM, 3 pixels a module.
std::string picture(int side, const std::function<bool(int, int)> &isDark) {
    constexpr int scale = 3;
    const int pixels = side * scale;
    std::string text = "P5 " + std::to_string(pixels) + " " + std::to_string(pixels) + " 255\n";
    for (int y = 0; y < pixels; ++y)
        for (int x = 0; x < pixels; ++x)
            text += isDark(x / scale, y / scale) ? '\0' : '\xff';
    return text;
}

/// What zbarimg reads in the picture.
std::string decoded(const std::string &picture) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "code.pgm", picture);
    const std::string command =
        "zbarimg --quiet --raw -Sdisable -Sqrcode.enable " + (folder / "code.pgm").string();
    const std::unique_ptr<std::FILE, decltype(&::pclose)> pipe(::popen(command.c_str(), "r"),
                                                               ::pclose);
    std::string text;
    std::array<char, 256> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr)
        text += buffer.data();
    return text;
}

bool hasReader() {
    return std::system("zbarimg --version >/dev/null 2>&1") == 0;
}

TEST(QrCode, IsReadByAnotherProgram) {
    if (!hasReader())
        GTEST_SKIP() << "zbarimg is not installed";
    for (const std::string &text :
         {address, std::string("http://10.0.0.1/x"), std::string(200, 'a'),
          std::string("http://[fd12:3456:789a::2]:54321/ABCDEFGH")}) {
        const QrCode code(text);
        const int border = QrCode::quietZone;
        const auto isDark = [&](int x, int y) { return code.isDark(x - border, y - border); };
        EXPECT_EQ(decoded(picture(code.side() + 2 * border, isDark)), text + "\n");
    }
}

TEST(QrCode, OfAnAddressFitsIntoTwentyLines) {
    const QrCode code(address);
    EXPECT_LE(terminalLines(code, TerminalColours::inherit).size(), 19U);
}

TEST(QrCode, OutsideIsLight) {
    const QrCode code(address);
    EXPECT_TRUE(code.isDark(0, 0)) << "the corner of the finder pattern";
    EXPECT_FALSE(code.isDark(-1, 0));
    EXPECT_FALSE(code.isDark(0, -1));
    EXPECT_FALSE(code.isDark(code.side(), 0));
    EXPECT_FALSE(code.isDark(0, code.side()));
}

TEST(QrCode, TooLongTextIsRefused) {
    EXPECT_THROW(QrCode(std::string(5000, 'x')), SendingFault);
}

TEST(QrCode, TerminalLinesHaveTheModulesInHalfBlocks) {
    const QrCode code(address);
    const auto lines = terminalLines(code, TerminalColours::inherit);
    const int border = QrCode::quietZone;
    for (std::size_t number = 0; number < lines.size(); ++number) {
        std::string_view rest = lines[number];
        for (int column = -border; column < code.side() + border; ++column) {
            const int row = 2 * static_cast<int>(number) - border;
            const std::string_view expected = code.isDark(column, row)
                                                  ? (code.isDark(column, row + 1) ? " " : "▄")
                                                  : (code.isDark(column, row + 1) ? "▀" : "█");
            ASSERT_TRUE(rest.starts_with(expected)) << row << ", " << column;
            rest.remove_prefix(expected.size());
        }
        EXPECT_EQ(rest, "");
    }
}

TEST(QrCode, SetColoursAreBlackAndWhiteWhateverTheTheme) {
    for (const std::string &line : terminalLines(QrCode(address), TerminalColours::set)) {
        EXPECT_THAT(line, testing::StartsWith("\x1b[38;5;231;48;5;16m"));
        EXPECT_THAT(line, testing::EndsWith("\x1b[0m"));
    }
}

} // namespace
} // namespace vellomir
