#pragma once

#include <QAbstractAnimation>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// A number that follows its target as if a damped spring pulled it. It keeps its speed when the
/// target changes on the way. Main thread.
class SpringValue : public QAbstractAnimation {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double target READ target WRITE setTarget NOTIFY targetChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// Seconds of one swing without damping.
    Q_PROPERTY(double response MEMBER response_)
    /// 1: it just doesn't swing past the target.
    Q_PROPERTY(double dampingFraction MEMBER dampingFraction_)
    /// Without it the value jumps.
    Q_PROPERTY(bool isAnimated MEMBER isAnimated_)

public:
    explicit SpringValue(QObject *parent = nullptr) : QAbstractAnimation(parent) {}

    [[nodiscard]] double target() const { return target_; }
    void setTarget(double target);
    [[nodiscard]] double value() const { return value_; }
    /// Milliseconds, until nobody sees it move any more.
    [[nodiscard]] int duration() const override { return duration_; }

signals:
    void targetChanged();
    void valueChanged();

protected:
    void updateCurrentTime(int milliseconds) override;

private:
    void setValue(double value);

    double response_ = 0.55;
    double dampingFraction_ = 0.825;
    bool isAnimated_ = true;
    double target_ = 0;
    double value_ = 0;
    double velocity_ = 0; ///< per second
    double start_ = 0;
    double startVelocity_ = 0;
    int duration_ = 0;
    bool hasTarget_ = false;
};

} // namespace vellomir
