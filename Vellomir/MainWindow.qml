import QtQuick
import QtQuick.Templates as T
import Vellomir

// The application's one window. Its contents get the keyboard's focus back when a sheet closes.
T.ApplicationWindow {
    id: window

    required property AppLaunchState launchState

    // A phone's proportions if the screen is high enough.
    width: 390
    height: Math.min(844, Screen.desktopAvailableHeight > 0 ? Screen.desktopAvailableHeight - 48 : 844)
    minimumWidth: 320
    minimumHeight: 400
    color: Style.background
    title: launchState.isLoading ? launchState.percent + " % – Vellomir" : "Vellomir"

    // Removes the focus from any text field.
    function hideKeyboard(): void {
        if (activeFocusItem instanceof CenteredTextField)
            activeFocusItem.focus = false;
    }

    Shortcut {
        sequences: ["Ctrl+W", "Ctrl+Q"]
        onActivated: window.close()
    }

    Shortcut {
        sequences: ["F1"]
        context: Qt.ApplicationShortcut // also while a sheet is open
        onActivated: window.launchState.openHelp()
    }

    // A TapHandler would miss taps that a Flickable or a button grabs.
    TapWatcher {
        window: window
        onTapped: place => {
            const focused = window.activeFocusItem;
            if (focused !== null && !focused.contains(focused.mapFromItem(null, place)))
                window.launchState.hideKeyboard();
        }
    }

    AppLaunchView {
        anchors.fill: parent
        launchState: window.launchState
    }
}
