import QtQuick
import QtQuick.Controls
import Corvantis.Collection

// Artists; a tap opens their tracks.
SortableListPage {
    Accessible.role: Accessible.Pane
    Accessible.name: qsTrId("artists")
    id: view
    delegate: GroupCell {
        placeholder: "person-90"
        onClicked: {
            ListView.view.currentIndex = index
            view.controller.didSelectRow(index)
        }
    }
}
