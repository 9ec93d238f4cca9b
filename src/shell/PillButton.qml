import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// The plain button of our screens: a rounded pill, outlined in the accent
// colour, or filled where it is the one thing to do.
AbstractButton {
    id: button
    property bool filled: false
    implicitHeight: Theme.touchTarget
    implicitWidth: Math.max(120, label.implicitWidth + 40)
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text
    Keys.onSpacePressed: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Text {
        id: label
        text: button.text
        color: button.filled ? Theme.background : Theme.accentColor
        font.family: Fonts.family("AvenirNext-DemiBold")
        font.weight: Fonts.weight("AvenirNext-DemiBold")
        font.pixelSize: 16
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: height / 2
        color: button.filled ? Theme.accentColor
             : button.pressed ? Qt.rgba(1, 1, 1, 0.08) : "transparent"
        opacity: button.enabled ? (button.pressed && button.filled ? 0.8 : 1) : 0.4
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? Theme.text : Theme.accentColor
    }
}
