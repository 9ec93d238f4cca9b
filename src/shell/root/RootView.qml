import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// The main content: the bar (menu, the area's title, the tune button), the
// visible area, and the two controls that flip between the areas.
FocusScope {
    id: root
    required property RootViewController controller

    component BarButton: AbstractButton {
        id: barButton
        width: Theme.touchTarget + 8
        height: Theme.touchTarget + 8
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.Button
        Keys.onSpacePressed: clicked()
        Keys.onReturnPressed: clicked()
        background: Rectangle {
            radius: width / 2
            color: barButton.pressed ? Qt.rgba(1, 1, 1, 0.08) : "transparent"
            border.width: barButton.visualFocus ? 2 : 0
            border.color: Theme.text
        }
    }

    component AreaButton: AbstractButton {
        id: areaButton
        property string glyph
        property color tint
        Layout.fillWidth: true
        Layout.fillHeight: true
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.Button
        Accessible.name: text
        Keys.onSpacePressed: clicked()
        Keys.onReturnPressed: clicked()
        background: Rectangle {
            color: areaButton.pressed ? Qt.rgba(1, 1, 1, 0.05) : "transparent"
            border.width: areaButton.visualFocus ? 2 : 0
            border.color: Theme.text
            radius: 10
        }
        contentItem: Column {
            spacing: 2
            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                name: areaButton.glyph
                size: 26
                color: areaButton.tint
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: areaButton.text
                color: areaButton.tint
                font.family: Fonts.family("AvenirNext-DemiBold")
                font.weight: Fonts.weight("AvenirNext-DemiBold")
                font.pixelSize: 12
            }
        }
    }

    Rectangle {
        id: bar
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 56
        color: "black"
        z: 1

        BarButton {
            id: menu
            anchors { left: parent.left; leftMargin: 4; verticalCenter: parent.verticalCenter }
            Accessible.name: qsTrId("menu")
            onClicked: root.controller.didClickMenu()
            contentItem: Icon { name: "menu"; size: 26 }
        }
        Label {
            anchors.centerIn: parent
            width: parent.width - 2 * (menu.width + 12)
            horizontalAlignment: Text.AlignHCenter
            text: root.controller.barTitle
            color: Theme.text
            font.family: Fonts.family("AvenirNext-Bold")
            font.weight: Fonts.weight("AvenirNext-Bold")
            font.pixelSize: 18
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        BarButton {
            id: tune
            anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
            Accessible.name: qsTrId("now_playing")
            Accessible.description: root.controller.musicTunesImage
            onClicked: root.controller.didClickPlayer()
            contentItem: Item {
                NamedImage {
                    anchors.centerIn: parent
                    width: 30
                    height: 30
                    name: root.controller.musicTunesImage
                    Accessible.ignored: true
                }
            }
        }
    }

    ChildContainer {
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: areas.top }
        current: root.controller.visibleViewController
        focus: true
    }

    Rectangle {
        id: areas
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 64
        color: "black"
        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: 1
            color: Theme.separator
        }
        RowLayout {
            anchors.fill: parent
            anchors.margins: 4
            spacing: 4
            AreaButton {
                text: qsTrId("clouds")
                glyph: "cloud"
                tint: root.controller.cloudsTintColor
                Accessible.selected: !root.controller.mediaLibraryShown
                onClicked: root.controller.didTapCloud()
            }
            AreaButton {
                text: qsTrId("media_library")
                glyph: "library"
                tint: root.controller.mediaLibraryTintColor
                Accessible.selected: root.controller.mediaLibraryShown
                onClicked: root.controller.didTapMediaLibrary()
            }
        }
    }
}
