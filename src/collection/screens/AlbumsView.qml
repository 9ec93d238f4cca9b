import QtQuick
import QtQuick.Controls
import Corvantis.Collection

// Albums with their artist; a tap opens their tracks.
SortableListPage {
    Accessible.role: Accessible.Pane
    Accessible.name: qsTrId("albums")
    id: view
    delegate: GroupCell {
        placeholder: "cd-90"
        showArtist: true
        onClicked: {
            ListView.view.currentIndex = index
            view.controller.didSelectRow(index)
        }
    }
}
