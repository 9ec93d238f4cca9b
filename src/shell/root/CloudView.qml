import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// The user's own files: four tabs over the chosen list, and the add button.
FocusScope {
    id: area
    required property CloudViewController controller

    TabStrip {
        id: tabs
        anchors { left: parent.left; right: parent.right; top: parent.top }
        bar: area.controller.tabBar
    }
    ChildContainer {
        anchors { left: parent.left; right: parent.right; top: tabs.bottom; bottom: parent.bottom }
        current: area.controller.visibleViewController
        focus: true
    }
    AbstractButton {
        id: add
        visible: area.controller.hasAddButton && !area.controller.addButtonHidden
        anchors.left: parent.left
        anchors.leftMargin: area.controller.addButtonLeading
        anchors.bottom: parent.bottom
        anchors.bottomMargin: area.controller.addButtonBottom
        width: 56
        height: 56
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.Button
        Accessible.name: qsTrId("add_music")
        Keys.onSpacePressed: clicked()
        Keys.onReturnPressed: clicked()
        onClicked: area.controller.addButtonTapped()
        contentItem: NamedImage {
            name: area.controller.addButtonImage
            Accessible.ignored: true
            opacity: add.pressed ? 0.7 : 1
        }
        background: Rectangle {
            radius: width / 2
            color: "transparent"
            border.width: add.visualFocus ? 2 : 0
            border.color: Theme.text
        }
    }
}
