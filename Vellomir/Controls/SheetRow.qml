import QtQuick
import Vellomir

// A button with a symbol and a text.
Pressable {
    id: control

    required property string symbol
    property bool hasFocusRing: visualFocus

    padding: Style.padding
    font: Style.body

    contentItem: Text {
        leftPadding: 22 + Style.spacing
        text: control.text
        color: Style.white
        font: control.font
        textFormat: Text.PlainText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.WordWrap
        Accessible.ignored: true // The row has the same name.

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            symbol: control.symbol
            size: 22
        }
    }

    background: Rectangle {
        color: control.down ? Qt.lighter(Style.field, 1.5) : Style.field
        radius: Style.radius

        FocusRing {
            isShown: control.hasFocusRing
        }
    }
}
