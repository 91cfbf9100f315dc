import QtQuick

// One of the application's SVG symbols, sharp at every scale.
Image {
    required property string symbol
    required property real size

    // An image of a file would load the libraries of all picture formats.
    source: "image://symbols/" + symbol
    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    Accessible.ignored: true // The item beside it has a name.
}
