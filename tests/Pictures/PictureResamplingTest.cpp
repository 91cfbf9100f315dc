#include "Vellomir/Pictures/PictureGeometry.h"
#include "tests/Pictures/PictureSupport.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::Pixel;
using test::pixels;
using testing::Each;
using testing::ElementsAre;

namespace {

Bitmap bitmapOf(int width, int height, bool hasAlpha, const std::vector<std::uint8_t> &channels) {
    const auto stored = std::make_shared<std::vector<std::uint8_t>>(channels);
    return {.width = width,
            .height = height,
            .hasAlpha = hasAlpha,
            .bytesPerRow = static_cast<std::size_t>(width) * 4,
            .pixels = {stored, reinterpret_cast<const std::byte *>(stored->data())}};
}

Bitmap uniform(int width, int height) {
    std::vector<std::uint8_t> channels;
    for (int pixel = 0; pixel < width * height; ++pixel)
        channels.insert(channels.end(), {10, 20, 30, 0});
    return bitmapOf(width, height, false, channels);
}

TEST(ScaledToSquare, UniformColourStaysInEverySize) {
    for (const int from : {1, 2, 59, 60, 61, 240, 1024})
        for (const int side : {1, 60, 152}) {
            const Bitmap square = scaledToSquare(uniform(from, from), side);
            EXPECT_EQ(square.width, side);
            EXPECT_EQ(square.height, side);
            EXPECT_FALSE(square.hasAlpha);
            EXPECT_THAT(pixels(square), Each(Pixel{10, 20, 30})) << from << " to " << side;
        }
}

TEST(ScaledToSquare, SameSizeKeepsPixels) {
    const Bitmap bitmap =
        bitmapOf(2, 2, true, {1, 2, 3, 255, 4, 5, 6, 200, 7, 8, 9, 100, 0, 0, 0, 0});
    EXPECT_EQ(pixels(scaledToSquare(bitmap, 2)), pixels(bitmap));
}

TEST(ScaledToSquare, TakesTheCentre) {
    const Bitmap wide = bitmapOf(3, 1, false, {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0});
    EXPECT_THAT(pixels(scaledToSquare(wide, 1)), ElementsAre(Pixel{2, 2, 2}));
    const Bitmap high = bitmapOf(1, 3, false, {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0});
    EXPECT_THAT(pixels(scaledToSquare(high, 1)), ElementsAre(Pixel{2, 2, 2}));
}

TEST(ScaledToSquare, TransparentPixelsGiveNoColour) {
    const Bitmap bitmap =
        bitmapOf(2, 2, true, {200, 0, 0, 255, 0, 255, 0, 0, 0, 255, 0, 0, 200, 0, 0, 255});
    for (const int side : {1, 7})
        for (const Pixel &pixel : pixels(scaledToSquare(bitmap, side))) {
            EXPECT_EQ(pixel[1], 0U);
            EXPECT_EQ(pixel[0], pixel[3] > 0 ? 200U : 0U);
        }
}

TEST(ScaledToSquare, EdgeStaysSharpWhenEnlarged) {
    const Bitmap bitmap =
        bitmapOf(2, 2, false, {0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 0, 255, 255, 255, 0});
    const auto all = pixels(scaledToSquare(bitmap, 8));
    EXPECT_EQ(all[0], (Pixel{0, 0, 0}));
    EXPECT_EQ(all[7], (Pixel{255, 255, 255}));
    for (std::size_t x = 1; x < 8; ++x)
        EXPECT_GE(all[x][0], all[x - 1][0]);
}

TEST(WithoutAlpha, TransparentPixelsBecomeWhite) {
    const Bitmap bitmap = bitmapOf(3, 1, true, {10, 20, 30, 255, 10, 20, 30, 0, 0, 0, 0, 51});
    const Bitmap opaque = withoutAlpha(bitmap);
    EXPECT_FALSE(opaque.hasAlpha);
    EXPECT_THAT(pixels(opaque),
                ElementsAre(Pixel{10, 20, 30}, Pixel{255, 255, 255}, Pixel{204, 204, 204}));
    EXPECT_EQ(withoutAlpha(opaque), opaque);
}

TEST(WithoutAlpha, DeepPixelsStayDeep) {
    const auto stored = std::make_shared<std::vector<std::uint16_t>>(
        std::vector<std::uint16_t>{1000, 2000, 3000, 65535, 0, 0, 0, 0});
    const Bitmap bitmap{.width = 2,
                        .height = 1,
                        .isDeep = true,
                        .hasAlpha = true,
                        .bytesPerRow = 16,
                        .pixels = {stored, reinterpret_cast<const std::byte *>(stored->data())}};
    EXPECT_THAT(pixels(withoutAlpha(bitmap)),
                ElementsAre(Pixel{1000, 2000, 3000}, Pixel{65535, 65535, 65535}));
}

} // namespace

} // namespace vellomir
