#include "Vellomir/Window/SpringValue.h"

#include "Vellomir/Spring.h"

#include <QVariant>

#include <gmock/gmock.h>

namespace vellomir {

using testing::ElementsAre;

namespace {

constexpr double response = 0.55;
constexpr double dampingFraction = 0.825;

/// The test sets the time itself: without an event loop the animation does not run.
class SpringValueTest : public testing::Test {
protected:
    SpringValueTest() {
        value_.setProperty("response", QVariant(response));
        value_.setProperty("dampingFraction", QVariant(dampingFraction));
        QObject::connect(&value_, &SpringValue::valueChanged, &value_,
                         [this] { values_.push_back(value_.value()); });
    }

    SpringValue value_;
    std::vector<double> values_;
    const Spring spring_{response, dampingFraction};
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
    for (const int milliseconds : {50, 100, 200}) {
        value_.setCurrentTime(milliseconds);
        EXPECT_EQ(value_.value(), spring_.at(milliseconds / 1000.0, {1, 0}, 0.95).position);
    }
}

TEST_F(SpringValueTest, StopsExactlyAtTarget) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    EXPECT_NEAR(value_.duration(), 1000 * spring_.settlingTime({1, 0}, 0.95), 1);
    value_.setCurrentTime(value_.duration() - 1);
    EXPECT_NE(value_.value(), 0.95);
    value_.setCurrentTime(value_.duration());
    EXPECT_EQ(value_.value(), 0.95);
    EXPECT_EQ(value_.state(), SpringValue::Stopped);
}

TEST_F(SpringValueTest, KeepsVelocityWhenTargetChanges) {
    value_.setTarget(1);
    value_.setTarget(0.95);
    value_.setCurrentTime(60);
    const Spring::State turn = spring_.at(0.06, {1, 0}, 0.95);
    ASSERT_LT(turn.velocity, 0);
    value_.setTarget(1);
    EXPECT_EQ(value_.value(), turn.position);
    value_.setCurrentTime(10);
    EXPECT_EQ(value_.value(), spring_.at(0.01, turn, 1).position);
    EXPECT_LT(value_.value(), turn.position) << "it stops dead";
    value_.setCurrentTime(value_.duration());
    EXPECT_EQ(value_.value(), 1);
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
    value_.setCurrentTime(10);
    EXPECT_EQ(value_.value(), spring_.at(0.01, {1, 0}, 0.95).position);
}

} // namespace

} // namespace vellomir
