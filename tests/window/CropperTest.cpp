// The cropper: its contents, and its two buttons.

#include "tests/window/WindowFixture.h"

namespace vellomir {

using test::distance;
using test::Drawing;
using test::textProperty;
using test::colours::field, test::colours::white;

namespace {

/// A picture of a single colour.
Picture plain(int width, int height, const QColor &colour) {
    const std::size_t count =
        4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto pixels = std::make_shared<std::vector<std::byte>>(count, std::byte{0xFF});
    for (std::size_t pixel = 0; pixel < count; pixel += 4) {
        (*pixels)[pixel] = static_cast<std::byte>(colour.red());
        (*pixels)[pixel + 1] = static_cast<std::byte>(colour.green());
        (*pixels)[pixel + 2] = static_cast<std::byte>(colour.blue());
    }
    return Picture({.width = width,
                    .height = height,
                    .bytesPerRow = 4 * static_cast<std::size_t>(width),
                    .pixels = {pixels, pixels->data()}});
}

class Cropper : public test::WindowTest {
protected:
    void open(int width, int height) {
        view().selectedImage.set(plain(width, height, picture_));
        settle();
        ASSERT_TRUE(isShown("preview"));
        const QRectF square = placeOf(item("preview"));
        ASSERT_TRUE(becomes([&] { return draw().at(square.center()) == picture_; }));
    }

    QRectF square() { return placeOf(item("preview")); }

    const QColor picture_{10, 200, 30};
};

TEST_F(Cropper, ShowsASquareWithAWhiteOutline) {
    open(300, 300);
    EXPECT_EQ(square().width(), window().width());
    EXPECT_EQ(square().height(), square().width());
    const Drawing drawing = draw();
    const QRectF place = square();
    for (const double inset : {0.0, 1.0}) {
        EXPECT_EQ(drawing.at({place.left() + inset, place.center().y()}), white);
        EXPECT_EQ(drawing.at({place.right() - 1 - inset, place.center().y()}), white);
        EXPECT_EQ(drawing.at({place.center().x(), place.top() + inset}), white);
        EXPECT_EQ(drawing.at({place.center().x(), place.bottom() - 1 - inset}), white);
    }
    for (const QPointF &corner : {place.topLeft(), place.bottomRight() - QPointF(5, 5)})
        EXPECT_EQ(drawing.at(corner + QPointF(2, 2)), picture_);
}

TEST_F(Cropper, ShowsTallPictureWholeBetweenBars) {
    open(100, 400);
    const Drawing drawing = draw();
    const QRectF place = square();
    const double half = place.width() / 8; // A quarter of the square is covered.
    EXPECT_EQ(drawing.at(place.center() - QPointF(half - 3, 0)), picture_);
    EXPECT_EQ(drawing.at(place.center() + QPointF(half - 3, 0)), picture_);
    EXPECT_EQ(drawing.at({place.center().x(), place.top() + 4}), picture_);
    EXPECT_EQ(drawing.at({place.center().x(), place.bottom() - 5}), picture_);
    for (const double bar : {-half - 3, half + 3})
        EXPECT_LT(distance(drawing.at(place.center() + QPointF(bar, 0)), Qt::black), 30);
}

TEST_F(Cropper, ShowsWidePictureWholeBetweenBars) {
    open(400, 100);
    const Drawing drawing = draw();
    const QRectF place = square();
    const double half = place.height() / 8;
    EXPECT_EQ(drawing.at(place.center() - QPointF(0, half - 3)), picture_);
    EXPECT_EQ(drawing.at(place.center() + QPointF(0, half - 3)), picture_);
    EXPECT_EQ(drawing.at({place.left() + 4, place.center().y()}), picture_);
    for (const double bar : {-half - 3, half + 3})
        EXPECT_LT(distance(drawing.at(place.center() + QPointF(0, bar)), Qt::black), 30);
}

TEST_F(Cropper, UseKeepsPictureWhole) {
    open(30, 20);
    const auto before = view().selectedImage.get();
    click("useButton");
    EXPECT_FALSE(isShown("preview"));
    EXPECT_EQ(view().selectedImage.get(), before);
    EXPECT_TRUE(showsText("Remove selected image"));
}

TEST_F(Cropper, ZoomItCropsPicture) {
    open(30, 20);
    EXPECT_EQ(textProperty(item("zoomButton"), "text"), "Zoom it");
    click("zoomButton");
    EXPECT_FALSE(isShown("preview"));
    EXPECT_FALSE(view().showImageCropper.get());
    const Bitmap bitmap = view().selectedImage.get()->bitmap();
    EXPECT_EQ(bitmap.width, 20);
    EXPECT_EQ(bitmap.height, 20);
}

TEST_F(Cropper, ButtonsHaveEqualWidths) {
    open(30, 20);
    const QRectF use = placeOf(item("useButton"));
    const QRectF zoom = placeOf(item("zoomButton"));
    EXPECT_EQ(use.left(), 25);
    EXPECT_EQ(zoom.right(), window().width() - 25);
    EXPECT_EQ(use.width(), zoom.width());
    EXPECT_EQ(use.top(), zoom.top());
    EXPECT_EQ(use.bottom(), window().height() - 25);
    const Drawing drawing = draw();
    EXPECT_EQ(drawing.at(use.topLeft() + QPointF(10, 1)), field);
    EXPECT_EQ(drawing.at(zoom.topLeft() + QPointF(10, 1)), field);
    EXPECT_NE(drawing.at(use.topLeft()), field);
}

TEST_F(Cropper, EscapeKeepsPicture) {
    open(30, 20);
    key(Qt::Key_Escape);
    EXPECT_FALSE(isShown("preview"));
    EXPECT_FALSE(view().showImageCropper.get());
    EXPECT_TRUE(showsText("Remove selected image"));
    click("iconButton");
    open(20, 30);
    EXPECT_TRUE(isShown("preview")) << "the next picture opens it again";
}

TEST_F(Cropper, ShowsNothingAfterPictureIsRemoved) {
    open(300, 200);
    view().selectedImage.set(std::nullopt);
    settle();
    EXPECT_FALSE(isShown("preview"));
    EXPECT_FALSE(isShown("zoomButton")) << "it would do nothing";
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showImageCropper.get());
}

TEST_F(Cropper, AnyPressClosesEmptyCropper) {
    for (const QPointF &place : {QPointF(195, 500), QPointF(20, 120), QPointF(370, 830)}) {
        view().selectedImage.set(std::nullopt);
        view().showImageCropper.set(true);
        settle();
        click(place);
        EXPECT_FALSE(view().showImageCropper.get()) << place.x() << ' ' << place.y();
    }
}

TEST_F(Cropper, PressOnPictureDoesNotClose) {
    open(300, 200);
    click(square().center());
    click(square().bottomLeft() + QPointF(20, 40));
    EXPECT_TRUE(view().showImageCropper.get());
}

} // namespace

} // namespace vellomir
