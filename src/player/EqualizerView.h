#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QObject>

#include "ThickVerticalSlider.h"

class EqualizerViewDelegate {
public:
    virtual ~EqualizerViewDelegate() = default;
    virtual void equalizerViewDidChangeBand(float frequency, float gain) = 0;
};

// Five vertical band sliders, tagged with their band's frequency; moves come
// out in whole decibels.
class EqualizerView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the player screen")
    Q_PROPERTY(QList<ThickVerticalSlider*> sliders READ sliders CONSTANT)

public:
    // Wide enough for every preset's gains (-8 to 6 dB), and even about 0.
    static constexpr float kMinimumGain = -12;
    static constexpr float kMaximumGain = 12;

    explicit EqualizerView(QObject* parent = nullptr);

    QList<ThickVerticalSlider*> sliders() const { return m_sliders; }
    // The slider tagged `tag`; null when there is none.
    ThickVerticalSlider* sliderWithTag(int tag) const;

    EqualizerViewDelegate* delegate = nullptr;
    int tag = 0;

    void valueDidChange(ThickVerticalSlider* sender);

private:
    QList<ThickVerticalSlider*> m_sliders;
};
