import QtQuick
import Vellomir

// Shows the chosen picture in a square; the user takes it whole or cropped.
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

        // Without a picture, a press anywhere closes the cropper.
        TapHandler {
            enabled: !sheet.launchState.hasSelectedImage
            onTapped: sheet.close()
        }
    }
}
