#include "Vellomir/Pictures/PictureGeometry.h"
#include "tests/Pictures/PictureSupport.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::corners;
using test::decode;

namespace {

constexpr int side = 10'000;

/// The image that it is made from is gone before it is decoded.
Bitmap hundredMegapixels(const char *format, int quality) {
    return decode(test::encoded(test::quarters(side, side), format, quality)).bitmap();
}

class LargePicture : public testing::TestWithParam<std::pair<const char *, int>> {};

TEST_P(LargePicture, HundredMegapixelsAreDecodedAndScaled) {
    const auto [format, quality] = GetParam();
    const Bitmap large = hundredMegapixels(format, quality);
    EXPECT_EQ(large.width, side);
    EXPECT_EQ(large.height, side);
    EXPECT_EQ(corners(large), "rgbw");
    const Bitmap preview = scaledToFit(large, 800);
    EXPECT_EQ(preview.width, 800);
    EXPECT_EQ(preview.height, 800);
    EXPECT_EQ(corners(preview), "rgbw");
}

INSTANTIATE_TEST_SUITE_P(Formats, LargePicture,
                         testing::Values(std::pair("JPEG", 90), std::pair("PNG", 80)),
                         [](const auto &format) { return std::string(format.param.first); });

} // namespace

} // namespace vellomir
