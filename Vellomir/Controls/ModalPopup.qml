import QtQuick
import QtQuick.Templates as T
import Vellomir

// The base of sheets and alerts: a dialog that blocks the main screen.
T.Dialog {
    id: popup

    // The window's shortcuts do not work while a popup is open.
    readonly property Shortcut closing: Shortcut {
        sequences: ["Ctrl+W", "Ctrl+Q"]
        enabled: popup.visible
        onActivated: popup.parent.Window.window.close()
        onActivatedAmbiguously: popup.parent.Window.window.close() // One sheet is above another.
    }

    // Qt gives a dialog its role for assistive programs, but not its name.
    function updateAccessibleName(): void {
        contentItem.parent.Accessible.name = title;
    }

    parent: T.Overlay.overlay
    modal: true
    focus: true
    onAboutToShow: updateAccessibleName()
    onTitleChanged: {
        if (visible)
            updateAccessibleName();
    }

    T.Overlay.modal: Rectangle {
        color: Style.faded(Style.black, 0.6)

        Behavior on opacity {
            NumberAnimation {
                duration: Style.animation
            }
        }
    }
}
