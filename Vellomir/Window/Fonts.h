#pragma once

#include <QDBusVariant>
#include <QFont>
#include <QGuiApplication>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// The application's font, and how large text is to be. Main thread.
class Fonts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)
    /// What the sizes of text are multiplied by, 0.5 to 3.
    Q_PROPERTY(double scale READ scale WRITE setScale NOTIFY scaleChanged)

public:
    [[nodiscard]] static QString family() { return QGuiApplication::font().family(); }
    [[nodiscard]] double scale() const { return scale_; }
    /// Brought into the range.
    void setScale(double scale);

    /// The font that shows the text as it is spelt. Plain ASCII is not shaped, as the font would
    /// make "60x60" of a file name "60×60"; all other text is, as writing systems and emoji need
    /// it.
    Q_INVOKABLE [[nodiscard]] static QFont forText(QFont font, const QString &text);

    /// Follows what the user has set: the variable VELLOMIR_TEXT_SCALE, a number, if there is one;
    /// else the size of the system's font, and the text scale that the desktop tells, now and when
    /// it changes.
    void followSystem();

    /// What a system font's size is to the usual ones: 1 from 9 to 11 points at 96 dots an inch.
    [[nodiscard]] static double scaleOf(const QFont &systemFont, double dotsPerInch);

signals:
    void scaleChanged();

private:
    Q_SLOT void readSetting(const QString &group, const QString &key, const QDBusVariant &value);
    double scale_ = 1;
    double fontScale_ = 1; ///< without what the desktop tells
};

} // namespace vellomir
