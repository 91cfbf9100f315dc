#pragma once

#include "archive/URL.h"

#include <QList>
#include <QUrl>

#include <optional>
#include <vector>

namespace vellomir {

/// Converts between the engine's URLs and Qt's. The bytes of a name stay as they are, also if they
/// are not valid UTF-8; then `QUrl::toLocalFile` does not name the file.
[[nodiscard]] QUrl toQt(const std::optional<archive::URL> &url);
/// Leaves out URLs that are not local files.
[[nodiscard]] std::vector<archive::URL> fromQt(const QList<QUrl> &urls);

} // namespace vellomir
