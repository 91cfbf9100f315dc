import QtQuick
import Vellomir

// Shows where the keyboard is. Twice a line, so that it can be seen on every colour.
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
