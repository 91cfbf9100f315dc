#include "Vellomir/Spring.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace vellomir {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

double distance(const Spring::State &state, double target) {
    return std::abs(state.position - target);
}

} // namespace

Spring::Spring(double response, double dampingFraction)
    : frequency_(2 * std::numbers::pi / response), decay_(dampingFraction * frequency_),
      split_(frequency_ * std::sqrt(std::abs(1 - dampingFraction * dampingFraction))),
      regime_(dampingFraction < 1    ? Regime::underdamped
              : dampingFraction == 1 ? Regime::critical
                                     : Regime::overdamped) {
    if (!(response > 0 && std::isfinite(response) && dampingFraction >= 0 &&
          std::isfinite(dampingFraction)))
        throw std::invalid_argument("A spring needs a positive response and a damping fraction "
                                    "that is not negative");
}

/// With the distance d from the target, d'' + 2 decay d' + frequency² d = 0. All solutions are
/// e^(-decay t) (d0 c + (v0 + decay d0) s), where s and c = s' depend on the regime.
Spring::State Spring::at(double seconds, const State &start, double target) const {
    const double time = std::max(seconds, 0.0);
    const double offset = start.position - target;
    double sine = time;
    double cosine = 1;
    double fading = std::exp(-decay_ * time);
    if (regime_ == Regime::underdamped) {
        sine = std::sin(split_ * time) / split_;
        cosine = std::cos(split_ * time);
    } else if (regime_ == Regime::overdamped) {
        // Factors out the slower exponential, which avoids overflow.
        const double difference = std::expm1(-2 * split_ * time);
        sine = -difference / (2 * split_);
        cosine = 1 + difference / 2;
        fading = std::exp(-frequency_ * frequency_ / (decay_ + split_) * time);
    }
    const double push = start.velocity + decay_ * offset;
    const double pull = decay_ * start.velocity + frequency_ * frequency_ * offset;
    return {target + fading * (offset * cosine + push * sine),
            fading * (start.velocity * cosine - pull * sine)};
}

/// The first time with velocity 0, where the distance has a local maximum. 0 if there is none after
/// the start.
double Spring::firstTurn(const State &start, double target) const {
    const double pull =
        decay_ * start.velocity + frequency_ * frequency_ * (start.position - target);
    if (regime_ == Regime::underdamped) {
        const double angle = std::atan2(split_ * start.velocity, pull);
        return (angle < 0 ? angle + std::numbers::pi : angle) / split_;
    }
    const double ratio = start.velocity / pull; // sine and cosine at that time
    if (!(ratio > 0))
        return 0;
    if (regime_ == Regime::critical)
        return ratio;
    return split_ * ratio < 1 ? std::atanh(split_ * ratio) / split_ : 0;
}

/// Bisects [from, to], in which the distance falls below the precision exactly once.
double Spring::timeOfLastCrossing(const State &start, double target, double from, double to) const {
    while (true) {
        const double middle = from + (to - from) / 2;
        if (middle <= from || middle >= to)
            return to;
        (distance(at(middle, start, target), target) > precision ? from : to) = middle;
    }
}

double Spring::settlingTime(const State &start, double target) const {
    const auto isAway = [&](double time) {
        return distance(at(time, start, target), target) > precision;
    };
    double turn = firstTurn(start, target);
    if (!isAway(turn))
        return isAway(0) ? timeOfLastCrossing(start, target, 0, turn) : 0;
    if (decay_ == 0)
        return infinity;
    double step = 1 / decay_;
    if (regime_ == Regime::underdamped) {
        // The amplitude shrinks by the same factor from one extreme to the next.
        step = std::numbers::pi / split_;
        const double height = distance(at(turn, start, target), target);
        turn += step * std::floor(std::log(height / precision) / (decay_ * step));
        return timeOfLastCrossing(start, target, turn, turn + step);
    }
    while (isAway(turn + step))
        step *= 2;
    return timeOfLastCrossing(start, target, turn, turn + step);
}

} // namespace vellomir
