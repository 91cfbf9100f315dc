// The orientation that files of each format are tagged with.

#include "tests/Pictures/PictureSupport.h"

#include "archive/Data.h"

#include <QImageWriter>

#include <gmock/gmock.h>

namespace vellomir {

using test::corners;
using test::decode;
using test::encoded;
using test::quarters;

namespace {

std::string number(std::uint64_t value, int size, bool isBigEndian) {
    std::string bytes;
    for (int index = 0; index < size; ++index, value >>= 8U)
        bytes += static_cast<char>(value);
    return isBigEndian ? std::string(bytes.rbegin(), bytes.rend()) : bytes;
}

/// EXIF data that holds nothing but the orientation.
std::string exif(unsigned orientation, bool isBigEndian = true) {
    const auto shortNumber = [&](unsigned value) { return number(value, 2, isBigEndian); };
    const auto longNumber = [&](unsigned value) { return number(value, 4, isBigEndian); };
    return (isBigEndian ? "MM" : "II") + shortNumber(42) + longNumber(8) + shortNumber(1) +
           shortNumber(0x112) + shortNumber(3) + longNumber(1) + shortNumber(orientation) +
           shortNumber(0) + longNumber(0);
}

const std::string prefix("Exif\0\0", 6);

std::string jpeg(const std::string &exif) {
    const std::string plain = encoded(quarters(), "JPEG");
    return plain.substr(0, 2) + "\xFF\xE1" + number(exif.size() + 8, 2, true) + prefix + exif +
           plain.substr(2);
}

std::string pngChunk(const std::string &name, const std::string &content) {
    const std::string body = name + content;
    return number(content.size(), 4, true) + body +
           number(archive::Data(std::string_view(body)).crc32(0), 4, true);
}

/// With EXIF data before the pixels.
std::string png(const std::string &exif) {
    constexpr std::size_t behindHeader = 8 + 25;
    std::string file = encoded(quarters(), "PNG");
    return file.insert(behindHeader, pngChunk("eXIf", exif));
}

/// With EXIF data behind the pixels.
std::string pngWithLateExif(const std::string &exif) {
    constexpr std::size_t endSize = 12;
    std::string file = encoded(quarters(), "PNG");
    return file.insert(file.size() - endSize, pngChunk("eXIf", exif));
}

std::string webpChunk(const std::string &name, const std::string &content) {
    return name + number(content.size(), 4, false) + content +
           std::string(content.size() % 2, '\0');
}

/// In the extended layout, which has room for EXIF data.
std::string webp(const std::string &exif) {
    constexpr unsigned hasExif = 8;
    const std::string plain = encoded(quarters(), "WEBP");
    const std::string chunks =
        webpChunk("VP8X", number(hasExif, 4, false) + number(31, 3, false) + number(15, 3, false)) +
        plain.substr(12) + webpChunk("EXIF", exif);
    return "RIFF" + number(chunks.size() + 4, 4, false) + "WEBP" + chunks;
}

/// Three channels of 8 bits, not compressed, in one strip.
std::string tiff(unsigned orientation) {
    const QImage image = quarters().convertToFormat(QImage::Format_RGB888);
    const std::string rows(reinterpret_cast<const char *>(image.constBits()),
                           static_cast<std::size_t>(image.sizeInBytes()));
    constexpr unsigned count = 11;
    constexpr unsigned bits = 8 + 2 + count * 12 + 4; // behind the directory
    constexpr unsigned start = bits + 6;
    const std::array<std::array<unsigned, 4>, count> entries = {{{256, 3, 1, 32},
                                                                 {257, 3, 1, 16},
                                                                 {258, 3, 3, bits},
                                                                 {259, 3, 1, 1},
                                                                 {262, 3, 1, 2},
                                                                 {273, 4, 1, start},
                                                                 {274, 3, 1, orientation},
                                                                 {277, 3, 1, 3},
                                                                 {278, 3, 1, 16},
                                                                 {279, 4, 1, 32 * 16 * 3},
                                                                 {284, 3, 1, 1}}};
    std::string file = "II" + number(42, 2, false) + number(8, 4, false) + number(count, 2, false);
    for (const auto &[tag, type, many, value] : entries)
        file += number(tag, 2, false) + number(type, 2, false) + number(many, 4, false) +
                number(value, 4, false);
    file += number(0, 4, false);
    for (int channel = 0; channel < 3; ++channel)
        file += number(8, 2, false);
    return file + rows;
}

struct Format {
    const char *name;
    const char *qtName;
    std::function<std::string(unsigned orientation)> file;
};

class ExifOrientation : public testing::TestWithParam<Format> {
protected:
    void SetUp() override {
        if (!QImageWriter::supportedImageFormats().contains(GetParam().qtName))
            GTEST_SKIP() << "Qt cannot read this format here";
    }
};

TEST_P(ExifOrientation, PixelsStayAndPngIsUpright) {
    const std::array<std::string, 8> upright = {"rgbw", "grwb", "wbgr", "bwrg",
                                                "rbgw", "brwg", "wgbr", "gwrb"};
    for (unsigned value = 1; value <= 8; ++value) {
        const Picture picture = decode(GetParam().file(value));
        EXPECT_EQ(static_cast<unsigned>(picture.orientation()), value);
        EXPECT_EQ(corners(picture.bitmap()), "rgbw") << "as stored";
        const Picture turned = decode(std::string(picture.pngData().text()));
        EXPECT_EQ(turned.bitmap().width, value <= 4 ? 32 : 16);
        EXPECT_EQ(corners(turned.bitmap()), upright.at(value - 1)) << value;
        EXPECT_EQ(turned.orientation(), Orientation::up);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ExifOrientation,
    testing::Values(
        Format{"JPEG", "jpeg", [](unsigned value) { return jpeg(exif(value)); }},
        Format{"PNG", "png", [](unsigned value) { return png(exif(value)); }},
        Format{"PNGLittleEndian", "png", [](unsigned value) { return png(exif(value, false)); }},
        Format{"PNGBehindPixels", "png",
               [](unsigned value) { return pngWithLateExif(exif(value)); }},
        Format{"WebP", "webp", [](unsigned value) { return webp(exif(value)); }},
        Format{"WebPWithPrefix", "webp", [](unsigned value) { return webp(prefix + exif(value)); }},
        Format{"TIFF", "tiff", tiff}),
    [](const auto &format) { return std::string(format.param.name); });

TEST(DamagedExif, IsIgnored) {
    for (const std::string &data :
         {std::string(), std::string("II"), std::string(100, 'x'), exif(0), exif(9),
          exif(6).substr(0, 20), "MM" + number(42, 2, true) + number(0xFFFFFFF0, 4, true)}) {
        const Picture picture = decode(png(data));
        EXPECT_EQ(picture.orientation(), Orientation::up);
        EXPECT_EQ(corners(picture.bitmap()), "rgbw");
    }
}

TEST(SmallPicture, IsUpright) {
    EXPECT_EQ(corners(test::small(png(exif(6)), 8).bitmap()), "brwg");
    const Picture small = test::small(jpeg(exif(6)), 8);
    EXPECT_EQ(small.bitmap().width, 4);
    EXPECT_EQ(small.bitmap().height, 8);
    EXPECT_EQ(corners(small.bitmap()), "brwg");
    EXPECT_EQ(small.orientation(), Orientation::up);
}

} // namespace

} // namespace vellomir
