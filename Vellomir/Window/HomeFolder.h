#pragma once

#include <QString>

namespace vellomir {

/// The path with the user's home folder written as "~". Other paths are returned unchanged.
[[nodiscard]] QString abbreviatedPath(const QString &path);

} // namespace vellomir
