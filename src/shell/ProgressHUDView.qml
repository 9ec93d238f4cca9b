import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// The shared progress display: a spinner, a cross or a check, and a line of
// text, over the whole window. While it shows, nothing below takes a touch.
Item {
    id: hud
    visible: opacity > 0
    opacity: ProgressHUD.visible ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 180 } }

    // A light veil, so the display stands clear of whatever is below.
    Rectangle {
        anchors.fill: parent
        color: Qt.rgba(0, 0, 0, 0.35)
    }

    MouseArea {
        anchors.fill: parent
        enabled: ProgressHUD.visible
        hoverEnabled: true
        preventStealing: true
        onWheel: wheel => wheel.accepted = true
    }

    Rectangle {
        id: box
        anchors.centerIn: parent
        width: Math.max(120, Math.min(hud.width - 64, label.implicitWidth + 40))
        height: indicator.height + (label.visible ? label.implicitHeight + 16 : 0) + 48
        radius: 16
        color: Theme.raised
        border.color: Theme.separator
        Accessible.role: Accessible.Indicator
        Accessible.name: ProgressHUD.hasText ? ProgressHUD.text : "Progress"

        Item {
            id: indicator
            width: 44
            height: 44
            anchors.horizontalCenter: parent.horizontalCenter
            y: 24
            // The spinner: a ring of dots fading round, drawn by us so it
            // turns the same on every renderer.
            Item {
                id: spinner
                anchors.fill: parent
                visible: ProgressHUD.type === 0
                Repeater {
                    model: 10
                    Rectangle {
                        required property int index
                        width: 6
                        height: 6
                        radius: 3
                        color: Theme.accentColor
                        opacity: 0.15 + 0.85 * index / 9
                        x: spinner.width / 2 - 3 + Math.cos(index / 10 * 2 * Math.PI) * 17
                        y: spinner.height / 2 - 3 + Math.sin(index / 10 * 2 * Math.PI) * 17
                    }
                }
                RotationAnimator on rotation {
                    from: 0
                    to: 360
                    duration: 1000
                    loops: Animation.Infinite
                    running: spinner.visible && ProgressHUD.visible
                }
            }
            Text {
                anchors.centerIn: parent
                visible: ProgressHUD.type !== 0
                text: Fonts.glyph(ProgressHUD.type === 1 ? "close" : "check")
                font.family: Fonts.iconFamily()
                font.pixelSize: 44
                color: ProgressHUD.type === 1 ? Theme.destructive : Theme.accentColor
            }
        }
        Label {
            id: label
            visible: ProgressHUD.hasText && text.length > 0
            text: ProgressHUD.text
            anchors { top: indicator.bottom; topMargin: 16; horizontalCenter: parent.horizontalCenter }
            width: Math.min(implicitWidth, hud.width - 104)
            color: Theme.text
            font.pixelSize: 15
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
    }
}
