import QtQuick
import QtQuick.Layouts
import Vellomir

// What the result is: its name beside a symbol, its size and age, and what to know of it.
RowLayout {
    id: header

    required property Sharing sharing

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
            horizontalAlignment: Text.AlignLeft // beside the symbol, whichever way it is read
            Accessible.role: Accessible.Heading
            Accessible.name: header.sharing.displayName

            // At most two lines. The middle is cut out: names often differ at the end.
            TextMetrics {
                id: shortened

                font: name.font
                text: header.sharing.displayName
                elide: Text.ElideMiddle
                elideWidth: 2 * name.width - 48 // less what the break between both lines may cost
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
