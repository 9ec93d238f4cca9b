import QtQuick
import QtQuick.Controls
import Corvantis.Shell
import Corvantis.Player

// A round transport control: a named drawing or a font glyph, tinted, with a
// touch target never smaller than the theme's.
AbstractButton {
    id: button
    property string image
    property string glyph
    property color tint: Theme.text
    property real iconSize: 28
    implicitWidth: Math.max(Theme.touchTarget, iconSize + 20)
    implicitHeight: implicitWidth
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onSpacePressed: clicked()
    opacity: enabled ? 1 : 0.35

    background: Rectangle {
        radius: width / 2
        color: button.pressed ? Qt.rgba(1, 1, 1, 0.12) : "transparent"
        border.width: button.visualFocus ? 2 : 0
        border.color: Theme.accentColor
    }
    contentItem: Item {
        NamedImage {
            anchors.centerIn: parent
            width: button.iconSize
            height: button.iconSize
            visible: button.image.length > 0
            name: button.image
            Accessible.ignored: true
        }
        Icon {
            anchors.centerIn: parent
            visible: button.glyph.length > 0
            name: button.glyph
            size: button.iconSize
            color: button.tint
        }
    }
}
