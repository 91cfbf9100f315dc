#pragma once

#include <QFont>
#include <QGuiApplication>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// The application's font.
class Fonts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)

public:
    [[nodiscard]] static QString family() { return QGuiApplication::font().family(); }
};

} // namespace vellomir
