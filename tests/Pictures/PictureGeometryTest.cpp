#include "Vellomir/Pictures/PictureGeometry.h"
#include "tests/Pictures/PictureSupport.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::decode;
using test::Pixel;
using test::pixels;
using testing::ElementsAre;

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

/// A large picture without memory for its pixels.
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

TEST(Cropping, ResultKeepsPixelsAlive) {
    auto whole = std::make_unique<Picture>(numbered(3, 1));
    const Picture square = cropImageToSquare(*whole);
    whole.reset();
    EXPECT_THAT(numbers(square.bitmap()), ElementsAre(2));
}

TEST(CroppingDeathTest, PictureWithoutBitmapEndsTheProgram) {
    EXPECT_DEATH(static_cast<void>(cropImageToSquare(Picture())), "without a bitmap");
}

TEST(Turning, EveryOrientationBecomesUpright) {
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

TEST(PngData, CroppedPictureHoldsOnlyItsPart) {
    const Picture square = cropImageToSquare(Picture(numbered(4, 2)));
    EXPECT_THAT(numbers(decode(std::string(square.pngData().text())).bitmap()),
                ElementsAre(2, 3, 6, 7));
}

TEST(PictureEquality, NeedsSharedPixels) {
    const Picture one(numbered(2, 2));
    const Picture copy = one; // NOLINT(*unnecessary-copy*): what is tested
    EXPECT_EQ(one, copy);
    EXPECT_NE(one, Picture(numbered(2, 2)));
    EXPECT_NE(one, Picture(one.bitmap(), 2));
    EXPECT_NE(one, Picture(one.bitmap(), 1, Orientation::down));
}

} // namespace

} // namespace vellomir
