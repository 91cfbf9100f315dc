#include "Vellomir/Window/FileAssociations.h"

#include <QFile>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>

namespace vellomir {
namespace {

/// The values of a key in an INI file, from all groups except the one that removes associations.
QStringList valuesOf(const QString &path, const QString &key) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QStringList values;
    bool counts = true;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'['))
            counts = line != QStringLiteral("[Removed Associations]");
        else if (counts && line.section(u'=', 0, 0).trimmed() == key)
            values.append(line.section(u'=', 1).trimmed());
    }
    return values;
}

QStringList associationLists() {
    QStringList files = QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation,
                                                  QStringLiteral("mimeapps.list"));
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower();
    for (const QString &desktop : desktops.split(u':', Qt::SkipEmptyParts))
        files += QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation,
                                           desktop + QStringLiteral("-mimeapps.list"));
    for (const char *const name : {"mimeapps.list", "mimeinfo.cache", "defaults.list"})
        files += QStandardPaths::locateAll(QStandardPaths::ApplicationsLocation,
                                           QString::fromLatin1(name));
    return files;
}

/// The path of the desktop entry; "" if it is not installed. A "-" in the name may mean a
/// subfolder: "kde-dolphin.desktop" is also looked for as "kde/dolphin.desktop".
QString desktopEntry(QString name) {
    const auto locate = [](const QString &entry) {
        return QStandardPaths::locate(QStandardPaths::ApplicationsLocation, entry);
    };
    QString path = locate(name);
    for (qsizetype dash = name.indexOf(u'-'); path.isEmpty() && dash >= 0;
         dash = name.indexOf(u'-', dash)) {
        name[dash] = u'/';
        path = locate(name);
    }
    return path;
}

/// The program's name may be quoted; arguments are ignored.
bool isInstalled(const QString &entryName) {
    const QString entry = desktopEntry(entryName);
    const QStringList commands =
        entry.isEmpty() ? QStringList() : valuesOf(entry, QStringLiteral("Exec"));
    if (commands.isEmpty())
        return false;
    const QString &command = commands.constFirst();
    const QString program =
        command.startsWith(u'"') ? command.section(u'"', 1, 1) : command.section(u' ', 0, 0);
    return !QStandardPaths::findExecutable(program).isEmpty();
}

} // namespace

bool hasProgramFor(const QString &type) {
    QStringList entries;
    for (const QString &list : associationLists())
        for (const QString &value : valuesOf(list, type))
            entries += value.split(u';', Qt::SkipEmptyParts);
    return std::any_of(entries.cbegin(), entries.cend(), isInstalled);
}

} // namespace vellomir
