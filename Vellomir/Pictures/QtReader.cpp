#include "Vellomir/Pictures/HeifBrand.h"
#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureIntegrity.h"
#include "Vellomir/Pictures/PictureOrientation.h"
#include "Vellomir/Pictures/PictureReaders.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImage>
#include <QImageReader>
#include <QLoggingCategory>

#include <algorithm>

namespace vellomir {
namespace {

/// MiB, for as many pixels as may be with 16 bits a channel.
constexpr int maximumMemory = (maximumPixels * 8) >> 20;

/// Errors are in the results.
void prepareQt() {
    QLoggingCategory::setFilterRules(QStringLiteral("qt.gui.imageio*=false"));
    QImageReader::setAllocationLimit(maximumMemory);
}

/// As Qt calls it. Only plugins for a format that is known here see the file: others read drawings
/// that refer to more files.
QByteArray formatOf(std::span<const std::byte> bytes) {
    QByteArray format = isAvif(bytes) ? "avif" : isHeif(bytes) ? "heic" : pictureFormat(bytes);
    if (!format.isEmpty() && QImageReader::supportedImageFormats().contains(format))
        return format;
    throw PictureFault(isHeif(bytes)
                           ? "HEIC pictures cannot be read here, only PNG, JPEG and the like"
                           : "This is no picture of a known kind");
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

/// The bitmap keeps the image's memory; an image with a single owner is not copied.
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

/// For a small picture, JPEG is decoded with half, a quarter or an eighth of its pixels.
void readSmaller(QImageReader &reader, const QSize &size, int maximumSide) {
    constexpr int spare = 2; // The rest is scaled by averages.
    const int side = spare * maximumSide;
    if (side > 0 && std::max(size.width(), size.height()) > side && reader.format() == "jpeg")
        reader.setScaledSize(size.scaled(side, side, Qt::KeepAspectRatio).expandedTo({1, 1}));
}

} // namespace

DecodedPicture readWithQt(std::span<const std::byte> bytes, const DecodingOptions &options,
                          const BeforePixels &beforePixels) {
    prepareQt();
    QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes.data()),
                                                 static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, formatOf(bytes));
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(false);
    const QSize size = reader.size();
    const qint64 pixels = qint64{size.width()} * size.height();
    requirePixelCount(pixels, bytes.size(), options);
    if (size.isValid())
        beforePixels(pixels);
    readSmaller(reader, size, options.maximumSide);
    QImage image = reader.read();
    if (image.isNull())
        throw PictureFault("The picture is damaged");
    const Orientation stored = orientation(reader.transformation());
    const Orientation tagged = exifOrientation(bytes);
    return {.bitmap = bitmap(std::move(image)),
            .orientation = tagged == Orientation::up ? stored : tagged};
}

std::vector<std::byte> encodePicture(const Bitmap &bitmap) {
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
        throw PictureFault("The picture cannot be encoded as PNG");
    const auto *data = reinterpret_cast<const std::byte *>(png.constData());
    return {data, data + png.size()};
}

} // namespace vellomir
