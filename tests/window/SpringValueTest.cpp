#include "Vellomir/Window/SpringValue.h"

#include <QVariant>

#include <gmock/gmock.h>

#include <numbers>

namespace vellomir {

using testing::ElementsAre;

namespace {

struct State {
    double position;
    double velocity;
};

/// A spring with a body of mass 1 on it, moved in small steps straight from its law of motion: the
/// acceleration is -(2π / response)² distance - 2 damping fraction (2π / response) velocity.
struct Model {
    double response = 0.55;
    double dampingFraction = 0.825;

    [[nodiscard]] State move(State state, double target, int milliseconds) const {
        constexpr int stepsPerMillisecond = 20;
        for (int step = 0; step < milliseconds * stepsPerMillisecond; ++step)
            state = oneStep(state, target, 0.001 / stepsPerMillisecond);
        return state;
    }

private:
    /// The classic fourth-order rule.
    [[nodiscard]] State oneStep(const State &state, double target, double seconds) const {
        const double frequency = 2 * std::numbers::pi / response;
        const auto slope = [&](const State &at) {
            return State{at.velocity, -frequency * frequency * (at.position - target) -
                                          2 * dampingFraction * frequency * at.velocity};
        };
        const auto along = [&](const State &direction, double time) {
            return State{state.position + direction.position * time,
                         state.velocity + direction.velocity * time};
        };
        const State one = slope(state);
        const State two = slope(along(one, seconds / 2));
        const State three = slope(along(two, seconds / 2));
        const State four = slope(along(three, seconds));
        return along({(one.position + 2 * two.position + 2 * three.position + four.position) / 6,
                      (one.velocity + 2 * two.velocity + 2 * three.velocity + four.velocity) / 6},
                     seconds);
    }
};

/// The test sets the time itself: without an event loop the animation does not run.
class SpringValueTest : public testing::Test {
protected:
    SpringValueTest() {
        QObject::connect(&value_, &SpringValue::valueChanged, &value_,
                         [this] { values_.push_back(value_.value()); });
    }

    /// Compares the value with the model every 10 ms from now on.
    void expectMovement(State state) {
        constexpr int step = 10;
        for (int time = step; time < value_.duration(); time += step) {
            state = model_.move(state, value_.target(), step);
            value_.setCurrentTime(time);
            ASSERT_NEAR(value_.value(), state.position, 1e-7)
                << model_.dampingFraction << " after " << time;
        }
    }

    SpringValue value_;
    std::vector<double> values_;
    Model model_;
};

TEST_F(SpringValueTest, StartsAtFirstTarget) {
    value_.setTarget(1);
    EXPECT_THAT(values_, ElementsAre(1));
    EXPECT_EQ(value_.state(), SpringValue::Stopped);
}

TEST_F(SpringValueTest, MovesLikeSpringToNextTarget) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    EXPECT_EQ(value_.state(), SpringValue::Running);
    EXPECT_EQ(value_.target(), 0.95);
    expectMovement({1, 0});
}

TEST_F(SpringValueTest, MovesLikeOtherSprings) {
    double target = 1;
    value_.setTarget(target);
    for (const double damping : {0.1, 0.5, 0.99})
        for (const double response : {0.1, 2.0}) {
            model_ = {response, damping};
            value_.setProperty("response", QVariant(response));
            value_.setProperty("dampingFraction", QVariant(damping));
            value_.setTarget(-target);
            expectMovement({target, 0});
            value_.setCurrentTime(value_.duration());
            target = -target;
        }
}

TEST_F(SpringValueTest, StopsExactlyAtTarget) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    EXPECT_EQ(value_.duration(), 550);
    value_.setCurrentTime(value_.duration() - 1);
    EXPECT_NE(value_.value(), 0.95);
    EXPECT_NEAR(value_.value(), 0.95, SpringValue::precision);
    value_.setCurrentTime(value_.duration());
    EXPECT_EQ(value_.value(), 0.95);
    EXPECT_EQ(value_.state(), SpringValue::Stopped);
}

TEST_F(SpringValueTest, KeepsVelocityWhenTargetChanges) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    value_.setCurrentTime(60);
    const State turn = model_.move({1, 0}, 0.95, 60);
    ASSERT_LT(turn.velocity, 0);
    value_.setTarget(1);
    EXPECT_NEAR(value_.value(), turn.position, 1e-9);
    value_.setCurrentTime(5);
    EXPECT_LT(value_.value(), turn.position) << "it stops dead";
    expectMovement(turn);
    value_.setCurrentTime(value_.duration());
    EXPECT_EQ(value_.value(), 1);
}

TEST_F(SpringValueTest, InvisibleMovementEndsAtOnce) {
    value_.setTarget(1);
    value_.setTarget(1 + SpringValue::precision / 4);
    EXPECT_EQ(value_.state(), SpringValue::Stopped);
    EXPECT_EQ(value_.value(), value_.target());
}

TEST_F(SpringValueTest, EqualTargetDoesNotRestart) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    value_.setCurrentTime(60);
    int changes = 0;
    QObject::connect(&value_, &SpringValue::targetChanged, &value_, [&changes] { ++changes; });
    value_.setTarget(0.95);
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(value_.currentTime(), 60);
}

TEST_F(SpringValueTest, JumpsWithoutAnimation) {
    value_.setProperty("isAnimated", QVariant(false));
    value_.setTarget(1);
    value_.setTarget(0.95);
    value_.setTarget(1);
    EXPECT_THAT(values_, ElementsAre(1, 0.95, 1));
    EXPECT_EQ(value_.state(), SpringValue::Stopped);
}

TEST_F(SpringValueTest, JumpDuringAnimationClearsVelocity) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    value_.setCurrentTime(60);
    value_.setProperty("isAnimated", QVariant(false));
    value_.setTarget(1);
    EXPECT_EQ(value_.value(), 1);
    value_.setProperty("isAnimated", QVariant(true));
    value_.setTarget(0.95);
    expectMovement({1, 0});
}

} // namespace

} // namespace vellomir
