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
    Drag.active: handler.active
    Drag.dragType: Drag.Automatic
    Drag.supportedActions: Qt.CopyAction
    Drag.proposedAction: Qt.CopyAction
    Drag.mimeData: {
        "text/uri-list": row.uriList
    }
    Drag.onDragFinished: action => row.dropped(action !== Qt.IgnoreAction)

    DragHandler {
        id: handler

        target: null
    }
}
