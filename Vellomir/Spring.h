#pragma once

namespace vellomir {

/// A damped spring that pulls a body of mass 1 to its target. Pure values; any thread.
class Spring {
public:
    /// Where the body is and how fast it moves, in units and units a second.
    struct State {
        double position = 0;
        double velocity = 0;
    };

    /// How near to the target counts as being there, in units.
    static constexpr double precision = 0.0005;

    /// `response` is the period of the undamped spring in seconds. A damping fraction of 0 lets it
    /// swing for ever, 1 brings it to rest without a swing in the shortest time, more than 1
    /// slower. Throws `std::invalid_argument` unless the response is positive, the fraction is not
    /// negative and both are finite.
    Spring(double response, double dampingFraction);

    /// The state so many seconds after this start. A time before the start is the start's.
    [[nodiscard]] State at(double seconds, const State &start, double target) const;
    /// The seconds after which the body stays within `precision` of the target for ever; infinity
    /// if it never does.
    [[nodiscard]] double settlingTime(const State &start, double target) const;

private:
    enum class Regime { underdamped, critical, overdamped };

    [[nodiscard]] double firstTurn(const State &start, double target) const;
    [[nodiscard]] double timeOfLastCrossing(const State &start, double target, double from,
                                            double to) const;

    double frequency_; ///< of the undamped spring, in radians a second
    double decay_;     ///< of the swings' height, per second
    double split_;     ///< by how much the decay of the two overdamped parts differs from `decay_`,
                       ///< or the frequency of the swings
    Regime regime_;
};

} // namespace vellomir
