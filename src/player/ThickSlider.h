#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QRectF>

// A horizontal slider with a thick track. The value is held within
// [minimumValue, maximumValue]; the QML draws it and hands back the gestures.
class ThickSlider : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panels")
    Q_PROPERTY(float minimumValue READ minimumValue WRITE setMinimumValue NOTIFY rangeChanged)
    Q_PROPERTY(float maximumValue READ maximumValue WRITE setMaximumValue NOTIFY rangeChanged)
    Q_PROPERTY(float value READ value NOTIFY valueChanged)
    Q_PROPERTY(bool animated READ isAnimated NOTIFY valueChanged)
    Q_PROPERTY(qreal trackThickness READ trackThickness WRITE setTrackThickness NOTIFY lookChanged)
    Q_PROPERTY(bool highlighted READ isHighlighted WRITE setHighlighted NOTIFY lookChanged)

public:
    static constexpr qreal kDefaultTrackThickness = 10;

    explicit ThickSlider(QObject* parent = nullptr);

    float minimumValue() const { return m_minimum; }
    void setMinimumValue(float minimum);
    float maximumValue() const { return m_maximum; }
    void setMaximumValue(float maximum);
    float value() const { return m_value; }
    // Clamped to the range; `animated` tells the view to glide there.
    void setValue(float value, bool animated);
    bool isAnimated() const { return m_animated; }

    qreal trackThickness() const { return m_trackThickness; }
    void setTrackThickness(qreal thickness);
    bool isHighlighted() const { return m_highlighted; }
    void setHighlighted(bool highlighted);
    QColor thumbTintColor;
    QColor minimumTrackTintColor;
    QColor maximumTrackTintColor;
    bool isContinuous = true;
    QString thumbImage;
    QString highlightedThumbImage;

    // The track's top edge lies on the middle of the bounds.
    QRectF trackRectForBounds(const QRectF& bounds) const;

    // The user moved the thumb to `value` (clamped); sends valueDidChange.
    Q_INVOKABLE void userDidMoveTo(float value);

signals:
    void rangeChanged();
    // Every change, from code or from the user.
    void valueChanged();
    // A change made by the user only: the control's value-changed event.
    void valueDidChange(ThickSlider* sender);
    void lookChanged();

private:
    float m_minimum = 0;
    float m_maximum = 1;
    float m_value = 0;
    bool m_animated = false;
    qreal m_trackThickness = kDefaultTrackThickness;
    bool m_highlighted = false;
};
