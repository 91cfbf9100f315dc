import QtQuick
import Vellomir

// A link that another program opens.
Item {
    id: link

    required property string icon
    required property string title
    required property string url
    signal opened(url: string)

    implicitHeight: row.implicitHeight

    SheetRow {
        id: row

        anchors.fill: parent
        symbol: link.icon
        text: link.title
        Accessible.role: Accessible.Link
        onClicked: link.opened(link.url)
    }
}
