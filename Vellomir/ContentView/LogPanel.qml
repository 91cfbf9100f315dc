import QtQuick
import QtQuick.Templates as T
import Vellomir

// The status log. It grows with its lines up to 450 points, or less if there is less room, then it
// scrolls. Follows new lines while scrolled to the end. Its text can be selected.
Flickable {
    id: panel

    required property LogModel messages

    readonly property real mostHeight: 450
    readonly property bool isEmpty: list.count === 0
    property bool isAtEnd: true
    property bool isClicked: false

    implicitHeight: Math.min(rows.height, mostHeight)
    contentHeight: rows.height
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height
    activeFocusOnTab: !isEmpty
    T.ScrollBar.vertical: VerticalScrollBar {
        id: bar
    }

    function scroll(distance: real): void {
        cancelFlick();
        contentY = Math.max(0, Math.min(contentY + distance, contentHeight - height));
        lookWhetherAtEnd();
    }
    function scrollByKey(key: int, modifiers: int): bool {
        const line = 40;
        const page = Math.max(line, height - line);
        const distances = new Map([
            [Qt.Key_Up, -line],
            [Qt.Key_Down, line],
            [Qt.Key_PageUp, -page],
            [Qt.Key_PageDown, page],
            [Qt.Key_Home, -Infinity],
            [Qt.Key_End, Infinity]
        ]);
        if (!distances.has(key) || (modifiers !== Qt.NoModifier && modifiers !== Qt.KeypadModifier))
            return false;
        isClicked = false;
        scroll(distances.get(key));
        return true;
    }
    function lookWhetherAtEnd(): void {
        isAtEnd = contentY >= contentHeight - height - 1;
    }
    function keepEnd(): void {
        if (isAtEnd || contentHeight <= height) {
            isAtEnd = true;
            contentY = Math.max(0, contentHeight - height);
        }
    }

    Accessible.role: Accessible.List
    Accessible.name: "Status log"
    Accessible.description: "What was done so far. The arrow keys scroll it, Ctrl+A selects it, Ctrl+C copies it."

    Keys.onPressed: event => {
        event.accepted = true;
        if (event.matches(StandardKey.Copy))
            selection.copy();
        else if (event.matches(StandardKey.SelectAll))
            selection.selectAll();
        else
            event.accepted = scrollByKey(event.key, event.modifiers);
    }

    onMovementEnded: lookWhetherAtEnd()
    onContentYChanged: {
        if (bar.pressed)
            lookWhetherAtEnd();
    }
    onContentHeightChanged: keepEnd()
    onHeightChanged: keepEnd()
    onActiveFocusChanged: {
        if (!activeFocus)
            isClicked = false;
    }

    // As high as the visible part of the log, so that all four corners are round.
    Rectangle {
        parent: panel
        z: -1
        width: parent.width
        height: Math.min(parent.height, rows.height)
        visible: !panel.isEmpty
        color: Style.logPanel
        radius: Style.radius
    }

    Item {
        id: rows

        width: panel.width
        height: panel.isEmpty ? 0 : column.height + 2 * Style.padding

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

        LogSelection {
            id: selection

            anchors.fill: parent
            panel: panel
            lines: list
            onStarted: {
                panel.isClicked = true;
                panel.forceActiveFocus(Qt.MouseFocusReason);
            }
            onScrolled: distance => panel.scroll(distance)
        }
    }

    // Fades lines out at the upper edge instead of cutting them.
    Rectangle {
        parent: panel
        width: parent.width
        height: Math.min(parent.height, 28)
        visible: panel.contentY > 0
        opacity: Math.min(1, panel.contentY / Style.padding)
        radius: Style.radius
        gradient: Gradient {
            GradientStop {
                position: 0.2
                color: Style.logPanel
            }
            GradientStop {
                position: 1
                color: Style.faded(Style.logPanel, 0)
            }
        }
    }

    Rectangle {
        parent: panel
        z: 1
        anchors.fill: parent
        visible: panel.activeFocus && !panel.isClicked
        color: "transparent"
        radius: Style.radius
        border.width: 2
        border.color: Style.white
    }
}
