import QtQuick
import Vellomir

// Shows the chosen picture in a square, and takes it whole or cropped to its centred square.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "Crop the picture"
    color: Qt.tint(Style.background, Style.faded(Style.black, 0.7))
    isShown: launchState.showImageCropper
    onDismissed: launchState.showImageCropper = false

    contentItem: Item {
        CropperPage {
            anchors.fill: parent
            launchState: sheet.launchState
            visible: launchState.hasSelectedImage
        }

        // Without a picture there is nothing to do here.
        TapHandler {
            enabled: !sheet.launchState.hasSelectedImage
            onTapped: sheet.close()
        }
    }
}
