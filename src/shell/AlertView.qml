import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell

// An alert in the middle of the window, or an action sheet from its bottom
// with the cancel button apart. Enter chooses the default action, Escape the
// cancel one.
FocusScope {
    id: alertView
    required property AlertController controller
    readonly property bool sheet: controller.preferredStyle === 0
    focus: true
    Accessible.role: sheet ? Accessible.PopupMenu : Accessible.AlertMessage
    Accessible.name: controller.title

    function animateIn(done) {
        appearAnimation.done = done
        appearAnimation.start()
    }
    function animateOut(done) {
        disappearAnimation.done = done
        disappearAnimation.start()
    }

    Keys.onReturnPressed: controller.didPressEnter()
    Keys.onEnterPressed: controller.didPressEnter()
    Keys.onEscapePressed: controller.didPressEscape()

    Rectangle {
        id: scrim
        anchors.fill: parent
        color: Theme.dim
        opacity: 0
        // Touches stop here: what lies below waits for an answer.
        MouseArea {
            anchors.fill: parent
            onClicked: if (alertView.sheet) alertView.controller.didPressEscape()
        }
    }

    Item {
        id: content
        opacity: 0
        width: alertView.sheet ? Math.min(alertView.width - 16, 500) : Math.min(alertView.width - 64, 320)
        height: column.implicitHeight
        x: (alertView.width - width) / 2
        y: alertView.sheet ? alertView.height - height - 8 
                           : (alertView.height - height) / 2 - (Qt.inputMethod.visible ? 80 : 0)
        transform: Translate { id: shift }

        ColumnLayout {
            id: column
            width: parent.width
            spacing: 8

            Rectangle {
                Layout.fillWidth: true
                implicitHeight: card.implicitHeight
                radius: Theme.radius
                color: Theme.raised
                border.color: Theme.separator

                ColumnLayout {
                    id: card
                    width: parent.width
                    spacing: 0

                    ColumnLayout {
                        Layout.fillWidth: true
                        Layout.margins: 20
                        spacing: 6
                        visible: alertView.controller.title.length > 0 || alertView.controller.message.length > 0
                        Label {
                            Layout.fillWidth: true
                            visible: text.length > 0
                            text: alertView.controller.title
                            color: alertView.sheet ? Theme.secondaryText : Theme.text
                            font.pixelSize: alertView.sheet ? 14 : 18
                            font.weight: Font.Bold
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.Wrap
                        }
                        Label {
                            Layout.fillWidth: true
                            visible: text.length > 0
                            text: alertView.controller.message
                            color: Theme.secondaryText
                            font.pixelSize: 15
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.Wrap
                        }
                        Repeater {
                            model: alertView.controller.textFields
                            TextField {
                                id: field
                                required property var modelData
                                required property int index
                                Layout.fillWidth: true
                                Layout.topMargin: 8
                                text: modelData.text
                                placeholderText: modelData.placeholder
                                inputMethodHints: modelData.autocapitalizationType === 0 ? Qt.ImhNoAutoUppercase : Qt.ImhNone
                                onTextEdited: modelData.text = text
                                focus: index === 0
                                Accessible.name: modelData.placeholder.length > 0 ? modelData.placeholder : qsTrId("text_field")
                                color: Theme.text
                                font.pixelSize: 16
                                selectByMouse: true
                                background: Rectangle {
                                    radius: 8
                                    color: Theme.cell
                                    border.color: field.activeFocus ? Theme.accentColor : Theme.separator
                                }
                                Keys.onReturnPressed: alertView.controller.didPressEnter()
                                Keys.onEnterPressed: alertView.controller.didPressEnter()
                                Component.onCompleted: if (index === 0) forceActiveFocus()
                            }
                        }
                    }

                    // The buttons: side by side for two in an alert, else one a row.
                    GridLayout {
                        Layout.fillWidth: true
                        columns: !alertView.sheet && buttons.count === 2 ? 2 : 1
                        columnSpacing: 0
                        rowSpacing: 0
                        Repeater {
                            id: buttons
                            model: alertView.controller.actions
                            AlertButton {
                                required property var modelData
                                required property int index
                                visible: !(alertView.sheet && modelData.style === 1)
                                Layout.fillWidth: true
                                title: modelData.title
                                actionStyle: modelData.style
                                enabled: modelData.enabled
                                emphasised: index === alertView.controller.defaultActionIndex
                                onClicked: alertView.controller.didSelectAction(index)
                            }
                        }
                    }
                }
            }

            // An action sheet's cancel button stands apart, at the bottom.
            Rectangle {
                Layout.fillWidth: true
                visible: alertView.sheet && alertView.controller.cancelActionIndex >= 0
                implicitHeight: 56
                radius: Theme.radius
                color: Theme.raised
                AlertButton {
                    anchors.fill: parent
                    readonly property int cancelIndex: alertView.controller.cancelActionIndex
                    title: cancelIndex >= 0 ? alertView.controller.actions[cancelIndex].title : ""
                    actionStyle: 1
                    emphasised: true
                    separatorVisible: false
                    onClicked: alertView.controller.didSelectAction(cancelIndex)
                }
            }
        }
    }

    ParallelAnimation {
        id: appearAnimation
        property var done
        NumberAnimation { target: scrim; property: "opacity"; from: 0; to: 1; duration: 200 }
        NumberAnimation { target: content; property: "opacity"; from: 0; to: 1; duration: 200 }
        NumberAnimation {
            target: shift; property: "y"; duration: 250; easing.type: Easing.OutCubic
            from: alertView.sheet ? content.height : 24; to: 0
        }
        onFinished: if (done) done()
    }
    ParallelAnimation {
        id: disappearAnimation
        property var done
        NumberAnimation { target: scrim; property: "opacity"; to: 0; duration: 150 }
        NumberAnimation { target: content; property: "opacity"; to: 0; duration: 150 }
        onFinished: if (done) done()
    }
}
