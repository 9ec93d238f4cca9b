#include "DialogPanArea.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QTouchEvent>
#include <cmath>

#include "DialogMotion.h"

namespace {

// The stretch of movement before a release that its velocity is read from:
// long enough to smooth out single events, short enough that a finger held
// still before letting go releases at rest.
constexpr quint64 kVelocityWindowMs = 100;

}  // namespace

DialogPanArea::DialogPanArea(QQuickItem* parent) : QQuickItem(parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setFiltersChildMouseEvents(true);
}

bool DialogPanArea::contains(const QPointF& point) const {
    const QList<QQuickItem*> children = childItems();
    for (QQuickItem* child : children) {
        if (child->isVisible() && child->isEnabled() && child->contains(mapToItem(child, point))) {
            return true;
        }
    }
    return false;
}

bool DialogPanArea::feed(Phase phase, QPointF scenePos, quint64 timestamp) {
    switch (phase) {
        case Phase::press:
            m_pressed = true;
            m_dragging = false;
            m_start = scenePos;
            m_samples = {{timestamp, scenePos}};
            emit touchBegan();
            return false;
        case Phase::move: {
            if (!m_pressed) {
                return false;
            }
            m_samples.append({timestamp, scenePos});
            while (m_samples.size() > 2 && m_samples.first().time + kVelocityWindowMs < timestamp) {
                m_samples.removeFirst();
            }
            const QPointF moved = scenePos - m_start;
            const bool began =
                !m_dragging && std::hypot(moved.x(), moved.y()) >=
                                   QGuiApplication::styleHints()->startDragDistance();
            if (began) {
                m_dragging = true;
            }
            if (m_dragging) {
                emit panned(
                    static_cast<int>(began ? DialogPanState::began : DialogPanState::changed),
                    moved.y(), 0, 0);
            }
            return m_dragging;
        }
        case Phase::release: {
            const bool dragging = m_dragging;
            if (dragging) {
                m_samples.append({timestamp, scenePos});
                const QPointF velocity = releaseVelocity();
                emit panned(static_cast<int>(DialogPanState::ended), (scenePos - m_start).y(),
                            velocity.x(), velocity.y());
            }
            m_pressed = false;
            m_dragging = false;
            m_samples.clear();
            setKeepMouseGrab(false);
            setKeepTouchGrab(false);
            return dragging;
        }
    }
    return false;
}

QPointF DialogPanArea::releaseVelocity() const {
    const Sample& last = m_samples.last();
    const Sample* first = &last;
    for (const Sample& sample : m_samples) {
        if (sample.time + kVelocityWindowMs >= last.time) {
            first = &sample;
            break;
        }
    }
    const quint64 elapsed = last.time - first->time;
    if (elapsed == 0) {
        return {};
    }
    return (last.position - first->position) * (1000.0 / static_cast<double>(elapsed));
}

void DialogPanArea::cancel() {
    if (m_dragging) {
        emit panned(static_cast<int>(DialogPanState::cancelled), 0, 0, 0);
    }
    m_pressed = false;
    m_dragging = false;
    m_samples.clear();
    setKeepMouseGrab(false);
    setKeepTouchGrab(false);
}

void DialogPanArea::mousePressEvent(QMouseEvent* event) {
    feed(Phase::press, event->scenePosition(), event->timestamp());
    event->accept();
}

void DialogPanArea::mouseMoveEvent(QMouseEvent* event) {
    feed(Phase::move, event->scenePosition(), event->timestamp());
    event->accept();
}

void DialogPanArea::mouseReleaseEvent(QMouseEvent* event) {
    feed(Phase::release, event->scenePosition(), event->timestamp());
    event->accept();
}

void DialogPanArea::mouseUngrabEvent() {
    cancel();
}

void DialogPanArea::touchEvent(QTouchEvent* event) {
    if (event->points().isEmpty()) {
        return;
    }
    const QEventPoint& point = event->points().first();
    switch (point.state()) {
        case QEventPoint::Pressed:
            feed(Phase::press, point.scenePosition(), event->timestamp());
            break;
        case QEventPoint::Updated:
            feed(Phase::move, point.scenePosition(), event->timestamp());
            break;
        case QEventPoint::Released:
            feed(Phase::release, point.scenePosition(), event->timestamp());
            break;
        default:
            break;
    }
    event->accept();
}

void DialogPanArea::touchUngrabEvent() {
    cancel();
}

bool DialogPanArea::childMouseEventFilter(QQuickItem*, QEvent* event) {
    // The child (a button) keeps a tap; a drag is taken from it.
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease: {
            auto* mouse = static_cast<QMouseEvent*>(event);
            const Phase phase = event->type() == QEvent::MouseButtonPress ? Phase::press
                                : event->type() == QEvent::MouseMove      ? Phase::move
                                                                          : Phase::release;
            if (!feed(phase, mouse->scenePosition(), mouse->timestamp())) {
                return false;
            }
            if (phase == Phase::move && keepMouseGrab() == false) {
                grabMouse();
                setKeepMouseGrab(true);
            }
            return true;
        }
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd: {
            auto* touch = static_cast<QTouchEvent*>(event);
            if (touch->points().isEmpty()) {
                return false;
            }
            const QEventPoint& point = touch->points().first();
            const Phase phase = event->type() == QEvent::TouchBegin    ? Phase::press
                                : event->type() == QEvent::TouchUpdate ? Phase::move
                                                                       : Phase::release;
            if (!feed(phase, point.scenePosition(), touch->timestamp())) {
                return false;
            }
            if (phase == Phase::move) {
                touch->setExclusiveGrabber(point, this);
                setKeepTouchGrab(true);
            }
            return true;
        }
        case QEvent::UngrabMouse:
            return false;
        default:
            return false;
    }
}
