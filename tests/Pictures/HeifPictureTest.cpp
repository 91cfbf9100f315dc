#include "Vellomir/Pictures/HelperProcess.h"
#include "tests/Pictures/HeifFile.h"
#include "tests/Pictures/PictureSupport.h"

#include <QColor>

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace vellomir {

using test::box;
using test::codedImage;
using test::CodedImage;
using test::corners;
using test::decode;
using test::extentBox;
using test::heic;
using test::heifFile;
using test::Pixel;
using test::quarters;
using test::refusal;
using testing::HasSubstr;

namespace {

class Heic : public testing::Test {
protected:
    void SetUp() override {
        if (!test::canWriteHeic())
            GTEST_SKIP() << "this system's libheif has no encoder for HEIC";
    }
};

/// No two neighbours alike.
QImage colorful(int width, int height, QImage::Format format) {
    QImage image(width, height, format);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y,
                                QColor((37 * x + 11 * y) % 256, (91 * x + 53 * y) % 256,
                                       (17 * x + 29 * y) % 256,
                                       image.hasAlphaChannel() ? 64 + (7 * x + 5 * y) % 192 : 255));
    return image;
}

/// The greatest difference of a channel between the two.
int difference(const Bitmap &bitmap, const QImage &image) {
    int greatest = 0;
    EXPECT_EQ(QSize(bitmap.width, bitmap.height), image.size());
    for (int y = 0; y < bitmap.height; ++y)
        for (int x = 0; x < bitmap.width; ++x) {
            const QColor expected = image.pixelColor(x, y);
            const Pixel found = test::pixel(bitmap, x, y);
            const std::array channels = {expected.red(), expected.green(), expected.blue(),
                                         expected.alpha()};
            for (std::size_t index = 0; index < found.size(); ++index)
                greatest = std::max(greatest,
                                    std::abs(static_cast<int>(found[index]) - channels.at(index)));
        }
    return greatest;
}

/// The four quarters in a file made by hand, with more properties.
std::string withProperties(const std::vector<std::string> &more) {
    const CodedImage coded = codedImage(heic(quarters()));
    std::vector<std::string> properties = {coded.configuration, extentBox(32, 16)};
    properties.insert(properties.end(), more.begin(), more.end());
    return heifFile({{"hvc1", coded.data, properties, {}}});
}

std::string rotation(char quarterTurns) {
    return box("irot", {quarterTurns});
}

std::string mirror(char axis) {
    return box("imir", {axis});
}

// --- Pixels -----------------------------------------------------------------------------------

TEST_F(Heic, PixelsAreAsStored) {
    for (const QSize size : {QSize(64, 64), QSize(33, 17), QSize(1, 1)}) {
        const QImage image = colorful(size.width(), size.height(), QImage::Format_RGB888);
        const Picture picture = decode(heic(image));
        EXPECT_FALSE(picture.bitmap().hasAlpha);
        EXPECT_FALSE(picture.bitmap().isDeep);
        EXPECT_EQ(picture.orientation(), Orientation::up);
        EXPECT_LE(difference(picture.bitmap(), image), 1);
    }
}

TEST_F(Heic, AlphaIsAsStored) {
    const QImage image = colorful(33, 17, QImage::Format_RGBA8888);
    const Picture picture = decode(heic(image));
    EXPECT_TRUE(picture.bitmap().hasAlpha);
    EXPECT_LE(difference(picture.bitmap(), image), 1);
}

TEST_F(Heic, AlphaIsTakenOutOfTheColours) {
    QImage image(16, 16, QImage::Format_RGBA8888);
    image.fill(QColor(100, 50, 25, 128));
    const Picture picture = decode(heic(image, {.isPremultiplied = true}));
    EXPECT_TRUE(picture.bitmap().hasAlpha);
    image.fill(QColor(199, 100, 50, 128));
    EXPECT_LE(difference(picture.bitmap(), image), 2);
    image.fill(QColor(0, 0, 0, 0));
    EXPECT_EQ(difference(decode(heic(image, {.isPremultiplied = true})).bitmap(), image), 0);
}

TEST_F(Heic, TenBitsBecomeSixteen) {
    QImage image(16, 16, QImage::Format_RGBA64);
    image.fill(QColor::fromRgba64(0xFFFF, 0x8040, 0x0100, 0x4000));
    const Picture picture = decode(heic(image, {.bits = 10}));
    EXPECT_TRUE(picture.bitmap().isDeep);
    const Pixel found = test::pixel(picture.bitmap(), 15, 15);
    constexpr double oneOf1023 = 65.0;
    const std::array expected = {65535.0, 32832.0, 256.0, 16384.0};
    for (std::size_t channel = 0; channel < 4; ++channel)
        EXPECT_NEAR(found[channel], expected.at(channel), oneOf1023) << channel;
}

TEST_F(Heic, TilesMakeOnePicture) {
    const CodedImage left = codedImage(heic(quarters(64, 64)));
    const CodedImage right = codedImage(heic(quarters(64, 64).mirrored(true, true)));
    const std::vector<std::string> tile = {left.configuration, extentBox(64, 64)};
    const Picture picture = decode(heifFile({
        {"grid", test::gridData(1, 2, 100, 60), {extentBox(100, 60)}, {2, 3}},
        {"hvc1", left.data, tile, {}},
        {"hvc1", right.data, tile, {}},
    }));
    EXPECT_EQ(picture.bitmap().width, 100);
    EXPECT_EQ(picture.bitmap().height, 60);
    EXPECT_EQ(corners(picture.bitmap()), "rbbr");
}

// --- Turning ----------------------------------------------------------------------------------

TEST_F(Heic, EveryOrientationBecomesUpright) {
    const std::array<std::string, 8> upright = {"rgbw", "grwb", "wbgr", "bwrg",
                                                "rbgw", "brwg", "wgbr", "gwrb"};
    for (int value = 1; value <= 8; ++value) {
        const auto orientation = static_cast<heif_orientation>(value);
        const Picture picture = decode(heic(quarters(), {.orientation = orientation}));
        EXPECT_EQ(picture.orientation(), Orientation::up);
        EXPECT_EQ(picture.bitmap().width, value <= 4 ? 32 : 16) << value;
        EXPECT_EQ(corners(picture.bitmap()), upright.at(static_cast<std::size_t>(value) - 1))
            << value;
    }
}

TEST_F(Heic, PropertiesTurnInTheirOrder) {
    const auto turned = [](const std::vector<std::string> &properties) {
        return corners(decode(withProperties(properties)).bitmap());
    };
    EXPECT_EQ(turned({}), "rgbw");
    EXPECT_EQ(turned({rotation(1)}), "gwrb"); // counter-clockwise
    EXPECT_EQ(turned({rotation(2)}), "wbgr");
    EXPECT_EQ(turned({rotation(3)}), "brwg");
    EXPECT_EQ(turned({mirror(0)}), "bwrg"); // top to bottom
    EXPECT_EQ(turned({mirror(1)}), "grwb"); // left to right
    EXPECT_EQ(turned({rotation(1), mirror(1)}), "wgbr");
    EXPECT_EQ(turned({mirror(1), rotation(1)}), "rbgw");
}

TEST_F(Heic, ExifOrientationIsIgnored) {
    const std::string exif =
        std::string("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 25) + '\6' +
        std::string(6, '\0');
    EXPECT_EQ(corners(decode(heic(quarters(), {.exif = exif})).bitmap()), "rgbw");
    const Picture picture =
        decode(heic(quarters(), {.orientation = heif_orientation_rotate_90_cw, .exif = exif}));
    EXPECT_EQ(picture.orientation(), Orientation::up);
    EXPECT_EQ(corners(picture.bitmap()), "brwg");
}

// --- What is refused ----------------------------------------------------------------------------

TEST_F(Heic, TruncatedFilesAreRefused) {
    const std::string whole = heic(colorful(64, 64, QImage::Format_RGBA8888));
    EXPECT_EQ(refusal(whole), "");
    for (std::size_t size = 0; size < whole.size(); size += size < 1000 ? 61 : 1021)
        EXPECT_NE(refusal(whole.substr(0, size)), "") << size << " of " << whole.size();
    EXPECT_THAT(refusal(whole.substr(0, whole.size() - 1)), HasSubstr("damaged or cut short"));
}

TEST_F(Heic, DamagedFilesDoNotCrash) {
    const std::string whole = heic(quarters());
    for (std::size_t index = 0; index < whole.size(); index += 7) {
        std::string damaged = whole;
        damaged[index] = static_cast<char>(damaged[index] ^ 0x55);
        static_cast<void>(refusal(damaged));
    }
}

TEST_F(Heic, FormatIsDetectedByBrands) {
    const CodedImage coded = codedImage(heic(quarters()));
    const auto branded = [&coded](const std::string &brands) {
        return heifFile({{"hvc1", coded.data, {coded.configuration, extentBox(32, 16)}, {}}},
                        brands);
    };
    EXPECT_EQ(refusal(branded("heic")), "");
    EXPECT_EQ(refusal(branded("mif1heic")), "");
    EXPECT_EQ(refusal(branded("zzzzheic")), "") << "one of the others is known";
    for (const char *brands : {"zzzz", "qt  ", "isommp42", "avif", "heicavif"})
        EXPECT_THAT(refusal(branded(brands)), HasSubstr("no picture of a known kind")) << brands;
}

TEST_F(Heic, FileWithoutDecodablePictureIsRefused) {
    EXPECT_THAT(
        refusal(heifFile(
            {{"av01", "nothing", {box("av1C", "\x81\x20\x0C\x0A"), extentBox(32, 16)}, {}}})),
        HasSubstr("damaged"));
    EXPECT_THAT(refusal(heifFile({{"zzzz", "nothing", {extentBox(32, 16)}, {}}})),
                HasSubstr("picture"));
}

TEST_F(Heic, HugeSizeIsRefused) {
    const CodedImage coded = codedImage(heic(quarters()));
    const auto sized = [&coded](unsigned width, unsigned height) {
        return heifFile(
            {{"hvc1", coded.data, {coded.configuration, extentBox(width, height)}, {}}});
    };
    EXPECT_THAT(refusal(sized(20'000, 20'000)), HasSubstr("256 million pixels"));
    EXPECT_THAT(refusal(sized(200'000'000, 1)), HasSubstr("longer than 23,000"));
    EXPECT_NE(refusal(sized(4'000'000'000, 4'000'000'000)), "");
}

/// The most memory that any process had that this one has waited for, in bytes.
std::size_t memoryOfChildren() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

TEST_F(Heic, CodedSizeAboveStatedSizeIsRefusedInLittleMemory) {
    if (!limitsMemory)
        GTEST_SKIP() << "sanitizers take more memory than any limit";
    CodedImage coded = codedImage(heic(colorful(64, 64, QImage::Format_RGB888)));
    for (const unsigned side : {30'000U, 17'000U, 8'000U}) {
        test::claimSize(coded, side, side);
        EXPECT_NE(
            refusal(heifFile({{"hvc1", coded.data, {coded.configuration, extentBox(64, 64)}, {}}})),
            "")
            << side;
    }
    EXPECT_LT(memoryOfChildren(), std::size_t{256} << 20U);
}

TEST_F(Heic, GridAboveStatedSizeIsRefused) {
    const CodedImage coded = codedImage(heic(quarters(64, 64)));
    EXPECT_NE(refusal(heifFile({
                  {"grid", test::gridData(1, 1, 60'000, 60'000), {extentBox(64, 64)}, {2}},
                  {"hvc1", coded.data, {coded.configuration, extentBox(64, 64)}, {}},
              })),
              "");
}

} // namespace

} // namespace vellomir
