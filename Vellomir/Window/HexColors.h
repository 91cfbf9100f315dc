#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Parses the colours of the screens.
class HexColors : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Opaque, in sRGB.
    Q_INVOKABLE [[nodiscard]] static QColor color(const QString &text);
};

} // namespace vellomir
