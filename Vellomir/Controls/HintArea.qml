import QtQuick

// Shows a hint while the mouse rests on a control, until the control is used. No hint is made before.
Loader {
    id: area

    required property string text
    required property bool isHovered
    required property bool isUsed
    property bool wasUsed: false

    anchors.fill: parent
    active: isHovered && !wasUsed && text !== ""
    onIsUsedChanged: {
        if (isUsed)
            wasUsed = true;
    }
    onIsHoveredChanged: {
        if (!isHovered)
            wasUsed = isUsed;
    }
    sourceComponent: Hint {
        parent: area
        text: area.text
        visible: true
    }
}
