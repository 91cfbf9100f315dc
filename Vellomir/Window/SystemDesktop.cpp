#include "Vellomir/Window/SystemDesktop.h"

#include "Vellomir/Window/FileAssociations.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QStandardPaths>

namespace vellomir {
namespace {

/// Milliseconds; the bus may have to start a file manager first.
constexpr int timeout = 5000;

/// The file managers' common D-Bus interface:
/// https://www.freedesktop.org/wiki/Specifications/file-manager-interface/
QDBusMessage showItems(const QString &file) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    message << QStringList{QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)} << QString();
    return message;
}

/// openUrl returns true as soon as a helper was started, even if that finds no program.
bool openFolder(const QString &file) {
    const bool isStarted = QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(file).path()));
    return isStarted && hasProgramFor(QStringLiteral("inode/directory"));
}

/// The helper also knows browsers without a desktop entry.
bool hasBrowser() {
    return qEnvironmentVariableIsSet("BROWSER") ||
           !QStandardPaths::findExecutable(QStringLiteral("x-www-browser")).isEmpty() ||
           !QStandardPaths::findExecutable(QStringLiteral("www-browser")).isEmpty();
}

} // namespace

bool SystemDesktop::open(const QUrl &url) {
    const bool isStarted = QDesktopServices::openUrl(url);
    const QString type = url.isLocalFile() ? QStringLiteral("text/html")
                                           : QStringLiteral("x-scheme-handler/") + url.scheme();
    return isStarted && (hasProgramFor(type) || hasBrowser());
}

void SystemDesktop::showInFileManager(const QString &file, std::function<void(bool)> answer) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return answer(openFolder(file));
    auto *const watcher = new QDBusPendingCallWatcher(bus.asyncCall(showItems(file), timeout));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, file, answer = std::move(answer)] {
                         const QDBusPendingReply<> reply = *watcher;
                         watcher->deleteLater();
                         answer(!reply.isError() || openFolder(file));
                     });
}

/// https://wiki.ubuntu.com/Unity/LauncherAPI#Low_level_DBus_API:_com.canonical.Unity.LauncherEntry
QDBusMessage launcherUpdate(std::optional<double> share) {
    const QString program = QGuiApplication::desktopFileName() + QStringLiteral(".desktop");
    const QVariantMap properties{{QStringLiteral("progress"), share.value_or(0)},
                                 {QStringLiteral("progress-visible"), share.has_value()}};
    QDBusMessage message = QDBusMessage::createSignal(
        QStringLiteral("/com/canonical/unity/launcherentry/1"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    message << QStringLiteral("application://") + program << properties;
    return message;
}

void SystemDesktop::showProgress(std::optional<double> share) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected())
        bus.send(launcherUpdate(share));
}

void SystemDesktop::copyToClipboard(const QString &file) {
    const QUrl url = QUrl::fromLocalFile(file);
    auto *const data = new QMimeData;
    data->setUrls({url});
    data->setText(file);
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + url.toEncoded());
    QGuiApplication::clipboard()->setMimeData(data); // takes ownership of the data
}

} // namespace vellomir
