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
    sourceComponent: Hint {}
    onLoaded: {
        const hint = item as Hint;
        hint.parent = area;
        hint.text = Qt.binding(() => area.text);
        hint.visible = true;
    }
}
