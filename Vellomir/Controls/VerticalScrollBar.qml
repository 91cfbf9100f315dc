import QtQuick
import QtQuick.Templates as T
import Vellomir

// A scroll bar, shown while the contents do not fit. Used as `T.ScrollBar.vertical` of a Flickable.
T.ScrollBar {
    id: bar

    readonly property bool isInUse: hovered || pressed

    implicitWidth: 12
    verticalPadding: 4
    rightPadding: 3
    minimumSize: 24 / Math.max(24, availableHeight)
    visible: size < 1
    hoverEnabled: true
    Accessible.ignored: true // Assistive programs scroll by the items.

    contentItem: Item {
        Rectangle {
            anchors.right: parent.right
            width: bar.isInUse ? 6 : 4
            height: parent.height
            radius: width / 2
            color: Style.faded(Style.white, bar.isInUse ? 0.6 : 0.35)
        }
    }
}
