#pragma once

#include "archive/URL.h"

#include <QList>
#include <QUrl>

#include <optional>
#include <vector>

namespace vellomir {

/// Both kinds of addresses of files, the engine's and Qt's. Names that are no valid UTF-8 cannot be
/// told in Qt's kind.
[[nodiscard]] QUrl toQt(const std::optional<archive::URL> &url);
/// Leaves out what is no file of this machine.
[[nodiscard]] std::vector<archive::URL> fromQt(const QList<QUrl> &urls);

} // namespace vellomir
