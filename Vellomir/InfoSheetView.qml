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
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
