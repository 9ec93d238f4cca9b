#include "ThickVerticalSlider.h"

ThickVerticalSlider::ThickVerticalSlider(int tag, QObject* parent)
    : QObject(parent), m_slider(new ThickSlider(this)), m_tag(tag) {
    m_transform.rotate(-90);
    connect(m_slider, &ThickSlider::valueDidChange, this, &ThickVerticalSlider::didChangeValue);
}

void ThickVerticalSlider::setAscending(bool ascending) {
    m_ascending = ascending;
    m_transform = QTransform();
    if (ascending) {
        m_transform.rotate(90);
        m_transform.scale(1, -1);
    } else {
        m_transform.rotate(-90);
    }
    emit ascendingChanged();
}

QSizeF ThickVerticalSlider::intrinsicContentSize() const {
    // A slider has no natural length, only a natural height (-1: none).
    const QSizeF inner(-1, kSliderHeight);
    return inner.transposed();
}

ThickVerticalSlider::Layout ThickVerticalSlider::layoutSubviews(const QRectF& bounds) const {
    Layout layout;
    layout.innerBounds = QSizeF(bounds.height(), kSliderHeight);
    layout.innerCenter = QPointF(bounds.center().x(), bounds.center().y());
    return layout;
}

void ThickVerticalSlider::didChangeValue() {
    emit valueDidChange(this);
}
