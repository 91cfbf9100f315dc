#pragma once

#include <QString>

namespace vellomir {

/// The path as people write it: "~" in the place of the user's home folder. Other paths come back
/// as they are.
[[nodiscard]] QString abbreviatedPath(const QString &path);

} // namespace vellomir
