#include "Vellomir/Spring.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace vellomir {

using State = Spring::State;

namespace {

struct Example {
    double response;
    double dampingFraction;
    State start;
    double target;
};

/// The button's spring, and others of each kind.
std::vector<Example> examples() {
    std::vector<Example> all;
    for (const double damping : {0.0, 0.1, 0.5, 0.825, 0.999'999, 1.0, 1.000'001, 1.5, 4.0})
        for (const double response : {0.1, 0.55, 2.0})
            for (const State &start : {State{0.95, 0}, State{1, 0}, State{1, 3}, State{0.95, -20},
                                       State{1.1, -2}, State{-100, 1000}})
                all.push_back({response, damping, start, 1});
    return all;
}

testing::Message describe(const Example &example) {
    return testing::Message() << "response " << example.response << ", damping "
                              << example.dampingFraction << ", from " << example.start.position
                              << " at speed " << example.start.velocity;
}

/// One step of the classic fourth-order rule, straight from the spring's law of motion.
State step(const State &state, const Example &example, double seconds) {
    const double frequency = 2 * std::numbers::pi / example.response;
    const auto slope = [&](const State &at) {
        return State{at.velocity, -frequency * frequency * (at.position - example.target) -
                                      2 * example.dampingFraction * frequency * at.velocity};
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

TEST(ASpring, MovesAsNumericIntegrationSays) {
    constexpr int stepsPerResponse = 2000;
    for (const Example &example : examples()) {
        const Spring spring(example.response, example.dampingFraction);
        const double seconds = example.response / stepsPerResponse;
        const double size = std::abs(example.start.position - example.target) +
                            std::abs(example.start.velocity) * example.response;
        State state = example.start;
        for (int index = 1; index <= 3 * stepsPerResponse; ++index) {
            state = step(state, example, seconds);
            if (index % 500 != 0)
                continue;
            const State found = spring.at(index * seconds, example.start, example.target);
            EXPECT_NEAR(found.position, state.position, 1e-8 * size) << describe(example);
            EXPECT_NEAR(found.velocity, state.velocity, 1e-7 * size / example.response)
                << describe(example);
        }
    }
}

TEST(ASpring, BeginsAtItsStart) {
    for (const Example &example : examples()) {
        const Spring spring(example.response, example.dampingFraction);
        for (const double time : {0.0, -1.0}) {
            const State found = spring.at(time, example.start, example.target);
            EXPECT_DOUBLE_EQ(found.position, example.start.position) << describe(example);
            EXPECT_DOUBLE_EQ(found.velocity, example.start.velocity) << describe(example);
        }
    }
}

TEST(ASpring, StaysWithinItsPrecisionFromTheSettlingTimeOnAndNotBefore) {
    for (const Example &example : examples()) {
        if (example.dampingFraction == 0)
            continue;
        const Spring spring(example.response, example.dampingFraction);
        const auto distance = [&](double time) {
            return std::abs(spring.at(time, example.start, example.target).position -
                            example.target);
        };
        const double time = spring.settlingTime(example.start, example.target);
        ASSERT_TRUE(std::isfinite(time)) << describe(example);
        for (int index = 0; index < 5000; ++index)
            ASSERT_LE(distance(time * (1 + index * 0.001)), Spring::precision * (1 + 1e-9))
                << describe(example);
        if (time > 0) {
            EXPECT_GT(distance(time * (1 - 1e-6)), Spring::precision) << describe(example);
        }
    }
}

TEST(ASpring, ThatRestsAtItsTargetHasSettled) {
    for (const double damping : {0.0, 0.825, 1.0, 2.0})
        EXPECT_EQ(Spring(0.55, damping).settlingTime({1, 0}, 1), 0) << damping;
    EXPECT_EQ(Spring(0.55, 0.825).settlingTime({1.0004, 0}, 1), 0);
    EXPECT_GT(Spring(0.55, 0.825).settlingTime({1.0006, 0}, 1), 0);
}

TEST(ASpring, ThatPassesItsTargetHasNotSettledThere) {
    EXPECT_GT(Spring(0.55, 0.825).settlingTime({1, 5}, 1), 0.1);
    EXPECT_GT(Spring(0.55, 1).settlingTime({1, 5}, 1), 0.1);
    EXPECT_GT(Spring(0.55, 2).settlingTime({1, 5}, 1), 0.1);
}

TEST(ASpring, WithoutDampingNeverSettles) {
    const Spring spring(0.5, 0);
    EXPECT_EQ(spring.settlingTime({0, 0}, 1), std::numeric_limits<double>::infinity());
    EXPECT_EQ(spring.settlingTime({1, 1}, 1), std::numeric_limits<double>::infinity());
    EXPECT_NEAR(spring.at(0.25, {0, 0}, 1).position, 2, 1e-12);
    EXPECT_NEAR(spring.at(500, {0, 0}, 1).position, 0, 1e-9);
}

TEST(ASpring, OverdampedComesToRestHoweverLongItTakes) {
    const Spring spring(0.55, 1000);
    const State found = spring.at(1e6, {0, 5}, 1);
    EXPECT_DOUBLE_EQ(found.position, 1);
    EXPECT_NEAR(found.velocity, 0, 1e-12);
    EXPECT_GT(spring.settlingTime({0, 0}, 1), 500);
}

TEST(ASpring, NeedsAPositiveResponseAndADampingThatDoesNotPush) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    for (const double response : {0.0, -1.0, infinity, none})
        EXPECT_THROW(Spring(response, 1), std::invalid_argument) << response;
    for (const double damping : {-0.1, infinity, none})
        EXPECT_THROW(Spring(1, damping), std::invalid_argument) << damping;
}

} // namespace

} // namespace vellomir
