import QtQuick
import Vellomir

// A line of the log. A new one slides in from the leading edge. The log handles selection, so that
// it can span several rows.
Item {
    id: row

    required property string line
    required property bool appears
    readonly property alias selectedText: text.selectedText

    function placeAt(x: real, y: real): int {
        return text.positionAt(x - text.x, y);
    }
    // The start and the end of the word at this position.
    function wordAt(place: int): point {
        text.cursorPosition = place;
        text.selectWord();
        return Qt.point(text.selectionStart, text.selectionEnd);
    }
    function select(from: int, to: int): void {
        text.select(from, to);
    }

    height: text.height
    Accessible.role: Accessible.ListItem
    Accessible.name: line

    Component.onCompleted: {
        if (appears && !Motion.isReduced)
            slide.start();
    }

    TextEdit {
        id: text

        width: row.width
        padding: 2
        text: row.line
        color: Style.accent
        font: Fonts.forText(Style.body, row.line)
        textFormat: TextEdit.PlainText
        wrapMode: TextEdit.Wrap
        // The log handles the mouse and the keyboard.
        enabled: false
        readOnly: true
        persistentSelection: true
        selectionColor: Style.accent
        selectedTextColor: Style.background
        Accessible.ignored: true
    }

    NumberAnimation {
        id: slide

        target: text
        property: "x"
        from: -row.width - 2 * Style.padding
        to: 0
        duration: Style.animation
        easing.type: Easing.InOutQuad
    }
}
