import QtQuick
import QtQuick.Layouts
import Vellomir

// The result and the actions for it. The message and "Close" stay visible; the rest scrolls if
// there is too little room.
ColumnLayout {
    id: page

    required property AppLaunchState launchState
    readonly property Sharing sharing: launchState.sharing
    signal closed

    // Called when the sheet opens: scrolls to the top and clears the focus.
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
        // Room for the last row's focus ring.
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
