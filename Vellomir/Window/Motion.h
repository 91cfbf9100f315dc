#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Whether animations are reduced. Main thread.
class Motion : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// If set, items move to their new place at once.
    Q_PROPERTY(bool isReduced READ isReduced WRITE setReduced NOTIFY isReducedChanged)

public:
    [[nodiscard]] bool isReduced() const { return isReduced_; }
    void setReduced(bool isReduced);

    /// Uses the environment variable VELLOMIR_REDUCED_MOTION (1 or 0) if it is set; else the
    /// desktop's setting, now and after each change.
    void followSystem();

signals:
    void isReducedChanged();

private:
    Q_SLOT void readSetting(const QString &group, const QString &key, const QDBusVariant &value);
    void combine();

    bool isReduced_ = false;
    bool plasmaAnimationsAreOff_ = false;
    bool animationsAreOff_ = false; ///< GNOME's setting
    bool motionIsReduced_ = false;  ///< the portal's setting, shared by other desktops
};

} // namespace vellomir
