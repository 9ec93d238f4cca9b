import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// A list row that a swipe to the left opens on a delete button, where the
// screen allows deleting. Tapping the row does what the screen says.
SwipeDelegate {
    id: row
    property bool deletable: false
    signal deleteRequested()

    padding: 0
    swipe.enabled: deletable
    // A row taken back for reuse comes back closed.
    ListView.onPooled: swipe.close()
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem

    background: Rectangle {
        color: row.ListView.isCurrentItem && row.ListView.view.activeFocus
               ? Theme.raised : Theme.cell
    }
    swipe.right: AbstractButton {
        id: deleteButton
        height: row.height
        width: 96
        anchors.right: parent.right
        Accessible.role: Accessible.Button
        Accessible.name: qsTrId("delete")
        background: Rectangle { color: deleteButton.pressed ? Qt.darker(Theme.destructive, 1.2) : Theme.destructive }
        contentItem: Text {
            text: qsTrId("delete")
            color: "white"
            font.pixelSize: 16
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        // The row goes with the delete: it is not taken away from inside
        // its own button's handler, which would leave the button behind.
        onClicked: {
            row.swipe.close()
            Qt.callLater(row.deleteRequested)
        }
    }
}
