import QtQuick
import Corvantis.Shell
import Corvantis.Collection

// A row's picture: the placeholder until the cover arrives from the
// background, then the cover over it. A track without a cover keeps the
// placeholder.
Item {
    id: picture
    property string imageKey
    property string placeholder: "Album Art Placeholder"
    implicitWidth: 56
    implicitHeight: 56

    NamedImage {
        anchors.fill: parent
        name: picture.placeholder
        // A track without a cover answers with a single transparent pixel.
        visible: cover.status !== Image.Ready || cover.implicitWidth <= 1
        Accessible.ignored: true
    }
    Image {
        id: cover
        anchors.fill: parent
        source: Thumbnails.source(picture.imageKey)
        asynchronous: true
        cache: false
        fillMode: Image.PreserveAspectCrop
        sourceSize.width: 112
        sourceSize.height: 112
        smooth: true
    }
}
