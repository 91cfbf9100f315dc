#include "Vellomir/Window/SpringValue.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vellomir {

void SpringValue::setTarget(double target) {
    if (hasTarget_ && target_ == target)
        return;
    const bool isFirst = !hasTarget_;
    hasTarget_ = true;
    target_ = target;
    emit targetChanged();
    stop();
    if (!isFirst && isAnimated_)
        return startMoving();
    velocity_ = 0;
    setValue(target);
}

/// The distance d from the target follows d'' + 2 decay d' + (2π / response)² d = 0. Its solutions
/// are e^(-decay t) (offset cos(frequency t) + push sin(frequency t)).
void SpringValue::startMoving() {
    const double undamped = 2 * std::numbers::pi / response_;
    decay_ = dampingFraction_ * undamped;
    frequency_ = undamped * std::sqrt(1 - dampingFraction_ * dampingFraction_);
    offset_ = value_ - target_;
    push_ = (velocity_ + decay_ * offset_) / frequency_;
    const double amplitude = std::hypot(offset_, push_);
    duration_ =
        static_cast<int>(std::ceil(1000 * std::max(0.0, std::log(amplitude / precision) / decay_)));
    start();
}

void SpringValue::updateCurrentTime(int milliseconds) {
    if (milliseconds >= duration_) {
        velocity_ = 0;
        return setValue(target_);
    }
    const double time = milliseconds / 1000.0;
    const double fading = std::exp(-decay_ * time);
    const double cosine = std::cos(frequency_ * time);
    const double sine = std::sin(frequency_ * time);
    const double distance = fading * (offset_ * cosine + push_ * sine);
    velocity_ = fading * frequency_ * (push_ * cosine - offset_ * sine) - decay_ * distance;
    setValue(target_ + distance);
}

void SpringValue::setValue(double value) {
    if (value_ == value)
        return;
    value_ = value;
    emit valueChanged();
}

} // namespace vellomir
