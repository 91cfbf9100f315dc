import QtQuick
import Vellomir

// A filled button of the full width. It dims while it is pressed.
Pressable {
    id: control

    property color backgroundColor: Style.field

    pressedOpacity: 0.6
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
