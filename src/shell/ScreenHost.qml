import QtQuick
import Corvantis.Shell

// One screen on show: makes the QML view of its controller and hands the
// controller to it. The life-cycle calls stay with Navigation.
FocusScope {
    id: host
    required property ViewController controller
    readonly property Item view: loader.item

    Loader {
        id: loader
        anchors.fill: parent
        focus: true
        Component.onCompleted: {
            if (!host.controller.viewSource.toString()) {
                console.error("A screen without a view:", host.controller)
                return
            }
            loader.setSource(host.controller.viewSource, { controller: host.controller })
        }
        onStatusChanged: {
            if (status === Loader.Error)
                console.error("The view of", host.controller, "could not be made:", source)
        }
    }
}
