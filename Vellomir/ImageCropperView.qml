import QtQuick
import QtQuick.Layouts
import Vellomir

// Shows the chosen picture in a square, and two buttons: use it whole, or crop it.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "Crop the picture"
    color: Qt.tint(Style.background, Style.faded(Style.black, 0.7))
    isShown: launchState.showImageCropper
    onDismissed: launchState.showImageCropper = false

    contentItem: Item {
        ColumnLayout {
            anchors.fill: parent
            visible: sheet.launchState.hasSelectedImage
            spacing: Style.spacing

            Item {
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredHeight: width
                Layout.maximumHeight: width
                Layout.minimumHeight: 80

                Rectangle {
                    anchors.centerIn: parent
                    width: Math.min(parent.width, parent.height)
                    height: width
                    color: Style.faded(Style.black, 0.7)
                    clip: true

                    Image {
                        objectName: "preview"
                        anchors.fill: parent
                        source: sheet.launchState.selectedImage
                        sourceSize.width: width * Screen.devicePixelRatio
                        sourceSize.height: height * Screen.devicePixelRatio
                        fillMode: Image.PreserveAspectFit
                        asynchronous: true
                        cache: false
                        smooth: true
                        Accessible.role: Accessible.Graphic
                        Accessible.name: "The chosen picture"
                    }

                    Rectangle {
                        anchors.fill: parent
                        color: "transparent"
                        border.width: 2
                        border.color: Style.white
                    }
                }
            }

            Item {
                Layout.fillHeight: true
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.margins: 25
                spacing: Style.spacing

                PlainButton {
                    objectName: "useButton"
                    Layout.fillWidth: true
                    // The same preferred width for both buttons: they share the row equally.
                    Layout.preferredWidth: 1
                    text: "Use"
                    hint: "Keeps the picture as it is."
                    onClicked: sheet.launchState.useImage()
                }

                PlainButton {
                    objectName: "zoomButton"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    text: "Zoom it"
                    hint: "Crops the picture to its centred square."
                    onClicked: sheet.launchState.zoomImage()
                }
            }
        }

        // Without a picture, a press anywhere closes the cropper.
        TapHandler {
            enabled: !sheet.launchState.hasSelectedImage
            onTapped: sheet.close()
        }
    }
}
