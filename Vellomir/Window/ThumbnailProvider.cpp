#include "Vellomir/Window/ThumbnailProvider.h"

#include "Vellomir/Pictures/Picture.h"

#include <QDir>
#include <QIcon>
#include <QIconEngine>
#include <QImage>
#include <QPainter>

namespace vellomir {
namespace {

constexpr int side = 96;
/// Larger ones take so long to read that the others would wait for them.
constexpr qint64 mostPixels = 64'000'000;
constexpr qint64 mostBytes = 64'000'000;

/// An icon that is made away from the main thread and drawn there.
class ThumbnailEngine : public QIconEngine {
public:
    explicit ThumbnailEngine(QImage image) : image_(std::move(image)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override {
        QRect target({}, image_.size().scaled(rect.size(), Qt::KeepAspectRatio));
        target.moveCenter(rect.center());
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawImage(target, image_);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect({}, size), mode, state);
        return pixmap;
    }

    [[nodiscard]] QIconEngine *clone() const override { return new ThumbnailEngine(image_); }

private:
    QImage image_;
};

/// Upright. Null if the file holds no picture, or a larger one: the dialog shows the ordinary icon.
QImage smallPicture(const QString &file) {
    try {
        const Picture picture = Picture::read(archive::URL::file(file.toStdString()),
                                              {.maximumSide = side, .mostPixels = mostPixels});
        const Bitmap &small = picture.bitmap();
        const auto format = small.hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGBX8888;
        return QImage(reinterpret_cast<const uchar *>(small.pixels.get()), small.width,
                      small.height, static_cast<qsizetype>(small.bytesPerRow), format)
            .copy();
    } catch (const std::exception &) {
        return {};
    }
}

bool mayBePicture(const QFileInfo &info) {
    return info.isFile() && info.size() <= mostBytes &&
           QDir::match(pictureNames(), info.fileName());
}

} // namespace

QIcon ThumbnailProvider::icon(const QFileInfo &info) const {
    if (!mayBePicture(info))
        return QFileIconProvider::icon(info);
    QImage image = smallPicture(info.filePath());
    return image.isNull() ? QFileIconProvider::icon(info)
                          : QIcon(new ThumbnailEngine(std::move(image)));
}

QStringList pictureNames() {
    static const QStringList names = {
        QStringLiteral("*.png"),  QStringLiteral("*.jpg"),  QStringLiteral("*.jpeg"),
        QStringLiteral("*.webp"), QStringLiteral("*.heic"), QStringLiteral("*.heif"),
        QStringLiteral("*.gif"),  QStringLiteral("*.bmp"),  QStringLiteral("*.ico"),
        QStringLiteral("*.tif"),  QStringLiteral("*.tiff")};
    return names;
}

} // namespace vellomir
