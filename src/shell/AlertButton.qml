import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// One button of an alert: default, cancel (1) or destructive (2) style.
AbstractButton {
    id: button
    property string title
    property int actionStyle: 0
    property bool emphasised: false
    property bool separatorVisible: true
    implicitHeight: 52
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: title
    Keys.onSpacePressed: clicked()

    contentItem: Text {
        text: button.title
        color: !button.enabled ? Theme.secondaryText
             : button.actionStyle === 2 ? Theme.destructive : Theme.accentColor
        font.family: Theme.fontFamily
        font.pixelSize: 17
        font.weight: button.emphasised || button.actionStyle === 1 ? Font.Bold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        color: button.pressed ? Qt.rgba(1, 1, 1, 0.08) : "transparent"
        border.color: button.visualFocus ? Theme.accentColor : "transparent"
        radius: button.visualFocus ? 6 : 0
        Rectangle {
            visible: button.separatorVisible
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: 1
            color: Theme.separator
        }
    }
}
