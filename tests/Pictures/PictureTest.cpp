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
using testing::ElementsAreArray;
using testing::HasSubstr;

namespace {

/// A bitmap whose pixels count from 1 on, row by row, in the red channel.
Bitmap numbered(int width, int height) {
    const auto bytes = std::make_shared<std::vector<std::byte>>();
    for (int number = 1; number <= width * height; ++number)
        bytes->insert(bytes->end(),
                      {static_cast<std::byte>(number), std::byte{0}, std::byte{0}, std::byte{255}});
    return {.width = width,
            .height = height,
            .bytesPerRow = static_cast<std::size_t>(width) * 4,
            .pixels = {bytes, bytes->data()}};
}

std::vector<unsigned> numbers(const Bitmap &bitmap) {
    std::vector<unsigned> all;
    for (const Pixel &each : pixels(bitmap))
        all.push_back(each[0]);
    return all;
}

/// So large and empty that nobody would hold it in memory.
Picture sized(int width, int height) {
    static const std::byte nothing{};
    return Picture({.width = width,
                    .height = height,
                    .bytesPerRow = static_cast<std::size_t>(width) * 4,
                    .pixels = {std::shared_ptr<void>(), &nothing}});
}

std::ptrdiff_t startOf(const Picture &part, const Picture &whole) {
    return part.bitmap().pixels.get() - whole.bitmap().pixels.get();
}

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

// --- Cropping ---------------------------------------------------------------------------------

TEST(Cropping, TakesTheCentredSquare) {
    const Picture wide = sized(3000, 2000);
    const Picture square = cropImageToSquare(wide);
    EXPECT_EQ(square.bitmap().width, 2000);
    EXPECT_EQ(square.bitmap().height, 2000);
    EXPECT_EQ(startOf(square, wide), 500 * 4);

    const Picture high = sized(2000, 3000);
    const Picture other = cropImageToSquare(high);
    EXPECT_EQ(other.bitmap().width, 2000);
    EXPECT_EQ(other.bitmap().height, 2000);
    EXPECT_EQ(startOf(other, high), 500 * 2000 * 4);
}

TEST(Cropping, LeavesASquareAsItIs) {
    const Picture square = sized(1024, 1024);
    EXPECT_EQ(cropImageToSquare(square), square);
}

TEST(Cropping, StartsBeforeHalfAPixel) {
    EXPECT_THAT(numbers(cropImageToSquare(Picture(numbered(4, 1))).bitmap()), ElementsAre(2));
    EXPECT_THAT(numbers(cropImageToSquare(Picture(numbered(5, 2))).bitmap()),
                ElementsAre(2, 3, 7, 8));
    EXPECT_THAT(numbers(cropImageToSquare(Picture(numbered(2, 5))).bitmap()),
                ElementsAre(3, 4, 5, 6));
}

TEST(Cropping, KeepsScaleAndOrientationAndCutsStoredPixels) {
    const Picture turned(numbered(3, 1), 2.5, Orientation::right);
    const Picture square = cropImageToSquare(turned);
    EXPECT_EQ(square.scale(), 2.5);
    EXPECT_EQ(square.orientation(), Orientation::right);
    EXPECT_THAT(numbers(square.bitmap()), ElementsAre(2));
}

TEST(Cropping, MayOutliveThePictureItWasCutFrom) {
    auto whole = std::make_unique<Picture>(numbered(3, 1));
    const Picture square = cropImageToSquare(*whole);
    whole.reset();
    EXPECT_THAT(numbers(square.bitmap()), ElementsAre(2));
}

TEST(CroppingDeathTest, APictureWithoutABitmapEndsTheProgram) {
    EXPECT_DEATH(static_cast<void>(cropImageToSquare(Picture())), "without a bitmap");
}

// --- Turning ----------------------------------------------------------------------------------

TEST(Turning, EveryOrientationStandsUpright) {
    // 1 2 3
    // 4 5 6
    const Bitmap stored = numbered(3, 2);
    const auto turned = [&](Orientation orientation) {
        return numbers(upright(stored, orientation));
    };
    EXPECT_THAT(turned(Orientation::up), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(turned(Orientation::upMirrored), ElementsAre(3, 2, 1, 6, 5, 4));
    EXPECT_THAT(turned(Orientation::down), ElementsAre(6, 5, 4, 3, 2, 1));
    EXPECT_THAT(turned(Orientation::downMirrored), ElementsAre(4, 5, 6, 1, 2, 3));
    EXPECT_THAT(turned(Orientation::leftMirrored), ElementsAre(1, 4, 2, 5, 3, 6));
    EXPECT_THAT(turned(Orientation::right), ElementsAre(4, 1, 5, 2, 6, 3));
    EXPECT_THAT(turned(Orientation::rightMirrored), ElementsAre(6, 3, 5, 2, 4, 1));
    EXPECT_THAT(turned(Orientation::left), ElementsAre(3, 6, 2, 5, 1, 4));
    EXPECT_EQ(upright(stored, Orientation::right).width, 2);
    EXPECT_EQ(upright(stored, Orientation::right).height, 3);
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

TEST(Jpeg, TheOrientationIsKeptBesideTheStoredPixels) {
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

TEST(WebP, IsReadWithItsAlpha) {
    if (!QImageWriter::supportedImageFormats().contains("webp"))
        GTEST_SKIP() << "this system knows no WebP";
    QImage image(2, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, 0xFF0A141EU);
    image.setPixel(1, 0, 0x80C86432U);
    const Picture picture = decode(encoded(image, "WEBP"));
    EXPECT_THAT(pixels(picture.bitmap()),
                ElementsAre(Pixel{10, 20, 30, 255}, Pixel{200, 100, 50, 128}));
}

TEST(WebP, WithoutLossIsReadPixelByPixel) {
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

TEST(OtherFormats, AreReadToo) {
    for (const char *format : {"BMP", "ICO"})
        EXPECT_EQ(corners(decode(encoded(quarters(), format)).bitmap()), "rgbw") << format;
}

TEST(AFile, IsReadByItsContentWhateverItsName) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "photo.png", encoded(quarters(), "JPEG"));
    test::writeFile(folder / "photo", png(1, 8, gray, "\x07"));
    EXPECT_EQ(corners(Picture::read(folder.url("photo.png")).bitmap()), "rgbw");
    EXPECT_EQ(Picture::read(folder.url("photo")).bitmap().width, 1);
}

TEST(AFile, ThatIsNoneIsRefusedByItsName) {
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

TEST(WhatIsNoPicture, IsRefused) {
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

TEST(WhatIsCutShort, IsRefused) {
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

TEST(WhatIsDamaged, IsRefusedOrReadButNeverMore) {
    const std::string whole = encoded(quarters(), "PNG");
    for (std::size_t index = 8; index < whole.size(); ++index) {
        std::string damaged = whole;
        damaged[index] = static_cast<char>(damaged[index] ^ 0x55);
        static_cast<void>(refusalHere(damaged));
    }
}

TEST(Size, AHundredMegapixelsAreReadAndFarMoreAreNot) {
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

TEST(PngData, TurnsDeepPicturesToo) {
    const Bitmap deep = decode(png(2, 16, gray, "\x12\x34\x56\x78")).bitmap();
    const Picture after = decode(std::string(Picture(deep, 1, Orientation::down).pngData().text()));
    EXPECT_THAT(pixels(after.bitmap()),
                ElementsAre(Pixel{0x5678, 0x5678, 0x5678}, Pixel{0x1234, 0x1234, 0x1234}));
}

TEST(PngData, OfACroppedPictureHoldsThePartOnly) {
    const Picture square = cropImageToSquare(Picture(numbered(4, 2)));
    EXPECT_THAT(numbers(decode(std::string(square.pngData().text())).bitmap()),
                ElementsAre(2, 3, 6, 7));
}

TEST(PngData, HasNothingButThePicture) {
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

TEST(PngData, OfAPictureWithoutABitmapThrows) {
    try {
        static_cast<void>(Picture().pngData());
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PictureError::unwritablePicture);
    }
}

TEST(Pictures, AreEqualWhenTheyShareTheirPixels) {
    const Picture one(numbered(2, 2));
    const Picture copy = one; // NOLINT(*unnecessary-copy*): what is tested
    EXPECT_EQ(one, copy);
    EXPECT_NE(one, Picture(numbered(2, 2)));
    EXPECT_NE(one, Picture(one.bitmap(), 2));
    EXPECT_NE(one, Picture(one.bitmap(), 1, Orientation::down));
}

} // namespace

} // namespace vellomir
