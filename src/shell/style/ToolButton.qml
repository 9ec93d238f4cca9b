import QtQuick
import QtQuick.Templates as T

T.ToolButton {
    id: control
    implicitWidth: Math.max(44, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(44, implicitContentHeight + topPadding + bottomPadding)
    padding: 8
    Accessible.name: text

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.checked ? control.palette.highlight : control.palette.buttonText
        opacity: control.enabled ? 1 : 0.4
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: height / 2
        color: control.down ? Qt.rgba(1, 1, 1, 0.12) : control.hovered ? Qt.rgba(1, 1, 1, 0.05)
                                                                       : "transparent"
        border.width: control.visualFocus ? 2 : 0
        border.color: control.palette.highlight
    }
}
