import QtQuick
import Vellomir

// The application's one window.
Window {
    id: window

    required property AppLaunchState launchState

    // The proportions of a phone, as far as the screen is high enough for them.
    width: 390
    height: Math.min(844, Screen.desktopAvailableHeight > 0 ? Screen.desktopAvailableHeight - 48 : 844)
    minimumWidth: 320
    minimumHeight: 400
    color: Style.background
    title: launchState.isLoading ? launchState.percent + " % – Vellomir" : "Vellomir"

    // Ends text editing, wherever it is.
    function hideKeyboard(): void {
        if (activeFocusItem instanceof CenteredTextField)
            activeFocusItem.focus = false;
    }

    Shortcut {
        sequences: ["Ctrl+W", "Ctrl+Q"]
        onActivated: window.close()
    }

    // What scrolls and what is pressed would keep the tap to itself.
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
