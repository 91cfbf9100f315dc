#include "Vellomir/Window/Fonts.h"

#include "Vellomir/Window/DesktopSettings.h"

#include <QScreen>

#include <algorithm>
#include <cmath>

namespace vellomir {
namespace {

const QString textScalingFactor = QStringLiteral("text-scaling-factor");

bool isAscii(const QString &text) {
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character.unicode() < 0x80; });
}

double pixelSize(const QFont &font, double dotsPerInch) {
    constexpr double pointsPerInch = 72;
    return font.pixelSize() > 0 ? font.pixelSize()
                                : font.pointSizeF() * dotsPerInch / pointsPerInch;
}

/// On X11 the desktop's text scale changes the dots per inch, by which Qt already scales whole
/// windows.
bool platformScalesText() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

void Fonts::setScale(double scale) {
    constexpr double smallest = 0.5;
    constexpr double largest = 3;
    if (!std::isfinite(scale))
        return;
    scale = std::clamp(scale, smallest, largest);
    if (scale_ == scale)
        return;
    scale_ = scale;
    emit scaleChanged();
}

QFont Fonts::forText(QFont font, const QString &text) {
    if (isAscii(text))
        font.setStyleStrategy(QFont::PreferNoShaping);
    return font;
}

double Fonts::scaleOf(const QFont &systemFont, double dotsPerInch) {
    constexpr double smallestUsual = 12;      // pixels: 9 points
    constexpr double largestUsual = 44.0 / 3; // pixels: 11 points
    const double size = pixelSize(systemFont, dotsPerInch);
    return size > 0 ? size / std::clamp(size, smallestUsual, largestUsual) : 1;
}

void Fonts::followSystem() {
    bool isNumber = false;
    const double wanted = qEnvironmentVariable("VELLOMIR_TEXT_SCALE").toDouble(&isNumber);
    if (isNumber)
        return setScale(wanted);
    const QScreen *const screen = QGuiApplication::primaryScreen();
    fontScale_ =
        screen == nullptr ? 1 : scaleOf(QGuiApplication::font(), screen->logicalDotsPerInch());
    setScale(fontScale_);
    if (!platformScalesText())
        followSetting(*this, gnomeInterface, textScalingFactor);
}

void Fonts::readSetting(const QString &group, const QString &key, const QDBusVariant &value) {
    if (group == gnomeInterface && key == textScalingFactor)
        setScale(fontScale_ * settingValue(value).toDouble());
}

} // namespace vellomir
