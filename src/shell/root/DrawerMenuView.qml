import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// The side menu: a head with the close control, then one row per operation.
// Rows whose address is not configured stay out of sight.
FocusScope {
    id: menu
    required property DrawerMenuController controller

    component Entry: AbstractButton {
        id: entry
        property string glyph
        Layout.fillWidth: true
        implicitHeight: 54
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.Button
        Accessible.name: text
        Keys.onSpacePressed: clicked()
        Keys.onReturnPressed: clicked()
        background: Rectangle {
            color: entry.pressed ? Qt.rgba(1, 1, 1, 0.08)
                 : entry.visualFocus ? Qt.rgba(1, 1, 1, 0.05) : "transparent"
            Rectangle {
                anchors { left: parent.left; top: parent.top; bottom: parent.bottom }
                width: 3
                color: Theme.accentColor
                visible: entry.visualFocus
            }
        }
        contentItem: RowLayout {
            spacing: 16
            Icon {
                Layout.leftMargin: 20
                name: entry.glyph
                size: 22
                color: Theme.accentColor
            }
            Text {
                Layout.fillWidth: true
                text: entry.text
                color: Theme.text
                font.family: Fonts.family("AvenirNext-Medium")
                font.weight: Fonts.weight("AvenirNext-Medium")
                font.pixelSize: 17
                elide: Text.ElideRight
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.preferredHeight: 72
            spacing: 8
            AbstractButton {
                id: close
                Layout.leftMargin: 8
                implicitWidth: Theme.touchTarget + 8
                implicitHeight: Theme.touchTarget + 8
                focus: true
                focusPolicy: Qt.StrongFocus
                Accessible.role: Accessible.Button
                Accessible.name: qsTrId("close_menu")
                Keys.onSpacePressed: clicked()
                Keys.onReturnPressed: clicked()
                onClicked: menu.controller.didClickMenu()
                background: Rectangle {
                    radius: width / 2
                    color: close.pressed ? Qt.rgba(1, 1, 1, 0.08) : "transparent"
                    border.width: close.visualFocus ? 2 : 0
                    border.color: Theme.text
                }
                contentItem: Icon {
                    name: "menu"
                    size: 26
                    rotation: menu.controller.menuIconRotation
                }
            }
            Label {
                Layout.fillWidth: true
                text: "Corvantis"
                color: Theme.text
                font.family: Fonts.family("AvenirNext-Bold")
                font.weight: Fonts.weight("AvenirNext-Bold")
                font.pixelSize: 22
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.separator
        }
        Entry {
            text: qsTrId("menu_feedback")
            glyph: "edit"
            visible: menu.controller.feedbackShown
            onClicked: menu.controller.didClickFeedback()
        }
        Entry {
            text: qsTrId("menu_rate")
            glyph: "check"
            visible: menu.controller.rateShown
            onClicked: menu.controller.didClickRateUs()
        }
        Entry {
            text: qsTrId("menu_privacy")
            glyph: "file"
            visible: menu.controller.pagesShown
            onClicked: menu.controller.didClickPrivacy()
        }
        Entry {
            text: qsTrId("menu_terms")
            glyph: "file"
            visible: menu.controller.pagesShown
            onClicked: menu.controller.didClickTerms()
        }
        Entry {
            text: qsTrId("menu_tutorial")
            glyph: "note"
            onClicked: menu.controller.didClickTutorial()
        }
        Item { Layout.fillHeight: true }
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.separator
        }
        Entry {
            Layout.bottomMargin: 12
            text: qsTrId("menu_sign_out")
            glyph: "cloud"
            onClicked: menu.controller.didClickSignOut()
        }
    }
}
