import QtQuick
import Corvantis.Shell
import Corvantis.Player

// The wide slider of the bass and boost panels, its value -1..0 or -max..0
// running from the top (most) to the bottom (least). The gradient stays put
// and shows up to the level, as on a meter.
FocusScope {
    id: view
    required property TactileSlider slider
    required property string caption
    // A touch at y in a height h; the panel decides what it means.
    signal touched(real y, real h)
    signal stepped(int direction)
    readonly property real span: slider.maximumValue - slider.minimumValue
    readonly property real level: span > 0 ? (slider.maximumValue - slider.value) / span : 0
    activeFocusOnTab: true
    Accessible.role: Accessible.Slider
    Accessible.name: caption
    Keys.onUpPressed: stepped(1)
    Keys.onDownPressed: stepped(-1)

    Rectangle {
        anchors.fill: parent
        radius: 18
        color: Qt.rgba(1, 1, 1, 0.08)
        border.width: view.activeFocus ? 2 : 0
        border.color: Theme.accentColor
    }
    Item {
        id: filled
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: view.level * view.height
        clip: true
        Behavior on height { enabled: view.slider.animated; NumberAnimation { duration: 150 } }
        GradientFill {
            anchors.bottom: parent.bottom
            width: view.width
            height: view.height
            radius: 18
            colors: view.slider.trackColors
        }
    }
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        onPressed: mouse => { view.forceActiveFocus(); view.touched(mouse.y, view.height) }
        onPositionChanged: mouse => view.touched(mouse.y, view.height)
    }
}
