#pragma once

#include "archive/URL.h"

#include <QList>
#include <QUrl>

#include <optional>
#include <vector>

namespace vellomir {

/// Converts between the engine's URLs and Qt's. A name that is not valid UTF-8 has no QUrl.
[[nodiscard]] QUrl toQt(const std::optional<archive::URL> &url);
/// Leaves out URLs that are not local files.
[[nodiscard]] std::vector<archive::URL> fromQt(const QList<QUrl> &urls);

} // namespace vellomir
