// The library that PictureCodec.h describes. It throws nothing and links nothing of ours, so that
// it has no copies of what the program has too.

#include "Vellomir/Platform/PictureCodec.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImage>
#include <QImageReader>
#include <QLoggingCategory>

#include <algorithm>
#include <array>

namespace vellomir {
namespace {

/// MiB, for as many pixels as may be with 16 bits a channel.
constexpr int maximumMemory = (PictureCodec::maximumPixels * 8) >> 20;

/// Plugins may read much more, such as drawings that refer to other files.
constexpr std::array knownFormats = {"png", "jpeg", "jpg", "webp", "gif",  "bmp",
                                     "ico", "tiff", "tif", "heic", "heif", "avif"};

PictureCodec::Decoded failed(std::string error) {
    return {.bitmap = {}, .error = std::move(error)};
}

Orientation orientation(QImageIOHandler::Transformations transformation) {
    switch (transformation) {
    case QImageIOHandler::TransformationMirror:
        return Orientation::upMirrored;
    case QImageIOHandler::TransformationRotate180:
        return Orientation::down;
    case QImageIOHandler::TransformationFlip:
        return Orientation::downMirrored;
    case QImageIOHandler::TransformationFlipAndRotate90:
        return Orientation::leftMirrored;
    case QImageIOHandler::TransformationRotate90:
        return Orientation::right;
    case QImageIOHandler::TransformationMirrorAndRotate90:
        return Orientation::rightMirrored;
    case QImageIOHandler::TransformationRotate270:
        return Orientation::left;
    default:
        return Orientation::up;
    }
}

QImage::Format format(bool isDeep, bool hasAlpha) {
    if (isDeep)
        return hasAlpha ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    return hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGBX8888;
}

/// The bitmap keeps the image's memory; of an image that nobody else has, no second one is made.
Bitmap bitmap(QImage image) {
    const bool isDeep = image.depth() > 32 || image.format() == QImage::Format_Grayscale16;
    const bool hasAlpha = image.hasAlphaChannel();
    image.convertTo(format(isDeep, hasAlpha));
    const auto owner = std::make_shared<const QImage>(std::move(image));
    const auto *pixels = reinterpret_cast<const std::byte *>(owner->constBits());
    return {.width = owner->width(),
            .height = owner->height(),
            .isDeep = isDeep,
            .hasAlpha = hasAlpha,
            .bytesPerRow = static_cast<std::size_t>(owner->bytesPerLine()),
            .pixels = std::shared_ptr<const std::byte>(owner, pixels)};
}

PictureCodec::Decoded decode(std::span<const std::byte> bytes) {
    QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes.data()),
                                                 static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    const QByteArray format = reader.format();
    if (std::find(knownFormats.begin(), knownFormats.end(), format) == knownFormats.end())
        return failed("This is no picture of a known kind");
    const QSize size = reader.size();
    if (qint64{size.width()} * size.height() > PictureCodec::maximumPixels)
        return failed("The picture has more than 256 million pixels");
    if (qint64{size.width()} * size.height() > PictureCodec::pixelLimit(bytes.size()))
        return failed("The picture says that it has more pixels than its file can hold");
    QImage image = reader.read();
    if (image.isNull())
        return failed("The picture is damaged");
    return {.bitmap = bitmap(std::move(image)),
            .orientation = orientation(reader.transformation()),
            .error = {}};
}

PictureCodec::Encoded encode(const Bitmap &bitmap) {
    QImage image(reinterpret_cast<const uchar *>(bitmap.pixels.get()), bitmap.width, bitmap.height,
                 static_cast<qsizetype>(bitmap.bytesPerRow),
                 format(bitmap.isDeep, bitmap.hasAlpha));
    image.setColorSpace({});
    image.setDotsPerMeterX(-1); // not known; 0 would leave the screen's
    image.setDotsPerMeterY(-1);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        return {.png = {}, .error = "The picture cannot be encoded as PNG"};
    const auto *data = reinterpret_cast<const std::byte *>(png.constData());
    return {.png = {data, data + png.size()}, .error = {}};
}

} // namespace
} // namespace vellomir

extern "C" Q_DECL_EXPORT const vellomir::PictureCodec *vellomirPictureCodec() {
    static constexpr vellomir::PictureCodec codec{vellomir::decode, vellomir::encode};
    // Errors are told by the results, not on the standard error stream.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.gui.imageio*=false"));
    QImageReader::setAllocationLimit(vellomir::maximumMemory);
    return &codec;
}
