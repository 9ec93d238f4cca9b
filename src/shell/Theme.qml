pragma Singleton
import QtQuick

// The application's colours and measures. Colours are counts over 256, as
// the screens' design gives them.
QtObject {
    readonly property color background: Qt.rgba(20 / 256, 21 / 256, 24 / 256, 1)
    readonly property color cell: Qt.rgba(0.12109375, 0.12890625, 0.140625, 1)
    readonly property color raised: Qt.rgba(40 / 256, 42 / 256, 46 / 256, 1)
    readonly property color separator: Qt.rgba(1, 1, 1, 0.08)
    readonly property color accentColor: Qt.rgba(140 / 256, 213 / 256, 242 / 256, 1)
    readonly property color buttonColor: Qt.rgba(56 / 256, 158 / 256, 170 / 256, 1)
    readonly property color text: "#f2f3f5"
    readonly property color secondaryText: Qt.rgba(1, 1, 1, 0.6)
    readonly property color destructive: "#ff5a5f"
    readonly property color dim: Qt.rgba(0, 0, 0, 0.45)

    readonly property string fontFamily: "Lato"

    // Touch targets stay at least this large on every screen.
    readonly property int touchTarget: 44
    readonly property int margin: 16
    readonly property int radius: 14
    readonly property int animationMs: 300
}
