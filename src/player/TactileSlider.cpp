#include "TactileSlider.h"

#include "GradientFill.h"

TactileSlider::TactileSlider(float minimum, float maximum, QObject* parent) : ThickSlider(parent) {
    setMinimumValue(minimum);
    setMaximumValue(maximum);
}

void TactileSlider::setTrackColor(const QBrush& fill, const QList<QColor>& colors) {
    m_trackColor = fill;
    m_trackColors = colors;
    emit trackColorChanged();
}

QList<QColor> soundPanelTrackColors() {
    return {QColor::fromRgbF(0.4453125f, 0.671875f, 0.2734375f, 1),
            QColor::fromRgbF(0.93359375f, 0.41796875f, 0.1640625f, 1),
            QColor::fromRgbF(0.9921875f, 0.03125f, 0.01171875f, 1)};
}

void colourSoundPanelSlider(TactileSlider& slider, const QSizeF& size) {
    const QList<QColor> colors = soundPanelTrackColors();
    slider.setTrackColor(makeGradientColor(size, colors, false), colors);
}
