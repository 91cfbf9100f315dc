import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// A message that only a dialog shows, until the user closes it.
ModalPopup {
    id: alert

    required property AppLaunchState launchState

    title: launchState.alert
    anchors.centerIn: parent
    width: parent ? Math.min(parent.width - 2 * Style.padding, 340) : 0
    height: implicitContentHeight + 2 * padding
    padding: Style.padding
    closePolicy: T.Popup.CloseOnEscape
    onTitleChanged: title !== "" ? open() : close()
    onClosed: launchState.alert = ""
    Component.onCompleted: {
        if (title !== "")
            open();
    }

    background: Rectangle {
        color: Style.field
        radius: Style.radius
    }

    contentItem: ColumnLayout {
        spacing: Style.padding

        SheetText {
            text: alert.title
            color: Style.white
            font: Fonts.forText(Style.body, text)
        }

        PlainButton {
            objectName: "alertButton"
            Layout.fillWidth: true
            backgroundColor: Style.background
            text: "OK"
            hint: "Closes this message."
            focus: true
            onClicked: alert.close()
        }
    }
}
