import QtQuick

// One of the application's SVG symbols, sharp at every scale.
Image {
    required property string symbol
    required property real size

    source: Qt.resolvedUrl("qrc:/Vellomir/Assets/" + symbol + ".svg")
    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    Accessible.ignored: true // The item beside it has a name.
}
