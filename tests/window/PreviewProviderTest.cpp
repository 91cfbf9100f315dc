#include "Vellomir/Window/PreviewProvider.h"

#include "tests/Job/Packages.h"

#include <QImage>

namespace vellomir {

namespace {

const QColor red(Qt::red);
const QColor blue(Qt::blue);

/// Red on its left half and blue on its right.
Picture halves(int width, int height, Orientation orientation = Orientation::up) {
    const auto pixels = std::make_shared<std::vector<std::byte>>();
    for (int pixel = 0; pixel < width * height; ++pixel) {
        const bool isLeft = pixel % width < width / 2;
        for (const int channel : {isLeft ? 255 : 0, 0, isLeft ? 0 : 255, 255})
            pixels->push_back(static_cast<std::byte>(channel));
    }
    return Picture({.width = width,
                    .height = height,
                    .bytesPerRow = 4 * static_cast<std::size_t>(width),
                    .pixels = {pixels, pixels->data()}},
                   1, orientation);
}

class PreviewProviderTest : public testing::Test {
protected:
    QImage request(const QSize &requested = {}) {
        QSize told;
        const QImage image = provider_.requestImage(QStringLiteral("1"), &told, requested);
        EXPECT_TRUE(image.isNull() || told == image.size());
        return image;
    }

    PreviewProvider provider_;
};

TEST_F(PreviewProviderTest, EachPictureHasItsOwnURL) {
    const QUrl first = provider_.show(test::dot());
    const QUrl second = provider_.show(test::dot());
    EXPECT_EQ(first.toString(), QStringLiteral("image://selected/1"));
    EXPECT_NE(first, second) << "the screen would keep the first";
}

TEST_F(PreviewProviderTest, NoPictureHasNoURL) {
    EXPECT_TRUE(provider_.show(std::nullopt).isEmpty());
    EXPECT_TRUE(provider_.show(Picture()).isEmpty());
}

TEST_F(PreviewProviderTest, RemovedPictureIsNull) {
    provider_.show(halves(4, 2));
    provider_.show(std::nullopt);
    EXPECT_TRUE(request().isNull());
    provider_.show(Picture());
    EXPECT_TRUE(request().isNull());
}

TEST_F(PreviewProviderTest, ReturnsLatestPicture) {
    provider_.show(halves(4, 2));
    provider_.show(halves(8, 2));
    EXPECT_EQ(request().size(), QSize(8, 2));
}

TEST_F(PreviewProviderTest, PixelsAreUnchanged) {
    provider_.show(halves(4, 2));
    const QImage image = request();
    ASSERT_EQ(image.size(), QSize(4, 2));
    EXPECT_EQ(image.pixelColor(0, 0), red);
    EXPECT_EQ(image.pixelColor(1, 1), red);
    EXPECT_EQ(image.pixelColor(2, 0), blue);
    EXPECT_EQ(image.pixelColor(3, 1), blue);
}

TEST_F(PreviewProviderTest, OrientationIsApplied) {
    provider_.show(halves(4, 2, Orientation::right));
    const QImage right = request();
    ASSERT_EQ(right.size(), QSize(2, 4));
    EXPECT_EQ(right.pixelColor(0, 0), red) << "turned clockwise, the left is above";
    EXPECT_EQ(right.pixelColor(1, 3), blue);
    provider_.show(halves(4, 2, Orientation::left));
    EXPECT_EQ(request().pixelColor(0, 0), blue);
    provider_.show(halves(4, 2, Orientation::down));
    EXPECT_EQ(request().pixelColor(0, 0), blue);
    provider_.show(halves(4, 2, Orientation::upMirrored));
    EXPECT_EQ(request().pixelColor(0, 0), blue);
}

TEST_F(PreviewProviderTest, PictureIsScaledToRequestedSize) {
    provider_.show(halves(400, 100));
    EXPECT_EQ(request({40, 40}).size(), QSize(40, 10));
    const QImage small = request({40, 40});
    EXPECT_EQ(small.pixelColor(2, 5), red);
    EXPECT_EQ(small.pixelColor(37, 5), blue);
    provider_.show(halves(400, 100, Orientation::right));
    EXPECT_EQ(request({40, 40}).size(), QSize(10, 40));
}

TEST_F(PreviewProviderTest, DoesNotEnlarge) {
    provider_.show(halves(4, 2));
    EXPECT_EQ(request({400, 400}).size(), QSize(4, 2));
}

TEST_F(PreviewProviderTest, SizeIsLimited) {
    provider_.show(halves(6000, 2));
    EXPECT_EQ(request().width(), 4096);
    EXPECT_EQ(request({9000, 9000}).width(), 4096);
    EXPECT_GE(request().height(), 1);
}

TEST_F(PreviewProviderTest, AlphaIsKept) {
    const auto pixels = std::make_shared<std::vector<std::byte>>(4, std::byte{0x40});
    Bitmap bitmap{.width = 1, .height = 1, .bytesPerRow = 4, .pixels = {pixels, pixels->data()}};
    provider_.show(Picture(bitmap));
    EXPECT_EQ(request().pixelColor(0, 0).alpha(), 255);
    bitmap.hasAlpha = true;
    provider_.show(Picture(bitmap));
    EXPECT_EQ(request().pixelColor(0, 0).alpha(), 0x40);
}

} // namespace

} // namespace vellomir
