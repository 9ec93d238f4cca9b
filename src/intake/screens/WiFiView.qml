import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Intake

// The upload screen: the address to open on another computer, large, and a
// QR code of it for a phone. Everything else happens in that browser.
Rectangle {
    id: page
    required property WiFiScreenController controller
    color: Theme.background
    focus: true
    Keys.onEscapePressed: controller.didClickBack()

    ToolButton {
        id: backButton
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.margins: 8
        width: Theme.touchTarget
        height: Theme.touchTarget
        Accessible.name: qsTrId("back")
        onClicked: page.controller.didClickBack()
        contentItem: Icon {
            name: "back"
            color: Theme.text
        }
    }

    Flickable {
        anchors.top: backButton.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        contentHeight: content.implicitHeight + 48
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ColumnLayout {
            id: content
            width: Math.min(parent.width - 2 * Theme.margin, 520)
            x: (parent.width - width) / 2
            y: 8
            spacing: 14

            Label {
                Layout.fillWidth: true
                text: qsTrId("wifi_title")
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
                text: qsTrId("wifi_instructions")
                color: Theme.secondaryText
                font.family: Theme.fontFamily
                font.pixelSize: 16
                lineHeight: 1.15
                wrapMode: Text.Wrap
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.topMargin: 8
                implicitHeight: addressColumn.implicitHeight + 36
                radius: Theme.radius
                color: Theme.cell
                border.color: Theme.separator

                ColumnLayout {
                    id: addressColumn
                    anchors.left: parent.left
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    anchors.margins: 18
                    spacing: 16
                    TextEdit {
                        id: addressLabel
                        Layout.fillWidth: true
                        text: page.controller.ipAddressText
                        readOnly: true
                        selectByMouse: true
                        color: page.controller.pageAddress.length > 0 ? Theme.accentColor
                                                                      : Theme.secondaryText
                        selectionColor: Theme.buttonColor
                        font.family: Fonts.family("AvenirNext-DemiBold")
                        font.weight: Fonts.weight("AvenirNext-DemiBold")
                        font.pixelSize: 24
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.WrapAnywhere
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    QrCodeItem {
                        id: code
                        Layout.alignment: Qt.AlignHCenter
                        Layout.preferredWidth: Math.min(addressColumn.width, 240)
                        Layout.preferredHeight: Layout.preferredWidth
                        visible: moduleCount > 0
                        text: page.controller.pageAddress
                        Accessible.role: Accessible.Graphic
                        Accessible.name: qsTrId("wifi_qr_code")
                    }
                }
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 4
                spacing: 10
                Icon {
                    Layout.alignment: Qt.AlignTop
                    name: "note"
                    size: 20
                    color: Theme.secondaryText
                }
                Label {
                    Layout.fillWidth: true
                    text: qsTrId("wifi_keep_open")
                    color: Theme.secondaryText
                    font.family: Theme.fontFamily
                    font.pixelSize: 14
                    wrapMode: Text.Wrap
                }
            }
        }
    }
}
