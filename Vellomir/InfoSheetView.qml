import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// The about sheet.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    title: "About Vellomir"
    isShown: launchState.showInfoSheet
    onDismissed: launchState.showInfoSheet = false
    // Opens scrolled to the top and without focus.
    onAboutToShow: {
        page.contentY = 0;
        page.focus = true;
    }

    Flickable {
        id: page

        anchors.fill: parent
        contentHeight: Math.max(height, column.implicitHeight + Style.padding)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height
        T.ScrollBar.vertical: VerticalScrollBar {}

        ColumnLayout {
            id: column

            x: Style.padding
            width: page.width - 2 * Style.padding
            height: page.contentHeight - Style.padding
            spacing: Style.spacing

            ColumnLayout {
                Layout.fillWidth: true
                Layout.maximumHeight: implicitHeight + space.most
                spacing: Style.spacing

                Image {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.margins: 5
                    Layout.preferredWidth: 100
                    Layout.preferredHeight: 100
                    source: "Assets/quill.svg"
                    sourceSize.width: 100
                    sourceSize.height: 100
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "Vellomir's mark, a quill"
                }

                SheetText {
                    text: "Vellomir"
                    color: Style.white
                    font: Style.title
                    Accessible.role: Accessible.Heading
                }

                SheetText {
                    text: "V2.0"
                    color: Style.faded(Style.white, 0.4)
                    font: Style.boldBody
                }

                Item {
                    id: space

                    // A larger distance would separate the parts of the header.
                    readonly property real most: 2 * Style.padding

                    Layout.fillHeight: true
                    Layout.maximumHeight: most
                }

                SheetText {
                    leftPadding: Style.padding
                    rightPadding: Style.padding
                    text: "For TrollStore Only | ios 14 and up"
                    color: Style.faded(Style.white, 0.7)
                    font: Style.boldBody
                }

                SheetText {
                    leftPadding: Style.padding
                    rightPadding: Style.padding
                    text: "Vellomir allows changing app icons and cloning by modifying app bundles."
                    color: Style.grey
                    font: Style.body
                }
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.margins: Style.padding
                Layout.preferredHeight: 3
                color: Style.white
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Style.padding
                Layout.rightMargin: Style.padding
                spacing: Style.spacing

                Repeater {
                    // The third address has no slashes after its scheme, deliberately.
                    model: ListModel {
                        ListElement {
                            icon: "link"
                            title: "Orsanta Website"
                            url: "https://orsanta.example/"
                        }
                        ListElement {
                            icon: "paperplane"
                            title: "Telegram Channel"
                            url: "https://telegram.orsanta.example/vellomir"
                        }
                        ListElement {
                            icon: "app"
                            title: "More Apps"
                            url: "https:orsanta.example/otherapps.html"
                        }
                        ListElement {
                            icon: "heart.fill"
                            title: "Donate"
                            url: "https://donate.orsanta.example/invoice"
                        }
                    }
                    delegate: LinkView {
                        Layout.fillWidth: true
                        onOpened: url => sheet.launchState.openLink(url)
                    }
                }
            }

            Item {
                Layout.fillHeight: true
            }

            PlainButton {
                objectName: "closeButton"
                Layout.fillWidth: true
                text: "Close"
                hint: "Closes this sheet."
                onClicked: sheet.close()
            }
        }

        FocusFollower {
            page: page
        }
    }
}
