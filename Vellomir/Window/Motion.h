#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Whether things move on the screen. Main thread.
class Motion : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// What would move takes its place at once instead.
    Q_PROPERTY(bool isReduced READ isReduced WRITE setReduced NOTIFY isReducedChanged)

public:
    [[nodiscard]] bool isReduced() const { return isReduced_; }
    void setReduced(bool isReduced);

    /// Follows what the user has set: the variable VELLOMIR_REDUCED_MOTION (1 or 0) if there is
    /// one; else what the desktop says, now and when it changes.
    void followSystem();

signals:
    void isReducedChanged();

private:
    Q_SLOT void readSetting(const QString &group, const QString &key, const QDBusVariant &value);
    void combine();

    bool isReduced_ = false;
    bool plasmaStandsStill_ = false;
    bool animationsAreOff_ = false; ///< one desktop's name for it
    bool motionIsReduced_ = false;  ///< the others'
};

} // namespace vellomir
