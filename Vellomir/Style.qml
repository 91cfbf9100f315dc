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
    // Lines longer than this are hard to follow, and buttons wider look lost.
    readonly property real widestColumn: 640

    // Controls would take the system's otherwise, whatever the application's is.
    // Without shaping where it is for looks alone: Inter would make "60x60" of a file name "60×60".
    readonly property string family: Fonts.family
    readonly property font largeTitle: Qt.font({ family: family, preferShaping: false, pixelSize: 34, weight: Font.Bold })
    readonly property font title: Qt.font({ family: family, preferShaping: false, pixelSize: 28, weight: Font.Bold })
    readonly property real title2Size: 22
    readonly property font headline: Qt.font({ family: family, preferShaping: false, pixelSize: 17, weight: Font.DemiBold })
    readonly property font body: Qt.font({ family: family, preferShaping: false, pixelSize: 17 })
    readonly property font boldBody: Qt.font({ family: family, preferShaping: false, pixelSize: 17, weight: Font.Bold })
    readonly property font subheadline: Qt.font({ family: family, preferShaping: false, pixelSize: 15 })
    readonly property font footnote: Qt.font({ family: family, preferShaping: false, pixelSize: 13 })

    // Milliseconds.
    readonly property int animation: Motion.isReduced ? 0 : 350

    function faded(shade: color, opacity: real) : color {
        return Qt.rgba(shade.r, shade.g, shade.b, opacity);
    }
}
