import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// The side menu over the main content. It slides in from the leading edge
// (the menu control, or a swipe from that edge) and goes by a tap beside it,
// a swipe back or Escape.
FocusScope {
    id: drawer
    required property DrawerController controller
    readonly property bool opened: controller.drawerState === 0
    readonly property real panelWidth: Math.min(controller.drawerWidth, width * 0.85)
    // 0 closed, 1 open; follows a finger while one drags.
    property real progress: opened ? 1 : 0
    property bool dragging: false

    Behavior on progress {
        enabled: !drawer.dragging
        NumberAnimation { duration: drawer.controller.animated ? 250 : 0; easing.type: Easing.OutCubic }
    }

    onOpenedChanged: {
        if (opened)
            menuLoader.forceActiveFocus()
        else
            mainHost.forceActiveFocus()
    }

    ScreenHost {
        id: mainHost
        anchors.fill: parent
        controller: drawer.controller.mainViewController
        focus: true
        enabled: !drawer.opened
    }

    // A swipe from the leading edge opens the drawer.
    Item {
        anchors { left: parent.left; top: parent.top; bottom: parent.bottom }
        width: 16
        visible: !drawer.opened
        DragHandler {
            id: edgeSwipe
            target: null
            xAxis.enabled: true
            yAxis.enabled: false
            onActiveChanged: {
                if (active) {
                    drawer.dragging = true
                } else {
                    drawer.dragging = false
                    if (drawer.progress > 0.35)
                        drawer.controller.openDrawer()
                    drawer.progress = Qt.binding(() => drawer.opened ? 1 : 0)
                }
            }
            onTranslationChanged: {
                if (active)
                    drawer.progress = Math.max(0, Math.min(1, translation.x / drawer.panelWidth))
            }
        }
    }

    Rectangle {
        id: shade
        anchors.fill: parent
        color: "black"
        opacity: 0.5 * drawer.progress
        visible: drawer.progress > 0
        Accessible.role: Accessible.Button
        Accessible.name: qsTrId("close_menu")
        TapHandler { onTapped: drawer.controller.closeDrawer() }
    }

    Rectangle {
        id: panel
        width: drawer.panelWidth
        anchors { top: parent.top; bottom: parent.bottom }
        x: -width + width * drawer.progress
        visible: drawer.progress > 0
        color: Theme.background
        Rectangle {
            anchors { right: parent.right; top: parent.top; bottom: parent.bottom }
            width: 1
            color: Theme.separator
        }

        LaterLoader {
            id: menuLoader
            anchors.fill: parent
            needed: drawer.progress > 0 || drawer.opened
            focus: true
            Keys.onEscapePressed: drawer.controller.closeDrawer()
            sourceComponent: ScreenHost {
                controller: drawer.controller.drawerViewController
                focus: true
            }
        }

        // A swipe back towards the edge closes it.
        DragHandler {
            target: null
            xAxis.enabled: true
            yAxis.enabled: false
            onActiveChanged: {
                if (active) {
                    drawer.dragging = true
                } else {
                    drawer.dragging = false
                    if (drawer.progress < 0.65)
                        drawer.controller.closeDrawer()
                    drawer.progress = Qt.binding(() => drawer.opened ? 1 : 0)
                }
            }
            onTranslationChanged: {
                if (active)
                    drawer.progress = Math.max(0, Math.min(1, 1 + translation.x / drawer.panelWidth))
            }
        }
    }
}
