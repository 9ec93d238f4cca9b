import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// One track: picture, title, "album - artist", length, and the button that
// adds it to a playlist (files only).
SwipeRow {
    id: cell
    required property int index
    // Read through the model object, which follows changes of a row in
    // place; a required property per role would keep its first value.
    required property var model
    readonly property string title: model.title
    readonly property string info: model.info
    readonly property string duration: model.duration
    readonly property string imageKey: model.imageKey
    readonly property bool canAdd: model.canAdd
    signal addClicked()

    rowKey: imageKey
    width: ListView.view ? ListView.view.width : implicitWidth
    height: 72
    Accessible.name: title

    contentItem: RowLayout {
        spacing: 12
        RowImage {
            Layout.leftMargin: Theme.margin
            Layout.preferredWidth: 56
            Layout.preferredHeight: 56
            imageKey: cell.imageKey
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: cell.title
                color: Theme.text
                font.pixelSize: 16
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                text: cell.info
                color: Theme.secondaryText
                font.pixelSize: 13
                elide: Text.ElideRight
            }
        }
        Label {
            text: cell.duration
            color: Theme.secondaryText
            font.pixelSize: 13
            Layout.rightMargin: add.visible ? 0 : Theme.margin
        }
        ToolButton {
            id: add
            visible: cell.canAdd
            Layout.preferredWidth: Theme.touchTarget
            Layout.preferredHeight: Theme.touchTarget
            Layout.rightMargin: 4
            // The chosen row's button is the stop after the row.
            focusPolicy: cell.ListView.isCurrentItem ? Qt.TabFocus : Qt.NoFocus
            text: Fonts.glyph("add")
            font.family: Fonts.iconFamily()
            font.pixelSize: 24
            Accessible.name: qsTrId("add_to_playlist")
            onClicked: cell.addClicked()
        }
    }
}
