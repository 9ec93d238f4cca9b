import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// A list row that a swipe to the left opens on a delete button, where the
// screen allows deleting. Tapping the row does what the screen says.
SwipeDelegate {
    id: row
    property bool deletable: false
    // What the row shows: a row that comes to show another element in place
    // (the rows are refilled rather than made anew) closes, so that its
    // delete button never stands over an element it was not opened on.
    property var rowKey
    signal deleteRequested()
    onRowKeyChanged: swipe.close()

    padding: 0
    swipe.enabled: deletable
    // A row taken back for reuse comes back closed. While it waits it is
    // hidden, not only left undrawn: assistive tools would still find it.
    ListView.onPooled: { swipe.close(); pooled = true }
    ListView.onReused: pooled = false
    property bool pooled: false
    visible: !pooled
    // The chosen row is the list's one stop for Tab; the arrows then go
    // from row to row, and a click leaves the keyboard where it was.
    focusPolicy: ListView.isCurrentItem ? Qt.TabFocus : Qt.NoFocus
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
        // The row makes this button without an owner; it goes with the row.
        Component.onCompleted: Ownership.keepWith(deleteButton, row)
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
