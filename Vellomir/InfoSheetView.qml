import QtQuick
import Vellomir

// The about sheet.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "About Vellomir"
    isShown: launchState.showInfoSheet
    onAboutToShow: {
        const page = contentItem as InfoPage;
        page.contentY = 0;
        page.focus = true;
    }
    onDismissed: launchState.showInfoSheet = false

    contentItem: InfoPage {
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
