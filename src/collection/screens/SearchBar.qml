import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Collection

// The search field and the three sort buttons of a list. Every keystroke
// goes to the screen as it stands: nothing is trimmed, a space is a search.
// Enter leaves the field and hands the keys back to the list.
Rectangle {
    id: bar
    required property SortableViewControllerBase controller
    property Item listView
    readonly property alias field: field
    implicitHeight: column.implicitHeight + 16
    color: Theme.background

    ColumnLayout {
        id: column
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 8 }
        anchors.leftMargin: Theme.margin
        anchors.rightMargin: Theme.margin
        spacing: 4

        TextField {
            id: field
            Layout.fillWidth: true
            placeholderText: qsTrId("search")
            rightPadding: clear.visible ? clear.width + 8 : 14
            inputMethodHints: Qt.ImhNoPredictiveText
            Accessible.name: qsTrId("search")
            onTextEdited: bar.controller.didChangeSearchText(text)
            onAccepted: {
                field.focus = false
                if (bar.listView)
                    bar.listView.forceActiveFocus()
            }
            Keys.onEscapePressed: event => {
                if (text.length > 0) {
                    clear.clicked()
                } else {
                    event.accepted = false
                }
            }

            AbstractButton {
                id: clear
                anchors { right: parent.right; verticalCenter: parent.verticalCenter; rightMargin: 4 }
                width: Theme.touchTarget
                height: Theme.touchTarget
                visible: field.length > 0
                focusPolicy: Qt.NoFocus
                Accessible.role: Accessible.Button
                Accessible.name: qsTrId("clear_search")
                background: Rectangle { color: "transparent" }
                contentItem: Item {
                    NamedImage {
                        anchors.centerIn: parent
                        width: 18
                        height: 18
                        name: "close_light_gray"
                        Accessible.ignored: true
                    }
                }
                onClicked: {
                    field.clear()
                    bar.controller.didChangeSearchText("")
                }
            }
        }

        // Three equal thirds: a layout would widen each button by its text,
        // which leaves the gaps between the labels uneven.
        Row {
            id: sortRow
            Layout.fillWidth: true
            spacing: 4
            Repeater {
                // In the order of the sort types: ascending, descending, none.
                model: [qsTrId("sort_ascending"), qsTrId("sort_descending"), qsTrId("sort_normal")]
                delegate: AbstractButton {
                    id: sortButton
                    required property int index
                    required property string modelData
                    readonly property bool active: bar.controller ? bar.controller.activeSortButton === index : false
                    width: (sortRow.width - 2 * sortRow.spacing) / 3
                    implicitHeight: Theme.touchTarget
                    focusPolicy: Qt.StrongFocus
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData
                    Accessible.checked: active
                    Keys.onSpacePressed: clicked()
                    onClicked: bar.controller.didClickSort(index)
                    background: Rectangle {
                        radius: 8
                        color: sortButton.pressed ? Theme.raised : "transparent"
                        border.width: sortButton.visualFocus ? 2 : 0
                        border.color: Theme.accentColor
                    }
                    contentItem: Text {
                        text: sortButton.modelData
                        // Light grey for the chosen order, dark grey for the others.
                        color: sortButton.active ? "#aaaaaa" : "#555555"
                        font.pixelSize: 15
                        font.weight: sortButton.active ? Font.DemiBold : Font.Normal
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                        elide: Text.ElideRight
                    }
                }
            }
        }
    }
}
