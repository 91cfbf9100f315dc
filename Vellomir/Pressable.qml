import QtQuick
import QtQuick.Templates as T
import Vellomir

// The base of all buttons: keys, accessibility, and the looks while pressed, disabled or under the
// mouse.
T.Button {
    id: control

    property real pressedOpacity: 1

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: !enabled ? Style.disabledOpacity : down ? pressedOpacity : 1
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    Accessible.role: Accessible.Button
    Accessible.name: text
    // What is disabled is not told in any other way.
    Accessible.description: enabled ? "" : "Not available now"
    Accessible.onPressAction: {
        if (enabled)
            clicked();
    }

    Keys.onPressed: event => {
        if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && !event.isAutoRepeat) {
            event.accepted = true;
            control.clicked();
        }
    }

    DoubleClickFilter {
        control: control
    }

    // Makes the control lighter while the mouse points at it.
    Rectangle {
        parent: control.background
        anchors.fill: parent
        visible: control.hovered && control.enabled
        color: Style.faded(Style.white, 0.08)
        radius: Style.radius
    }
}
