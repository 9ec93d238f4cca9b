#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QPointF>
#include <QQuickItem>

class QPointerEvent;

// The dialog card's touch surface. Only its visible, interactive children
// take touches, wherever they stand: a section or the top of the image disc
// outside the card does, the card's empty padding doesn't. A drag that
// starts anywhere on them, buttons included once the finger has moved far
// enough, is reported as a vertical pan with its release velocity, in the
// coordinates of the window, since the card moves under the finger.
class DialogPanArea : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit DialogPanArea(QQuickItem* parent = nullptr);

    bool contains(const QPointF& point) const override;

signals:
    // A finger came down on the card; drags are measured from where it stands.
    void touchBegan();
    // `state` as DialogPanState; velocities in points a second, at release.
    void panned(int state, qreal translation, qreal velocityX, qreal velocityY);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    bool childMouseEventFilter(QQuickItem* item, QEvent* event) override;

private:
    enum class Phase { press, move, release };
    // Feeds one point of a press, move or release; says whether a drag is on.
    bool feed(Phase phase, QPointF scenePos, quint64 timestamp);
    void cancel();
    QPointF releaseVelocity() const;

    struct Sample {
        quint64 time;
        QPointF position;
    };
    bool m_pressed = false;
    bool m_dragging = false;
    QPointF m_start;
    QList<Sample> m_samples;
};
