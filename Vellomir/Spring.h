#pragma once

namespace vellomir {

/// A damped spring that pulls a body of mass 1 to its target. Immutable; any thread.
class Spring {
public:
    /// Position and velocity, in units and units per second.
    struct State {
        double position = 0;
        double velocity = 0;
    };

    /// The distance in units at which the target counts as reached.
    static constexpr double precision = 0.0005;

    /// `response` is the period of the undamped spring in seconds. A damping fraction of 0 swings
    /// for ever, 1 comes to rest fastest without overshooting, more than 1 is slower. Throws
    /// `std::invalid_argument` unless the response is positive, the fraction is not negative and
    /// both are finite.
    Spring(double response, double dampingFraction);

    /// The state `seconds` after `start`. Negative times give `start`.
    [[nodiscard]] State at(double seconds, const State &start, double target) const;
    /// The seconds after which the body stays within `precision` of the target; infinity if it
    /// never does.
    [[nodiscard]] double settlingTime(const State &start, double target) const;

private:
    enum class Regime { underdamped, critical, overdamped };

    [[nodiscard]] double firstTurn(const State &start, double target) const;
    [[nodiscard]] double timeOfLastCrossing(const State &start, double target, double from,
                                            double to) const;

    double frequency_; ///< of the undamped spring, in radians per second
    double decay_;     ///< of the amplitude, per second
    /// overdamped: difference between `decay_` and the rate of either exponential; underdamped:
    /// frequency of the oscillation
    double split_;
    Regime regime_;
};

} // namespace vellomir
