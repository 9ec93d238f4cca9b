import QtQuick
import Corvantis.Shell

// A presented screen and the way it comes and goes: full screen slides up
// from the bottom; a popover is a sheet from the bottom on a narrow window
// and a card by the control it came from on a wide one. A view that brings
// its own motion (alerts, the dialog) defines animateIn(done) and
// animateOut(done).
FocusScope {
    id: frame
    required property ViewController controller
    required property int style
    property bool animated: true
    property bool wide: false
    readonly property alias host: host
    readonly property bool popover: style === 7
    readonly property bool ownMotion: host.view !== null && typeof host.view.animateIn === "function"
    focus: true

    // Behind a popover: the screen below, dimmed; a tap there closes it.
    Rectangle {
        id: scrim
        anchors.fill: parent
        color: Theme.dim
        visible: frame.popover
        opacity: 0
        MouseArea {
            anchors.fill: parent
            enabled: frame.popover
            onClicked: frame.controller.dismissAnimated()
        }
    }

    Item {
        id: sheet
        readonly property rect anchorRect: frame.controller ? frame.controller.popoverSourceRect
                                                            : Qt.rect(0, 0, 0, 0)
        readonly property bool anchored: frame.popover && frame.wide
                                         && anchorRect.width > 0 && anchorRect.height > 0
        readonly property real sheetHeight: frame.popover
            ? (frame.wide ? Math.min(frame.height - 96, 640) : frame.height * 0.88) : frame.height
        width: frame.popover && frame.wide ? Math.min(frame.width - 96, 440) : frame.width
        height: sheetHeight
        // By its anchor: centred under the control it came from (above it
        // when there is more room there), always inside the window.
        x: anchored ? Math.max(16, Math.min(frame.width - width - 16,
                                            anchorRect.x + anchorRect.width / 2 - width / 2))
                    : (frame.width - width) / 2
        y: restY
        readonly property real restY: {
            if (!frame.popover)
                return 0
            if (!frame.wide)
                return frame.height - height
            if (!anchored)
                return (frame.height - height) / 2
            const below = frame.height - (anchorRect.y + anchorRect.height) - 16
            const above = anchorRect.y - 16
            const top = below >= height || below >= above
                ? anchorRect.y + anchorRect.height + 8 : anchorRect.y - 8 - height
            return Math.max(16, Math.min(frame.height - height - 16, top))
        }
        clip: frame.popover

        Rectangle {
            anchors.fill: parent
            visible: frame.popover
            color: Theme.background
            radius: Theme.radius
        }
        ScreenHost {
            id: host
            anchors.fill: parent
            // Inside a card the screen keeps off the rounded corners.
            anchors.margins: frame.popover ? Theme.radius / 2 : 0
            controller: frame.controller
            focus: true
        }
    }

    // A screen that went with the one below it (a root swapped away under
    // it) takes its frame along.
    onControllerChanged: if (controller === null) { visible = false; destroy() }

    // Tab goes round the presented screen alone.
    TabCycle {}

    Keys.onEscapePressed: event => {
        if (frame.popover)
            frame.controller.dismissAnimated()
        else
            event.accepted = false
    }

    NumberAnimation {
        id: slide
        target: sheet
        property: "y"
        duration: Theme.animationMs
        easing.type: Easing.OutCubic
        property var done
        onFinished: if (done) done()
    }
    NumberAnimation {
        id: scrimFade
        target: scrim
        property: "opacity"
        duration: Theme.animationMs
    }

    function appear(requestId) {
        forceActiveFocus()
        const finish = () => Navigation.transitionFinished(requestId)
        if (ownMotion) {
            host.view.animateIn(finish)
            return
        }
        if (!animated) {
            scrim.opacity = 1
            finish()
            return
        }
        sheet.y = frame.height
        slide.from = frame.height
        slide.to = sheet.restY
        slide.done = finish
        slide.start()
        scrimFade.from = 0
        scrimFade.to = 1
        scrimFade.start()
    }

    function disappear(animatedOut, requestId) {
        const finish = () => {
            const layer = frame.parent
            frame.visible = false
            frame.parent = null
            if (layer && typeof layer.refocus === "function")
                layer.refocus()
            // The view goes before its controller does, so that nothing on
            // show reads a controller that is gone.
            frame.destroy()
            Navigation.transitionFinished(requestId)
        }
        if (ownMotion && animatedOut) {
            host.view.animateOut(finish)
            return
        }
        if (!animatedOut) {
            finish()
            return
        }
        slide.from = sheet.y
        slide.to = frame.height
        slide.done = finish
        slide.start()
        scrimFade.from = scrim.opacity
        scrimFade.to = 0
        scrimFade.start()
    }
}
