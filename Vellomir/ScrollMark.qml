import QtQuick
import Vellomir

// Where one is in something that scrolls; shown while there is more than fits.
Rectangle {
    id: mark

    required property Flickable panel

    readonly property real share: panel.height / Math.max(1, panel.contentHeight)
    readonly property real room: panel.height - 8 - height
    readonly property real way: panel.contentHeight - panel.height

    parent: panel
    x: parent.width - width - 3
    y: 4 + room * (way > 0 ? Math.max(0, Math.min(1, panel.contentY / way)) : 0)
    width: 4
    height: Math.max(24, (panel.height - 8) * share)
    radius: 2
    visible: panel.interactive && panel.contentHeight > panel.height
    color: Style.faded(Style.white, 0.35)
    Accessible.ignored: true
}
