import QtQuick
import Vellomir

// A line of the log. A new one slides in from the leading edge.
Item {
    id: row

    required property string line
    required property bool appears

    height: text.height
    Accessible.role: Accessible.ListItem
    Accessible.name: line

    Component.onCompleted: {
        if (appears && !Motion.isReduced)
            slide.start();
    }

    Text {
        id: text

        width: row.width
        padding: 2
        text: row.line
        color: Style.accent
        font: Style.body
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }

    NumberAnimation {
        id: slide

        target: text
        property: "x"
        from: -row.width - 2 * Style.padding
        to: 0
        duration: Style.animation
        easing.type: Easing.InOutQuad
    }
}
