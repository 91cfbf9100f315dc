import QtQuick
import QtQuick.Templates as T
import Vellomir

// The base of all buttons: keys, accessibility, hints, and the looks while pressed, disabled or hovered.
T.Button {
    id: control

    property real pressedOpacity: 1
    // What the button does, in one or two sentences.
    required property string hint

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: !enabled ? Style.disabledOpacity : down ? pressedOpacity : 1
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    // Qt's button has only its role. It passes on no press, and is never reported as disabled.
    Accessible.name: text
    Accessible.onPressAction: {
        if (enabled)
            clicked();
    }
    Accessible.description: enabled ? hint : "Not available now. " + hint

    Keys.onPressed: event => {
        if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && !event.isAutoRepeat) {
            event.accepted = true;
            control.clicked();
        }
    }

    DoubleClickFilter {
        control: control
    }

    HintArea {
        text: control.hint
        isHovered: control.hovered
        isUsed: control.down
    }

    // Lightens the control while the mouse is over it.
    Rectangle {
        parent: control.background
        anchors.fill: parent
        visible: control.hovered && control.enabled
        color: Style.faded(Style.white, 0.08)
        radius: Style.radius
    }
}
