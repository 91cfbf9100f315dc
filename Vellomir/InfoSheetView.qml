import QtQuick
import Vellomir

// The about sheet.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "About Vellomir"
    isShown: launchState.showInfoSheet
    onAboutToShow: {
        page.contentY = 0;
        page.focus = true;
    }
    onDismissed: launchState.showInfoSheet = false

    contentItem: InfoPage {
        id: page

        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
