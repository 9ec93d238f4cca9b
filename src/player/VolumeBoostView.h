#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QSizeF>
#include <optional>

#include "TactileSlider.h"

class VolumeBoostView;

class VolumeBoostViewDelegate {
public:
    virtual ~VolumeBoostViewDelegate() = default;
    virtual void volumeBoostViewDidChangeGain(VolumeBoostView& view, int gain) = 0;
};

// One slider of five stops, each a fixed overall gain: the most boost at the
// top (value -1), a slight cut at the bottom (value 0).
class VolumeBoostView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the player screen")
    Q_PROPERTY(TactileSlider* slider READ slider CONSTANT)

public:
    explicit VolumeBoostView(QObject* parent = nullptr);

    TactileSlider* slider() const { return m_slider; }
    VolumeBoostViewDelegate* delegate = nullptr;
    float globalGain = 0;
    int tag = 0;

    // The gain of a stop; none for a value between or beyond the stops.
    static std::optional<int> gainForSliderValue(float value);
    // The stop of a stored gain; none for a gain no stop gives back.
    static std::optional<float> sliderValueForGain(float gain);

    // A touch at `y` in a slider `height` high, top at 0.
    Q_INVOKABLE void didPanSlider(qreal y, qreal height);
    // Puts the slider at the stop of globalGain, when it has one.
    Q_INVOKABLE void updateSlider();
    Q_INVOKABLE void layoutSubviews(const QSizeF& sliderSize);

private:
    TactileSlider* const m_slider;
};
