#include "VolumeBoostView.h"

#include <array>
#include <cmath>
#include <utility>

namespace {

// Slider value -> gain handed on.
constexpr std::array<std::pair<float, int>, 5> kStops{{
    {0.0f, -2},
    {-0.25f, 0},
    {-0.5f, 2},
    {-0.75f, 5},
    {-1.0f, 10},
}};

// Stored gain -> slider value. The bottom stop hands on -2 yet is found from
// -1, so a stored -2 leaves the slider as it stands.
constexpr std::array<std::pair<float, float>, 5> kWayBack{{
    {-1.0f, 0.0f},
    {0.0f, -0.25f},
    {2.0f, -0.5f},
    {5.0f, -0.75f},
    {10.0f, -1.0f},
}};

}  // namespace

VolumeBoostView::VolumeBoostView(QObject* parent)
    : QObject(parent), m_slider(new TactileSlider(-1, 0, this)) {}

std::optional<int> VolumeBoostView::gainForSliderValue(float value) {
    for (const auto& [stop, gain] : kStops) {
        if (stop == value) {
            return gain;
        }
    }
    return std::nullopt;
}

std::optional<float> VolumeBoostView::sliderValueForGain(float gain) {
    for (const auto& [stored, value] : kWayBack) {
        if (stored == gain) {
            return value;
        }
    }
    return std::nullopt;
}

void VolumeBoostView::didPanSlider(qreal y, qreal height) {
    const double maximum = std::fabs(m_slider->maximumValue());
    const double minimum = std::fabs(m_slider->minimumValue());
    // std::round rounds halves away from zero.
    const double stop = std::round(((maximum - minimum) * (y / height) + minimum) * 4);
    const float value = float(stop * -0.25);
    m_slider->setValue(value, true);
    // Beyond the ends the stop asked for is off the table, even though the
    // slider itself stays at its end.
    if (const std::optional<int> gain = gainForSliderValue(value); gain && delegate) {
        delegate->volumeBoostViewDidChangeGain(*this, *gain);
    }
}

void VolumeBoostView::updateSlider() {
    if (const std::optional<float> value = sliderValueForGain(globalGain)) {
        m_slider->setValue(*value, false);
    }
}

void VolumeBoostView::layoutSubviews(const QSizeF& sliderSize) {
    colourSoundPanelSlider(*m_slider, sliderSize);
}
