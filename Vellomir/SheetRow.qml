import QtQuick
import Vellomir

// A button with a symbol and a text.
Pressable {
    id: control

    required property string symbol
    property bool hasFocusRing: visualFocus

    padding: Style.padding
    font: Style.body
    opacity: enabled ? 1 : 0.4

    contentItem: SheetRowLabel {
        symbol: control.symbol
        text: control.text
        font: control.font
    }

    background: Rectangle {
        color: control.down ? Qt.lighter(Style.field, 1.5) : Style.field
        radius: Style.radius

        FocusRing {
            isShown: control.hasFocusRing
        }
    }
}
