import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// The main screen. It shows the state and calls the state's actions; it holds no logic.
Rectangle {
    id: screen

    required property AppLaunchState launchState

    readonly property bool sheetIsOpen: imageCropper.isOpen || shareSheet.isOpen || infoSheet.isOpen || alert.isOpen

    color: Style.background

    Component.onCompleted: launchState.onAppear()

    Shortcut {
        sequence: "Ctrl+O"
        enabled: !screen.sheetIsOpen && !screen.launchState.isLoading
        onActivated: screen.launchState.selectFile()
    }

    Flickable {
        id: page

        anchors.fill: parent
        contentHeight: Math.max(height, column.implicitHeight + 2 * Style.padding)
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height
        T.ScrollBar.vertical: VerticalScrollBar {}

        ColumnLayout {
            id: column

            // The log gets the remaining height, with a minimum that keeps its lines readable.
            readonly property real others: upper.implicitHeight + footer.implicitHeight + 2 * spacing
            readonly property real room: page.height - 2 * Style.padding - others

            x: (page.width - width) / 2
            y: Math.max(Style.padding, (page.height - implicitHeight) / 2)
            width: Math.min(page.width - 2 * Style.padding, Style.widestColumn)
            spacing: Style.spacing

            ColumnLayout {
                id: upper

                spacing: Style.spacing

                Item {
                    Layout.fillWidth: true
                    implicitHeight: title.implicitHeight

                    InfoButton {
                        id: infoButton

                        objectName: "infoButton"
                        hint: "The version, what Vellomir is for, and links."
                        anchors.right: parent.right
                        anchors.rightMargin: Style.padding - padding
                        anchors.verticalCenter: parent.verticalCenter
                        anchors.verticalCenterOffset: 3
                        onClicked: screen.launchState.showInfoSheet = true
                    }

                    Text {
                        id: title

                        anchors.centerIn: parent
                        // Leaves room for the info button when the text is large.
                        width: Math.min(implicitWidth, 2 * infoButton.x - parent.width)
                        text: "Vellomir"
                        color: Style.white
                        font: Style.largeTitle
                        fontSizeMode: Text.HorizontalFit
                        horizontalAlignment: Text.AlignHCenter
                        textFormat: Text.PlainText
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                }

                Text {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.maximumWidth: column.width
                    text: "Easily modify your IPA files"
                    color: Style.grey
                    font: Style.subheadline
                    textFormat: Text.PlainText
                    wrapMode: Text.WordWrap
                    horizontalAlignment: Text.AlignHCenter
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }

                CustomButtonStyle {
                    objectName: "selectButton"
                    Layout.fillWidth: true
                    text: "Select IPA File"
                    hint: "Chooses the package to copy. It can also be dropped on this window."
                    enabled: !screen.launchState.isLoading
                    onClicked: screen.launchState.selectFile()
                }

                // The picked file is an empty item of the layout: its name is shown by the log.
                Loader {
                    active: screen.launchState.hasSelectedFile
                    visible: false
                    sourceComponent: Item {}
                }

                ModifyAppInfoView {
                    Layout.fillWidth: true
                    duplicationNumber: screen.launchState.duplicationNumber
                    hasImage: screen.launchState.hasSelectedImage
                    isLoading: screen.launchState.isLoading
                    onNumberEdited: text => screen.launchState.duplicationNumber = text
                    onPickIconAction: screen.launchState.pickIconAction()
                    onRemoveImageAction: screen.launchState.removeImageAction()
                    onDoItAction: screen.launchState.doItAction()
                    onHideKeyboard: screen.launchState.hideKeyboard()
                }
            }

            LogPanel {
                id: log

                objectName: "logPanel"
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(mostHeight, Math.max(column.room, Math.min(implicitHeight, 120)))
                messages: screen.launchState.logMessages
            }

            Text {
                id: footer

                readonly property string heart: "❤️"

                Layout.fillWidth: true
                padding: Style.padding
                text: "Made with <font color=\"" + Style.red + "\">" + heart + "</font> By Orsanta Team"
                color: Style.grey
                font: Style.footnote
                textFormat: Text.StyledText
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: "Made with ❤️ By Orsanta Team"
            }
        }
    }

    FocusFollower {
        page: page
    }

    FileDropArea {
        anchors.fill: parent
        enabled: !screen.sheetIsOpen && !screen.launchState.isLoading
        onFilesDropped: urls => screen.launchState.openDocuments(urls)
    }

    LateSheet {
        id: imageCropper

        file: Qt.resolvedUrl("../ImageCropperView.qml")
        isAskedFor: screen.launchState.showImageCropper
        launchState: screen.launchState
    }

    LateSheet {
        id: shareSheet

        file: Qt.resolvedUrl("ActivityView.qml")
        isAskedFor: screen.launchState.showShareSheet
        launchState: screen.launchState
    }

    // Above the share sheet, which stays open.
    LateSheet {
        file: Qt.resolvedUrl("SendSheet.qml")
        isAskedFor: screen.launchState.sharing.sending.isOpen
        launchState: screen.launchState
    }

    LateSheet {
        id: infoSheet

        file: Qt.resolvedUrl("../InfoSheetView.qml")
        isAskedFor: screen.launchState.showInfoSheet
        launchState: screen.launchState
    }

    LateSheet {
        id: alert

        file: Qt.resolvedUrl("../Controls/AlertView.qml")
        isAskedFor: screen.launchState.alert !== ""
        launchState: screen.launchState
    }

    // A sheet that is loaded when it is first shown, so that the window's first frame does not wait
    // for it. Afterwards it stays.
    component LateSheet: Loader {
        required property url file
        required property bool isAskedFor
        required property AppLaunchState launchState
        readonly property bool isOpen: (item as T.Popup)?.visible ?? false

        function load(): void {
            if (isAskedFor && status === Loader.Null)
                setSource(file, {
                    "launchState": launchState
                });
        }

        onIsAskedForChanged: load()
        Component.onCompleted: load()
    }

    // Opens the about sheet. Its touch area is larger than the symbol.
    component InfoButton: Pressable {
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
}
