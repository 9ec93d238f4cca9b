import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Intake

// The cloud browser: one folder at a time; folders open with a tap, files
// come down with their own button or all together with the bar's button.
Rectangle {
    id: page
    required property FileManagerViewController controller
    color: Theme.background
    focus: true
    Keys.onEscapePressed: controller.didClickBack()
    Keys.onBackPressed: controller.didClickBack()

    readonly property string folderName: {
        const pieces = controller.currentPath.split("/").filter(piece => piece.length > 0)
        return pieces.length > 0 ? pieces[pieces.length - 1] : qsTrId("dropbox_title")
    }

    Rectangle {
        id: bar
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        height: 60
        color: Theme.background
        z: 2

        ToolButton {
            id: backButton
            anchors.left: parent.left
            anchors.leftMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            width: Theme.touchTarget
            height: Theme.touchTarget
            Accessible.name: qsTrId("back")
            onClicked: page.controller.didClickBack()
            contentItem: Icon {
                name: "back"
                color: Theme.text
            }
        }
        Label {
            anchors.left: backButton.right
            anchors.right: parent.right
            anchors.rightMargin: Theme.touchTarget + 16
            anchors.verticalCenter: parent.verticalCenter
            text: page.folderName
            color: Theme.text
            font.family: Fonts.family("AvenirNext-DemiBold")
            font.weight: Fonts.weight("AvenirNext-DemiBold")
            font.pixelSize: 19
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.separator
        }
    }

    ListView {
        id: list
        anchors.top: bar.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        clip: true
        model: page.controller.model
        bottomMargin: page.controller.bottomInset
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: true
        focus: true
        ScrollBar.vertical: ScrollBar {}

        add: Transition {
            NumberAnimation {
                property: "x"
                from: page.controller.goingBack ? -list.width : list.width
                to: 0
                duration: Theme.animationMs
                easing.type: Easing.OutCubic
            }
        }
        remove: Transition {
            NumberAnimation {
                property: "x"
                to: page.controller.goingBack ? list.width : -list.width
                duration: Theme.animationMs
                easing.type: Easing.InCubic
            }
        }

        delegate: ItemDelegate {
            id: row
            required property int index
            required property string name
            required property bool isFolder
            width: ListView.view.width
            height: 64
            hoverEnabled: true
            // The chosen row is the list's one stop for Tab, its download
            // button the next; the arrows go from row to row.
            focusPolicy: ListView.isCurrentItem ? Qt.TabFocus : Qt.NoFocus
            Accessible.role: isFolder ? Accessible.Button : Accessible.ListItem
            Accessible.name: isFolder ? folderCell.name : fileCell.name
            onClicked: {
                list.currentIndex = index
                page.controller.didSelectRow(index)
            }
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()

            FolderCell { id: folderCell }
            FileCell { id: fileCell }
            Component.onCompleted: page.controller.configureCell(folderCell, fileCell, index)
            onIndexChanged: page.controller.configureCell(folderCell, fileCell, index)

            background: Rectangle {
                color: (row.pressed && row.isFolder) || row.activeFocus ? Theme.raised
                     : row.hovered && row.isFolder ? Theme.cell : "transparent"
                Rectangle {
                    anchors.bottom: parent.bottom
                    anchors.left: parent.left
                    anchors.leftMargin: 68
                    anchors.right: parent.right
                    height: 1
                    color: Theme.separator
                }
            }
            contentItem: RowLayout {
                spacing: 14
                Icon {
                    Layout.leftMargin: 6
                    Layout.preferredWidth: 32
                    name: row.isFolder ? "folder" : "note"
                    size: 26
                    color: row.isFolder ? Theme.accentColor : Theme.secondaryText
                }
                Label {
                    Layout.fillWidth: true
                    text: row.isFolder ? folderCell.name : fileCell.name
                    color: Theme.text
                    font.family: Theme.fontFamily
                    font.pixelSize: 17
                    elide: Text.ElideMiddle
                }
                Icon {
                    visible: row.isFolder
                    name: "back"
                    rotation: 180
                    size: 20
                    color: Theme.secondaryText
                }
                DownloadButton {
                    visible: !row.isFolder
                    focusPolicy: row.ListView.isCurrentItem ? Qt.StrongFocus : Qt.NoFocus
                    downloadState: fileCell.downloadState
                    downloadPercent: fileCell.downloadPercent
                    fileName: fileCell.name
                    onClicked: fileCell.didClickDownload()
                }
            }
        }
    }

    PillButton {
        id: downloadAll
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 20
        width: Math.min(parent.width - 2 * Theme.margin, 420)
        height: 52
        filled: true
        visible: !page.controller.downloadAllButtonHidden
        text: qsTrId("dropbox_download_all")
        onClicked: page.controller.didClickDownloadAll()
        onHeightChanged: page.controller.downloadAllButtonHeight = height
        Component.onCompleted: page.controller.downloadAllButtonHeight = height
    }
}
