import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// Two pages, one continue button; nothing else to do or to skip.
Rectangle {
    id: tutorial
    required property TutorialViewController controller
    color: Theme.background
    focus: true
    Keys.onReturnPressed: controller.didClickContinue()
    Keys.onEnterPressed: controller.didClickContinue()

    // A phone fills its height with the page; a desktop window keeps it
    // together in the middle instead of spreading it to the edges.
    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 24
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: 12
        height: Math.min(parent.height - 72, 820)
        spacing: 20

        NamedImage {
            id: picture
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.maximumHeight: Math.min(420, width)
            Layout.alignment: Qt.AlignHCenter
            name: tutorial.controller.image
        }
        Label {
            Layout.fillWidth: true
            Layout.maximumWidth: 560
            Layout.alignment: Qt.AlignHCenter
            text: tutorial.controller.titleText
            color: Theme.text
            font.family: Fonts.family("AvenirNext-Bold")
            font.weight: Fonts.weight("AvenirNext-Bold")
            font.pixelSize: 28
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Label {
            Layout.fillWidth: true
            Layout.maximumWidth: 560
            Layout.alignment: Qt.AlignHCenter
            text: tutorial.controller.contentText
            color: Theme.secondaryText
            font.family: Fonts.family("AvenirNext-Medium")
            font.weight: Fonts.weight("AvenirNext-Medium")
            font.pixelSize: 17
            lineHeight: 1.2
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        AbstractButton {
            id: continueButton
            Layout.fillWidth: true
            Layout.maximumWidth: 420
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            implicitHeight: 56
            focusPolicy: Qt.StrongFocus
            Accessible.role: Accessible.Button
            Accessible.name: qsTrId("tutorial_continue")
            onClicked: tutorial.controller.didClickContinue()
            Keys.onSpacePressed: clicked()
            background: GradientFill {
                horizontal: true
                colors: [Qt.rgba(255 / 256, 64 / 256, 255 / 256, 1),
                         Qt.rgba(111 / 256, 48 / 256, 160 / 256, 1),
                         Qt.rgba(61 / 256, 186 / 256, 250 / 256, 1)]
                radius: height / 2
                opacity: continueButton.pressed ? 0.8 : 1
                borderColor: continueButton.visualFocus ? "white" : "transparent"
            }
            contentItem: Text {
                text: qsTrId("tutorial_continue")
                color: "white"
                font.family: Fonts.family("AvenirNext-DemiBold")
                font.weight: Fonts.weight("AvenirNext-DemiBold")
                font.pixelSize: 18
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
        }
    }
}
