import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// The frame of a searchable list: the search bar (where the screen shows it)
// over the rows. Up and Down move through the rows, Enter opens one, Delete
// deletes it where rows may be deleted. The place in the list survives the
// list's reloads.
FocusScope {
    id: page
    required property SortableViewControllerBase controller
    property alias delegate: rows.delegate
    property alias listView: rows
    property real bottomInset: 0

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        SearchBar {
            id: search
            Layout.fillWidth: true
            controller: page.controller
            listView: rows
            visible: page.controller ? page.controller.searchVisible : false
        }

        ListView {
            id: rows
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            focus: true
            model: page.controller ? page.controller.model : null
            boundsBehavior: Flickable.StopAtBounds
            bottomMargin: page.bottomInset
            keyNavigationEnabled: true
            highlightMoveDuration: 0
            cacheBuffer: 720
            // A search or a sort resets the rows: the rows on show are
            // refilled rather than made anew at each keystroke.
            reuseItems: true
            Accessible.role: Accessible.List
            ScrollBar.vertical: ScrollBar {}

            ListPlace { list: rows }
            onCountChanged: if (count > 0 && FirstFrameReport.requested) FirstFrameReport.rowShown()
            Keys.onReturnPressed: page.controller.didSelectRow(currentIndex)
            Keys.onEnterPressed: page.controller.didSelectRow(currentIndex)
            Keys.onDeletePressed: {
                if (page.controller.rowsEditable && currentIndex >= 0)
                    page.controller.commitDelete(currentIndex)
            }
        }
    }
}
