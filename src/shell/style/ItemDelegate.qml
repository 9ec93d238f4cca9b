import QtQuick
import QtQuick.Templates as T

T.ItemDelegate {
    id: control
    implicitWidth: Math.max(implicitBackgroundWidth + leftInset + rightInset,
                            implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(56, implicitContentHeight + topPadding + bottomPadding)
    padding: 12
    leftPadding: 16
    rightPadding: 16
    font.pixelSize: 16
    Accessible.name: text

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.highlighted ? control.palette.highlight : control.palette.text
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        color: control.down ? Qt.rgba(1, 1, 1, 0.08)
             : control.highlighted || control.visualFocus ? Qt.rgba(1, 1, 1, 0.05)
             : control.palette.base
    }
}
