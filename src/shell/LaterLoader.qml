import QtQuick

// Holds a part of the window that its first frame does not show (a closed
// side menu, the progress display): made in the background once that frame is
// out, so the start does not wait for it, and at once should it be needed
// sooner.
Loader {
    id: loader
    // True from the moment the part must be on show.
    property bool needed: false
    property bool windowDrawn: false

    active: needed || windowDrawn
    asynchronous: !needed

    Connections {
        target: loader.Window.window
        enabled: !loader.windowDrawn
        function onFrameSwapped() { loader.windowDrawn = true }
    }
}
