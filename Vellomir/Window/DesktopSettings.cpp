#include "Vellomir/Window/DesktopSettings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace vellomir {
namespace {

// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portal = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

void ask(QObject &reader, const QString &group, const QString &key) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(service, portal, interface, QStringLiteral("Read"));
    message << group << key;
    auto *const watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), &reader);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, &reader, [&reader, watcher, group, key] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            watcher->deleteLater();
            if (!reply.isError())
                QMetaObject::invokeMethod(&reader, "readSetting", Q_ARG(QString, group),
                                          Q_ARG(QString, key), Q_ARG(QDBusVariant, reply.value()));
        });
}

} // namespace

void followSetting(QObject &reader, const QString &group, const QString &key) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(service, portal, interface, QStringLiteral("SettingChanged"), &reader,
                SLOT(readSetting(QString, QString, QDBusVariant)));
    ask(reader, group, key);
}

QVariant settingValue(const QDBusVariant &value) {
    QVariant inner = value.variant();
    while (inner.canConvert<QDBusVariant>())
        inner = inner.value<QDBusVariant>().variant();
    return inner;
}

} // namespace vellomir
