import QtQuick
import Corvantis.Shell
import Corvantis.Player

// The track's position: a tap jumps there, a drag shows where it would go
// and seeks when the finger lifts. All arithmetic is the controller's.
FocusScope {
    id: bar
    required property PlayerViewController controller
    // The item whose coordinates a tap is measured in (the screen).
    required property Item measuredIn
    readonly property ThickSlider slider: controller.trackSlider
    readonly property real fraction: slider.maximumValue > slider.minimumValue
        ? (slider.value - slider.minimumValue) / (slider.maximumValue - slider.minimumValue) : 0
    implicitHeight: Theme.touchTarget
    activeFocusOnTab: true
    enabled: controller.trackSliderEnabled
    Accessible.role: Accessible.Slider
    Accessible.name: qsTrId("player_position")
    Keys.onLeftPressed: controller.didChangeSeekPosition(slider.value - 5)
    Keys.onRightPressed: controller.didChangeSeekPosition(slider.value + 5)

    Rectangle {
        id: track
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: bar.slider.highlighted ? 8 : 5
        radius: height / 2
        color: Qt.rgba(1, 1, 1, 0.18)
        Rectangle {
            height: parent.height
            radius: parent.radius
            color: Theme.text
            width: bar.fraction * parent.width
            Behavior on width {
                enabled: bar.slider.animated && !area.dragging
                NumberAnimation { duration: 250 }
            }
        }
    }
    Rectangle {
        id: thumb
        readonly property real size: bar.slider.highlighted ? 22 : 14
        width: size
        height: size
        radius: size / 2
        color: "white"
        visible: bar.enabled
        anchors.verticalCenter: parent.verticalCenter
        x: bar.fraction * bar.width - width / 2
        border.width: bar.activeFocus ? 3 : 0
        border.color: Theme.accentColor
        Behavior on x {
            enabled: bar.slider.animated && !area.dragging
            NumberAnimation { duration: 250 }
        }
    }

    MouseArea {
        id: area
        property bool dragging: false
        property real pressX: 0
        anchors.fill: parent
        anchors.topMargin: -8
        anchors.bottomMargin: -8
        preventStealing: true
        onPressed: mouse => {
            bar.forceActiveFocus()
            dragging = false
            pressX = mouse.x
        }
        onPositionChanged: mouse => {
            if (!dragging && Math.abs(mouse.x - pressX) >= 6) {
                dragging = true
                bar.controller.didPanSeekBar(mouse.x, bar.width, 1)
            } else if (dragging) {
                bar.controller.didPanSeekBar(mouse.x, bar.width, 2)
            }
        }
        onReleased: mouse => {
            if (dragging) {
                dragging = false
                bar.controller.didPanSeekBar(mouse.x, bar.width, 3)
                return
            }
            const inScreen = bar.mapToItem(bar.measuredIn, mouse.x, 0).x
            const origin = bar.mapToItem(bar.measuredIn, 0, 0).x
            bar.controller.didTapSeekBar(inScreen, origin, bar.width)
        }
        onCanceled: {
            if (dragging) {
                dragging = false
                bar.controller.didPanSeekBar(mouseX, bar.width, 4)
            }
        }
    }
}
