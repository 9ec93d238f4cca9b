#include <gtest/gtest.h>

#include <QList>
#include <QPair>
#include <QSignalSpy>
#include <cmath>
#include <vector>

#include "BassBoostView.h"
#include "EqualizerPresetsView.h"
#include "EqualizerView.h"
#include "TactileSlider.h"
#include "ThickSlider.h"
#include "ThickVerticalSlider.h"
#include "VolumeBoostView.h"

namespace {

using Preset = EqualizerState::EqualizerPreset;

struct RecordingPanels : EqualizerViewDelegate,
                         EqualizerPresetsViewDelegate,
                         BassBoostViewDelegate,
                         VolumeBoostViewDelegate {
    QList<QPair<float, float>> bands;
    QList<Preset> presets;
    QList<float> bassGains;
    QList<int> volumeGains;

    void equalizerViewDidChangeBand(float frequency, float gain) override {
        bands.append({frequency, gain});
    }
    void equalizerPresetsViewDidSelectPreset(EqualizerPresetsView&, Preset preset) override {
        presets.append(preset);
    }
    void bassBoostViewDidChangeGain(BassBoostView&, float gain) override { bassGains.append(gain); }
    void volumeBoostViewDidChangeGain(VolumeBoostView&, int gain) override {
        volumeGains.append(gain);
    }
};

}  // namespace

TEST(Sliders, ThickTrackAndTheVerticalTurn) {
    ThickSlider slider;
    EXPECT_EQ(slider.trackRectForBounds(QRectF(0, 0, 200, 40)), QRectF(0, 20, 200, 10));
    slider.setTrackThickness(16);
    EXPECT_EQ(slider.trackRectForBounds(QRectF(30, 30, 120, 60)), QRectF(0, 30, 120, 16));

    ThickVerticalSlider vertical(910);
    const QTransform descending = vertical.innerTransform();
    // Descending: the track's start (minimum) points down.
    EXPECT_EQ(descending.map(QPointF(1, 0)).toPoint(), QPoint(0, -1));
    vertical.setAscending(true);
    EXPECT_EQ(vertical.innerTransform().map(QPointF(1, 0)).toPoint(), QPoint(0, -1) * -1);
    EXPECT_EQ(vertical.innerTransform().map(QPointF(0, 1)).toPoint(), QPoint(1, 0));
    vertical.setAscending(false);
    EXPECT_EQ(vertical.innerTransform(), descending);

    // The inner slider is as long as the control is high, whatever its width.
    for (const qreal width : {20.0, 300.0}) {
        const auto layout = vertical.layoutSubviews(QRectF(0, 0, width, 300));
        EXPECT_EQ(layout.innerBounds.width(), 300);
        EXPECT_EQ(layout.innerCenter, QPointF(width / 2, 150));
    }
    EXPECT_EQ(vertical.intrinsicContentSize(), QSizeF(ThickVerticalSlider::kSliderHeight, -1));
}

TEST(Sliders, TheVerticalSliderIsItsInnerSliderAndForwardsItsMoves) {
    ThickVerticalSlider vertical(60);
    vertical.setMinimumValue(-12);
    vertical.setMaximumValue(12);
    vertical.setThumbTintColor(Qt::red);
    vertical.setTrackThickness(14);
    vertical.setHighlighted(true);
    EXPECT_EQ(vertical.slider()->thumbTintColor, QColor(Qt::red));
    EXPECT_EQ(vertical.slider()->trackThickness(), 14);
    EXPECT_TRUE(vertical.slider()->isHighlighted());

    // Written from code: glides, and is no user's move.
    QSignalSpy moves(&vertical, &ThickVerticalSlider::valueDidChange);
    vertical.setValue(4);
    EXPECT_EQ(vertical.slider()->value(), 4);
    EXPECT_TRUE(vertical.slider()->isAnimated());
    EXPECT_EQ(moves.count(), 0);

    vertical.slider()->userDidMoveTo(30);
    ASSERT_EQ(moves.count(), 1);
    EXPECT_EQ(moves.at(0).at(0).value<ThickVerticalSlider*>(), &vertical);
    EXPECT_EQ(vertical.value(), 12) << "held within the range";
}

TEST(SoundPanels, EqualizerBandsMoveInWholeDecibels) {
    RecordingPanels heard;
    EqualizerView panel;
    panel.delegate = &heard;
    QList<int> tags;
    for (const ThickVerticalSlider* slider : panel.sliders()) {
        tags.append(slider->tag());
        EXPECT_LE(slider->minimumValue(), -8);
        EXPECT_GE(slider->maximumValue(), 6);
    }
    EXPECT_EQ(tags, (QList<int>{60, 230, 910, 3000, 14000}));

    ThickSlider* band = panel.sliderWithTag(910)->slider();
    band->userDidMoveTo(2.4f);
    EXPECT_EQ(band->value(), 2);
    EXPECT_EQ(heard.bands, (QList<QPair<float, float>>{{910, 2}}));
    // The following event at exactly 2 changes nothing.
    band->userDidMoveTo(2);
    band->userDidMoveTo(-3.5f);
    EXPECT_EQ(heard.bands, (QList<QPair<float, float>>{{910, 2}, {910, -4}}));
    EXPECT_EQ(panel.sliderWithTag(911), nullptr);
}

TEST(SoundPanels, PresetButtonsCarryTheTableAndCallAgainForTheSelectedOne) {
    RecordingPanels heard;
    EqualizerPresetsView panel;
    panel.delegate = &heard;
    EXPECT_EQ(panel.titles(), (QStringList{"-", "Pop", "Rock", "EDM", "Hip Hop", "R&B", "Acoustic",
                                           "Classical", "Custom"}));
    EXPECT_EQ(EqualizerPresetsView::titleForTag(9), QString());
    EXPECT_EQ(panel.selectedTag(), 0);

    panel.didClickPreset(2);
    panel.didClickPreset(2);
    panel.didClickPreset(12);
    EXPECT_EQ(heard.presets, (QList<Preset>{Preset::rock, Preset::rock}));
    EXPECT_EQ(panel.selectedTag(), 2);

    panel.selectedPreset = Preset::Custom;
    panel.updateButtons();
    EXPECT_EQ(panel.selectedTag(), 8);
}

TEST(SoundPanels, BassSliderHoldsMinusTheGainContinuously) {
    RecordingPanels heard;
    BassBoostView panel;
    panel.delegate = &heard;
    EXPECT_LT(panel.slider()->minimumValue(), 0);
    EXPECT_EQ(panel.slider()->maximumValue(), 0);
    panel.slider()->userDidMoveTo(-6);
    panel.slider()->userDidMoveTo(-2.37f);
    EXPECT_EQ(heard.bassGains, (QList<float>{6, 2.37f}));
}

TEST(SoundPanels, VolumeBoostStopsTheirGainsAndTheWayBack) {
    RecordingPanels heard;
    VolumeBoostView panel;
    panel.delegate = &heard;
    struct Touch {
        qreal y;
        float value;
        std::vector<int> gains;
    };
    // A slider 200 high: its stops lie 50 apart from the top.
    const std::vector<Touch> touches{
        {0, -1, {10}},
        {49, -0.75f, {5}},
        // Half way between two stops rounds away from zero, to the louder one.
        {75, -0.75f, {5}},
        {125, -0.5f, {2}},
        {150, -0.25f, {0}},
        {180, 0, {-2}},
        {200, 0, {-2}},
        // Beyond either end: the slider stays at its end and nothing is said.
        {-40, -1, {}},
        {260, 0, {}},
    };
    for (const Touch& touch : touches) {
        SCOPED_TRACE(touch.y);
        heard.volumeGains.clear();
        panel.didPanSlider(touch.y, 200);
        EXPECT_EQ(panel.slider()->value(), touch.value);
        EXPECT_EQ(std::vector<int>(heard.volumeGains.begin(), heard.volumeGains.end()),
                  touch.gains);
    }
    heard.volumeGains.clear();
    panel.didPanSlider(10, 0);
    EXPECT_TRUE(heard.volumeGains.isEmpty()) << "a slider of no height places nothing";

    struct Back {
        float gain;
        float value;
    };
    // -2 and 3 are no stops' gains on the way back: the slider stays.
    for (const Back& back : std::vector<Back>{
             {10, -1}, {5, -0.75f}, {3, -0.75f}, {2, -0.5f}, {0, -0.25f}, {-2, -0.25f}, {-1, 0}}) {
        SCOPED_TRACE(back.gain);
        panel.globalGain = back.gain;
        panel.updateSlider();
        EXPECT_EQ(panel.slider()->value(), back.value);
        EXPECT_FALSE(panel.slider()->isAnimated());
    }
}

TEST(SoundPanels, SliderTracksRunGreenOrangeRedFromTop) {
    BassBoostView bass;
    VolumeBoostView volume;
    bass.layoutSubviews(QSizeF(120, 200));
    volume.layoutSubviews(QSizeF(120, 200));
    for (TactileSlider* slider : {bass.slider(), volume.slider()}) {
        ASSERT_EQ(slider->trackColors().size(), 3);
        EXPECT_EQ(slider->trackColors().at(0), QColor::fromRgbF(0.4453125f, 0.671875f, 0.2734375f));
        EXPECT_EQ(slider->trackColors().at(2), QColor::fromRgbF(0.9921875f, 0.03125f, 0.01171875f));
        const QGradient* gradient = slider->trackColor().gradient();
        ASSERT_NE(gradient, nullptr);
        ASSERT_EQ(gradient->type(), QGradient::LinearGradient);
        const auto* linear = static_cast<const QLinearGradient*>(gradient);
        EXPECT_EQ(linear->start().x(), linear->finalStop().x()) << "top to bottom";
        EXPECT_LT(linear->start().y(), linear->finalStop().y());
    }
}
