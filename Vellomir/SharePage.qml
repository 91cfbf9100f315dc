import QtQuick
import QtQuick.Layouts
import Vellomir

// The result and the ways in which it can be handed on. What happened and "Close" stay in view;
// the rest scrolls where there is too little room.
ColumnLayout {
    id: page

    required property AppLaunchState launchState
    readonly property Sharing sharing: launchState.sharing
    signal closed

    // For the sheet when it opens: at its top, and nothing in it has the focus.
    function startAfresh(): void {
        scroller.contentY = 0;
        focus = true;
    }

    spacing: 0

    Flickable {
        id: scroller

        objectName: "shareScroller"
        Layout.fillWidth: true
        Layout.fillHeight: true
        implicitHeight: contentHeight
        // The last row's focus ring needs some room below it.
        contentHeight: column.implicitHeight + Style.spacing
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height

        ColumnLayout {
            id: column

            x: Style.padding
            width: scroller.width - 2 * Style.padding
            spacing: Style.spacing

            ShareHeader {
                Layout.fillWidth: true
                Layout.bottomMargin: Style.spacing
                sharing: page.sharing
            }

            SheetRow {
                objectName: "saveRow"
                Layout.fillWidth: true
                symbol: "square.and.arrow.down"
                text: "Save a copy…"
                enabled: page.sharing.isThere && !page.sharing.isSaving
                onClicked: page.sharing.saveCopy()
            }

            SheetRow {
                objectName: "showRow"
                Layout.fillWidth: true
                symbol: "folder"
                text: "Show in the file manager"
                enabled: page.sharing.isThere
                onClicked: page.sharing.showInFileManager()
            }

            SheetRow {
                objectName: "copyRow"
                Layout.fillWidth: true
                symbol: "doc.on.doc"
                text: "Copy the file"
                enabled: page.sharing.isThere
                onClicked: page.sharing.copyFile()
            }

            DragOutRow {
                objectName: "dragRow"
                Layout.fillWidth: true
                enabled: page.sharing.isThere
                uriList: page.sharing.uriList
                onClicked: page.sharing.explainDragging()
                onDropped: wasTaken => page.sharing.dragFinished(wasTaken)
            }
        }

        ScrollMark {
            panel: scroller
        }

        FocusFollower {
            page: scroller
        }

        // What is cut off fades.
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

    // Room for three lines at all times: the sheet does not jump when there is something to say.
    SheetText {
        objectName: "sharingMessage"
        Layout.leftMargin: Style.padding
        Layout.rightMargin: Style.padding
        Layout.topMargin: Style.spacing
        Layout.bottomMargin: Style.spacing
        Layout.minimumHeight: 3 * Math.ceil(messageLine.height)
        verticalAlignment: Text.AlignVCenter
        text: page.sharing.message
        color: page.sharing.hasFailed ? Style.red : Style.accent
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
        onClicked: page.closed()
    }
}
