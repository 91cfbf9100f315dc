import QtQuick
import Vellomir

// The share sheet: the ways in which the result can be handed on.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property Sharing sharing: launchState.sharing

    title: "Share " + sharing.fileName
    isShown: launchState.showShareSheet
    naturalHeight: implicitContentHeight + topPadding
    onAboutToShow: sharing.prepare()
    onDismissed: launchState.didFinishSharing()

    contentItem: SharePage {
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
