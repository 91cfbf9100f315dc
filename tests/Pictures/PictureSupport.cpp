#include "tests/Pictures/PictureSupport.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureDecoder.h"

#include <QBuffer>
#include <QPainter>

#include <gmock/gmock.h>

namespace vellomir::test {
namespace {

char colorName(const Pixel &color) {
    const auto isOn = [&color](std::size_t channel) { return color[channel] > 128; };
    return isOn(0) && isOn(1) ? 'w' : isOn(0) ? 'r' : isOn(1) ? 'g' : 'b';
}

} // namespace

Picture decode(const std::string &bytes) {
    return Picture::decode(archive::Data(std::string_view(bytes)), "picture");
}

Picture small(const std::string &bytes, int maximumSide) {
    return Picture::decode(archive::Data(std::string_view(bytes)), "picture",
                           {.maximumSide = maximumSide});
}

std::string refusal(const std::string &bytes) {
    try {
        static_cast<void>(decode(bytes));
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PictureError::unreadablePicture);
        EXPECT_EQ(error.name(), "PictureError.unreadablePicture");
        EXPECT_THAT(error.what(), testing::HasSubstr("picture"));
        EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("the decoder ")));
        return error.what();
    }
    return "";
}

std::string refusalHere(const std::string &bytes) {
    try {
        static_cast<void>(decodePicture(std::as_bytes(std::span(bytes))));
        return "";
    } catch (const PictureFault &fault) {
        return fault.what();
    }
}

Pixel pixel(const Bitmap &bitmap, int x, int y) {
    const std::byte *start = bitmap.pixels.get() +
                             static_cast<std::size_t>(y) * bitmap.bytesPerRow +
                             static_cast<std::size_t>(x) * bitmap.bytesPerPixel();
    Pixel channels;
    for (std::size_t channel = 0; channel < 4; ++channel)
        if (bitmap.isDeep)
            channels.push_back(reinterpret_cast<const std::uint16_t *>(start)[channel]);
        else
            channels.push_back(std::to_integer<unsigned>(start[channel]));
    if (!bitmap.hasAlpha)
        channels.pop_back();
    return channels;
}

std::vector<Pixel> pixels(const Bitmap &bitmap) {
    std::vector<Pixel> all;
    for (int y = 0; y < bitmap.height; ++y)
        for (int x = 0; x < bitmap.width; ++x)
            all.push_back(pixel(bitmap, x, y));
    return all;
}

std::string encoded(const QImage &image, const char *format, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format, quality)) << format;
    return bytes.toStdString();
}

QImage quarters(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    const QSize size = image.size() / 2;
    painter.fillRect(QRect({0, 0}, size), Qt::red);
    painter.fillRect(QRect({size.width(), 0}, size), Qt::green);
    painter.fillRect(QRect({0, size.height()}, size), Qt::blue);
    painter.fillRect(QRect({size.width(), size.height()}, size), Qt::white);
    return image;
}

std::string corners(const Bitmap &bitmap) {
    const int right = bitmap.width - 2;
    const int bottom = bitmap.height - 2;
    return {colorName(pixel(bitmap, 1, 1)), colorName(pixel(bitmap, right, 1)),
            colorName(pixel(bitmap, 1, bottom)), colorName(pixel(bitmap, right, bottom))};
}

} // namespace vellomir::test
