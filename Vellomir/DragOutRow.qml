import QtQuick
import Vellomir

// A row that carries a file to wherever it is dragged.
SheetRow {
    id: row

    // What is dragged, as a list of addresses.
    required property string uriList
    signal dropped(wasTaken: bool)

    symbol: "hand.draw"
    text: "Drag this to another window"
    // It holds still while something else is dragged with it.
    Drag.dragType: Drag.Automatic
    Drag.supportedActions: Qt.CopyAction
    Drag.proposedAction: Qt.CopyAction
    Drag.mimeData: {
        "text/uri-list": row.uriList
    }
    Drag.onDragFinished: action => row.dropped(action !== Qt.IgnoreAction)

    // A press of the row itself would not end when the drag does.
    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.OpenHandCursor
        onClicked: row.clicked()
    }

    DragHandler {
        target: null
        // Not bound: the drag, which goes on until this returns, makes the handler inactive again.
        onActiveChanged: row.Drag.active = active
    }
}
