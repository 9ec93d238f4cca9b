import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// A stack of screens under a bar with the top screen's title and, below the
// first screen, a back control. Escape goes back too.
FocusScope {
    id: navigation
    required property NavigationController controller

    Keys.onEscapePressed: event => {
        if (controller.depth > 1)
            controller.popViewControllerAnimated(true)
        else
            event.accepted = false
    }

    Rectangle {
        id: bar
        // What the bar's title shows; `Bundle.localizedTitle` writes into it.
        readonly property ViewController topItem: navigation.controller.topViewController
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 52
        color: Theme.background
        z: 1

        ToolButton {
            id: back
            anchors { left: parent.left; leftMargin: 4; verticalCenter: parent.verticalCenter }
            width: Theme.touchTarget
            height: Theme.touchTarget
            visible: navigation.controller.depth > 1
            text: Fonts.glyph("back")
            font.family: Fonts.iconFamily()
            font.pixelSize: 24
            Accessible.name: qsTrId("back")
            onClicked: navigation.controller.popViewControllerAnimated(true)
        }
        Label {
            anchors.centerIn: parent
            width: parent.width - 2 * (Theme.touchTarget + 12)
            horizontalAlignment: Text.AlignHCenter
            text: bar.topItem ? bar.topItem.title : ""
            color: Theme.text
            font.pixelSize: 17
            font.weight: Font.Bold
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
    }

    Component {
        id: hostComponent
        ScreenHost {}
    }

    StackView {
        id: stack
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: parent.bottom }
        focus: true
        Component.onCompleted: {
            const list = navigation.controller.viewControllers
            for (let i = 0; i < list.length; ++i)
                push(hostComponent, { controller: list[i] }, StackView.Immediate)
        }
    }

    Connections {
        target: navigation.controller
        function onPushRequested(controller, animated) {
            stack.push(hostComponent, { controller: controller },
                       animated ? StackView.PushTransition : StackView.Immediate)
        }
        function onPopRequested(controller, animated) {
            stack.pop(animated ? StackView.PopTransition : StackView.Immediate)
        }
    }
}
