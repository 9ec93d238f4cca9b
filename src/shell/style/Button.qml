import QtQuick
import QtQuick.Templates as T

T.Button {
    id: control
    implicitWidth: Math.max(implicitBackgroundWidth + leftInset + rightInset,
                            implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight + topInset + bottomInset,
                             implicitContentHeight + topPadding + bottomPadding)
    padding: 12
    leftPadding: 20
    rightPadding: 20
    font.pixelSize: 16
    font.weight: Font.DemiBold
    Accessible.name: text

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.highlighted ? control.palette.highlightedText : control.palette.highlight
        opacity: control.enabled ? 1 : 0.4
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        implicitWidth: 96
        implicitHeight: 44
        radius: height / 2
        color: control.highlighted ? control.palette.highlight
             : control.down ? Qt.rgba(1, 1, 1, 0.1) : "transparent"
        border.width: control.visualFocus ? 2 : 1
        border.color: control.visualFocus ? control.palette.windowText : control.palette.highlight
        opacity: control.enabled ? 1 : 0.4
    }
}
