import QtQuick
import QtQuick.Layouts
import Vellomir

// The result and the ways in which it can be handed on.
Flickable {
    id: page

    required property AppLaunchState launchState
    readonly property Sharing sharing: launchState.sharing
    signal closed

    implicitHeight: contentHeight
    contentHeight: column.implicitHeight + Style.padding
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height

    ColumnLayout {
        id: column

        x: Style.padding
        width: page.width - 2 * Style.padding
        spacing: Style.spacing

        RowLayout {
            Layout.fillWidth: true
            Layout.bottomMargin: Style.spacing
            spacing: 12

            SymbolImage {
                symbol: "doc.zipper"
                size: 40
            }

            ColumnLayout {
                spacing: 2

                Text {
                    Layout.fillWidth: true
                    text: page.sharing.fileName
                    color: Style.white
                    font: Style.headline
                    textFormat: Text.PlainText
                    elide: Text.ElideMiddle
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }

                Text {
                    text: page.sharing.fileSize
                    color: Style.grey
                    font: Style.footnote
                    textFormat: Text.PlainText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }

        SheetRow {
            objectName: "saveRow"
            Layout.fillWidth: true
            symbol: "square.and.arrow.down"
            text: "Save a copy…"
            enabled: !page.sharing.isSaving
            onClicked: page.sharing.saveCopy()
        }

        SheetRow {
            objectName: "showRow"
            Layout.fillWidth: true
            symbol: "folder"
            text: "Show in the file manager"
            onClicked: page.sharing.showInFileManager()
        }

        SheetRow {
            objectName: "copyRow"
            Layout.fillWidth: true
            symbol: "doc.on.doc"
            text: "Copy the file"
            onClicked: page.sharing.copyFile()
        }

        DragOutRow {
            objectName: "dragRow"
            Layout.fillWidth: true
            uriList: page.sharing.uriList
            onClicked: page.sharing.explainDragging()
            onDropped: wasTaken => page.sharing.dragFinished(wasTaken)
        }

        SheetText {
            objectName: "sharingMessage"
            Layout.topMargin: Style.spacing
            Layout.minimumHeight: 2 * Style.subheadline.pixelSize * 1.3
            text: page.sharing.message
            color: page.sharing.hasFailed ? Style.red : Style.accent
            font: Style.subheadline
            Accessible.role: Accessible.AlertMessage
        }

        PlainButton {
            objectName: "doneButton"
            Layout.fillWidth: true
            text: "Close"
            onClicked: page.closed()
        }
    }

    ScrollMark {
        panel: page
    }

    FocusFollower {
        page: page
    }
}
