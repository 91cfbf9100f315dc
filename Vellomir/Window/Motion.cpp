#include "Vellomir/Window/Motion.h"

#include "Vellomir/Window/DesktopSettings.h"

#include <QSettings>
#include <QStandardPaths>

namespace vellomir {
namespace {

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString reducedMotion = QStringLiteral("reduced-motion");
const QString enableAnimations = QStringLiteral("enable-animations");

/// Plasma multiplies the duration of all animations by a factor; 0 disables them.
bool areAnimationsOffInPlasma() {
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
    plasmaAnimationsAreOff_ = areAnimationsOffInPlasma();
    combine();
    followSetting(*this, gnomeInterface, enableAnimations);
    followSetting(*this, appearance, reducedMotion);
}

void Motion::readSetting(const QString &group, const QString &key, const QDBusVariant &value) {
    const QVariant setting = settingValue(value);
    if (group == gnomeInterface && key == enableAnimations)
        animationsAreOff_ = !setting.toBool();
    else if (group == appearance && key == reducedMotion)
        motionIsReduced_ = setting.toUInt() == 1;
    else
        return;
    combine();
}

/// The settings of several desktops are independent: one of them is enough.
void Motion::combine() {
    setReduced(plasmaAnimationsAreOff_ || animationsAreOff_ || motionIsReduced_);
}

} // namespace vellomir
