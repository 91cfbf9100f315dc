import QtQuick
import QtQuick.Layouts
import Vellomir

// The share sheet: the ways in which the result can be handed on.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property Sharing sharing: launchState.sharing

    title: "Share " + sharing.fileName
    isShown: launchState.showShareSheet
    naturalHeight: page.contentHeight + topPadding
    onAboutToShow: sharing.forgetMessage()
    onDismissed: launchState.didFinishSharing()

    contentItem: Flickable {
        id: page

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
                        text: sheet.sharing.fileName
                        color: Style.white
                        font: Style.headline
                        textFormat: Text.PlainText
                        elide: Text.ElideMiddle
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }

                    Text {
                        text: sheet.sharing.fileSize
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
                enabled: !sheet.sharing.isSaving
                onClicked: sheet.sharing.saveCopy()
            }

            SheetRow {
                objectName: "showRow"
                Layout.fillWidth: true
                symbol: "folder"
                text: "Show in the file manager"
                onClicked: sheet.sharing.showInFileManager()
            }

            SheetRow {
                objectName: "copyRow"
                Layout.fillWidth: true
                symbol: "doc.on.doc"
                text: "Copy the file"
                onClicked: sheet.sharing.copyFile()
            }

            DragOutRow {
                objectName: "dragRow"
                Layout.fillWidth: true
                file: sheet.sharing.item
                onDropped: wasTaken => sheet.sharing.dragFinished(wasTaken)
            }

            SheetText {
                objectName: "sharingMessage"
                Layout.topMargin: Style.spacing
                Layout.minimumHeight: 2 * Style.subheadline.pixelSize * 1.3
                text: sheet.sharing.message
                color: sheet.sharing.hasFailed ? Style.red : Style.accent
                font: Style.subheadline
                Accessible.role: Accessible.AlertMessage
            }

            PlainButton {
                objectName: "doneButton"
                Layout.fillWidth: true
                text: "Close"
                onClicked: sheet.close()
            }
        }

        ScrollMark {
            panel: page
        }
    }
}
