import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// One road into the collection on the import screen: an icon, a name and
// a line on what it does; the whole card is the button.
AbstractButton {
    id: choice
    property string glyph
    property string detail
    Layout.fillWidth: true
    implicitHeight: Math.max(84, column.implicitHeight + 28)
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: detail
    Keys.onSpacePressed: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    background: Rectangle {
        radius: Theme.radius
        color: choice.pressed ? Theme.raised : Theme.cell
        border.width: choice.visualFocus ? 2 : 1
        border.color: choice.visualFocus ? Theme.accentColor : Theme.separator
    }
    contentItem: RowLayout {
        spacing: 16
        Rectangle {
            Layout.leftMargin: 4
            width: 52
            height: 52
            radius: 26
            color: Qt.rgba(140 / 256, 213 / 256, 242 / 256, 0.14)
            Icon {
                anchors.centerIn: parent
                name: choice.glyph
                size: 28
                color: Theme.accentColor
            }
        }
        ColumnLayout {
            id: column
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: choice.text
                color: Theme.text
                font.family: Fonts.family("AvenirNext-DemiBold")
                font.weight: Fonts.weight("AvenirNext-DemiBold")
                font.pixelSize: 18
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                text: choice.detail
                color: Theme.secondaryText
                font.family: Theme.fontFamily
                font.pixelSize: 14
                wrapMode: Text.Wrap
            }
        }
        Icon {
            name: "back"
            rotation: 180
            size: 20
            color: Theme.secondaryText
        }
    }
    padding: 14
}
