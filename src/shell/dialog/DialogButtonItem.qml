import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// One button of the dialog, drawn from the look its controller worked out:
// title, colours, border and corner radius. A plain one is a bare title, as
// the cancel button and the corner tools are unless styled.
AbstractButton {
    id: button
    property var look: ({})
    property bool plain: false
    readonly property color tint: Theme.buttonColor

    function colorOr(value, fallback) {
        return value !== undefined ? value : fallback
    }

    text: look.title !== undefined ? look.title : ""
    padding: 8
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding

    contentItem: Text {
        text: button.text
        font: button.font
        color: button.colorOr(button.look.titleColor, button.tint)
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        opacity: button.pressed ? 0.6 : 1
    }

    background: Rectangle {
        radius: button.look.cornerRadius !== undefined ? button.look.cornerRadius : 0
        color: button.colorOr(button.look.backgroundColor, "transparent")
        border.width: button.look.borderWidth !== undefined ? button.look.borderWidth : 0
        border.color: button.colorOr(button.look.borderColor, "transparent")
        opacity: button.pressed ? 0.75 : 1
        // Where the keyboard is.
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: parent.radius + 3
            color: "transparent"
            border.width: 2
            border.color: Theme.accentColor
            visible: button.visualFocus
        }
    }
}
