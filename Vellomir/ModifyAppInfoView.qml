import QtQuick
import QtQuick.Layouts
import Vellomir

// The card with the duplication number, the icon and the button that starts the job.
Rectangle {
    id: form

    required property string duplicationNumber
    required property bool hasImage
    required property bool isLoading

    signal numberEdited(text: string)
    signal pickIconAction
    signal removeImageAction
    signal doItAction
    signal hideKeyboard

    implicitHeight: column.implicitHeight + 2 * Style.padding
    color: Style.background
    radius: Style.radius

    TapHandler {
        onTapped: form.hideKeyboard()
    }

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Style.padding
        spacing: 20

        Text {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: column.width
            text: "Modify App's Information"
            color: Style.white
            font: Style.headline
            textFormat: Text.PlainText
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        CenteredTextField {
            objectName: "duplicationNumber"
            Layout.fillWidth: true
            Layout.preferredHeight: Style.scaled(22) + 2 * Style.padding
            padding: Style.padding
            text: form.duplicationNumber
            placeholder: "Duplication Number"
            hint: "Is added to the app's identifier and names, so that the copy is an app of its own: 2, for example."
            onEdited: text => form.numberEdited(text)
        }

        CustomButtonStyle {
            objectName: "iconButton"
            Layout.fillWidth: true
            text: form.hasImage ? "Remove selected image" : "Change icon"
            hint: form.hasImage ? "Keeps the app's own icon." : "Chooses a picture as the icon of the copy."
            backgroundColor: form.hasImage ? Style.red : Style.field
            onClicked: form.hasImage ? form.removeImageAction() : form.pickIconAction()
        }

        CustomButtonStyle {
            id: runButton

            objectName: "runButton"
            Layout.fillWidth: true
            text: form.isLoading ? "Doing Magic..." : "Do it"
            hint: form.isLoading ? "The copy is being made." : "Makes the copy. The selected file stays as it is."
            backgroundColor: form.isLoading ? Style.accent : Style.field
            onClicked: form.doItAction()

            contentItem: RunButtonLabel {
                isLoading: form.isLoading
                text: runButton.text
                font: runButton.font
            }
        }
    }

    // The text, with a spinner before it while a job runs.
    component RunButtonLabel: Item {
        id: label

        required property bool isLoading
        required property string text
        required property font font

        implicitWidth: row.implicitWidth
        implicitHeight: row.implicitHeight

        Row {
            id: row

            anchors.centerIn: parent
            spacing: 5

            ActivityIndicator {
                objectName: "spinner"
                anchors.verticalCenter: parent.verticalCenter
                visible: label.isLoading
            }

            ButtonLabel {
                text: label.text
                font: label.font
                // White on orange has too little contrast without an outline.
                style: label.isLoading ? Text.Outline : Text.Normal
                styleColor: Style.faded(Style.black, 0.4)
            }
        }
    }
}
