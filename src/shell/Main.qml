import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Corvantis.Shell

// The one window: the root screen, the screens presented over it, and the
// progress display over everything. It carries out what Navigation asks.
ApplicationWindow {
    id: window
    width: WindowGeometry.width
    height: WindowGeometry.height
    x: WindowGeometry.x
    y: WindowGeometry.y
    minimumWidth: 320
    minimumHeight: 480
    visible: true
    color: Theme.background
    title: Navigation.rootViewController && Navigation.rootViewController.title
           ? Navigation.rootViewController.title + " — Corvantis" : "Corvantis"

    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.base: Theme.cell
    palette.text: Theme.text
    palette.button: Theme.raised
    palette.buttonText: Theme.text
    palette.highlight: Theme.accentColor
    palette.highlightedText: "black"
    palette.placeholderText: Theme.secondaryText
    // The shades the toolkit's own dialogs (the file dialog where the desktop
    // offers none) draw their panels and borders with: dark ones here too.
    palette.light: Theme.raised
    palette.midlight: Theme.cell
    palette.mid: Qt.rgba(1, 1, 1, 0.16)
    palette.dark: Qt.rgba(1, 1, 1, 0.12)
    palette.shadow: "black"
    palette.alternateBase: Theme.cell
    palette.brightText: "white"
    palette.toolTipBase: Theme.raised
    palette.toolTipText: Theme.text
    palette.link: Theme.accentColor
    font.family: Theme.fontFamily

    // Screens that size themselves from the window (the dialog) read it here.
    Binding {
        target: Navigation
        property: "windowSize"
        value: Qt.size(window.width, window.height)
    }

    onClosing: WindowGeometry.save(window.x, window.y, window.width, window.height)

    Component {
        id: hostComponent
        ScreenHost {}
    }

    // The root: a cross-dissolve swaps it, as the end of the tutorial does.
    Item {
        id: rootLayer
        anchors.fill: parent
        property ScreenHost current: null

        function show(controller, options, duration, requestId) {
            const incoming = hostComponent.createObject(rootLayer, {
                controller: controller, width: rootLayer.width, height: rootLayer.height,
                opacity: duration > 0 ? 0 : 1 })
            incoming.anchors.fill = rootLayer
            const outgoing = current
            current = incoming
            incoming.forceActiveFocus()
            if (duration <= 0) {
                if (outgoing)
                    outgoing.destroy()
                Navigation.transitionFinished(requestId)
                return
            }
            dissolve.createObject(rootLayer, { incoming: incoming, outgoing: outgoing,
                                              duration: duration * 1000, requestId: requestId })
        }

        Component {
            id: dissolve
            ParallelAnimation {
                id: fade
                property Item incoming
                property Item outgoing
                property int duration
                property int requestId
                running: true
                NumberAnimation { target: fade.incoming; property: "opacity"; to: 1; duration: fade.duration }
                NumberAnimation { target: fade.outgoing; property: "opacity"; to: 0; duration: fade.duration }
                onFinished: {
                    if (fade.outgoing)
                        fade.outgoing.destroy()
                    Navigation.transitionFinished(fade.requestId)
                    fade.destroy()
                }
            }
        }
    }

    // Presented screens, the newest on top.
    Item {
        id: modalLayer
        anchors.fill: parent

        function hostOf(controller) {
            for (let i = children.length - 1; i >= 0; --i) {
                if (children[i].host && children[i].host.controller === controller)
                    return children[i]
            }
            return null
        }

        // Focus goes back to what is now on top: the next presented screen,
        // or the root.
        function refocus() {
            for (let i = children.length - 1; i >= 0; --i) {
                if (children[i].visible && children[i].host) {
                    children[i].forceActiveFocus()
                    return
                }
            }
            if (rootLayer.current)
                rootLayer.current.forceActiveFocus()
        }

        function present(controller, style, animated, requestId) {
            const frame = presentationComponent.createObject(modalLayer, {
                controller: controller, style: style, animated: animated })
            frame.appear(requestId)
        }

        function dismiss(controller, animated, requestId) {
            const frame = hostOf(controller)
            if (!frame) {
                Navigation.transitionFinished(requestId)
                return
            }
            frame.disappear(animated, requestId)
        }
    }

    Component {
        id: presentationComponent
        PresentationFrame {
            anchors.fill: parent
            wide: window.width >= 600
        }
    }

    LaterLoader {
        anchors.fill: parent
        z: 1000
        needed: ProgressHUD.visible
        sourceComponent: ProgressHUDView {}
    }

    Connections {
        target: Navigation
        function onRootTransitionRequested(controller, options, duration, requestId) {
            rootLayer.show(controller, options, duration, requestId)
        }
        function onPresentRequested(controller, presenter, style, animated, requestId) {
            modalLayer.present(controller, style, animated, requestId)
        }
        function onDismissRequested(controller, animated, requestId) {
            modalLayer.dismiss(controller, animated, requestId)
        }
    }

    // Another start of the application asked for this window.
    Connections {
        target: SingleInstance
        function onActivationRequested() {
            if (window.visibility === Window.Minimized || window.visibility === Window.Hidden)
                window.showNormal()
            window.raise()
            window.requestActivate()
        }
    }

    // Start-up measurements only: the first frame with a screen in it.
    Connections {
        target: FirstFrameReport.requested ? window : null
        function onFrameSwapped() {
            if (rootLayer.current && rootLayer.current.view)
                FirstFrameReport.frameShown()
        }
    }

    Component.onCompleted: Navigation.attachWindow()
}
