import QtQuick
import Vellomir

// Accepts files that are dropped on the window, and highlights the window before the drop.
DropArea {
    id: area

    signal filesDropped(urls: var)

    keys: ["text/uri-list"]
    // Refuses drags that start in this window.
    onEntered: drag => drag.accepted = drag.source === null && drag.hasUrls
    onDropped: drop => {
        drop.accept(Qt.CopyAction);
        area.filesDropped(drop.urls);
    }

    Rectangle {
        anchors.fill: parent
        visible: area.containsDrag
        color: Style.faded(Style.background, 0.85)
        border.width: 3
        border.color: Style.accent

        Column {
            anchors.centerIn: parent
            spacing: Style.spacing

            SymbolImage {
                anchors.horizontalCenter: parent.horizontalCenter
                symbol: "square.and.arrow.down"
                size: 48
            }

            Text {
                text: "Drop the package here"
                color: Style.white
                font: Style.headline
                textFormat: Text.PlainText
            }
        }
    }
}
