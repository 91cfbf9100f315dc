#include "Vellomir/Pictures/PictureGeometry.h"
#include "tests/Pictures/PictureSupport.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::Pixel;
using test::pixels;
using testing::Each;
using testing::ElementsAre;

namespace {

/// A bitmap of channels, four a pixel. More `padding` after each row, which is no part of it.
template <typename Channel>
Bitmap made(int width, int height, bool hasAlpha, const std::vector<Channel> &channels,
            std::size_t padding = 0) {
    const std::size_t row = static_cast<std::size_t>(width) * 4;
    const auto stored = std::make_shared<std::vector<Channel>>();
    for (std::size_t at = 0; at < channels.size(); at += row) {
        stored->insert(stored->end(), channels.begin() + static_cast<std::ptrdiff_t>(at),
                       channels.begin() + static_cast<std::ptrdiff_t>(at + row));
        stored->insert(stored->end(), padding, Channel{99});
    }
    EXPECT_EQ(channels.size(), row * static_cast<std::size_t>(height));
    return {.width = width,
            .height = height,
            .isDeep = sizeof(Channel) == 2,
            .hasAlpha = hasAlpha,
            .bytesPerRow = (row + padding) * sizeof(Channel),
            .pixels = {stored, reinterpret_cast<const std::byte *>(stored->data())}};
}

/// Shades of grey, without alpha.
Bitmap shades(int width, int height, const std::vector<std::uint8_t> &values) {
    std::vector<std::uint8_t> channels;
    for (const std::uint8_t value : values)
        channels.insert(channels.end(), {value, value, value, 7});
    return made(width, height, false, channels, 12);
}

Bitmap uniform(int width, int height, std::uint8_t value) {
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return shades(width, height, std::vector<std::uint8_t>(count, value));
}

/// The red channel, row by row.
std::vector<unsigned> reds(const Bitmap &bitmap) {
    std::vector<unsigned> all;
    for (const Pixel &each : pixels(bitmap))
        all.push_back(each[0]);
    return all;
}

std::pair<int, int> size(const Bitmap &bitmap) {
    return {bitmap.width, bitmap.height};
}

TEST(ScaledToFit, UniformColourStays) {
    for (const int side : {1, 2, 3, 5, 7, 36, 37})
        for (const auto value : std::vector<std::uint8_t>{0, 1, 127, 255})
            EXPECT_THAT(pixels(scaledToFit(uniform(37, 23, value), side)),
                        Each(Pixel{value, value, value}))
                << side;
}

TEST(ScaledToFit, CheckerboardBecomesGrey) {
    std::vector<std::uint8_t> values;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            values.push_back((x + y) % 2 == 0 ? 255 : 0);
    for (const int side : {1, 2, 4, 8})
        EXPECT_THAT(pixels(scaledToFit(shades(16, 16, values), side)), Each(Pixel{128, 128, 128}));
}

TEST(ScaledToFit, PixelOnBorderCountsOnBothSides) {
    EXPECT_THAT(reds(scaledToFit(shades(3, 1, {0, 90, 240}), 2)), ElementsAre(30, 190));
    EXPECT_THAT(reds(scaledToFit(shades(1, 3, {0, 90, 240}), 2)), ElementsAre(30, 190));
    EXPECT_THAT(reds(scaledToFit(shades(5, 1, {10, 20, 30, 40, 50}), 3)), ElementsAre(14, 30, 46));
    // Each of the four takes one corner, halves of two edges, and a quarter of the middle.
    EXPECT_THAT(reds(scaledToFit(shades(3, 3, {0, 0, 0, 0, 90, 0, 0, 0, 90}), 2)),
                ElementsAre(10, 10, 10, 50));
}

TEST(ScaledToFit, ChannelsAreIndependent) {
    const Bitmap two = made<std::uint8_t>(2, 1, true, {10, 20, 30, 255, 30, 40, 50, 255});
    EXPECT_THAT(pixels(scaledToFit(two, 1)), ElementsAre(Pixel{20, 30, 40, 255}));
}

TEST(ScaledToFit, LongerSideFitsAndRatioStays) {
    EXPECT_EQ(size(scaledToFit(uniform(300, 200, 1), 150)), std::pair(150, 100));
    EXPECT_EQ(size(scaledToFit(uniform(200, 300, 1), 150)), std::pair(100, 150));
    EXPECT_EQ(size(scaledToFit(uniform(300, 299, 1), 100)), std::pair(100, 100));
    EXPECT_EQ(size(scaledToFit(uniform(1000, 3, 1), 10)), std::pair(10, 1));
    EXPECT_EQ(size(scaledToFit(uniform(1, 1000, 1), 10)), std::pair(1, 10));
    EXPECT_EQ(size(scaledToFit(uniform(50, 40, 1), 1)), std::pair(1, 1));
    EXPECT_EQ(size(scaledToFit(uniform(50, 40, 1), 0)), std::pair(1, 1));
}

TEST(ScaledToFit, SmallPictureIsUnchanged) {
    const Bitmap small = uniform(40, 30, 5);
    EXPECT_EQ(scaledToFit(small, 40), small);
    EXPECT_EQ(scaledToFit(small, 1000), small);
    EXPECT_EQ(scaledToFit(Bitmap(), 10), Bitmap());
}

TEST(ScaledToFit, ColumnOfOnePixelIsAveraged) {
    EXPECT_THAT(reds(scaledToFit(shades(1, 4, {10, 20, 30, 40}), 2)), ElementsAre(15, 35));
    EXPECT_THAT(reds(scaledToFit(shades(4, 1, {10, 20, 30, 40}), 2)), ElementsAre(15, 35));
}

TEST(ScaledToFit, SixteenBitsBecomeEight) {
    const Bitmap deep =
        made<std::uint16_t>(2, 1, false, {0xFFFF, 0x8080, 0, 0, 0xFFFF, 0x8080, 0x0101, 0}, 8);
    const Bitmap same = scaledToFit(deep, 2);
    EXPECT_FALSE(same.isDeep);
    EXPECT_FALSE(same.hasAlpha);
    EXPECT_THAT(pixels(same), ElementsAre(Pixel{255, 128, 0}, Pixel{255, 128, 1}));
    EXPECT_THAT(pixels(scaledToFit(deep, 1)), ElementsAre(Pixel{255, 128, 1}));

    const Bitmap clear =
        made<std::uint16_t>(2, 1, true, {0xFFFF, 0, 0x8080, 0x8080, 0, 0xFFFF, 0x8080, 0x8080});
    EXPECT_THAT(pixels(scaledToFit(clear, 1)), ElementsAre(Pixel{128, 128, 128, 128}));
}

TEST(ScaledToFit, PixelsAreWeightedByAlpha) {
    const Bitmap hidden = made<std::uint8_t>(2, 1, true, {200, 100, 50, 255, 0, 255, 0, 0});
    EXPECT_THAT(pixels(scaledToFit(hidden, 1)), ElementsAre(Pixel{200, 100, 50, 128}));
    const Bitmap faint = made<std::uint8_t>(2, 1, true, {0, 0, 0, 50, 240, 240, 240, 150});
    EXPECT_THAT(pixels(scaledToFit(faint, 1)), ElementsAre(Pixel{180, 180, 180, 100}));
    const Bitmap empty = made<std::uint8_t>(2, 1, true, {9, 9, 9, 0, 9, 9, 9, 0});
    EXPECT_THAT(pixels(scaledToFit(empty, 1)), ElementsAre(Pixel{0, 0, 0, 0}));
}

TEST(ScaledToFit, FourthChannelIsIgnoredWithoutAlpha) {
    const Bitmap scaled = scaledToFit(uniform(4, 4, 8), 2);
    EXPECT_FALSE(scaled.hasAlpha);
    EXPECT_EQ(std::to_integer<unsigned>(scaled.pixels.get()[3]), 255);
}

} // namespace

} // namespace vellomir
