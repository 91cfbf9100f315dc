import QtQuick
import QtQuick.Templates as T
import Vellomir

// A short explanation of the control below it, once the mouse rests on the control. Does not take
// the focus, and keys and presses pass it.
T.ToolTip {
    id: hint

    readonly property real most: parent && parent.Window.window ? parent.Window.width - 2 * margins : 0

    x: parent ? (parent.width - width) / 2 : 0
    y: parent ? parent.height + 4 : 0
    implicitWidth: Math.min(contentItem.implicitWidth + 2 * padding, most, 260)
    implicitHeight: contentItem.implicitHeight + 2 * padding
    margins: 8
    padding: 8
    delay: 700
    closePolicy: T.Popup.NoAutoClose

    contentItem: Text {
        text: hint.text
        color: Style.white
        font: Style.footnote
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        Accessible.ignored: true // The control has it as its description.
    }

    background: Rectangle {
        color: Style.background
        radius: Style.radius / 2
        border.width: 1
        border.color: Style.faded(Style.white, 0.25)
    }
}
