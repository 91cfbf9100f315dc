import QtQuick
import QtQuick.Templates as T
import Vellomir

// The base of modal popups: blocks the main screen and restores the keyboard's focus when it
// closes.
T.Popup {
    id: popup

    required property string title
    property Item focusBefore: null

    // The window's shortcuts do not work while a popup is open.
    readonly property Shortcut closing: Shortcut {
        sequences: ["Ctrl+W", "Ctrl+Q"]
        enabled: popup.visible
        onActivated: popup.parent.Window.window.close()
    }

    // Qt gives a popup the role of a dialog, but no name.
    function updateAccessibleName(): void {
        contentItem.parent.Accessible.name = title;
    }
    function restoreFocus(): void {
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
        updateAccessibleName();
    }
    onTitleChanged: {
        if (visible)
            updateAccessibleName();
    }
    onClosed: restoreFocus()

    T.Overlay.modal: Rectangle {
        color: Style.faded(Style.black, 0.6)

        Behavior on opacity {
            NumberAnimation {
                duration: Style.animation
            }
        }
    }
}
