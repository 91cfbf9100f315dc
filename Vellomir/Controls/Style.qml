pragma Singleton
import QtQuick
import Vellomir

// The colours, sizes and distances that the screens share. Sizes are in points, which are pixels at
// scale 1.
QtObject {
    readonly property color background: HexColors.color("#13131B")
    readonly property color field: HexColors.color("#1D1E24")
    readonly property color logPanel: HexColors.color("#1d1d24")
    readonly property color accent: HexColors.color("#ffa828")
    readonly property color white: HexColors.color("#FFFFFF")
    readonly property color black: HexColors.color("#000000")
    readonly property color grey: HexColors.color("#8E8E93")
    readonly property color red: HexColors.color("#FF453A")

    readonly property real padding: 16
    readonly property real spacing: 8
    readonly property real radius: 10
    // Longer lines are hard to read, and wider buttons look lost.
    readonly property real widestColumn: 640

    // Controls would use the system's font instead of the application's.
    readonly property string family: Fonts.family
    readonly property font largeTitle: textStyle(34, Font.Bold)
    readonly property font title: textStyle(28, Font.Bold)
    readonly property real title2Size: scaled(22)
    readonly property font headline: textStyle(17, Font.DemiBold)
    readonly property font body: textStyle(17, Font.Normal)
    readonly property font boldBody: textStyle(17, Font.Bold)
    readonly property font subheadline: textStyle(15, Font.Normal)
    readonly property font footnote: textStyle(13, Font.Normal)

    readonly property real disabledOpacity: 0.4
    // Milliseconds.
    readonly property int animation: Motion.isReduced ? 0 : 350

    // A size that follows the text scale of the desktop.
    function scaled(size: real) : int {
        return Math.round(size * Fonts.scale);
    }
    function textStyle(size: int, weight: int) : font {
        return Qt.font({
            family: family,
            pixelSize: scaled(size),
            weight: weight
        });
    }
    function faded(shade: color, opacity: real) : color {
        return Qt.rgba(shade.r, shade.g, shade.b, opacity);
    }
}
