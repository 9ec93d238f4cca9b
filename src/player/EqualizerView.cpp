#include "EqualizerView.h"

#include <cmath>

#include "PlaybackManager.h"

EqualizerView::EqualizerView(QObject* parent) : QObject(parent) {
    for (const int frequency : PlaybackManager::eqFrequancies()) {
        auto* slider = new ThickVerticalSlider(frequency, this);
        slider->setMinimumValue(kMinimumGain);
        slider->setMaximumValue(kMaximumGain);
        connect(slider, &ThickVerticalSlider::valueDidChange, this, &EqualizerView::valueDidChange);
        m_sliders.append(slider);
    }
}

ThickVerticalSlider* EqualizerView::sliderWithTag(int tag) const {
    for (ThickVerticalSlider* slider : m_sliders) {
        if (slider->tag() == tag) {
            return slider;
        }
    }
    return nullptr;
}

void EqualizerView::valueDidChange(ThickVerticalSlider* sender) {
    const float rounded = std::round(sender->value());
    // A drag reaches a whole value only through the values around it, and
    // those reported the snap already.
    if (rounded == sender->value()) {
        return;
    }
    sender->slider()->setValue(rounded, true);
    if (delegate) {
        delegate->equalizerViewDidChangeBand(float(sender->tag()), sender->value());
    }
}
