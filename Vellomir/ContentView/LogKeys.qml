import QtQuick

// The keys of the log while it has the focus.
QtObject {
    id: keys

    required property real pageHeight
    required property LogSelection selection
    signal scrolled(distance: real)

    readonly property real line: 40
    readonly property real page: Math.max(line, pageHeight - line)

    function take(event: KeyEvent): void {
        event.accepted = true;
        if (event.matches(StandardKey.Copy))
            selection.copy();
        else if (event.matches(StandardKey.SelectAll))
            selection.selectAll();
        else if (event.modifiers === Qt.NoModifier || event.modifiers === Qt.KeypadModifier)
            event.accepted = scrolls(event.key);
        else
            event.accepted = false;
    }
    function scrolls(key: int): bool {
        const distances = new Map([
            [Qt.Key_Up, -line],
            [Qt.Key_Down, line],
            [Qt.Key_PageUp, -page],
            [Qt.Key_PageDown, page],
            [Qt.Key_Home, -Infinity],
            [Qt.Key_End, Infinity]
        ]);
        if (!distances.has(key))
            return false;
        scrolled(distances.get(key));
        return true;
    }
}
