import QtQuick
import QtQuick.Controls
import QtQuick.Shapes
import Corvantis.Shell

// The download button of a file row, in four faces: an arrow to start, a
// turning ring while the transfer gets going, a ring that fills with the
// percent done (a tap cancels), and a check once the file is here.
AbstractButton {
    id: button
    // FileCell.DownloadState: 0 to download, 1 will download, 2 ready to
    // download (under way), 3 downloaded.
    property int downloadState: 0
    property real downloadPercent: 0
    property string fileName
    implicitWidth: Theme.touchTarget + 4
    implicitHeight: Theme.touchTarget + 4
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: [qsTrId("file_download"), qsTrId("file_will_download"),
                      qsTrId("file_cancel_download"), qsTrId("file_downloaded")][downloadState]
                     .arg(fileName)
    Keys.onSpacePressed: clicked()

    readonly property real ring: 30
    background: Item {}
    contentItem: Item {
        Rectangle {
            anchors.centerIn: parent
            width: button.ring
            height: button.ring
            radius: width / 2
            color: button.downloadState === 3 ? Theme.accentColor : "transparent"
            border.width: button.downloadState === 0 ? 2 : (button.downloadState === 3 ? 0 : 3)
            border.color: button.downloadState === 0 ? Theme.accentColor : Qt.rgba(1, 1, 1, 0.14)
            opacity: button.pressed ? 0.6 : 1
            scale: button.downloadState === 3 ? 1 : 0.96
            Behavior on color { ColorAnimation { duration: 200 } }
            Behavior on scale { NumberAnimation { duration: 200; easing.type: Easing.OutBack } }
        }
        Icon {
            anchors.centerIn: parent
            visible: button.downloadState === 0 || button.downloadState === 3
            name: button.downloadState === 3 ? "check" : "download"
            size: 20
            color: button.downloadState === 3 ? Theme.background : Theme.accentColor
        }
        // Under way: a stop square in a ring that fills.
        Rectangle {
            anchors.centerIn: parent
            visible: button.downloadState === 2
            width: 10
            height: 10
            radius: 2
            color: Theme.accentColor
        }
        Shape {
            id: arc
            anchors.centerIn: parent
            width: button.ring
            height: button.ring
            visible: button.downloadState === 1 || button.downloadState === 2
            ShapePath {
                strokeColor: Theme.accentColor
                strokeWidth: 3
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                PathAngleArc {
                    centerX: button.ring / 2
                    centerY: button.ring / 2
                    radiusX: button.ring / 2 - 1.5
                    radiusY: button.ring / 2 - 1.5
                    startAngle: -90
                    sweepAngle: button.downloadState === 2
                                ? Math.max(4, 360 * Math.min(1, button.downloadPercent)) : 90
                    Behavior on sweepAngle {
                        enabled: button.downloadState === 2
                        NumberAnimation { duration: 150 }
                    }
                }
            }
            RotationAnimator on rotation {
                from: 0
                to: 360
                duration: 900
                loops: Animation.Infinite
                running: button.downloadState === 1 && button.visible
            }
            onVisibleChanged: if (!visible) rotation = 0
        }
    }
}
