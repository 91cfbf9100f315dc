#include "Vellomir/Window/SpringValue.h"

#include "Vellomir/Spring.h"

#include <cmath>

namespace vellomir {

void SpringValue::setTarget(double target) {
    if (hasTarget_ && target_ == target)
        return;
    const bool isFirst = !hasTarget_;
    hasTarget_ = true;
    target_ = target;
    emit targetChanged();
    stop();
    if (isFirst || !isAnimated_) {
        velocity_ = 0;
        return setValue(target);
    }
    start_ = value_;
    startVelocity_ = velocity_;
    const Spring spring(response_, dampingFraction_);
    duration_ =
        static_cast<int>(std::ceil(1000 * spring.settlingTime({start_, startVelocity_}, target_)));
    start();
}

void SpringValue::updateCurrentTime(int milliseconds) {
    if (milliseconds >= duration_) {
        velocity_ = 0;
        return setValue(target_);
    }
    const Spring spring(response_, dampingFraction_);
    const auto state = spring.at(milliseconds / 1000.0, {start_, startVelocity_}, target_);
    velocity_ = state.velocity;
    setValue(state.position);
}

void SpringValue::setValue(double value) {
    if (value_ == value)
        return;
    value_ = value;
    emit valueChanged();
}

} // namespace vellomir
