import QtQuick
import Vellomir

// The style of the application's buttons: they shrink while pressed and spring back, and do not
// dim.
PlainButton {
    id: control

    pressedOpacity: 1
    scale: spring.value

    SpringValue {
        id: spring

        response: 0.55
        dampingFraction: 0.825
        isAnimated: !Motion.isReduced
        target: control.down ? 0.95 : 1
    }
}
