import QtQuick
import Corvantis.Shell

// A plain glyph of the icon font, by name ("play", "menu", ...).
Text {
    property string name
    property real size: 24
    text: name.length > 0 ? Fonts.glyph(name) : ""
    font.family: Fonts.iconFamily()
    font.pixelSize: size
    color: Theme.text
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    renderType: Text.QtRendering
    Accessible.ignored: true
}
