#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QSizeF>

#include "TactileSlider.h"

class BassBoostView;

class BassBoostViewDelegate {
public:
    virtual ~BassBoostViewDelegate() = default;
    virtual void bassBoostViewDidChangeGain(BassBoostView& view, float gain) = 0;
};

// One slider whose values are minus the bass gain, so that more bass lies
// further down, in the red; the gain moves continuously.
class BassBoostView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the player screen")
    Q_PROPERTY(TactileSlider* slider READ slider CONSTANT)

public:
    static constexpr float kMaximumGain = 10;

    explicit BassBoostView(QObject* parent = nullptr);

    TactileSlider* slider() const { return m_slider; }
    BassBoostViewDelegate* delegate = nullptr;
    float bassGain = 0;
    int tag = 0;

    void didChangeSlider(ThickSlider* sender);
    Q_INVOKABLE void layoutSubviews(const QSizeF& sliderSize);

private:
    TactileSlider* const m_slider;
};
