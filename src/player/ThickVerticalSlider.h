#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QTransform>

#include "ThickSlider.h"

// A vertical slider: one ThickSlider turned by a quarter circle. Every
// property is the inner slider's; a move of the inner slider comes out as
// this control's own valueDidChange, with this control as the sender.
class ThickVerticalSlider : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer panel")
    Q_PROPERTY(ThickSlider* slider READ slider CONSTANT)
    Q_PROPERTY(int tag READ tag CONSTANT)
    Q_PROPERTY(bool ascending READ isAscending WRITE setAscending NOTIFY ascendingChanged)
    Q_PROPERTY(float minimumValue READ minimumValue CONSTANT)
    Q_PROPERTY(float maximumValue READ maximumValue CONSTANT)

public:
    // The inner slider's own height across its track.
    static constexpr qreal kSliderHeight = 31;

    struct Layout {
        QSizeF innerBounds;
        QPointF innerCenter;
    };

    explicit ThickVerticalSlider(int tag = 0, QObject* parent = nullptr);

    ThickSlider* slider() const { return m_slider; }
    int tag() const { return m_tag; }

    bool isAscending() const { return m_ascending; }
    void setAscending(bool ascending);
    // Descending: the minimum lies at the bottom.
    QTransform innerTransform() const { return m_transform; }

    float minimumValue() const { return m_slider->minimumValue(); }
    void setMinimumValue(float value) { m_slider->setMinimumValue(value); }
    float maximumValue() const { return m_slider->maximumValue(); }
    void setMaximumValue(float value) { m_slider->setMaximumValue(value); }
    float value() const { return m_slider->value(); }
    // Glides there, as a value written from code does.
    void setValue(float value) { m_slider->setValue(value, true); }
    QColor thumbTintColor() const { return m_slider->thumbTintColor; }
    void setThumbTintColor(const QColor& color) { m_slider->thumbTintColor = color; }
    QColor minimumTrackTintColor() const { return m_slider->minimumTrackTintColor; }
    void setMinimumTrackTintColor(const QColor& color) { m_slider->minimumTrackTintColor = color; }
    QColor maximumTrackTintColor() const { return m_slider->maximumTrackTintColor; }
    void setMaximumTrackTintColor(const QColor& color) { m_slider->maximumTrackTintColor = color; }
    bool isContinuous() const { return m_slider->isContinuous; }
    void setContinuous(bool continuous) { m_slider->isContinuous = continuous; }
    QString thumbImage() const { return m_slider->thumbImage; }
    void setThumbImage(const QString& image) { m_slider->thumbImage = image; }
    QString highlightedThumbImage() const { return m_slider->highlightedThumbImage; }
    void setHighlightedThumbImage(const QString& image) { m_slider->highlightedThumbImage = image; }
    qreal trackThickness() const { return m_slider->trackThickness(); }
    void setTrackThickness(qreal thickness) { m_slider->setTrackThickness(thickness); }
    bool isHighlighted() const { return m_slider->isHighlighted(); }
    void setHighlighted(bool highlighted) { m_slider->setHighlighted(highlighted); }

    // The inner slider's natural size, on its side.
    QSizeF intrinsicContentSize() const;
    // Where the inner slider goes in a control of these bounds: as long as
    // the control is high, centred on the control's middle.
    Layout layoutSubviews(const QRectF& bounds) const;

signals:
    void ascendingChanged();
    void valueDidChange(ThickVerticalSlider* sender);

private:
    void didChangeValue();

    ThickSlider* const m_slider;
    const int m_tag;
    bool m_ascending = false;
    QTransform m_transform;
};
