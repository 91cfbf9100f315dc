import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// Tells what no other place tells, until it is read.
T.Popup {
    id: alert

    required property AppLaunchState launchState

    readonly property string message: launchState.alert

    parent: T.Overlay.overlay
    modal: true
    focus: true
    anchors.centerIn: parent
    width: parent ? Math.min(parent.width - 2 * Style.padding, 340) : 0
    height: implicitContentHeight + 2 * padding
    padding: Style.padding
    closePolicy: T.Popup.CloseOnEscape
    onMessageChanged: message !== "" ? open() : close()
    onAboutToShow: contentItem.parent.Accessible.name = message
    onClosed: launchState.alert = ""

    T.Overlay.modal: Rectangle {
        color: Style.faded(Style.black, 0.6)
    }

    background: Rectangle {
        color: Style.field
        radius: Style.radius
    }

    contentItem: ColumnLayout {
        spacing: Style.padding

        SheetText {
            text: alert.message
            color: Style.white
            font: Style.body
        }

        PlainButton {
            objectName: "alertButton"
            Layout.fillWidth: true
            backgroundColor: Style.background
            text: "OK"
            focus: true
            onClicked: alert.close()
        }
    }
}
