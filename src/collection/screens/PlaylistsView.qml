import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// Playlists: a tap plays one, its edit button opens it; the user's may be
// deleted with a swipe (or the Delete key) and created with the button.
FocusScope {
    Accessible.role: Accessible.Pane
    Accessible.name: qsTrId("playlists")
    id: view
    required property PlaylistViewController controller

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    ListView {
        id: rows
        anchors.fill: parent
        clip: true
        focus: true
        model: view.controller ? view.controller.model : null
        boundsBehavior: Flickable.StopAtBounds
        bottomMargin: create.visible ? create.height + 20 + 24 : 0
        keyNavigationEnabled: true
        highlightMoveDuration: 0
        Accessible.role: Accessible.List
        ScrollBar.vertical: ScrollBar {}
        ListPlace { list: rows }
        Keys.onReturnPressed: view.controller.didSelectRow(currentIndex)
        Keys.onEnterPressed: view.controller.didSelectRow(currentIndex)
        Keys.onDeletePressed: {
            if (view.controller.rowsEditable && currentIndex >= 0)
                view.controller.commitDelete(currentIndex)
        }

        delegate: SwipeRow {
            id: row
            required property int index
            required property string playlistId
            required property string name
            width: ListView.view.width
            height: 64
            deletable: view.controller ? view.controller.rowsEditable : false
            Accessible.name: cell.name
            onClicked: {
                ListView.view.currentIndex = index
                view.controller.didSelectRow(index)
            }
            onDeleteRequested: view.controller.commitDelete(index)
            // The cell takes id and name together. The roles arrive one by
            // one, in no fixed order: handed the id alone it would keep the
            // name it had then (none, for a new row) as that id's name.
            function takePlaylist() { cell.setPlaylist(playlistId, name) }
            onPlaylistIdChanged: Qt.callLater(takePlaylist)
            Component.onCompleted: takePlaylist()

            PlaylistCell { id: cell }

            contentItem: RowLayout {
                spacing: 12
                Icon {
                    Layout.leftMargin: Theme.margin
                    name: "playlist"
                    color: Theme.accentColor
                }
                Label {
                    Layout.fillWidth: true
                    text: cell.name
                    color: Theme.text
                    font.pixelSize: 17
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                }
                ToolButton {
                    Layout.preferredWidth: Theme.touchTarget
                    Layout.preferredHeight: Theme.touchTarget
                    Layout.rightMargin: 6
                    // The chosen row's button is the stop after the row.
                    focusPolicy: row.ListView.isCurrentItem ? Qt.TabFocus : Qt.NoFocus
                    text: Fonts.glyph("edit")
                    font.family: Fonts.iconFamily()
                    font.pixelSize: 22
                    Accessible.name: qsTrId("edit_playlist")
                    onClicked: view.controller.didClickEdit(row.index)
                }
            }
        }
    }

    PillButton {
        id: create
        visible: view.controller ? view.controller.addPlaylistButtonVisible : false
        filled: true
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 24 }
        width: Math.min(parent.width - 2 * Theme.margin, 360)
        text: qsTrId("create_playlist")
        onClicked: view.controller.didClickAddPlaylist()
    }
}
