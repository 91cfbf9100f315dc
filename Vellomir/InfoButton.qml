import QtQuick
import Vellomir

// The symbol that opens the about sheet, with room for a finger around it.
Pressable {
    id: control

    text: "About Vellomir"
    pressedOpacity: 0.6
    padding: 11

    contentItem: SymbolImage {
        symbol: "info.circle"
        size: Style.title2Size
    }

    background: Item {
        FocusRing {
            anchors.margins: 4
            isShown: control.visualFocus
        }
    }
}
