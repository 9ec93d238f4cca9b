import QtQuick
import Corvantis.Shell
import Corvantis.Player

// One band of the equalizer: a thick vertical track, the minimum at the
// bottom. A drag hands the raw value over; the panel snaps it to a whole
// decibel.
FocusScope {
    id: band
    required property ThickVerticalSlider control
    required property string caption
    readonly property ThickSlider slider: control.slider
    readonly property real span: slider.maximumValue - slider.minimumValue
    readonly property real fraction: span > 0 ? (slider.value - slider.minimumValue) / span : 0
    implicitWidth: 56
    activeFocusOnTab: true
    Accessible.role: Accessible.Slider
    Accessible.name: caption
    // A step of more than half a decibel is what reaches the next whole one.
    Keys.onUpPressed: slider.userDidMoveTo(slider.value + 0.6)
    Keys.onDownPressed: slider.userDidMoveTo(slider.value - 0.6)

    Text {
        id: gain
        anchors.top: parent.top
        anchors.horizontalCenter: parent.horizontalCenter
        text: (band.slider.value > 0 ? "+" : "") + Math.round(band.slider.value)
        color: Theme.secondaryText
        font.pixelSize: 13
    }
    Item {
        id: rail
        objectName: "rail"
        anchors.top: gain.bottom
        anchors.bottom: label.top
        anchors.margins: 8
        anchors.horizontalCenter: parent.horizontalCenter
        width: parent.width
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: band.slider.trackThickness
            height: parent.height
            radius: width / 2
            color: Qt.rgba(1, 1, 1, 0.14)
        }
        // From the middle line (0 dB) to the value, up or down.
        Rectangle {
            readonly property real zero: band.span > 0
                ? (1 - (0 - band.slider.minimumValue) / band.span) * rail.height : rail.height
            readonly property real at: (1 - band.fraction) * rail.height
            anchors.horizontalCenter: parent.horizontalCenter
            width: band.slider.trackThickness
            radius: width / 2
            y: Math.min(zero, at)
            height: Math.abs(zero - at)
            color: Theme.buttonColor
            Behavior on y { enabled: band.slider.animated; NumberAnimation { duration: 150 } }
            Behavior on height { enabled: band.slider.animated; NumberAnimation { duration: 150 } }
        }
        Rectangle {
            width: 26
            height: 26
            radius: 13
            color: "white"
            anchors.horizontalCenter: parent.horizontalCenter
            y: (1 - band.fraction) * rail.height - height / 2
            border.width: band.activeFocus ? 3 : 0
            border.color: Theme.accentColor
            Behavior on y { enabled: band.slider.animated; NumberAnimation { duration: 150 } }
        }
        MouseArea {
            anchors.fill: parent
            anchors.margins: -12
            preventStealing: true
            function moveTo(y) {
                const inRail = Math.max(0, Math.min(rail.height, y - 12))
                band.slider.userDidMoveTo(band.slider.maximumValue - inRail / rail.height * band.span)
            }
            onPressed: mouse => { band.forceActiveFocus(); moveTo(mouse.y) }
            onPositionChanged: mouse => moveTo(mouse.y)
        }
    }
    Text {
        id: label
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        text: band.caption
        color: Theme.text
        font.pixelSize: 13
    }
}
