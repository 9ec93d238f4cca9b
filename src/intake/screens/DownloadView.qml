import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Corvantis.Shell

// The import screen: three large choices, one per road music comes in by.
Rectangle {
    id: page
    required property DownloadViewController controller
    color: Theme.background
    focus: true
    Keys.onEscapePressed: controller.didTapClose()

    component Choice: AbstractButton {
        id: choice
        property string icon
        property string detail
        Layout.fillWidth: true
        implicitHeight: Math.max(84, column.implicitHeight + 28)
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.description: detail
        Keys.onSpacePressed: clicked()
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        background: Rectangle {
            radius: Theme.radius
            color: choice.pressed ? Theme.raised : Theme.cell
            border.width: choice.visualFocus ? 2 : 1
            border.color: choice.visualFocus ? Theme.accentColor : Theme.separator
        }
        contentItem: RowLayout {
            spacing: 16
            Rectangle {
                Layout.leftMargin: 4
                width: 52
                height: 52
                radius: 26
                color: Qt.rgba(140 / 256, 213 / 256, 242 / 256, 0.14)
                Icon {
                    anchors.centerIn: parent
                    name: choice.icon
                    size: 28
                    color: Theme.accentColor
                }
            }
            ColumnLayout {
                id: column
                Layout.fillWidth: true
                spacing: 2
                Label {
                    Layout.fillWidth: true
                    text: choice.text
                    color: Theme.text
                    font.family: Fonts.family("AvenirNext-DemiBold")
                    font.weight: Fonts.weight("AvenirNext-DemiBold")
                    font.pixelSize: 18
                    elide: Text.ElideRight
                }
                Label {
                    Layout.fillWidth: true
                    text: choice.detail
                    color: Theme.secondaryText
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    wrapMode: Text.Wrap
                }
            }
            Icon {
                name: "back"
                rotation: 180
                size: 20
                color: Theme.secondaryText
            }
        }
        padding: 14
    }

    ToolButton {
        id: closeButton
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.margins: 8
        width: Theme.touchTarget
        height: Theme.touchTarget
        Accessible.name: qsTrId("close")
        onClicked: page.controller.didTapClose()
        contentItem: Icon {
            name: "close"
            color: Theme.text
        }
    }

    Flickable {
        anchors.top: closeButton.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        contentHeight: content.implicitHeight + 48
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ColumnLayout {
            id: content
            width: Math.min(parent.width - 2 * Theme.margin, 560)
            x: (parent.width - width) / 2
            y: 8
            spacing: 14

            Label {
                Layout.fillWidth: true
                text: qsTrId("download_title")
                color: Theme.text
                font.family: Fonts.family("AvenirNext-Bold")
                font.weight: Fonts.weight("AvenirNext-Bold")
                font.pixelSize: 32
                wrapMode: Text.Wrap
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                Layout.bottomMargin: 14
                text: qsTrId("download_subtitle")
                color: Theme.secondaryText
                font.family: Theme.fontFamily
                font.pixelSize: 16
                wrapMode: Text.Wrap
            }
            Choice {
                id: dropboxChoice
                focus: true
                icon: "cloud"
                text: qsTrId("download_dropbox")
                detail: qsTrId("download_dropbox_detail")
                onClicked: page.controller.didClickDropBox()
            }
            Choice {
                icon: "folder"
                text: qsTrId("download_files")
                detail: qsTrId("download_files_detail")
                enabled: !page.controller.importing
                onClicked: page.controller.didClickFiles()
            }
            Choice {
                icon: "wifi"
                text: qsTrId("download_wifi")
                detail: qsTrId("download_wifi_detail")
                onClicked: page.controller.didClickWiFi()
            }
        }
    }

    // The desktop's own file dialog where a portal or platform theme offers
    // one, else Qt's; either way several files at once, audio only.
    FileDialog {
        id: picker
        objectName: "documentPicker"
        title: qsTrId("download_files")
        fileMode: FileDialog.OpenFiles
        nameFilters: page.controller.audioNameFilters
        onAccepted: page.picked(selectedFiles)
        onRejected: page.controller.documentPickerWasCancelled()
    }
    function picked(urls) {
        page.controller.documentPickerDidPickDocumentsAtURLs(urls)
    }
    Connections {
        target: page.controller
        function onDocumentPickerRequested() { picker.open() }
    }
}
