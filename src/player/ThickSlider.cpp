#include "ThickSlider.h"

#include <algorithm>
#include <cmath>

ThickSlider::ThickSlider(QObject* parent) : QObject(parent) {}

void ThickSlider::setMinimumValue(float minimum) {
    m_minimum = minimum;
    m_maximum = std::max(m_maximum, minimum);
    emit rangeChanged();
    setValue(m_value, false);
}

void ThickSlider::setMaximumValue(float maximum) {
    m_maximum = maximum;
    m_minimum = std::min(m_minimum, maximum);
    emit rangeChanged();
    setValue(m_value, false);
}

void ThickSlider::setValue(float value, bool animated) {
    // NaN would stick; it stands for "nothing", the minimum.
    const float clamped = std::isnan(value) ? m_minimum : std::clamp(value, m_minimum, m_maximum);
    if (clamped == m_value && animated == m_animated) {
        return;
    }
    m_value = clamped;
    m_animated = animated;
    emit valueChanged();
}

void ThickSlider::setTrackThickness(qreal thickness) {
    m_trackThickness = thickness;
    emit lookChanged();
}

void ThickSlider::setHighlighted(bool highlighted) {
    if (m_highlighted != highlighted) {
        m_highlighted = highlighted;
        emit lookChanged();
    }
}

QRectF ThickSlider::trackRectForBounds(const QRectF& bounds) const {
    return QRectF(0, bounds.height() / 2, bounds.width(), m_trackThickness);
}

void ThickSlider::userDidMoveTo(float value) {
    setValue(value, false);
    emit valueDidChange(this);
}
