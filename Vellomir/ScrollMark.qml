import QtQuick
import Vellomir

// A scroll bar, shown while the contents do not fit. It can be dragged; a press elsewhere on its
// track moves it there.
Item {
    id: bar

    required property Flickable panel
    signal moved

    readonly property real share: panel.height / Math.max(1, panel.contentHeight)
    readonly property real room: height - 8 - mark.height
    readonly property real way: panel.contentHeight - panel.height

    function moveTo(markTop: real): void {
        panel.cancelFlick();
        panel.contentY = way * Math.max(0, Math.min(1, room > 0 ? (markTop - 4) / room : 0));
        moved();
    }

    parent: panel
    x: parent.width - width
    width: 12
    height: parent.height
    visible: panel.interactive && panel.contentHeight > panel.height
    Accessible.ignored: true

    Rectangle {
        id: mark

        x: bar.width - width - 3
        y: 4 + bar.room * (bar.way > 0 ? Math.max(0, Math.min(1, bar.panel.contentY / bar.way)) : 0)
        width: handle.containsMouse || handle.pressed ? 6 : 4
        height: Math.max(24, (bar.height - 8) * bar.share)
        radius: width / 2
        color: Style.faded(Style.white, handle.containsMouse || handle.pressed ? 0.6 : 0.35)
    }

    MouseArea {
        id: handle

        property real grip: 0

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        onPressed: mouse => {
            const isOnMark = mouse.y >= mark.y && mouse.y <= mark.y + mark.height;
            grip = isOnMark ? mouse.y - mark.y : mark.height / 2;
            bar.moveTo(mouse.y - grip);
        }
        onPositionChanged: mouse => {
            if (pressed)
                bar.moveTo(mouse.y - grip);
        }
    }
}
