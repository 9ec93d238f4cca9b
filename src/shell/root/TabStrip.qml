import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// A tab bar's titles side by side, the selected one underlined. Left and
// right move the selection when the strip has the keyboard.
Rectangle {
    id: strip
    required property TabBar bar
    implicitHeight: 48
    color: bar.barTintColor
    activeFocusOnTab: true
    Accessible.role: Accessible.PageTabList
    // One stop for the keyboard, named by the tab it has chosen.
    Accessible.name: bar.selectedIndex >= 0 && bar.selectedIndex < bar.items.length
                     ? bar.items[bar.selectedIndex].title : ""

    Keys.onLeftPressed: bar.userSelected(Math.max(0, bar.selectedIndex - 1))
    Keys.onRightPressed: bar.userSelected(Math.min(bar.items.length - 1, bar.selectedIndex + 1))

    Row {
        anchors.fill: parent
        Repeater {
            model: strip.bar.items
            AbstractButton {
                id: tab
                required property TabBarItem modelData
                required property int index
                readonly property bool selected: strip.bar.selectedIndex === index
                width: strip.width / Math.max(1, strip.bar.items.length)
                height: strip.height
                focusPolicy: Qt.NoFocus
                Accessible.role: Accessible.PageTab
                Accessible.name: modelData.title
                Accessible.selected: selected
                onClicked: strip.bar.userSelected(index)
                background: Rectangle {
                    color: tab.pressed || (tab.selected && strip.activeFocus)
                           ? Qt.rgba(1, 1, 1, 0.06) : "transparent"
                    Rectangle {
                        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                        anchors.leftMargin: 12
                        anchors.rightMargin: 12
                        height: 2
                        radius: 1
                        color: strip.bar.tintColor
                        visible: tab.selected
                    }
                }
                contentItem: Text {
                    text: tab.modelData.title
                    color: tab.selected ? strip.bar.selectedItemTintColor
                                        : strip.bar.unselectedItemTintColor
                    font.family: Fonts.family("AvenirNext-DemiBold")
                    font.weight: Fonts.weight("AvenirNext-DemiBold")
                    font.pixelSize: 13
                    font.letterSpacing: 0.6
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                }
            }
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: Theme.separator
        visible: strip.activeFocus
    }
}
