#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Pictures/PictureGeometry.h"
#include "tests/Pictures/PictureSupport.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <QColorSpace>
#include <QImage>
#include <QImageWriter>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <zlib.h>

namespace vellomir {

using archive::Data;
using test::corners;
using test::decode;
using test::encoded;
using test::Pixel;
using test::pixels;
using test::quarters;
using test::refusal;
using test::refusalHere;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// --- PNG by hand ------------------------------------------------------------------------------

std::string bigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24U), static_cast<char>(value >> 16U),
            static_cast<char>(value >> 8U), static_cast<char>(value)};
}

std::string chunk(const std::string &name, const std::string &content) {
    const std::string body = name + content;
    return bigEndian(static_cast<std::uint32_t>(content.size())) + body +
           bigEndian(Data(std::string_view(body)).crc32(0));
}

std::string deflated(const std::string &text) {
    std::string result(::compressBound(text.size()), '\0');
    uLongf size = result.size();
    ::compress(reinterpret_cast<Bytef *>(result.data()), &size,
               reinterpret_cast<const Bytef *>(text.data()), text.size());
    result.resize(size);
    return result;
}

enum ColorType : char { gray = 0, rgb = 2, indexed = 3, grayAlpha = 4, rgba = 6 };

std::string header(std::uint32_t width, std::uint32_t height, char depth, ColorType type) {
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", bigEndian(width) + bigEndian(height) + depth +
                                                   static_cast<char>(type) + std::string(3, '\0'));
}

/// One row; `more` are chunks before the data.
std::string png(std::uint32_t width, char depth, ColorType type, const std::string &row,
                const std::string &more = {}) {
    return header(width, 1, depth, type) + more + chunk("IDAT", deflated('\0' + row)) +
           chunk("IEND", "");
}

/// The names of a PNG's chunks, as Python reads them, with all checksums checked.
std::string chunkNames(const Data &png) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.png", png.text());
    return test::run(
               {"python3", "-c",
                "import struct, sys, zlib\n"
                "data = open(sys.argv[1], 'rb').read()\n"
                "assert data[:8] == bytes.fromhex('89504e470d0a1a0a')\n"
                "at, names = 8, []\n"
                "while at < len(data):\n"
                "    size, = struct.unpack('>I', data[at:at + 4])\n"
                "    body, check = data[at + 4:at + 8 + size], data[at + 8 + size:at + 12 + size]\n"
                "    assert struct.pack('>I', zlib.crc32(body)) == check\n"
                "    name = body[:4].decode()\n"
                "    names += [] if names[-1:] == [name] else [name]\n"
                "    at += 12 + size\n"
                "print(*names, end='')",
                (folder / "a.png").string()})
        .output;
}

// --- Other formats by Qt ----------------------------------------------------------------------

/// The JPEG with an EXIF segment that holds nothing but the orientation.
std::string withOrientation(const std::string &jpeg, char orientation) {
    const std::string exif =
        std::string("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 25) + orientation +
        std::string(6, '\0');
    const auto size = static_cast<char>(exif.size() + 2);
    return jpeg.substr(0, 2) + "\xFF\xE1" + '\0' + size + exif + jpeg.substr(2);
}

// --- Reading ----------------------------------------------------------------------------------

TEST(Png, PixelsAndAlphaAreAsStored) {
    const Picture opaque = decode(png(2, 8, rgb, "\x01\x02\x03\xFF\x80\x7F"));
    EXPECT_FALSE(opaque.bitmap().hasAlpha);
    EXPECT_FALSE(opaque.bitmap().isDeep);
    EXPECT_THAT(pixels(opaque.bitmap()), ElementsAre(Pixel{1, 2, 3}, Pixel{255, 128, 127}));
    EXPECT_EQ(opaque.scale(), 1);
    EXPECT_EQ(opaque.orientation(), Orientation::up);

    // Colours that would be lost if alpha were multiplied into them.
    const Picture clear = decode(png(2, 8, rgba, std::string("\xC8\x64\x32\0\xC8\x64\x32\x01", 8)));
    EXPECT_TRUE(clear.bitmap().hasAlpha);
    EXPECT_THAT(pixels(clear.bitmap()),
                ElementsAre(Pixel{200, 100, 50, 0}, Pixel{200, 100, 50, 1}));
}

TEST(Png, SixteenBitsAreKept) {
    const Picture deep = decode(png(1, 16, rgb, "\x12\x34\x56\x78\x9A\xBC"));
    EXPECT_TRUE(deep.bitmap().isDeep);
    EXPECT_THAT(pixels(deep.bitmap()), ElementsAre(Pixel{0x1234, 0x5678, 0x9ABC}));
    const Picture clear =
        decode(png(1, 16, rgba, std::string("\x12\x34\x56\x78\x9A\xBC\0\x01", 8)));
    EXPECT_THAT(pixels(clear.bitmap()), ElementsAre(Pixel{0x1234, 0x5678, 0x9ABC, 1}));
    const Picture shades = decode(png(1, 16, gray, "\x12\x34"));
    EXPECT_THAT(pixels(shades.bitmap()), ElementsAre(Pixel{0x1234, 0x1234, 0x1234}));
}

TEST(Png, ShadesAndPalettesBecomeColours) {
    EXPECT_THAT(pixels(decode(png(2, 8, gray, "\x07\xF0")).bitmap()),
                ElementsAre(Pixel{7, 7, 7}, Pixel{240, 240, 240}));
    EXPECT_THAT(pixels(decode(png(1, 8, grayAlpha, "\x07\x80")).bitmap()),
                ElementsAre(Pixel{7, 7, 7, 128}));
    EXPECT_THAT(pixels(decode(png(8, 1, gray, "\xAA")).bitmap()).front(), Pixel({255, 255, 255}));
    const std::string palette = chunk("PLTE", "\x01\x02\x03\x04\x05\x06");
    EXPECT_THAT(pixels(decode(png(2, 8, indexed, std::string("\0\1", 2), palette)).bitmap()),
                ElementsAre(Pixel{1, 2, 3}, Pixel{4, 5, 6}));
    EXPECT_THAT(
        pixels(decode(png(2, 8, indexed, std::string("\0\1", 2), palette + chunk("tRNS", "\x80")))
                   .bitmap()),
        ElementsAre(Pixel{1, 2, 3, 128}, Pixel{4, 5, 6, 255}));
}

TEST(Jpeg, OrientationIsReadAndPixelsStayAsStored) {
    const std::string jpeg = encoded(quarters(), "JPEG");
    EXPECT_EQ(decode(jpeg).orientation(), Orientation::up);
    // Upright, by where EXIF says that the first row and the first column belong.
    const std::array<std::string, 8> upright = {"rgbw", "grwb", "wbgr", "bwrg",
                                                "rbgw", "brwg", "wgbr", "gwrb"};
    for (char value = 1; value <= 8; ++value) {
        const Picture picture = decode(withOrientation(jpeg, value));
        EXPECT_EQ(static_cast<int>(picture.orientation()), value);
        EXPECT_EQ(picture.bitmap().width, 32);
        EXPECT_EQ(corners(picture.bitmap()), "rgbw");
        const Picture turned = decode(std::string(picture.pngData().text()));
        EXPECT_EQ(turned.bitmap().width, value <= 4 ? 32 : 16);
        EXPECT_EQ(turned.bitmap().height, value <= 4 ? 16 : 32);
        EXPECT_EQ(corners(turned.bitmap()), upright[static_cast<std::size_t>(value) - 1])
            << int(value);
        EXPECT_EQ(turned.orientation(), Orientation::up);
    }
}

TEST(WebP, AlphaIsRead) {
    if (!QImageWriter::supportedImageFormats().contains("webp"))
        GTEST_SKIP() << "this system knows no WebP";
    QImage image(2, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, 0xFF0A141EU);
    image.setPixel(1, 0, 0x80C86432U);
    const Picture picture = decode(encoded(image, "WEBP"));
    EXPECT_THAT(pixels(picture.bitmap()),
                ElementsAre(Pixel{10, 20, 30, 255}, Pixel{200, 100, 50, 128}));
}

TEST(WebP, LosslessPixelsAreExact) {
    if (!QImageWriter::supportedImageFormats().contains("webp"))
        GTEST_SKIP() << "this system knows no WebP";
    QImage image(61, 43, QImage::Format_ARGB32);
    std::vector<Pixel> expected;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor color((37 * x + 11 * y) % 256, (91 * x + 53 * y) % 256,
                               (17 * x + 29 * y) % 256, 1 + (7 * x + 5 * y) % 255);
            image.setPixelColor(x, y, color);
            expected.push_back(
                {static_cast<unsigned>(color.red()), static_cast<unsigned>(color.green()),
                 static_cast<unsigned>(color.blue()), static_cast<unsigned>(color.alpha())});
        }
    const Picture picture = decode(encoded(image, "WEBP"));
    EXPECT_TRUE(picture.bitmap().hasAlpha);
    EXPECT_EQ(pixels(picture.bitmap()), expected);
}

TEST(OtherFormats, BmpAndIcoAreRead) {
    for (const char *format : {"BMP", "ICO"})
        EXPECT_EQ(corners(decode(encoded(quarters(), format)).bitmap()), "rgbw") << format;
}

TEST(PictureFile, FormatIsDetectedByContent) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "photo.png", encoded(quarters(), "JPEG"));
    test::writeFile(folder / "photo", png(1, 8, gray, "\x07"));
    EXPECT_EQ(corners(Picture::read(folder.url("photo.png")).bitmap()), "rgbw");
    EXPECT_EQ(Picture::read(folder.url("photo")).bitmap().width, 1);
}

TEST(PictureFile, ErrorsNameFile) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_directory(folder / "folder");
    for (const char *name : {"pipe", "folder", "none"})
        EXPECT_THROW(static_cast<void>(Picture::read(folder.url(name))), Error) << name;
    test::writeFile(folder / "note.png", "Dear Sir or Madam");
    try {
        static_cast<void>(Picture::read(folder.url("note.png")));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(std::string(error.what()),
                  "This is no picture of a known kind: " + (folder / "note.png").string());
    }
}

TEST(InvalidPictures, OtherFormatsAreRefused) {
    for (const char *text :
         {"", "x", "Dear Sir or Madam",
          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>", "%PDF-1.4",
          "PK\x03\x04", "P3 1 1 255 1 2 3",
          "/* XPM */\nstatic char *x[] = {\"1 1 1 1\",\"a c #fff\",\"a\"};",
          "#define x_width 8\n#define x_height 1\nstatic char x_bits[] = {0xff};",
          "\x89PNG\r\n\x1A\n", "\xFF\xD8\xFF", "GIF89a", "BM"})
        EXPECT_NE(refusal(text), "") << text;
    EXPECT_NE(refusal(header(32, 16, 8, rgb)), "") << "a header and nothing behind it";
    const std::string emptyZip = "PK\5\6" + std::string(18, '\0');
    EXPECT_THAT(refusal(emptyZip), HasSubstr("no picture of a known kind"));
}

TEST(InvalidPictures, TruncatedFilesAreRefused) {
    std::vector<std::string> whole = {encoded(quarters(), "PNG"), encoded(quarters(), "JPEG"),
                                      encoded(quarters(), "JPEG", 5)};
    if (QImageWriter::supportedImageFormats().contains("webp"))
        whole.push_back(encoded(quarters(), "WEBP"));
    for (const std::string &picture : whole) {
        EXPECT_EQ(refusal(picture), "");
        for (std::size_t size = 0; size < picture.size() - 16; size += 7)
            EXPECT_NE(refusalHere(picture.substr(0, size)), "") << size << " of " << picture.size();
    }
    const std::string &jpeg = whole[1];
    EXPECT_NE(refusalHere(jpeg.substr(0, jpeg.size() - 2)), "") << "only the end marker is missing";
}

TEST(InvalidPictures, DamagedFilesDoNotCrash) {
    const std::string whole = encoded(quarters(), "PNG");
    for (std::size_t index = 8; index < whole.size(); ++index) {
        std::string damaged = whole;
        damaged[index] = static_cast<char>(damaged[index] ^ 0x55);
        static_cast<void>(refusalHere(damaged));
    }
}

TEST(PictureSize, HundredMegapixelsAreReadAndTenGigapixelsRefused) {
    constexpr std::uint32_t side = 10'000;
    std::string rows;
    rows.assign(std::size_t{side} * (1 + side / 8), '\0');
    const std::string large =
        header(side, side, 1, gray) + chunk("IDAT", deflated(rows)) + chunk("IEND", "");
    const Picture picture = cropImageToSquare(decode(large));
    EXPECT_EQ(picture.bitmap().width, 10'000);
    EXPECT_EQ(picture.bitmap().height, 10'000);
    EXPECT_THAT(refusal(header(100'000, 100'000, 8, rgba) + chunk("IDAT", "") + chunk("IEND", "")),
                HasSubstr("100000 × 100000 pixels"));
}

// --- Writing ----------------------------------------------------------------------------------

TEST(PngData, KeepsPixelsAndAlpha) {
    for (const std::string &source :
         {png(2, 8, rgb, "\x01\x02\x03\xFF\x80\x7F"),
          png(2, 8, rgba, std::string("\xC8\x64\x32\0\xC8\x64\x32\x01", 8)),
          png(1, 16, rgb, "\x12\x34\x56\x78\x9A\xBC"),
          png(1, 16, rgba, std::string("\x12\x34\x56\x78\x9A\xBC\0\x01", 8))}) {
        const Picture before = decode(source);
        const Picture after = decode(std::string(before.pngData().text()));
        EXPECT_EQ(after.bitmap().isDeep, before.bitmap().isDeep);
        EXPECT_EQ(after.bitmap().hasAlpha, before.bitmap().hasAlpha);
        EXPECT_EQ(pixels(after.bitmap()), pixels(before.bitmap()));
    }
}

TEST(PngData, TurnsPicturesOfSixteenBits) {
    const Bitmap deep = decode(png(2, 16, gray, "\x12\x34\x56\x78")).bitmap();
    const Picture after = decode(std::string(Picture(deep, 1, Orientation::down).pngData().text()));
    EXPECT_THAT(pixels(after.bitmap()),
                ElementsAre(Pixel{0x5678, 0x5678, 0x5678}, Pixel{0x1234, 0x1234, 0x1234}));
}

TEST(PngData, HasNoMetadata) {
    const std::string profile = QColorSpace(QColorSpace::DisplayP3).iccProfile().toStdString();
    const std::string more = chunk("gAMA", bigEndian(45455)) +
                             chunk("iCCP", std::string("p3\0\0", 4) + deflated(profile)) +
                             chunk("pHYs", bigEndian(5000) + bigEndian(5000) + '\1') +
                             chunk("tEXt", std::string("Author\0Somebody", 15)) +
                             chunk("tIME", "\x07\xE9\1\1\1\1\1");
    const Picture picture = decode(png(1, 8, rgb, "\xC8\x64\x32", more));
    EXPECT_THAT(pixels(picture.bitmap()), ElementsAre(Pixel{200, 100, 50}));
    EXPECT_EQ(chunkNames(picture.pngData()), "IHDR IDAT IEND");
    EXPECT_EQ(chunkNames(decode(withOrientation(encoded(quarters(), "JPEG"), 6)).pngData()),
              "IHDR IDAT IEND");
}

TEST(PngData, PictureWithoutBitmapThrows) {
    try {
        static_cast<void>(Picture().pngData());
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PictureError::unwritablePicture);
    }
}

} // namespace

} // namespace vellomir
