import QtQuick
import Vellomir

// The about sheet.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "About Vellomir"
    isShown: launchState.showInfoSheet
    onDismissed: launchState.showInfoSheet = false

    contentItem: InfoPage {
        readonly property bool isOpen: sheet.visible

        // Opens scrolled to the top and without focus.
        onIsOpenChanged: {
            if (isOpen) {
                contentY = 0;
                focus = true;
            }
        }
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
