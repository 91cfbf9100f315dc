#pragma once

#include <QAbstractAnimation>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// A number that moves to its target like a damped spring. It keeps its velocity when the target
/// changes on the way. (The spring animation of Qt has no response time, and its path depends on
/// the frames that are drawn.) Main thread.
class SpringValue : public QAbstractAnimation {
    Q_OBJECT
    QML_ELEMENT
    /// The first target is taken at once.
    Q_PROPERTY(double target READ target WRITE setTarget NOTIFY targetChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// The period of the undamped spring, in seconds; positive.
    Q_PROPERTY(double response MEMBER response_)
    /// From 0, which swings for ever, to less than 1, which does not overshoot; both excluded.
    Q_PROPERTY(double dampingFraction MEMBER dampingFraction_)
    /// If false, the value jumps to the target.
    Q_PROPERTY(bool isAnimated MEMBER isAnimated_)

public:
    /// The distance from the target at which the movement is too small to see.
    static constexpr double precision = 0.0005;

    explicit SpringValue(QObject *parent = nullptr) : QAbstractAnimation(parent) {}

    [[nodiscard]] double target() const { return target_; }
    void setTarget(double target);
    [[nodiscard]] double value() const { return value_; }
    /// The milliseconds of a movement, after which the value stays within the precision.
    [[nodiscard]] int duration() const override { return duration_; }

signals:
    void targetChanged();
    void valueChanged();

protected:
    void updateCurrentTime(int milliseconds) override;

private:
    void setValue(double value);
    void startMoving();

    double response_ = 0.55;
    double dampingFraction_ = 0.825;
    bool isAnimated_ = true;
    double target_ = 0;
    double value_ = 0;
    double velocity_ = 0; ///< per second
    bool hasTarget_ = false;

    // --- The movement, in seconds ---------------------------------------------------------------

    double decay_ = 0;     ///< of the amplitude
    double frequency_ = 0; ///< of the oscillation, in radians
    double offset_ = 0;    ///< from the target, at the start
    double push_ = 0;      ///< amplitude of the sine part
    int duration_ = 0;
};

} // namespace vellomir
