#pragma once

#include "Vellomir/Pictures/Picture.h"

#include <QQuickImageProvider>
#include <QUrl>

#include <mutex>
#include <optional>

namespace vellomir {

/// Hands the chosen picture to the screen, turned upright and no larger than it is shown. It scales
/// in threads of Qt's own, so that the window goes on drawing, however large the picture is.
class PreviewProvider : public QQuickImageProvider {
public:
    static constexpr const char *name = "selected";

    PreviewProvider();

    /// The address of a picture, empty for none. Each picture has an address of its own, and only
    /// the latest is kept. Any thread.
    QUrl show(const std::optional<Picture> &picture);

    /// Called by Qt, in threads of its own.
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    std::mutex mutex_;
    std::optional<Picture> picture_;
    int number_ = 0;
};

} // namespace vellomir
