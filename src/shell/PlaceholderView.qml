import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// A screen whose bundle is not built yet: its name, calmly.
Rectangle {
    id: page
    required property PlaceholderViewController controller
    color: Theme.background
    Accessible.role: Accessible.Pane
    Accessible.name: controller ? controller.bundleName : ""

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.margin, 420)
        spacing: 12
        Rectangle {
            Layout.alignment: Qt.AlignHCenter
            Layout.bottomMargin: 8
            width: 88
            height: 88
            radius: 44
            color: Theme.cell
            border.color: Theme.separator
            Icon {
                anchors.centerIn: parent
                name: "note"
                size: 40
                color: Theme.accentColor
            }
        }
        Label {
            Layout.fillWidth: true
            text: page.controller ? page.controller.bundleName : ""
            color: Theme.text
            font.family: Theme.fontFamily
            font.pixelSize: 28
            font.weight: Font.Bold
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        Label {
            Layout.fillWidth: true
            text: qsTrId("placeholder_not_built")
            color: Theme.secondaryText
            font.family: Theme.fontFamily
            font.pixelSize: 16
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        PillButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 12
            visible: page.controller !== null && page.controller.presentingViewController !== null
            text: qsTrId("close")
            onClicked: page.controller.didClickClose()
        }
    }
    Keys.onEscapePressed: page.controller.didClickClose()
}
