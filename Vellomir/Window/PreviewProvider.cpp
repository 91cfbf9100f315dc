#include "Vellomir/Window/PreviewProvider.h"

#include "Vellomir/Pictures/PictureGeometry.h"

#include <algorithm>

namespace vellomir {
namespace {

/// Device pixels on the longer side, where the screen asks for no size.
constexpr int largestPreview = 4096;

QImage image(const Bitmap &bitmap) {
    const auto format = bitmap.hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGBX8888;
    const auto *const pixels = reinterpret_cast<const uchar *>(bitmap.pixels.get());
    const QImage shared(pixels, bitmap.width, bitmap.height,
                        static_cast<qsizetype>(bitmap.bytesPerRow), format);
    // What is in the place of an alpha that there is not must not be drawn.
    return bitmap.hasAlpha ? shared.copy() : shared.convertToFormat(QImage::Format_RGB888);
}

int longerSide(const QSize &size) {
    const int side = std::max(size.width(), size.height());
    return side > 0 ? std::min(side, largestPreview) : largestPreview;
}

} // namespace

PreviewProvider::PreviewProvider() : QQuickImageProvider(Image, ForceAsynchronousImageLoading) {}

QUrl PreviewProvider::show(const std::optional<Picture> &picture) {
    const std::lock_guard lock(mutex_);
    picture_ = picture;
    if (!picture_ || !picture_->hasBitmap())
        return {};
    ++number_;
    return QStringLiteral("image://%1/%2").arg(QLatin1String(name)).arg(number_);
}

QImage PreviewProvider::requestImage(const QString &, QSize *size, const QSize &requestedSize) {
    std::optional<Picture> picture;
    {
        const std::lock_guard lock(mutex_);
        picture = picture_;
    }
    if (!picture)
        return {};
    const Bitmap small = scaledToFit(picture->bitmap(), longerSide(requestedSize));
    QImage preview = image(upright(small, picture->orientation()));
    if (size != nullptr)
        *size = preview.size();
    return preview;
}

} // namespace vellomir
