import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Vellomir

// Sends the shared file to a phone while it is open: the address as a QR code and as text, and how
// much was sent. "Close" stays visible; the rest scrolls if there is too little room.
Sheet {
    id: sheet

    required property AppLaunchState launchState

    readonly property PhoneSending sending: launchState.sharing.sending
    readonly property bool isOffered: sending.address !== ""

    title: "Send to a phone"
    isShown: sending.isOpen
    naturalHeight: implicitContentHeight + topPadding
    // Opens scrolled to the top and without focus.
    onAboutToShow: {
        scroller.contentY = 0;
        page.focus = true;
    }
    onDismissed: sending.close()

    ColumnLayout {
        id: page

        anchors.fill: parent
        spacing: 0

        Flickable {
            id: scroller

            objectName: "sendScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: contentHeight
            // Room for the last row's focus ring.
            contentHeight: column.implicitHeight + Style.spacing
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            interactive: contentHeight > height
            T.ScrollBar.vertical: VerticalScrollBar {}

            ColumnLayout {
                id: column

                x: Style.padding
                width: scroller.width - 2 * Style.padding
                spacing: Style.spacing

                SheetText {
                    text: sheet.title
                    color: Style.white
                    font: Style.headline
                    Accessible.role: Accessible.Heading
                }

                SheetText {
                    visible: sheet.isOffered
                    text: "Open this address on the phone, in the same network. Scan the code with its camera, or type the address into its browser."
                    color: Style.grey
                    font: Style.subheadline
                }

                Rectangle {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.topMargin: Style.spacing
                    Layout.bottomMargin: Style.spacing
                    visible: sheet.isOffered
                    implicitWidth: 248
                    implicitHeight: 248
                    // Light in the dark window: cameras want a light border.
                    color: Style.white
                    radius: Style.radius
                    Accessible.role: Accessible.Graphic
                    Accessible.name: "QR code of the address"

                    QrCodeItem {
                        objectName: "addressCode"
                        anchors.centerIn: parent
                        width: 232
                        height: 232
                        text: sheet.sending.address
                    }
                }

                TextEdit {
                    id: addressText

                    objectName: "addressText"
                    Layout.fillWidth: true
                    visible: sheet.isOffered
                    text: sheet.sending.address
                    color: Style.accent
                    font: Style.body
                    wrapMode: TextEdit.WrapAnywhere
                    horizontalAlignment: TextEdit.AlignHCenter
                    readOnly: true
                    selectByMouse: true
                    selectionColor: Style.accent
                    selectedTextColor: Style.black
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }

                SheetText {
                    visible: sheet.sending.otherAddresses !== ""
                    text: "In other networks of this computer:\n" + sheet.sending.otherAddresses
                    color: Style.grey
                    font: Style.footnote
                    wrapMode: Text.WrapAnywhere
                }

                SheetRow {
                    objectName: "copyAddressRow"
                    Layout.fillWidth: true
                    visible: sheet.isOffered
                    symbol: "doc.on.doc"
                    text: "Copy the address"
                    hint: "Puts the address on the clipboard, to send it in a message."
                    onClicked: sheet.sending.copyAddress()
                }

                Rectangle {
                    Layout.fillWidth: true
                    Layout.topMargin: Style.spacing
                    visible: sheet.isOffered
                    implicitHeight: 4
                    radius: 2
                    color: Style.field
                    Accessible.ignored: true // The text below says it.

                    Rectangle {
                        width: parent.width * sheet.sending.share
                        height: parent.height
                        radius: 2
                        color: Style.accent
                    }
                }

                SheetText {
                    objectName: "sendingMessage"
                    Layout.topMargin: sheet.isOffered ? 0 : Style.padding
                    Layout.bottomMargin: sheet.isOffered ? 0 : Style.padding
                    text: sheet.sending.failure !== "" ? sheet.sending.failure : sheet.sending.progress
                    color: sheet.sending.failure !== "" ? Style.red : Style.accent
                    font: Fonts.forText(Style.subheadline, text)
                    Accessible.role: Accessible.AlertMessage
                }

                SheetText {
                    visible: sheet.isOffered
                    text: "Closing this sheet ends it. The transfer is not encrypted."
                    color: Style.grey
                    font: Style.footnote
                }
            }

            FocusFollower {
                page: scroller
            }
        }

        PlainButton {
            objectName: "sendDoneButton"
            Layout.fillWidth: true
            Layout.margins: Style.padding
            text: "Close"
            hint: "Closes this sheet, and ends what is being sent."
            onClicked: sheet.close()
        }
    }
}
