import QtQuick
import Vellomir

// A circle of spokes: work is in progress. With reduced motion it fades instead of turning.
// Not a BusyIndicator: its template draws nothing, and the text beside it needs no second role.
Item {
    id: indicator

    implicitWidth: 20
    implicitHeight: 20
    Accessible.ignored: true // The text beside it has the same meaning.

    Repeater {
        model: 8

        Rectangle {
            id: spoke

            required property int index
            readonly property real share: index / 8

            x: parent ? (parent.width - width) / 2 : 0
            width: 2.5
            height: 6
            radius: width / 2
            color: Style.white
            opacity: 0.3 + 0.8 * share
            transform: Rotation {
                origin.x: 1.25
                origin.y: 10 // centre of the circle
                angle: 360 * spoke.share
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
