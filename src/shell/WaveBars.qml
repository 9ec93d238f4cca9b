import QtQuick
import Corvantis.Shell

// The moving sound bars of the now-playing button while music plays. Each
// bar breathes on its own period so the row never falls into step.
Item {
    id: bars
    implicitWidth: 48
    implicitHeight: 48
    property color color: Theme.accentColor

    Row {
        anchors.centerIn: parent
        spacing: bars.width * 0.06
        Repeater {
            model: [0.45, 0.8, 1.0, 0.65, 0.35]
            Rectangle {
                required property real modelData
                required property int index
                width: bars.width * 0.11
                radius: width / 2
                color: bars.color
                anchors.verticalCenter: parent.verticalCenter
                height: bars.height * 0.2
                SequentialAnimation on height {
                    loops: Animation.Infinite
                    running: bars.visible
                    NumberAnimation {
                        to: bars.height * 0.8 * modelData
                        duration: 260 + index * 70
                        easing.type: Easing.InOutSine
                    }
                    NumberAnimation {
                        to: bars.height * 0.18
                        duration: 300 + (4 - index) * 55
                        easing.type: Easing.InOutSine
                    }
                }
            }
        }
    }
}
