import QtQuick
import Vellomir

// The circle of spokes that says that work goes on. Where motion is reduced it fades instead of
// turning.
Item {
    id: indicator

    property int spokes: 8

    implicitWidth: 20
    implicitHeight: 20
    Accessible.ignored: true // The text beside it says it.

    Repeater {
        model: indicator.spokes

        Rectangle {
            id: spoke

            required property int index

            x: (indicator.width - width) / 2
            width: 2.5
            height: indicator.height * 0.3
            radius: width / 2
            color: Style.white
            opacity: 0.25 + 0.75 * index / (indicator.spokes - 1)
            transform: Rotation {
                origin.x: spoke.width / 2
                origin.y: indicator.height / 2
                angle: 360 * spoke.index / indicator.spokes
            }
        }
    }

    RotationAnimation on rotation {
        running: indicator.visible && !Motion.isReduced
        from: 0
        to: 360
        duration: 1000
        loops: Animation.Infinite
    }

    SequentialAnimation on opacity {
        running: indicator.visible && Motion.isReduced
        loops: Animation.Infinite

        NumberAnimation {
            from: 1
            to: 0.4
            duration: 1000
        }
        NumberAnimation {
            from: 0.4
            to: 1
            duration: 1000
        }
    }
}
