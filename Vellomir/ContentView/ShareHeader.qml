import QtQuick
import QtQuick.Layouts
import Vellomir

// The result's name beside a symbol, its size and date, remarks, warnings about a device, and help.
RowLayout {
    id: header

    required property Sharing sharing
    signal helpWanted

    spacing: 12

    SymbolImage {
        Layout.alignment: Qt.AlignTop
        symbol: "doc.zipper"
        size: 40
    }

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        Text {
            id: name

            objectName: "resultName"
            Layout.fillWidth: true
            text: shortened.elidedText
            color: Style.white
            font: Fonts.forText(Style.headline, header.sharing.displayName)
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignLeft // Beside the symbol, also for right-to-left names.
            Accessible.role: Accessible.Heading
            Accessible.name: header.sharing.displayName

            // At most two lines. The middle is elided: names often differ at the end.
            TextMetrics {
                id: shortened

                font: name.font
                text: header.sharing.displayName
                elide: Text.ElideMiddle
                elideWidth: 2 * name.width - 48 // minus the width that the line break may waste
            }
        }

        Flow {
            Layout.fillWidth: true
            spacing: Style.spacing

            HeaderLine {
                text: header.sharing.fileSize
            }

            HeaderLine {
                visible: text !== ""
                text: header.sharing.made
            }
        }

        HeaderLine {
            Layout.fillWidth: true
            visible: header.sharing.isThere
            text: "Kept until you select another file. Save a copy to keep it."
        }

        Repeater {
            model: header.sharing.remarks
            delegate: HeaderLine {
                required property string modelData

                Layout.fillWidth: true
                text: modelData
                color: Style.accent
            }
        }

        HeaderLine {
            Layout.fillWidth: true
            visible: text !== ""
            text: header.sharing.warning
            color: Style.accent
        }

        UnderlinedButton {
            id: listButton

            property bool isOpen: false

            objectName: "warningsButton"
            visible: header.sharing.warning !== ""
            text: isOpen ? "Hide the list" : "Show the list"
            hint: isOpen ? "Shows only the first line." : "Shows all that may go wrong on a device."
            onClicked: isOpen = !isOpen

            // Closed for each file, and each time the sheet opens.
            Connections {
                target: header.sharing

                function onItemChanged() {
                    listButton.isOpen = false;
                }
            }
        }

        Repeater {
            model: listButton.isOpen ? header.sharing.warnings : []
            delegate: HeaderLine {
                required property string modelData

                Layout.fillWidth: true
                Layout.bottomMargin: Style.spacing / 2
                text: modelData
            }
        }

        UnderlinedButton {
            objectName: "helpButton"
            text: "How to install it"
            hint: "Opens a page about installing, and why that may fail. F1 opens it too."
            onClicked: header.helpWanted()
        }
    }

    component UnderlinedButton: Pressable {
        id: button

        font: Style.footnote
        pressedOpacity: 0.6
        topPadding: Style.spacing / 2
        bottomPadding: Style.spacing / 2
        contentItem: ButtonLabel {
            text: button.text
            font.pixelSize: Style.footnote.pixelSize
            font.underline: true
        }
        background: Rectangle {
            color: "transparent"
            radius: Style.radius

            FocusRing {
                isShown: button.visualFocus
            }
        }
    }

    component HeaderLine: Text {
        color: Style.grey
        font: Style.footnote
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
