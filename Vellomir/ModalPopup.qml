import QtQuick
import QtQuick.Templates as T
import Vellomir

// What lies over the main screen and keeps it out of reach. It gives the keyboard's focus back to
// what had it before.
T.Popup {
    id: popup

    required property string title
    property Item focusBefore: null

    // Those of the window don't work meanwhile.
    readonly property Shortcut closing: Shortcut {
        sequences: ["Ctrl+W", "Ctrl+Q"]
        enabled: popup.visible
        onActivated: popup.parent.Window.window.close()
    }

    // It is a dialog to assistive programs, but has no name of its own.
    function tellTitle(): void {
        contentItem.parent.Accessible.name = title;
    }
    function giveFocusBack(): void {
        const focused = parent.Window.activeFocusItem;
        const isTaken = focused !== null && focused !== parent.Window.contentItem;
        if (focusBefore !== null && !isTaken)
            focusBefore.forceActiveFocus(Qt.PopupFocusReason);
    }

    parent: T.Overlay.overlay
    modal: true
    focus: true
    onAboutToShow: {
        focusBefore = parent.Window.activeFocusItem;
        tellTitle();
    }
    onTitleChanged: {
        if (visible)
            tellTitle();
    }
    onClosed: giveFocusBack()

    T.Overlay.modal: Rectangle {
        color: Style.faded(Style.black, 0.6)

        Behavior on opacity {
            NumberAnimation {
                duration: Style.animation
            }
        }
    }
}
