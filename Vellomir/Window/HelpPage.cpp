#include "Vellomir/Window/HelpPage.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace vellomir {

QUrl helpPage() {
    const QFileInfo page(QCoreApplication::applicationDirPath() +
                         QStringLiteral("/../share/vellomir/help/help.html"));
    return page.isFile() ? QUrl::fromLocalFile(page.canonicalFilePath()) : QUrl();
}

} // namespace vellomir
