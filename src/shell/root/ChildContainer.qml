import QtQuick
import Corvantis.Shell

// Shows a container's visible child. Each child's view is made once and kept
// while hidden, so a list keeps its scroll and search across switches.
FocusScope {
    id: container
    property ViewController current: null
    property var hosts: []

    function show() {
        let shown = null
        for (let i = 0; i < hosts.length; ++i) {
            const host = hosts[i]
            host.visible = host.controller === current
            if (host.visible)
                shown = host
        }
        if (!shown && current) {
            shown = hostComponent.createObject(container, { controller: current })
            shown.anchors.fill = container
            hosts = hosts.concat([shown])
        }
        if (shown)
            shown.focus = true
    }

    onCurrentChanged: show()
    Component.onCompleted: show()

    Component {
        id: hostComponent
        ScreenHost {}
    }
}
