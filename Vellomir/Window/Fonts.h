#pragma once

#include <QDBusVariant>
#include <QFont>
#include <QGuiApplication>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// The application's font and its text scale. Main thread.
class Fonts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)
    /// A factor for all text sizes, 0.5 to 3.
    Q_PROPERTY(double scale READ scale WRITE setScale NOTIFY scaleChanged)

public:
    [[nodiscard]] static QString family() { return QGuiApplication::font().family(); }
    [[nodiscard]] double scale() const { return scale_; }
    /// Clamped to the range.
    void setScale(double scale);

    /// The font for this text. Plain ASCII is not shaped: the font would show "60x60" in a file
    /// name as "60×60". Other text is shaped, because scripts and emoji need it.
    Q_INVOKABLE [[nodiscard]] static QFont forText(QFont font, const QString &text);

    /// Uses the environment variable VELLOMIR_TEXT_SCALE, a number, if it is set; else the size of
    /// the system's font and the desktop's text scale, now and after each change.
    void followSystem();

    /// The ratio of a system font's size to the usual sizes: 1 from 9 to 11 points at 96 dpi.
    [[nodiscard]] static double scaleOf(const QFont &systemFont, double dotsPerInch);

signals:
    void scaleChanged();

private:
    Q_SLOT void readSetting(const QString &group, const QString &key, const QDBusVariant &value);
    double scale_ = 1;
    double fontScale_ = 1; ///< without the desktop's text scale
};

} // namespace vellomir
