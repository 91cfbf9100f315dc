import QtQuick
import Vellomir

// The share sheet: the ways in which the result can be handed on.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property Sharing sharing: launchState.sharing

    title: "Share " + sharing.displayName
    isShown: launchState.showShareSheet
    naturalHeight: implicitContentHeight + topPadding
    onAboutToShow: {
        sharing.prepare();
        (contentItem as SharePage).startAfresh();
    }
    onDismissed: launchState.didFinishSharing()

    contentItem: SharePage {
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
