#include "BassBoostView.h"

#include <cmath>

BassBoostView::BassBoostView(QObject* parent)
    : QObject(parent), m_slider(new TactileSlider(-kMaximumGain, 0, this)) {
    connect(m_slider, &ThickSlider::valueDidChange, this, &BassBoostView::didChangeSlider);
}

void BassBoostView::didChangeSlider(ThickSlider* sender) {
    if (delegate) {
        delegate->bassBoostViewDidChangeGain(*this, std::fabs(sender->value()));
    }
}

void BassBoostView::layoutSubviews(const QSizeF& sliderSize) {
    colourSoundPanelSlider(*m_slider, sliderSize);
}
