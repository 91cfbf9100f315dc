import QtQuick
import Vellomir

Text {
    color: Style.white
    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    wrapMode: Text.WordWrap
    Accessible.ignored: true // The button has the same name.
}
