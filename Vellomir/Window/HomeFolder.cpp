#include "Vellomir/Window/HomeFolder.h"

#include <QDir>

namespace vellomir {

QString abbreviatedPath(const QString &path) {
    const QString home = QDir::homePath();
    const bool isInside = path.startsWith(home + u'/');
    if (home == QStringLiteral("/") || (path != home && !isInside))
        return path;
    return u'~' + path.mid(home.size());
}

} // namespace vellomir
