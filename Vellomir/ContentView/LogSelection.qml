import QtQuick
import Vellomir

// Selects text of the log with the mouse, across lines. Touch scrolls instead.
MouseArea {
    id: selection

    required property Flickable panel
    required property Repeater lines
    signal started
    signal scrolled(distance: real)

    // The ends of the selection, each a line and a position in it; the anchor may be behind the
    // caret. A negative anchor line means that there is no selection.
    property int anchorLine: -1
    property int anchorPlace: 0
    property int caretLine: -1
    property int caretPlace: 0
    // The mouse's y coordinate in the visible part of the log while its button is pressed.
    property real heldAt: 0

    function row(line: int): LogRow {
        return lines.itemAt(line) as LogRow;
    }
    function lineAt(y: real): int {
        let line = 0;
        while (line + 1 < lines.count && mapFromItem(row(line + 1), 0, 0).y <= y)
            ++line;
        return line;
    }
    function placeAt(line: int, x: real, y: real): int {
        const place = mapToItem(row(line), x, y);
        if (place.y < 0)
            return 0;
        return place.y > row(line).height ? row(line).line.length : row(line).placeAt(place.x, place.y);
    }
    function begin(x: real, y: real): void {
        anchorLine = lineAt(y);
        anchorPlace = placeAt(anchorLine, x, y);
        extend(x, y);
    }
    function extend(x: real, y: real): void {
        if (anchorLine < 0)
            return; // The log was cleared after the press.
        caretLine = lineAt(y);
        caretPlace = placeAt(caretLine, x, y);
        show();
    }
    function selectWord(x: real, y: real): void {
        anchorLine = lineAt(y);
        caretLine = anchorLine;
        const word = row(anchorLine).wordAt(placeAt(anchorLine, x, y));
        anchorPlace = word.x;
        caretPlace = word.y;
        show();
    }
    function selectAll(): void {
        if (lines.count === 0)
            return;
        anchorLine = 0;
        anchorPlace = 0;
        caretLine = lines.count - 1;
        caretPlace = row(caretLine).line.length;
        show();
    }
    function clear(): void {
        anchorLine = -1;
        caretLine = -1;
    }
    function show(): void {
        const isForward = anchorLine < caretLine || (anchorLine === caretLine && anchorPlace <= caretPlace);
        const first = isForward ? [anchorLine, anchorPlace] : [caretLine, caretPlace];
        const last = isForward ? [caretLine, caretPlace] : [anchorLine, anchorPlace];
        for (let line = 0; line < lines.count; ++line) {
            const isWithin = line >= first[0] && line <= last[0];
            const from = line === first[0] ? first[1] : 0;
            const to = line === last[0] ? last[1] : row(line).line.length;
            row(line).select(isWithin ? from : 0, isWithin ? to : 0);
        }
    }
    function selectedText(): string {
        const texts = [];
        for (let line = Math.min(anchorLine, caretLine); line >= 0 && line <= Math.max(anchorLine, caretLine); ++line)
            texts.push(row(line).selectedText);
        return texts.join("\n");
    }
    function copy(): void {
        const text = selectedText();
        if (text !== "")
            Clipboard.copyText(text);
    }

    cursorShape: lines.count === 0 ? Qt.ArrowCursor : Qt.IBeamCursor
    preventStealing: true
    onPressed: mouse => {
        if (mouse.source !== Qt.MouseEventNotSynthesized || lines.count === 0) {
            mouse.accepted = false;
            return;
        }
        started();
        heldAt = mouse.y - panel.contentY;
        begin(mouse.x, mouse.y);
    }
    onPositionChanged: mouse => {
        heldAt = mouse.y - panel.contentY;
        extend(mouse.x, mouse.y);
    }
    onDoubleClicked: mouse => selectWord(mouse.x, mouse.y)
    onReleased: Clipboard.offerSelection(selectedText())

    Connections {
        target: selection.lines.model

        function onModelAboutToBeReset(): void {
            selection.clear();
        }
    }

    // Scrolls while the mouse is pressed above or below the log.
    Timer {
        interval: 30
        repeat: true
        running: selection.pressed && (selection.heldAt < 0 || selection.heldAt > selection.panel.height)
        onTriggered: {
            selection.scrolled(selection.heldAt < 0 ? -12 : 12);
            selection.extend(selection.mouseX, selection.heldAt + selection.panel.contentY);
        }
    }
}
