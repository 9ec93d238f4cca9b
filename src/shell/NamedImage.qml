import QtQuick
import Corvantis.Shell

// An image the screens name by its literal name ("AddBtn", "wave_1x", ...):
// a vector drawing, or a moving one where the design has an animation.
Item {
    id: picture
    property string name
    readonly property url source: name.length > 0 ? Images.source(name) : ""
    readonly property bool animated: source.toString().endsWith(".qml")

    implicitWidth: 48
    implicitHeight: 48
    Accessible.role: Accessible.Graphic
    Accessible.name: name

    VectorImage {
        anchors.fill: parent
        visible: !picture.animated
        source: picture.animated ? "" : picture.source
    }
    Loader {
        anchors.fill: parent
        active: picture.animated
        source: picture.animated ? picture.source : ""
    }
}
