#pragma once

#include <QFileIconProvider>

namespace vellomir {

/// Gives files that hold pictures a small picture of what is in them. Called by Qt in the thread
/// that gathers what a file dialog shows.
class ThumbnailProvider : public QFileIconProvider {
public:
    using QFileIconProvider::icon;
    [[nodiscard]] QIcon icon(const QFileInfo &info) const override;
};

/// The patterns of names under which pictures go, such as "*.png".
[[nodiscard]] QStringList pictureNames();

} // namespace vellomir
