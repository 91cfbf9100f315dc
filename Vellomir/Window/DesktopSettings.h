#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

namespace vellomir {

/// The group of GNOME's settings of the interface, which other desktops keep too.
inline const QString gnomeInterface = QStringLiteral("org.gnome.desktop.interface");

/// Follows one of the settings that desktops share with programs: the reader's slot
/// `readSetting(QString group, QString key, QDBusVariant value)` hears of its value and of each
/// later one; of others too, which it has to pass over. Without a session bus, and on desktops that
/// don't have the setting, it hears of nothing. Main thread.
void followSetting(QObject &reader, const QString &group, const QString &key);

/// The value of a setting. A whole answer may be wrapped more than once.
[[nodiscard]] QVariant settingValue(const QDBusVariant &value);

} // namespace vellomir
