import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// Tracks as a list; for a playlist, a bar to play it, add to it and rename it.
SortableListPage {
    Accessible.role: Accessible.Pane
    Accessible.name: qsTrId("tracks")
    id: view
    // The same screen with the Tracks screen's own members.
    readonly property var tracksController: controller
    bottomInset: controls.visible ? controls.height + 20 : 0

    delegate: TrackCell {
        deletable: view.tracksController ? view.tracksController.rowsEditable : false
        onClicked: {
            ListView.view.currentIndex = index
            view.tracksController.didSelectRow(index)
        }
        onDeleteRequested: view.tracksController.commitDelete(index)
        onAddClicked: view.tracksController.didClickAddToPlaylist(index)
    }

    Rectangle {
        id: controls
        visible: view.tracksController ? view.tracksController.playlistControlsVisible : false
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 76
        color: Qt.rgba(Theme.background.r, Theme.background.g, Theme.background.b, 0.96)

        RowLayout {
            anchors.fill: parent
            anchors.margins: 14
            spacing: 10
            PillButton {
                Layout.fillWidth: true
                filled: true
                text: qsTrId("play")
                onClicked: view.tracksController.didClickPlay()
            }
            PillButton {
                Layout.fillWidth: true
                text: qsTrId("add_tracks")
                onClicked: view.tracksController.didClickAdd()
            }
            PillButton {
                Layout.fillWidth: true
                text: qsTrId("rename_playlist")
                onClicked: view.tracksController.didClickName()
            }
        }
    }
}
