import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// The share sheet: the result and the actions for it. The message and "Close" stay visible; the
// rest scrolls if there is too little room.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property Sharing sharing: launchState.sharing

    title: "Share " + sharing.displayName
    isShown: launchState.showShareSheet
    naturalHeight: implicitContentHeight + topPadding
    // Opens scrolled to the top and without focus.
    onAboutToShow: {
        sharing.prepare();
        scroller.contentY = 0;
        page.focus = true;
    }
    onDismissed: {
        sharing.sending.close();
        launchState.didFinishSharing();
    }

    ColumnLayout {
        id: page

        anchors.fill: parent
        spacing: 0

        Flickable {
            id: scroller

            objectName: "shareScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: contentHeight
            // Room for the last row's focus ring.
            contentHeight: column.implicitHeight + Style.spacing
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            interactive: contentHeight > height
            T.ScrollBar.vertical: VerticalScrollBar {}

            ColumnLayout {
                id: column

                x: Style.padding
                width: scroller.width - 2 * Style.padding
                spacing: Style.spacing

                ShareHeader {
                    Layout.fillWidth: true
                    Layout.bottomMargin: Style.spacing
                    sharing: sheet.sharing
                    onHelpWanted: sheet.launchState.openHelp()
                }

                SheetRow {
                    objectName: "saveRow"
                    Layout.fillWidth: true
                    symbol: "square.and.arrow.down"
                    text: "Save a copy…"
                    hint: "Saves the file in a folder that you choose."
                    enabled: sheet.sharing.isThere && !sheet.sharing.isSaving
                    onClicked: sheet.sharing.saveCopy()
                }

                SheetRow {
                    objectName: "sendRow"
                    Layout.fillWidth: true
                    symbol: "iphone"
                    text: "Send to a phone…"
                    hint: "Lets a phone in the same network load the file with its browser."
                    enabled: sheet.sharing.isThere
                    onClicked: sheet.sharing.sendToPhone()
                }

                SheetRow {
                    objectName: "showRow"
                    Layout.fillWidth: true
                    symbol: "folder"
                    text: "Show in the file manager"
                    hint: "Opens the folder with the file."
                    enabled: sheet.sharing.isThere
                    onClicked: sheet.sharing.showInFileManager()
                }

                SheetRow {
                    objectName: "copyRow"
                    Layout.fillWidth: true
                    symbol: "doc.on.doc"
                    text: "Copy the file"
                    hint: "Puts the file on the clipboard, to paste it in a file manager or a message."
                    enabled: sheet.sharing.isThere
                    onClicked: sheet.sharing.copyFile()
                }

                DragOutRow {
                    objectName: "dragRow"
                    Layout.fillWidth: true
                    hint: "Drops the file in another program, such as a file manager or a mail."
                    enabled: sheet.sharing.isThere
                    uriList: sheet.sharing.uriList
                    onClicked: sheet.sharing.explainDragging()
                    onDropped: wasTaken => sheet.sharing.dragFinished(wasTaken)
                }
            }

            FocusFollower {
                page: scroller
            }

            // Fades contents that are scrolled away.
            Rectangle {
                parent: scroller
                y: scroller.height - height
                width: scroller.width
                height: 24
                visible: scroller.interactive && !scroller.atYEnd
                gradient: Gradient {
                    GradientStop {
                        position: 0
                        color: Style.faded(Style.background, 0)
                    }
                    GradientStop {
                        position: 1
                        color: Style.background
                    }
                }
            }
        }

        // Always room for three lines, so that the sheet does not resize when a message appears.
        SheetText {
            objectName: "sharingMessage"
            Layout.leftMargin: Style.padding
            Layout.rightMargin: Style.padding
            Layout.topMargin: Style.spacing
            Layout.bottomMargin: Style.spacing
            Layout.minimumHeight: 3 * Math.ceil(messageLine.height)
            verticalAlignment: Text.AlignVCenter
            text: sheet.sharing.message
            color: sheet.sharing.hasFailed ? Style.red : Style.accent
            font: Fonts.forText(Style.subheadline, text)
            Accessible.role: Accessible.AlertMessage

            FontMetrics {
                id: messageLine

                font: Style.subheadline
            }
        }

        PlainButton {
            objectName: "doneButton"
            Layout.fillWidth: true
            Layout.leftMargin: Style.padding
            Layout.rightMargin: Style.padding
            Layout.bottomMargin: Style.padding
            text: "Close"
            hint: "Closes this sheet. The copy is kept until you select another file."
            onClicked: sheet.close()
        }
    }

    // A row that can be dragged to another program, with the file as its data.
    component DragOutRow: SheetRow {
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
}
