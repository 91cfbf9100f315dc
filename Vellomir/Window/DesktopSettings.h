#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

namespace vellomir {

/// GNOME's group of interface settings, which other desktops provide too.
inline const QString gnomeInterface = QStringLiteral("org.gnome.desktop.interface");

/// Calls the reader's slot `readSetting(QString group, QString key, QDBusVariant value)` with the
/// setting's current value and after each change. The slot also gets other settings and must ignore
/// them. Without a session bus, or if the desktop does not have the setting, it is not called. Main
/// thread.
void followSetting(QObject &reader, const QString &group, const QString &key);

/// Unwraps a setting's value; replies may be wrapped in several variants.
[[nodiscard]] QVariant settingValue(const QDBusVariant &value);

} // namespace vellomir
