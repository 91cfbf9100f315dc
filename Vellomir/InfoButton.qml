import QtQuick
import Vellomir

// The info symbol, which opens the about sheet. Its touch area is larger than the symbol.
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
