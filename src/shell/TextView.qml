import QtQuick
import QtQuick.Controls
import QtWebEngine
import Corvantis.Shell

// A web page under a bar with its title and a Done control. The page is
// whatever the web view makes of the address; a failed load shows the
// engine's own page, there is no error display of ours.
Rectangle {
    id: page
    required property TextViewController controller
    color: Theme.background
    focus: true
    Keys.onEscapePressed: controller.didClickDone()

    function load(url) {
        if (url.toString() === "")
            return
        web.url = url
    }

    Component.onCompleted: load(controller.requestedUrl)
    Connections {
        target: page.controller
        function onLoadRequested(url) { page.load(url) }
    }

    Rectangle {
        id: bar
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 52
        color: Theme.background
        z: 1

        Label {
            anchors.centerIn: parent
            width: parent.width - 2 * (done.width + 12)
            horizontalAlignment: Text.AlignHCenter
            // The address stands in for the title until the page names itself.
            text: web.title
            color: Theme.text
            font.pixelSize: 17
            font.weight: Font.Bold
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        ToolButton {
            id: done
            anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
            height: Theme.touchTarget
            text: qsTrId("done")
            font.pixelSize: 17
            font.weight: Font.DemiBold
            palette.buttonText: Theme.accentColor
            Accessible.name: text
            onClicked: page.controller.didClickDone()
        }
        Rectangle {
            anchors { left: parent.left; bottom: parent.bottom }
            height: 2
            width: parent.width * web.loadProgress / 100
            color: Theme.accentColor
            visible: web.loading
        }
    }

    WebEngineView {
        id: web
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: parent.bottom }
        Accessible.name: "page"
        // A server that stops answering for the time-out ends the load, as
        // an idle request times out.
        onLoadProgressChanged: if (loading) idle.restart()
        onLoadingChanged: loading ? idle.restart() : idle.stop()
    }

    Timer {
        id: idle
        interval: page.controller ? page.controller.timeoutMs : 60000
        onTriggered: {
            if (web.loading) {
                console.warn("The page did not answer within", interval, "ms:", web.url)
                web.stop()
            }
        }
    }
}
