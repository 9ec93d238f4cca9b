import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Intake

// The import screen: three large choices, one per road music comes in by.
Rectangle {
    Accessible.role: Accessible.Pane
    Accessible.name: qsTrId("download_title")
    id: page
    required property DownloadViewController controller
    color: Theme.background
    focus: true
    Keys.onEscapePressed: controller.didTapClose()

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
            ImportChoice {
                id: dropboxChoice
                focus: true
                glyph: "cloud"
                text: qsTrId("download_dropbox")
                detail: qsTrId("download_dropbox_detail")
                onClicked: page.controller.didClickDropBox()
            }
            ImportChoice {
                glyph: "folder"
                text: qsTrId("download_files")
                detail: qsTrId("download_files_detail")
                enabled: !page.controller.importing
                onClicked: page.controller.didClickFiles()
            }
            ImportChoice {
                glyph: "wifi"
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
