import QtQuick
import Vellomir

// Marks the item with the keyboard's focus. A white and a dark line, to be visible on every
// background.
Rectangle {
    id: ring

    required property bool isShown

    anchors.fill: parent
    anchors.margins: -4
    visible: isShown
    color: "transparent"
    radius: Style.radius + 4
    border.width: 2
    border.color: Style.white

    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: parent.radius - 2
        border.width: 2
        border.color: Style.background
    }
}
