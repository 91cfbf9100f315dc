#include "Vellomir/Window/Motion.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QSettings>
#include <QStandardPaths>

namespace vellomir {
namespace {

// The settings that desktops share:
// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString reducedMotion = QStringLiteral("reduced-motion");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString enableAnimations = QStringLiteral("enable-animations");

/// The whole answer may be wrapped more than once.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// Plasma stretches the duration of all animations by a factor.
bool plasmaStandsStill() {
    const QString file =
        QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
    if (file.isEmpty())
        return false;
    const QSettings settings(file, QSettings::IniFormat);
    return settings.value(QStringLiteral("KDE/AnimationDurationFactor"), 1).toDouble() == 0;
}

} // namespace

void Motion::setReduced(bool isReduced) {
    if (isReduced_ == isReduced)
        return;
    isReduced_ = isReduced;
    emit isReducedChanged();
}

void Motion::followSystem() {
    if (qEnvironmentVariableIsSet("VELLOMIR_REDUCED_MOTION"))
        return setReduced(qEnvironmentVariableIntValue("VELLOMIR_REDUCED_MOTION") != 0);
    plasmaStandsStill_ = plasmaStandsStill();
    combine();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                SLOT(readSetting(QString, QString, QDBusVariant)));
    askPortal(gnome, enableAnimations);
    askPortal(appearance, reducedMotion);
}

void Motion::askPortal(const QString &group, const QString &key) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    message << group << key;
    auto *const watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, group, key] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        watcher->deleteLater();
        if (!reply.isError())
            readSetting(group, key, reply.value());
    });
}

void Motion::readSetting(const QString &group, const QString &key, const QDBusVariant &value) {
    const QVariant setting = unwrapped(value.variant());
    if (group == gnome && key == enableAnimations)
        animationsAreOff_ = !setting.toBool();
    else if (group == appearance && key == reducedMotion)
        motionIsReduced_ = setting.toUInt() == 1;
    else
        return;
    combine();
}

/// One desktop's answer is no answer to what another one has been told.
void Motion::combine() {
    setReduced(plasmaStandsStill_ || animationsAreOff_ || motionIsReduced_);
}

} // namespace vellomir
