// Files of a few bytes that claim to be large pictures, and files that end too early.

#include "Vellomir/Pictures/PictureIntegrity.h"
#include "Vellomir/Pictures/PictureLimits.h"
#include "tests/Pictures/PictureSupport.h"

#include "archive/Data.h"

#include <QImage>
#include <QImageWriter>

#include <gmock/gmock.h>

namespace vellomir {

using test::encoded;
using test::refusal;
using testing::HasSubstr;

namespace {

constexpr std::uint32_t side = 16'000; // 256 million pixels, 1 GB

std::string number(std::uint64_t value, int size, bool isBigEndian = false) {
    std::string bytes;
    for (int index = 0; index < size; ++index, value >>= 8U)
        bytes += static_cast<char>(value);
    return isBigEndian ? std::string(bytes.rbegin(), bytes.rend()) : bytes;
}

std::string bigEndian(std::uint64_t value, int size) {
    return number(value, size, true);
}

std::string fault(const std::string &file) {
    return pictureFault(std::as_bytes(std::span(file))).value_or("");
}

// --- Bombs --------------------------------------------------------------------------------------

std::string chunk(const std::string &name, const std::string &content) {
    const std::string body = name + content;
    return bigEndian(content.size(), 4) + body +
           bigEndian(archive::Data(std::string_view(body)).crc32(0), 4);
}

std::string pngBomb() {
    return "\x89PNG\r\n\x1A\n" +
           chunk("IHDR",
                 bigEndian(side, 4) + bigEndian(side, 4) + std::string("\x08\x06\0\0\0", 5)) +
           chunk("IDAT", std::string("\x78\x9C\x63\0\0\0\x01\0\x01", 9)) + chunk("IEND", "");
}

std::string jpegHeader(std::uint32_t width, std::uint32_t height) {
    return std::string("\xFF\xD8\xFF\xC2\0\x0B\x08", 7) + bigEndian(height, 2) +
           bigEndian(width, 2) + std::string("\x01\x01\x11\0", 4);
}

const std::string jpegScan("\xFF\xDA\0\x08\x01\x01\0\0\0\0", 10);

std::string jpegBomb() {
    return jpegHeader(side, side) + jpegScan + "\xFF\xD9";
}

/// `screenSide` is that of the screen that holds the picture.
std::string gif(std::uint32_t width, std::uint32_t height, const std::string &data,
                std::uint32_t screenSide = 0) {
    const std::string size = number(width, 2) + number(height, 2);
    const std::string screen =
        screenSide == 0 ? size : number(screenSide, 2) + number(screenSide, 2);
    return "GIF89a" + screen + std::string("\0\0\0", 3) + "," + std::string(4, '\0') + size +
           std::string("\0\x02", 2) + static_cast<char>(data.size()) + data + std::string(1, '\0') +
           ";";
}

std::string gifBomb() {
    return gif(side, side, "D\x01");
}

std::string gifScreenBomb() {
    return gif(4, 4, "\x84\x8F\xA9\xCB\xED", side);
}

std::string bitmapHeader(std::uint32_t width, std::uint32_t height, int bits, int compression) {
    return number(40, 4) + number(width, 4) + number(height, 4) + number(1, 2) +
           number(static_cast<unsigned>(bits), 2) + number(static_cast<unsigned>(compression), 4) +
           std::string(20, '\0');
}

std::string bmp(const std::string &header, const std::string &data) {
    const std::uint64_t start = 14 + header.size();
    return "BM" + number(start + data.size(), 4) + std::string(4, '\0') + number(start, 4) +
           header + data;
}

std::string bmpBomb() {
    return bmp(bitmapHeader(side, side, 24, 0), std::string(12, 'x'));
}

std::string runsBomb() {
    return bmp(bitmapHeader(side, side, 8, 1), std::string("\xFF\x01\0\x01", 4));
}

std::string icoBomb() {
    return std::string("\0\0\x01\0\x01\0", 6) + std::string(8, '\0') + number(60, 4) +
           number(22, 4) + bitmapHeader(side, 2 * side, 32, 0) + std::string(20, 'x');
}

std::string iconOfPng() {
    return std::string("\0\0\x01\0\x01\0", 6) + std::string(8, '\0') + number(pngBomb().size(), 4) +
           number(22, 4) + pngBomb();
}

std::string tiff(std::uint32_t compression, std::uint32_t dataSize, bool isBigEndian = false) {
    const auto shortNumber = [&](std::uint64_t value) { return number(value, 2, isBigEndian); };
    const auto longNumber = [&](std::uint64_t value) { return number(value, 4, isBigEndian); };
    const auto entry = [&](std::uint64_t tag, std::uint64_t value) {
        return shortNumber(tag) + shortNumber(4) + longNumber(1) + longNumber(value);
    };
    const std::pair<std::uint64_t, std::uint64_t> entries[] = {
        {256, side}, {257, side}, {258, 8},    {259, compression}, {262, 1},
        {273, 122},  {277, 1},    {278, side}, {279, dataSize}};
    std::string file =
        (isBigEndian ? "MM" : "II") + shortNumber(42) + longNumber(8) + shortNumber(9);
    for (const auto &[tag, value] : entries)
        file += entry(tag, value);
    return file + longNumber(0) + std::string(20, 'x');
}

std::string webpBomb() {
    // One colour for all pixels takes no bits; 14 bits each for both sides less one.
    const std::uint64_t sides = (16'383 - 1) | (std::uint64_t{16'383 - 1} << 14U);
    const std::string data = "\x2F" + number(sides, 4) + std::string("\x88\x88\x08\0\0", 5);
    return "RIFF" + number(12 + data.size(), 4) + "WEBPVP8L" + number(data.size(), 4) + data;
}

struct Bomb {
    const char *name;
    std::string file;
};

class SmallFile : public testing::TestWithParam<Bomb> {};

TEST_P(SmallFile, IsNoLargePicture) {
    const std::string &file = GetParam().file;
    ASSERT_LT(file.size(), 200);
    EXPECT_THAT(refusal(file), HasSubstr("16000 × 16000 pixels, and its file cannot hold"));
}

INSTANTIATE_TEST_SUITE_P(Bombs, SmallFile,
                         testing::Values(Bomb{"PNG", pngBomb()}, Bomb{"JPEG", jpegBomb()},
                                         Bomb{"GIF", gifBomb()}, Bomb{"GIFScreen", gifScreenBomb()},
                                         Bomb{"BMP", bmpBomb()}, Bomb{"BMPOfRuns", runsBomb()},
                                         Bomb{"ICO", icoBomb()}, Bomb{"ICOOfPNG", iconOfPng()},
                                         Bomb{"TIFF", tiff(1, 20)},
                                         Bomb{"TIFFBigEndian", tiff(1, 20, true)},
                                         Bomb{"TIFFDeflate", tiff(8, 20)}),
                         [](const auto &bomb) { return std::string(bomb.param.name); });

TEST(PictureBomb, MemoryIsLimitedByFileSize) {
    EXPECT_EQ(pixelLimit(0), 16 << 20);
    EXPECT_EQ(pixelLimit(1000), (16 << 20) + 8'256'000);
    EXPECT_EQ(pixelLimit(1'000'000), maximumPixels);
    EXPECT_EQ(pixelLimit(std::size_t(-1)), maximumPixels);
}

TEST(PictureBomb, MemoryIsLimitedForFormatsWithoutMaximumRatio) {
    EXPECT_EQ(fault(webpBomb()), "");
    EXPECT_THAT(refusal(webpBomb()), HasSubstr("pixels"));
}

TEST(PictureBomb, TimeIsLimitedForManyPasses) {
    std::string file = jpegHeader(4000, 4000);
    for (int scan = 0; scan < 300; ++scan)
        file += jpegScan + std::string(200, 'x');
    EXPECT_EQ(fault(file + "\xFF\xD9"), "The picture is stored in more passes than can be decoded");
}

// --- Cut short ----------------------------------------------------------------------------------

class PictureIntegrity : public testing::TestWithParam<const char *> {
protected:
    static std::string file() {
        return encoded(test::quarters(32, 16).convertToFormat(QImage::Format_RGB32), GetParam());
    }
};

TEST_P(PictureIntegrity, CompletePictureIsAccepted) {
    if (!QImageWriter::supportedImageFormats().contains(QByteArray(GetParam()).toLower()))
        GTEST_SKIP() << "Qt cannot write this format here";
    EXPECT_EQ(fault(file()), "");
    EXPECT_EQ(test::corners(test::decode(file()).bitmap()), "rgbw");
}

TEST_P(PictureIntegrity, HalfPictureIsRefused) {
    if (!QImageWriter::supportedImageFormats().contains(QByteArray(GetParam()).toLower()))
        GTEST_SKIP() << "Qt cannot write this format here";
    const std::string whole = file();
    EXPECT_THAT(fault(whole.substr(0, whole.size() / 2)), HasSubstr("damaged or cut short"));
}

TEST_P(PictureIntegrity, AnyTruncationIsCheckedWithoutCrash) {
    if (!QImageWriter::supportedImageFormats().contains(QByteArray(GetParam()).toLower()))
        GTEST_SKIP() << "Qt cannot write this format here";
    const std::string whole = file();
    for (std::size_t size = 0; size < whole.size(); ++size)
        static_cast<void>(fault(whole.substr(0, size)));
}

INSTANTIATE_TEST_SUITE_P(Formats, PictureIntegrity,
                         testing::Values("PNG", "JPEG", "BMP", "ICO", "TIFF", "WEBP"),
                         [](const auto &format) { return std::string(format.param); });

TEST(GifIntegrity, FirstPictureIsEnough) {
    const std::string whole = gif(4, 4, "\x84\x8F\xA9\xCB\xED");
    EXPECT_EQ(fault(whole), "");
    EXPECT_EQ(fault(whole.substr(0, whole.size() - 2)), "The picture is damaged or cut short");
}

TEST(GifIntegrity, DistantOffsetIsRefused) {
    std::string file = gif(4, 4, "\x84\x8F\xA9\xCB\xED");
    constexpr std::size_t place = 14; // behind the screen and the byte that introduces the picture
    file.replace(place, 4, number(16'000, 2) + number(16'000, 2));
    EXPECT_THAT(fault(file), HasSubstr("16004 × 16004 pixels"));
}

TEST(GifIntegrity, ScreenMayBeLarger) {
    EXPECT_EQ(fault(gif(4, 4, "\x84\x8F\xA9\xCB\xED", 4000)), "");
}

TEST(BmpIntegrity, RunsMaySkipRows) {
    EXPECT_EQ(fault(bmp(bitmapHeader(640, 480, 8, 1), std::string("\0\x01", 2))), "");
}

TEST(BmpIntegrity, RunsEndAtMarkerOrLastPixel) {
    const auto runs = [](int bits, int compression, const std::string &data) {
        return bmp(bitmapHeader(4, 2, bits, compression), data);
    };
    const std::string row("\x04\x07\0\0", 4);
    for (const std::string &rest :
         {std::string("\x04\x08\0\x01", 4), std::string("\x04\x08"),
          std::string("\x02\x08\x02\x08"), std::string("\0\x04\x05\x06\x05\x06", 6),
          std::string("\0\x02\x03\0\x01\x05", 6)})
        EXPECT_EQ(fault(runs(8, 1, row + rest)), "");
    EXPECT_EQ(fault(runs(4, 2, row + std::string("\0\x03\x12\x30\x01\x05", 6))), "");
    for (const std::string &rest :
         {std::string(), std::string("\x04"), std::string("\x03\x08"), std::string("\0\x02", 2),
          std::string("\0\x04\x05\x06", 4), std::string("\0\x03\x05\x06", 4)})
        EXPECT_EQ(fault(runs(8, 1, row + rest)), "The picture is damaged or cut short");
}

TEST(BmpIntegrity, RowsMayBeTopDown) {
    const auto upsideDown = static_cast<std::uint32_t>(-2);
    EXPECT_EQ(fault(bmp(bitmapHeader(2, upsideDown, 24, 0), std::string(16, 'x'))), "");
    EXPECT_NE(fault(bmp(bitmapHeader(2, upsideDown, 24, 0), std::string(15, 'x'))), "");
}

TEST(TiffIntegrity, AnyRatioIsAccepted) {
    constexpr std::uint32_t fax = 4;
    EXPECT_EQ(fault(tiff(fax, 20)), "") << "a white row takes one bit, whatever its width";
    EXPECT_THAT(refusal(tiff(fax, 20)), HasSubstr("more pixels than its file can hold"));
}

} // namespace

} // namespace vellomir
