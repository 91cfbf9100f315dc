import QtQuick
import Vellomir

// A symbol and a text, which do something when they are pressed.
Pressable {
    id: control

    required property string symbol
    property bool hasFocusRing: visualFocus

    padding: Style.padding
    font: Style.body

    contentItem: Item {
        implicitHeight: label.implicitHeight
        implicitWidth: picture.width + Style.padding + label.implicitWidth

        SymbolImage {
            id: picture

            anchors.verticalCenter: parent.verticalCenter
            symbol: control.symbol
            size: 22
        }

        Text {
            id: label

            anchors.left: picture.right
            anchors.leftMargin: Style.spacing
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: control.text
            color: Style.white
            font: control.font
            textFormat: Text.PlainText
            wrapMode: Text.WordWrap
            Accessible.ignored: true
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
