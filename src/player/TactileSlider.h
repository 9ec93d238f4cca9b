#pragma once

#include <QtQml/qqmlregistration.h>
#include <QBrush>
#include <QColor>
#include <QList>
#include <QSizeF>

#include "ThickSlider.h"

// The wide touch slider of the bass and volume panels: a ThickSlider whose
// track is painted with a fill the panel gives it.
class TactileSlider : public ThickSlider {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panels")
    Q_PROPERTY(QList<QColor> trackColors READ trackColors NOTIFY trackColorChanged)

public:
    explicit TactileSlider(float minimum, float maximum, QObject* parent = nullptr);

    QBrush trackColor() const { return m_trackColor; }
    // The colours the fill runs through, for the view's gradient.
    QList<QColor> trackColors() const { return m_trackColors; }
    void setTrackColor(const QBrush& fill, const QList<QColor>& colors);

signals:
    void trackColorChanged();

private:
    QBrush m_trackColor;
    QList<QColor> m_trackColors;
};

// Green at the top, through orange, to red at the bottom: the louder end of
// both panels is the red one.
QList<QColor> soundPanelTrackColors();
// Gives the slider that gradient over a frame of `size`, top to bottom.
void colourSoundPanelSlider(TactileSlider& slider, const QSizeF& size);
