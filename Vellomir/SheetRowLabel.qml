import QtQuick
import Vellomir

// A symbol followed by a text.
Item {
    id: content

    required property string symbol
    required property string text
    required property font font

    implicitHeight: label.implicitHeight
    implicitWidth: picture.width + Style.spacing + label.implicitWidth

    SymbolImage {
        id: picture

        anchors.verticalCenter: parent.verticalCenter
        symbol: content.symbol
        size: 22
    }

    Text {
        id: label

        anchors.left: picture.right
        anchors.leftMargin: Style.spacing
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: content.text
        color: Style.white
        font: content.font
        textFormat: Text.PlainText
        wrapMode: Text.WordWrap
        Accessible.ignored: true // The row has the same name.
    }
}
