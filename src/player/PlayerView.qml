import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Corvantis.Shell
import Corvantis.Player

// The now-playing screen: picture, title, the seek bar, the transport, the
// system volume, and the four sound controls over their panel.
Rectangle {
    id: screen
    required property PlayerViewController controller
    readonly property bool roomy: height >= 720
    color: Theme.background
    focus: true
    Keys.onSpacePressed: controller.didClickPlayPause()
    Keys.onEscapePressed: controller.didTapHeader()

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.topMargin: 8
        anchors.bottomMargin: 12
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        spacing: screen.roomy ? 10 : 4
        // Keeps the screen together in a wide window.
        readonly property real contentWidth: Math.min(width, 560)

        // Header: close, the tune image, save.
        RowLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            TransportButton {
                text: qsTrId("player_close")
                glyph: "expand more"
                iconSize: 32
                onClicked: screen.controller.didTapHeader()
            }
            Item { Layout.fillWidth: true }
            NamedImage {
                Layout.preferredWidth: 34
                Layout.preferredHeight: 26
                name: screen.controller.tuneImage
                Accessible.ignored: true
            }
            Item { Layout.fillWidth: true }
            TransportButton {
                text: qsTrId("player_save_preset")
                glyph: "save"
                iconSize: 26
                tint: Theme.buttonColor
                visible: !screen.controller.saveCustomPresetHidden
                onClicked: screen.controller.didTabSaveCustomPreset()
            }
            Item {
                visible: screen.controller.saveCustomPresetHidden
                implicitWidth: Theme.touchTarget + 2
            }
        }

        // The picture takes what room is left, square.
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 72
            Item {
                readonly property real side: Math.min(parent.width, parent.height, 420)
                width: side
                height: side
                anchors.centerIn: parent
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTrId("player_album_art")
                NamedImage {
                    anchors.fill: parent
                    name: screen.controller.albumArtImage
                    visible: name.length > 0
                    Accessible.ignored: true
                }
                ArtworkImage {
                    anchors.fill: parent
                    radius: 14
                    image: screen.controller.albumArt
                    visible: screen.controller.albumArtImage.length === 0
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: screen.controller.titleText
                color: Theme.text
                font.family: Fonts.family("AvenirNext-DemiBold")
                font.weight: Fonts.weight("AvenirNext-DemiBold")
                font.pixelSize: 22
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                text: screen.controller.artistText
                color: Theme.secondaryText
                font.pixelSize: 16
                elide: Text.ElideRight
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            spacing: 0
            SeekBar {
                id: seekBar
                Layout.fillWidth: true
                controller: screen.controller
                measuredIn: screen
            }
            RowLayout {
                Layout.fillWidth: true
                Label {
                    text: screen.controller.positionText
                    color: Theme.secondaryText
                    font.pixelSize: 12
                }
                Item { Layout.fillWidth: true }
                Label {
                    text: screen.controller.durationText
                    color: Theme.secondaryText
                    font.pixelSize: 12
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            TransportButton {
                text: qsTrId("player_shuffle")
                glyph: "shuffle"
                tint: screen.controller.shuffleTint
                onClicked: screen.controller.didClickShuffle()
            }
            Item { Layout.fillWidth: true }
            TransportButton {
                text: qsTrId("player_previous")
                glyph: "previous"
                iconSize: 38
                enabled: screen.controller.previousEnabled
                onClicked: screen.controller.didClickPrevious()
            }
            Item { Layout.fillWidth: true }
            TransportButton {
                text: screen.controller.playPauseImage === "Pause (48pt)"
                      ? qsTrId("player_pause") : qsTrId("player_play")
                image: screen.controller.playPauseImage
                iconSize: screen.roomy ? 64 : 52
                onClicked: screen.controller.didClickPlayPause()
            }
            Item { Layout.fillWidth: true }
            TransportButton {
                text: qsTrId("player_next")
                glyph: "next"
                iconSize: 38
                enabled: screen.controller.nextEnabled
                onClicked: screen.controller.didClickNext()
            }
            Item { Layout.fillWidth: true }
            TransportButton {
                text: qsTrId("player_repeat")
                image: screen.controller.repeatImage
                iconSize: 26
                onClicked: screen.controller.didClickRepeat()
            }
        }

        // The sound server's own volume; gone when there is no server.
        RowLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            visible: screen.controller.volumeView !== null && screen.controller.volumeView.available
            Icon { name: "volume down"; size: 20; color: Theme.secondaryText }
            Slider {
                Layout.fillWidth: true
                from: 0
                to: 1
                value: screen.controller.volumeView ? screen.controller.volumeView.volume : 0
                Accessible.name: qsTrId("player_system_volume")
                onMoved: screen.controller.volumeView.volume = value
            }
            Icon { name: "volume up"; size: 20; color: Theme.secondaryText }
        }

        // The four controls, in the order of their tags.
        RowLayout {
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            spacing: 4
            Repeater {
                model: [
                    { label: qsTrId("player_bass_boost"), glyph: "speaker" },
                    { label: qsTrId("player_presets"), glyph: "tune" },
                    { label: qsTrId("player_equalizer"), glyph: "equalizer" },
                    { label: qsTrId("player_volume_boost"), glyph: "volume up" },
                ]
                AbstractButton {
                    id: control
                    required property var modelData
                    required property int index
                    Layout.fillWidth: true
                    implicitHeight: 56
                    focusPolicy: Qt.StrongFocus
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData.label
                    Keys.onReturnPressed: clicked()
                    Keys.onSpacePressed: clicked()
                    onClicked: {
                        switch (index) {
                        case 0: screen.controller.didTapBassBoost(); break
                        case 1: screen.controller.didTapPresets(); break
                        case 2: screen.controller.didTapEqualizer(); break
                        case 3: screen.controller.didTapVolumeBoost(); break
                        }
                    }
                    background: Rectangle {
                        radius: 12
                        color: control.pressed ? Qt.rgba(1, 1, 1, 0.1)
                             : screen.controller.visiblePanelTag === control.index
                               ? Qt.rgba(1, 1, 1, 0.06) : "transparent"
                        border.width: control.visualFocus ? 2 : 0
                        border.color: Theme.accentColor
                    }
                    contentItem: Column {
                        spacing: 2
                        Icon {
                            anchors.horizontalCenter: parent.horizontalCenter
                            name: control.modelData.glyph
                            size: 24
                            color: screen.controller.controlIconColors[control.index]
                        }
                        Text {
                            anchors.horizontalCenter: parent.horizontalCenter
                            text: control.modelData.label
                            color: screen.controller.controlLabelColors[control.index]
                            font.pixelSize: 13
                        }
                    }
                }
            }
        }

        // The panel of the active control.
        Item {
            id: container
            Layout.fillWidth: true
            Layout.maximumWidth: column.contentWidth
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredHeight: screen.controller.visiblePanelTag >= 0
                                    ? Math.min(240, Math.max(150, screen.height * 0.26)) : 0
            visible: screen.controller.visiblePanelTag >= 0
            clip: true

            Loader {
                anchors.fill: parent
                active: screen.controller.visiblePanelTag === 0
                sourceComponent: Item {
                    TactileSliderView {
                        readonly property var panel: screen.controller.bassBoostView
                        anchors.horizontalCenter: parent.horizontalCenter
                        width: Math.min(140, container.width)
                        height: container.height
                        slider: panel.slider
                        caption: qsTrId("player_bass_level")
                        onTouched: (y, h) => slider.userDidMoveTo(
                            slider.minimumValue + y / h * (slider.maximumValue - slider.minimumValue))
                        onStepped: direction => slider.userDidMoveTo(slider.value - direction)
                        onWidthChanged: panel.layoutSubviews(Qt.size(width, height))
                        onHeightChanged: panel.layoutSubviews(Qt.size(width, height))
                        Component.onCompleted: panel.layoutSubviews(Qt.size(width, height))
                    }
                }
            }
            Loader {
                anchors.fill: parent
                active: screen.controller.visiblePanelTag === 1
                sourceComponent: Item {
                    id: presetsPanel
                    readonly property var panel: screen.controller.equalizerPresetsView
                    Grid {
                        columns: 3
                        spacing: 8
                        anchors.centerIn: parent
                        Repeater {
                            model: presetsPanel.panel.titles
                            AbstractButton {
                                id: preset
                                required property string modelData
                                required property int index
                                readonly property bool selected:
                                    index === presetsPanel.panel.selectedTag
                                width: (container.width - 16) / 3
                                height: Math.max(Theme.touchTarget, (container.height - 16) / 3)
                                focusPolicy: Qt.StrongFocus
                                Accessible.role: Accessible.Button
                                // The first entry, no preset at all, shows a
                                // dash, which says nothing when read out.
                                Accessible.name: index === 0 ? qsTrId("player_no_preset") : modelData
                                Accessible.checkable: true
                                Accessible.checked: selected
                                Keys.onReturnPressed: clicked()
                                Keys.onSpacePressed: clicked()
                                onClicked: presetsPanel.panel.didClickPreset(index)
                                background: Rectangle {
                                    radius: height / 2
                                    color: preset.selected ? Theme.buttonColor : "transparent"
                                    border.width: preset.visualFocus ? 3 : 1.5
                                    border.color: preset.visualFocus ? Theme.text : Theme.buttonColor
                                }
                                contentItem: Text {
                                    text: preset.modelData
                                    color: preset.selected ? "white" : Qt.rgba(2 / 3, 2 / 3, 2 / 3, 1)
                                    font.pixelSize: 15
                                    horizontalAlignment: Text.AlignHCenter
                                    verticalAlignment: Text.AlignVCenter
                                }
                            }
                        }
                    }
                }
            }
            Loader {
                anchors.fill: parent
                active: screen.controller.visiblePanelTag === 2
                sourceComponent: Item {
                    id: equalizerPanel
                    readonly property var panel: screen.controller.equalizerView
                    Row {
                        anchors.horizontalCenter: parent.horizontalCenter
                        height: container.height
                        spacing: Math.max(4, (container.width - 5 * 56) / 6)
                        Repeater {
                            model: equalizerPanel.panel.sliders
                            BandSlider {
                                required property var modelData
                                height: container.height
                                control: modelData
                                caption: modelData.tag >= 1000
                                         ? qsTrId("player_kilohertz").arg(modelData.tag / 1000)
                                         : qsTrId("player_hertz").arg(modelData.tag)
                            }
                        }
                    }
                }
            }
            Loader {
                anchors.fill: parent
                active: screen.controller.visiblePanelTag === 3
                sourceComponent: Item {
                    TactileSliderView {
                        readonly property var panel: screen.controller.volumeBoostView
                        anchors.horizontalCenter: parent.horizontalCenter
                        width: Math.min(140, container.width)
                        height: container.height
                        slider: panel.slider
                        caption: qsTrId("player_boost_level")
                        onTouched: (y, h) => panel.didPanSlider(y, h)
                        // One stop up or down: a touch right on that stop.
                        onStepped: direction => {
                            const stop = Math.round(-slider.value * 4) + direction
                            panel.didPanSlider(height * (1 - stop / 4), height)
                        }
                        onWidthChanged: panel.layoutSubviews(Qt.size(width, height))
                        onHeightChanged: panel.layoutSubviews(Qt.size(width, height))
                        Component.onCompleted: panel.layoutSubviews(Qt.size(width, height))
                    }
                }
            }
        }
    }
}
