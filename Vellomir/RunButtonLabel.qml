import QtQuick
import Vellomir

// The run button's text, with a spinner before it while a job runs.
Item {
    id: content

    required property bool isLoading
    required property string text
    required property font font

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight

    Row {
        id: row

        anchors.centerIn: parent

        Item {
            anchors.verticalCenter: parent.verticalCenter
            visible: content.isLoading
            width: spinner.width + 5
            height: spinner.height

            ActivityIndicator {
                id: spinner

                objectName: "spinner"
            }
        }

        ButtonLabel {
            text: content.text
            font: content.font
            // White on orange has too little contrast without an outline.
            style: content.isLoading ? Text.Outline : Text.Normal
            styleColor: Style.faded(Style.black, 0.4)
        }
    }
}
