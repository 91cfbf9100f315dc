import QtQuick
import Vellomir

// The share sheet: actions for the result.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property Sharing sharing: launchState.sharing

    title: "Share " + sharing.displayName
    isShown: launchState.showShareSheet
    naturalHeight: implicitContentHeight + topPadding
    onAboutToShow: sharing.prepare()
    onDismissed: launchState.didFinishSharing()

    contentItem: SharePage {
        readonly property bool isOpen: sheet.visible

        onIsOpenChanged: {
            if (isOpen)
                startAfresh();
        }
        launchState: sheet.launchState
        onClosed: sheet.close()
    }
}
