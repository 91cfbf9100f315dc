import QtQuick
import Vellomir

// A link, opened by another program.
Item {
    id: link

    required property string icon
    required property string title
    required property string url
    signal opened(url: string)

    implicitHeight: row.implicitHeight
    activeFocusOnTab: true

    // A button's role cannot be changed, so this item has the role of a link.
    Accessible.role: Accessible.Link
    Accessible.name: title
    Accessible.description: url
    Accessible.onPressAction: opened(url)

    Keys.onPressed: event => {
        if ([Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space].includes(event.key) && !event.isAutoRepeat) {
            event.accepted = true;
            opened(url);
        }
    }

    SheetRow {
        id: row

        anchors.fill: parent
        symbol: link.icon
        text: link.title
        hint: link.url
        focusPolicy: Qt.NoFocus
        hasFocusRing: link.activeFocus
        Accessible.ignored: true
        onClicked: link.opened(link.url)
    }
}
