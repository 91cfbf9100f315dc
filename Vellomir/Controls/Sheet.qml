import QtQuick
import QtQuick.Templates as T
import Vellomir

// A page that slides over the main screen from below. Escape, a press beside it and a swipe down
// from its upper edge close it. Not a Drawer: that is no dialog with a title, and closes only after
// a swipe over almost a third of its height.
ModalPopup {
    id: sheet

    // Set by the owner to open and close the sheet. `dismissed` is emitted at every closing.
    required property bool isShown
    property color color: Style.background
    property real naturalHeight: Infinity
    signal dismissed

    readonly property real edge: 28
    readonly property real restingY: parent ? parent.height - height : 0
    property real swipe: 0
    // The part of its height that is below the window, 0 to 1. The position is bound to it, so that
    // a height that changes during the animation cuts nothing off.
    property real hidden: 1

    // While the sheet still opens, a press beside it may be the second press of a double click.
    closePolicy: opened ? T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside : T.Popup.CloseOnEscape
    width: parent ? Math.min(parent.width, Style.widestColumn) : 0
    height: parent ? Math.min(naturalHeight, parent.height - 12) : 0
    x: parent ? (parent.width - width) / 2 : 0
    y: restingY + swipe + hidden * height
    padding: 0
    topPadding: edge

    onIsShownChanged: isShown ? open() : close()
    onAboutToHide: dismissed()
    Component.onCompleted: {
        if (isShown)
            open();
    }

    enter: Transition {
        NumberAnimation {
            target: sheet
            property: "hidden"
            to: 0
            duration: Style.animation
            easing.type: Easing.OutCubic
        }
    }
    exit: Transition {
        NumberAnimation {
            target: sheet
            property: "hidden"
            to: 1
            duration: Style.animation
            easing.type: Easing.InCubic
        }
    }

    background: Rectangle {
        color: sheet.color
        radius: 2 * Style.radius

        // The lower corners are not round: they are at the window's edge.
        Rectangle {
            y: parent.height - height
            width: parent.width
            height: parent.radius
            color: parent.color
        }

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            y: 10
            width: 36
            height: 5
            radius: 2.5
            color: Style.faded(Style.white, 0.3)
        }

        Item {
            width: parent.width
            height: sheet.edge

            DragHandler {
                target: null
                yAxis.enabled: true
                xAxis.enabled: false
                onTranslationChanged: sheet.swipe = Math.max(0, activeTranslation.y)
                onActiveChanged: {
                    if (!active && sheet.swipe > 80)
                        sheet.close();
                    sheet.swipe = 0;
                }
            }
        }
    }
}
