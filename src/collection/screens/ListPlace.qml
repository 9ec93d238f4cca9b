import QtQuick

// Keeps a list's place when its model is reset (a reload when the list is
// shown again, a row deleted, a new playlist): the same rows stay in view
// instead of the list going back to its top.
Connections {
    required property ListView list
    property real keptY: 0
    property bool restoring: false
    target: list.model

    // A load may reset the model several times in a row; the place before
    // the first counts.
    function onModelAboutToBeReset() {
        if (!restoring)
            keptY = list.contentY
    }
    // The view takes the reset after this handler and goes back to its top
    // then, so the place is put back once it has.
    function onModelReset() {
        if (!restoring) {
            restoring = true
            Qt.callLater(restore)
        }
    }
    function restore() {
        restoring = false
        list.forceLayout()
        list.contentY = Math.max(list.originY,
            Math.min(keptY, list.originY + list.contentHeight - list.height))
    }
}
