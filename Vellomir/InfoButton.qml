import QtQuick
import Vellomir

// The symbol that opens the about sheet, with room for a finger around it.
Pressable {
    id: control

    readonly property real margin: (width - symbol.width) / 2

    text: "About Vellomir"
    implicitWidth: 44
    implicitHeight: 44

    contentItem: Item {
        SymbolImage {
            id: symbol

            anchors.centerIn: parent
            symbol: "info.circle"
            size: Style.title2Size
        }
    }

    background: Item {
        FocusRing {
            anchors.margins: 4
            isShown: control.visualFocus
        }
    }
}
