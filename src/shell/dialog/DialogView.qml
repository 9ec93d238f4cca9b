import QtQuick
import QtQuick.Controls
import Corvantis.Shell

// The modal dialog: a card over the dimmed (or blurred) screen below, moved
// by its centre. The card comes up from below once, follows a vertical drag,
// and leaves by a fling or a dismissal; where it goes is the controller's
// call, this view only runs the motion it is told.
FocusScope {
    id: dialogView
    required property DialogViewController controller
    // The card's centre, in this view's coordinates.
    property real centerY: height + card.height / 2
    property bool leaving: false
    // Set for the length of a layout change, so that sizes glide to it.
    property bool layoutAnimating: false
    readonly property int durationMs: Math.round(controller.animationDuration * 1000)
    readonly property bool resting: !cardMotion.running && !snapBack.running && !entry.running
                                    && !fling.running
                                    && !bounceMotion.running && !dragging
    property bool dragging: false
    property var pendingDone: []

    objectName: "dialogView"
    focus: true
    Accessible.role: Accessible.Dialog
    Accessible.name: controller.title

    // Presented with no motion of the frame's own: the card's entry starts
    // from the controller's first appearance. With a blur the screen below
    // is taken first, while nothing of the dialog shows yet.
    function animateIn(done) {
        if (controller.blurBackground)
            backdrop.capture()
        done()
    }

    // An animated dismissal: down and out while the background clears.
    function animateOut(done) {
        pendingDone.push(done)
        if (leaving && !fling.running && !exitMotion.running)
            return finishLeaving()
        if (exitMotion.running || fling.running)
            return
        leaving = true
        stopCardMotion()
        exitMove.to = controller.beginDismissal()
        exitMotion.start()
    }

    function finishLeaving() {
        const waiting = pendingDone
        pendingDone = []
        waiting.forEach(done => done())
    }

    function stopCardMotion() {
        if (entry.running) {
            entry.stop()
            dim.opacity = controller.backgroundAlpha
            blurLayer.opacity = 1
        }
        cardMotion.stop()
        snapBack.stop()
        bounceMotion.stop()
    }

    function reportGeometry() {
        if (!controller || width <= 0 || height <= 0)
            return
        controller.setViewGeometry(width, height, card.height, imageHolder.innerSize,
                                   resting && card.visible && !leaving)
        if (resting && !leaving && card.visible)
            centerY = controller.homeY()
    }

    function moveCard(toY, ms) {
        cardMotion.stop()
        cardMotion.to = toY
        cardMotion.duration = ms
        cardMotion.start()
    }

    // The springs run on a linear clock from 0 to 1; the card's place is
    // read off the spring's curve at each tick.
    property real springClock: 0
    property real springFrom: 0
    property real springTo: 0
    property bool springIsEntry: true
    onSpringClockChanged: {
        if (!entry.running && !snapBack.running)
            return
        const progress = springIsEntry
            ? DialogSprings.entryAt(controller.animationDuration, springClock)
            : DialogSprings.snapBackAt(springClock)
        centerY = springFrom + (springTo - springFrom) * progress
    }

    function springHome(toY) {
        cardMotion.stop()
        snapBack.stop()
        springIsEntry = false
        springFrom = centerY
        springTo = toY
        snapBack.start()
    }

    // The way a drag ends, as the controller decides it.
    readonly property var moves: ({ none: 0, snapBack: 1, flingUp: 2, flingDown: 3, jumpHome: 4 })

    function pan(state, translation, vx, vy) {
        if (leaving)
            return
        const step = controller.handlePan(state, translation, vx, vy)
        if (!step.moved)
            return
        if (state === 1) {
            stopCardMotion()
            dragging = true
        }
        centerY = step.draggedY
        if (state < 3)
            return
        dragging = false
        switch (step.move) {
        case moves.snapBack:
            springHome(step.targetY)
            break
        case moves.flingUp:
        case moves.flingDown:
            leaving = true
            flingMove.to = step.targetY
            fling.start()
            break
        case moves.jumpHome:
            centerY = step.targetY
            break
        }
    }

    Keys.onEscapePressed: if (!leaving) controller.handleOutsideTap()
    Keys.onReturnPressed: event => pressLoneAction(event)
    Keys.onEnterPressed: event => pressLoneAction(event)
    function pressLoneAction(event) {
        if (!leaving && controller.buttons.length === 1)
            controller.handleAction(0)
        else
            event.accepted = false
    }

    // The window's size keeps the card's width in step when it changes.
    function windowResized() {
        if (!controller)
            return
        controller.windowSize = Qt.size(width, height)
        reportGeometry()
    }
    onWidthChanged: windowResized()
    onHeightChanged: windowResized()
    Component.onCompleted: reportGeometry()

    Connections {
        target: dialogView.controller
        function onEntryRequested(fromY, toY, duration) {
            dialogView.reportGeometry()
            dialogView.springIsEntry = true
            dialogView.springFrom = fromY
            dialogView.springTo = toY
            dialogView.centerY = fromY
            card.visible = true
            entry.start()
        }
        function onCardMoveRequested(toY, duration) {
            if (!card.visible || dialogView.leaving)
                return
            dialogView.moveCard(toY, Math.round(duration * 1000))
        }
        function onBounceRequested(outY, backY, legDuration) {
            if (!card.visible || dialogView.leaving)
                return
            dialogView.stopCardMotion()
            bounceOut.to = outY
            bounceBack.to = backY
            bounceOut.duration = bounceBack.duration = Math.round(legDuration * 1000)
            bounceMotion.start()
        }
        function onLayoutAnimationRequested() {
            dialogView.layoutAnimating = true
            layoutSettle.restart()
        }
    }

    Timer {
        id: layoutSettle
        interval: dialogView.durationMs + 50
        onTriggered: dialogView.layoutAnimating = false
    }

    // The screen below, blurred, darkened for the dark style.
    Item {
        id: blurLayer
        anchors.fill: parent
        visible: dialogView.controller.blurBackground
        opacity: 0
        BlurredBackdrop {
            id: backdrop
            anchors.fill: parent
        }
        Rectangle {
            anchors.fill: parent
            color: dialogView.controller.blurEffectStyle === 2 ? Qt.rgba(0, 0, 0, 0.35)
                                                              : Qt.rgba(1, 1, 1, 0.3)
        }
    }

    Rectangle {
        id: dim
        anchors.fill: parent
        color: "black"
        opacity: 0
        visible: !dialogView.controller.blurBackground
    }

    // Around the card: a tap closes the dialog when the dialog allows it;
    // nothing passes to the screen below.
    MouseArea {
        id: outside
        objectName: "dialogOutside"
        anchors.fill: parent
        onClicked: if (!dialogView.leaving) dialogView.controller.handleOutsideTap()
    }

    DialogPanArea {
        id: card
        objectName: "dialogCard"
        readonly property var c: dialogView.controller
        readonly property real stackTop: imageHolder.size * 2 / 3
                                         + c.spacing * (imageHolder.size > 0 ? 1 : 2)
        readonly property real naturalHeight: stackTop + stack.naturalHeight + c.spacing
                                              + cancelButton.height + c.spacing
        // How far the card outgrows the window; only a lone button gives.
        readonly property real squeeze: Math.max(0, naturalHeight - dialogView.height)
        visible: false
        width: c.cardWidth
        height: stackTop + stack.height + c.spacing + cancelButton.height + c.spacing
        x: (dialogView.width - width) / 2
        y: dialogView.centerY - height / 2
        onHeightChanged: dialogView.reportGeometry()

        onTouchBegan: dialogView.controller.touchBegan()
        onPanned: (state, translation, vx, vy) => dialogView.pan(state, translation, vx, vy)

        // The card's face is no place to touch: only what stands on it is.
        Rectangle {
            objectName: "dialogCardFace"
            anchors.fill: parent
            enabled: false
            radius: 15
            color: dialogView.controller.orColor(dialogView.controller.alertBackgroundColor, "white")
        }

        Column {
            id: stack
            objectName: "dialogStack"
            readonly property real naturalHeight: titleLabel.height + separator.height
                                                  + messageBox.height + container.height
                                                  + buttonsColumn.naturalHeight
                                                  + spacing * (shownItems - 1)
            x: card.c.sideSpacing / 2
            y: card.stackTop
            width: card.width - card.c.sideSpacing
            height: titleLabel.height + separator.height + messageBox.height + container.height
                    + buttonsColumn.height + spacing * (shownItems - 1)
            // Spacing stands only between the items on show.
            readonly property int shownItems: (titleLabel.visible ? 1 : 0) + (separator.visible ? 1 : 0)
                                              + (messageBox.visible ? 1 : 0) + 2
            spacing: card.c.stackSpacing

            Text {
                id: titleLabel
                objectName: "dialogTitle"
                readonly property bool empty: text.length === 0
                anchors.horizontalCenter: parent.horizontalCenter
                // Never wider than the message under it.
                width: Math.min(implicitWidth, stack.width,
                                messageBox.visible && messageBox.width > 0 ? messageBox.width
                                                                           : stack.width)
                height: visible && !empty ? implicitHeight : 0
                visible: !card.c.titleHidden
                text: card.c.title
                font: card.c.titleFont
                color: card.c.orColor(card.c.titleColor, "black")
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.Heading
                Accessible.name: text
                Behavior on height {
                    enabled: dialogView.layoutAnimating
                    NumberAnimation { duration: dialogView.durationMs }
                }
            }
            Rectangle {
                id: separator
                objectName: "dialogSeparator"
                anchors.horizontalCenter: parent.horizontalCenter
                width: titleLabel.width
                height: visible ? card.c.separatorHeight : 0
                visible: !card.c.titleHidden
                color: card.c.separatorColor
            }
            Rectangle {
                id: messageBox
                objectName: "dialogMessage"
                readonly property bool rich: card.c.message.length === 0
                                             && card.c.attributedMessage.length > 0
                readonly property string shown: rich ? card.c.attributedMessage : card.c.message
                anchors.horizontalCenter: parent.horizontalCenter
                width: Math.min(messageText.implicitWidth, stack.width)
                height: visible && shown.length > 0 ? messageText.implicitHeight : 0
                visible: !card.c.messageHidden
                color: "white"
                clip: true
                Behavior on height {
                    enabled: dialogView.layoutAnimating
                    NumberAnimation { duration: dialogView.durationMs }
                }
                Text {
                    id: messageText
                    width: parent.width
                    // The text sits in the box as in a text view: a little
                    // air above and below, a hair at the sides.
                    topPadding: 8
                    bottomPadding: 8
                    leftPadding: 5
                    rightPadding: 5
                    text: messageBox.shown
                    textFormat: messageBox.rich ? Text.StyledText : Text.PlainText
                    font: card.c.messageFont
                    color: card.c.orColor(card.c.messageColor, "black")
                    linkColor: color
                    // A little more air between lines than the font's own.
                    lineHeight: 1.12
                    wrapMode: Text.WordWrap
                    horizontalAlignment: Text.AlignHCenter
                    Accessible.role: Accessible.StaticText
                    Accessible.name: messageBox.rich ? card.c.plainText(text) : text
                    // Links go to whoever listens; nothing opens them here.
                    onLinkActivated: link => card.c.shouldInteractWithUrl(link)
                }
            }
            Item {
                id: container
                objectName: "dialogContainer"
                width: stack.width
                height: width * card.c.customViewSizeRatio
                opacity: card.c.customViewSizeRatio > 0 ? 1 : 0
                Behavior on height {
                    enabled: dialogView.layoutAnimating
                    NumberAnimation { duration: dialogView.durationMs }
                }
                Behavior on opacity {
                    enabled: dialogView.layoutAnimating
                    NumberAnimation { duration: dialogView.durationMs }
                }
                Loader {
                    anchors.fill: parent
                    active: card.c.containerSource.toString().length > 0
                    source: card.c.containerSource
                }
            }
            Column {
                id: buttonsColumn
                objectName: "dialogButtons"
                readonly property real naturalHeight: {
                    let total = 0
                    for (const button of card.c.buttons)
                        total += button.height
                    return total + spacing * Math.max(0, card.c.buttons.length - 1)
                }
                anchors.horizontalCenter: parent.horizontalCenter
                width: card.width * card.c.buttonStackWidthRatio
                height: {
                    let total = 0
                    for (let i = 0; i < buttonRepeater.count; ++i) {
                        const item = buttonRepeater.itemAt(i)
                        if (item)
                            total += item.height
                    }
                    return total + spacing * Math.max(0, buttonRepeater.count - 1)
                }
                spacing: card.c.stackSpacing
                Repeater {
                    id: buttonRepeater
                    model: card.c.buttons
                    DialogButtonItem {
                        required property var modelData
                        width: buttonsColumn.width
                        // A lone button gives way when the card is squeezed.
                        height: modelData.heightGivesWay
                                ? Math.max(0, modelData.height - card.squeeze) : modelData.height
                        look: modelData
                        font: card.c.buttonFont
                        enabled: !dialogView.leaving
                        onClicked: card.c.handleAction(modelData.tag)
                    }
                }
            }
        }

        DialogButtonItem {
            id: cancelButton
            objectName: "dialogCancel"
            anchors.horizontalCenter: parent.horizontalCenter
            y: stack.y + stack.height + card.c.spacing
            width: Math.min(implicitWidth, card.width - card.c.sideSpacing)
            height: card.c.cancelButtonShownHeight
            opacity: card.c.cancelButtonHidden ? 0 : 1
            visible: opacity > 0
            look: card.c.cancelButton
            plain: true
            font: card.c.cancelFont
            enabled: !dialogView.leaving
            onClicked: card.c.cancelAction()
            Behavior on height {
                enabled: dialogView.layoutAnimating
                NumberAnimation { duration: dialogView.durationMs }
            }
            Behavior on opacity {
                enabled: dialogView.layoutAnimating
                NumberAnimation { duration: dialogView.durationMs }
            }
        }

        DialogButtonItem {
            id: leftTool
            objectName: "dialogLeftTool"
            visible: card.c.leftToolUsed
            x: card.c.spacing * 2
            y: card.c.spacing * 2
            // Sized by what it shows.
            height: implicitHeight
            width: height
            look: card.c.leftTool
            plain: true
            font.pixelSize: 16
            onClicked: card.c.handleLeftTool()
        }
        DialogButtonItem {
            id: rightTool
            objectName: "dialogRightTool"
            visible: card.c.rightToolUsed
            x: card.width - card.c.spacing * 2 - width
            y: card.c.spacing * 2
            height: 20
            width: height
            look: card.c.rightTool
            plain: true
            font.pixelSize: 16
            onClicked: card.c.handleRightTool()
        }

        // The round image over the card's top edge, a third of it above.
        Rectangle {
            id: imageHolder
            objectName: "dialogImageHolder"
            readonly property real size: card.c.imageSize
            readonly property real innerSize: size * 0.9
            anchors.horizontalCenter: parent.horizontalCenter
            y: -size / 3
            width: size
            height: size
            radius: size / 2
            color: "white"
            visible: size > 0
            RoundImage {
                objectName: "dialogImage"
                anchors.centerIn: parent
                width: imageHolder.innerSize
                height: width
                source: card.c.image
            }
            Behavior on width {
                enabled: dialogView.layoutAnimating
                NumberAnimation { duration: dialogView.durationMs }
            }
        }

        // Further cards under the dialog, moving with it.
        Column {
            objectName: "dialogSections"
            y: card.height + card.c.spacing
            width: card.width
            spacing: card.c.spacing
            Repeater {
                model: card.c.sections
                Rectangle {
                    required property url modelData
                    objectName: "dialogSection"
                    width: card.width
                    height: sectionContent.item ? sectionContent.item.implicitHeight : 0
                    radius: 15
                    color: card.c.orColor(card.c.alertBackgroundColor, "white")
                    Loader {
                        id: sectionContent
                        width: parent.width
                        source: parent.modelData
                    }
                }
            }
        }
    }

    ParallelAnimation {
        id: entry
        NumberAnimation {
            target: dialogView
            property: "springClock"
            from: 0
            to: 1
            duration: dialogView.durationMs
        }
        NumberAnimation {
            target: dim
            property: "opacity"
            to: dialogView.controller.backgroundAlpha
            duration: dialogView.durationMs
        }
        NumberAnimation {
            target: blurLayer
            property: "opacity"
            to: 1
            duration: dialogView.durationMs
        }
    }

    NumberAnimation {
        id: cardMotion
        target: dialogView
        property: "centerY"
        easing.type: Easing.InOutQuad
    }

    NumberAnimation {
        id: snapBack
        target: dialogView
        property: "springClock"
        from: 0
        to: 1
        duration: Math.round(DialogSprings.snapBackDuration * 1000)
    }

    SequentialAnimation {
        id: bounceMotion
        NumberAnimation { id: bounceOut; target: dialogView; property: "centerY" }
        NumberAnimation { id: bounceBack; target: dialogView; property: "centerY" }
    }

    // Off by the top or the bottom, then gone at once.
    ParallelAnimation {
        id: fling
        NumberAnimation {
            id: flingMove
            target: dialogView
            property: "centerY"
            duration: dialogView.durationMs
        }
        NumberAnimation { target: dim; property: "opacity"; to: 0; duration: dialogView.durationMs }
        NumberAnimation { target: blurLayer; property: "opacity"; to: 0; duration: dialogView.durationMs }
        onFinished: {
            dialogView.controller.finishFling()
            dialogView.finishLeaving()
        }
    }

    ParallelAnimation {
        id: exitMotion
        NumberAnimation {
            id: exitMove
            target: dialogView
            property: "centerY"
            duration: dialogView.durationMs
        }
        NumberAnimation { target: dim; property: "opacity"; to: 0; duration: dialogView.durationMs }
        NumberAnimation { target: blurLayer; property: "opacity"; to: 0; duration: dialogView.durationMs }
        onFinished: dialogView.finishLeaving()
    }
}
