#pragma once

#include <QString>

namespace vellomir {

/// Whether an installed program opens this type, by the desktop's MIME associations:
/// "inode/directory" for folders, "x-scheme-handler/https" for web links. Any thread; reads a few
/// small files. https://specifications.freedesktop.org/mime-apps-spec/
[[nodiscard]] bool hasProgramFor(const QString &type);

} // namespace vellomir
