import QtQuick
import Vellomir

// A filled button as wide as there is room.
Pressable {
    id: control

    property color backgroundColor: Style.field

    padding: Style.padding
    font: Style.headline

    contentItem: ButtonLabel {
        text: control.text
        font: control.font
    }

    background: Rectangle {
        color: control.backgroundColor
        radius: Style.radius

        FocusRing {
            isShown: control.visualFocus
        }
    }
}
