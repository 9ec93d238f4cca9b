import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// An artist or an album: a picture and its name (and, for an album, the
// artist).
ItemDelegate {
    id: cell
    required property int index
    // Hidden while it waits for reuse, as a SwipeRow is.
    property bool pooled: false
    visible: !pooled
    ListView.onPooled: pooled = true
    ListView.onReused: pooled = false
    // As in TrackCell: the model object follows changes of a row in place.
    required property var model
    readonly property string name: model.name
    readonly property string artistName: model.artistName
    readonly property string imageKey: model.imageKey
    property bool showArtist: false
    property string placeholder: "cd-90"

    width: ListView.view ? ListView.view.width : implicitWidth
    height: 72
    padding: 0
    // The chosen row is the list's one stop for Tab; the arrows then go
    // from row to row, and a click leaves the keyboard where it was.
    focusPolicy: ListView.isCurrentItem ? Qt.TabFocus : Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.name: name
    background: Rectangle {
        color: cell.ListView.isCurrentItem && cell.ListView.view.activeFocus
               ? Theme.raised : Theme.cell
    }

    contentItem: RowLayout {
        spacing: 12
        RowImage {
            Layout.leftMargin: Theme.margin
            Layout.preferredWidth: 56
            Layout.preferredHeight: 56
            imageKey: cell.imageKey
            placeholder: cell.placeholder
        }
        ColumnLayout {
            Layout.fillWidth: true
            Layout.rightMargin: Theme.margin
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: cell.name
                color: Theme.text
                font.pixelSize: 16
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                visible: cell.showArtist
                text: cell.artistName
                color: Theme.secondaryText
                font.pixelSize: 13
                elide: Text.ElideRight
            }
        }
    }
}
