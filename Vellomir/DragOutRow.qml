import QtQuick
import Vellomir

// A row that can be dragged to another program, with the file as its data.
SheetRow {
    id: row

    // The dragged data (text/uri-list).
    required property string uriList
    signal dropped(wasTaken: bool)

    symbol: "hand.draw"
    text: "Drag this to another window"
    // An automatic drag carries data; the row itself does not move.
    Drag.dragType: Drag.Automatic
    Drag.supportedActions: Qt.CopyAction
    Drag.proposedAction: Qt.CopyAction
    Drag.mimeData: {
        "text/uri-list": row.uriList
    }
    Drag.onDragFinished: action => row.dropped(action !== Qt.IgnoreAction)

    // A press of the row's button would not end together with the drag.
    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.OpenHandCursor
        onClicked: row.clicked()
    }

    DragHandler {
        target: null
        // Not a binding: setting `active` blocks until the drag ends, and the handler becomes
        // inactive meanwhile.
        onActiveChanged: row.Drag.active = active
    }
}
