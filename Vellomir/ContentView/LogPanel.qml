import QtQuick
import Vellomir

// The status log: as high as its lines, at most 450 points and what there is room for, then it
// scrolls. It stays at its end if that is where it is.
Flickable {
    id: panel

    required property LogModel messages

    readonly property real mostHeight: 450
    property bool isAtEnd: true

    implicitHeight: Math.min(rows.height, mostHeight)
    contentHeight: rows.height
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height
    activeFocusOnTab: interactive

    function scroll(distance: real): void {
        contentY = Math.max(0, Math.min(contentY + distance, contentHeight - height));
    }
    function keepEnd(): void {
        if (isAtEnd)
            contentY = Math.max(0, contentHeight - height);
    }

    Accessible.role: Accessible.List
    Accessible.name: "Status log"
    Keys.onUpPressed: scroll(-40)
    Keys.onDownPressed: scroll(40)

    onMovementEnded: isAtEnd = contentY >= contentHeight - height - 1
    onContentHeightChanged: keepEnd()
    onHeightChanged: keepEnd()

    Rectangle {
        id: rows

        width: panel.width
        height: list.count === 0 ? 0 : column.height + 2 * Style.padding
        visible: list.count > 0
        color: Style.logPanel
        radius: Style.radius

        Column {
            id: column

            x: Style.padding
            y: Style.padding
            width: parent.width - 2 * Style.padding
            spacing: Style.spacing

            Repeater {
                id: list

                model: panel.messages
                delegate: LogRow {
                    width: parent ? parent.width : 0
                }
            }
        }
    }

    ScrollMark {
        panel: panel
    }

    Rectangle {
        parent: panel
        anchors.fill: parent
        visible: panel.activeFocus
        color: "transparent"
        radius: Style.radius
        border.width: 2
        border.color: Style.white
    }
}
