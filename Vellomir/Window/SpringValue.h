#pragma once

#include <QAbstractAnimation>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// A number that moves to its target like a damped spring. It keeps its velocity when the target
/// changes on the way. Main thread.
class SpringValue : public QAbstractAnimation {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double target READ target WRITE setTarget NOTIFY targetChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// The period of the undamped spring, in seconds.
    Q_PROPERTY(double response MEMBER response_)
    /// 1 is critical damping: no overshooting.
    Q_PROPERTY(double dampingFraction MEMBER dampingFraction_)
    /// If false, the value jumps to the target.
    Q_PROPERTY(bool isAnimated MEMBER isAnimated_)

public:
    explicit SpringValue(QObject *parent = nullptr) : QAbstractAnimation(parent) {}

    [[nodiscard]] double target() const { return target_; }
    void setTarget(double target);
    [[nodiscard]] double value() const { return value_; }
    /// Milliseconds until the movement is too small to see.
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
