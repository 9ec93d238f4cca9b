import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// The music library: four tabs over the chosen list, behind the panel that
// asks to link the library until access is given.
FocusScope {
    id: area
    required property MediaLibraryViewController controller

    TabStrip {
        id: tabs
        anchors { left: parent.left; right: parent.right; top: parent.top }
        bar: area.controller.tabBar
    }
    ChildContainer {
        anchors { left: parent.left; right: parent.right; top: tabs.bottom; bottom: parent.bottom }
        current: area.controller.visibleViewController
        focus: area.controller.authorizationViewHidden
    }
    Rectangle {
        id: authorization
        anchors { left: parent.left; right: parent.right; top: tabs.bottom; bottom: parent.bottom }
        visible: !area.controller.authorizationViewHidden
        color: Theme.background
        // The panel covers the empty area and takes its touches.
        MouseArea { anchors.fill: parent }

        ColumnLayout {
            anchors.centerIn: parent
            width: Math.min(parent.width - 2 * Theme.margin * 2, 420)
            spacing: 14
            Rectangle {
                Layout.alignment: Qt.AlignHCenter
                Layout.bottomMargin: 6
                width: 96
                height: 96
                radius: 48
                color: Theme.cell
                border.color: Theme.separator
                Icon {
                    anchors.centerIn: parent
                    name: "library"
                    size: 44
                    color: Theme.accentColor
                }
            }
            Label {
                Layout.fillWidth: true
                text: qsTrId("link_library_title")
                color: Theme.text
                font.family: Fonts.family("AvenirNext-Bold")
                font.weight: Fonts.weight("AvenirNext-Bold")
                font.pixelSize: 22
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                text: qsTrId("link_library_description")
                color: Theme.secondaryText
                font.family: Fonts.family("AvenirNext-Medium")
                font.weight: Fonts.weight("AvenirNext-Medium")
                font.pixelSize: 16
                lineHeight: 1.2
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
            PillButton {
                id: link
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 8
                Layout.preferredWidth: Math.min(parent.width, 280)
                implicitHeight: 50
                filled: true
                text: qsTrId("link_library_button")
                focus: true
                onClicked: area.controller.didClickLinkLibrary()
            }
        }
    }
}
