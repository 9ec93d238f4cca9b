#include "DialogMotion.h"

#include <QLoggingCategory>
#include <cmath>

namespace {

Q_LOGGING_CATEGORY(lcDialog, "corvantis.dialog")

}  // namespace

void DialogMotion::setLayout(const QRectF& viewFrame, double cardHeight, double imageHeight) {
    m_viewFrame = viewFrame;
    m_cardHeight = cardHeight;
    m_imageHeight = imageHeight;
}

std::optional<QPointF> DialogMotion::setContentOffset(double offset) {
    m_contentOffset = offset;
    if (!m_loaded) {
        return std::nullopt;
    }
    // An animation's end state is the card's state from the moment it is set
    // up, so the next drag already starts from the new home.
    m_center = homePosition();
    m_lastLocation = m_center;
    return m_center;
}

void DialogMotion::cardLoaded() {
    m_loaded = true;
    m_center = homePosition();
    m_lastLocation = m_center;
}

QPointF DialogMotion::homePosition() const {
    const QPointF viewCenter = m_viewFrame.center();
    return {viewCenter.x(), viewCenter.y() + m_contentOffset};
}

QPointF DialogMotion::belowScreen() const {
    // The bottom of the view's own bounds, whose origin is its top-left.
    return {m_center.x(), m_viewFrame.height() + m_cardHeight / 2};
}

std::optional<QPointF> DialogMotion::beginEntry() {
    if (m_entered) {
        return std::nullopt;
    }
    m_entered = true;
    m_center = belowScreen();
    const QPointF start = m_center;
    m_center = homePosition();
    return start;
}

QPointF DialogMotion::beginDismissal() {
    m_center = belowScreen();
    return m_center;
}

double DialogMotion::dragY(double translation) const {
    const double homeY = homePosition().y();
    const double lastY = m_lastLocation.y();
    // The band holds back a pull upward past home: the further, the less the
    // card gives, and the 0.1 keeps it from stopping outright. Whether the
    // pull is past home is judged from where the card stands now.
    if (rubberEnabled && dismissDirection == DialogDismissDirection::bottom &&
        translation + m_center.y() < homeY) {
        const double distance = std::abs(homeY - (translation + lastY));
        return lastY + translation * (std::sqrt(1 / (distance + 1)) + 0.1);
    }
    return lastY + translation;
}

DialogMove DialogMotion::release(QPointF velocity) const {
    if (dismissDirection == DialogDismissDirection::none) {
        return DialogMove::snapBack;
    }
    // Single precision throughout, so that a release a hair over 200 points a
    // second can still round down to exactly 200 and spring back.
    const float xx = static_cast<float>(velocity.x() * velocity.x());
    const float yy = static_cast<float>(velocity.y() * velocity.y());
    if (std::sqrt(xx + yy) / 200.0f <= 1.0f) {
        return DialogMove::snapBack;
    }
    const bool up = velocity.y() <= 0;
    const bool allowed = up ? dismissDirection != DialogDismissDirection::bottom
                            : dismissDirection != DialogDismissDirection::top;
    if (!allowed) {
        return DialogMove::snapBack;
    }
    return up ? DialogMove::flingUp : DialogMove::flingDown;
}

QPointF DialogMotion::targetOf(DialogMove move) const {
    switch (move) {
        case DialogMove::none:
            return m_center;
        case DialogMove::snapBack:
        case DialogMove::jumpHome:
            return homePosition();
        case DialogMove::flingUp:
            return {m_viewFrame.center().x(), -m_cardHeight / 2};
        case DialogMove::flingDown:
            return {m_viewFrame.center().x(),
                    m_viewFrame.bottom() + m_cardHeight / 2 + m_imageHeight};
    }
    return m_center;
}

DialogPanStep DialogMotion::pan(DialogPanState state, double translation, QPointF velocity) {
    DialogPanStep step;
    const bool finite =
        std::isfinite(translation) && std::isfinite(velocity.x()) && std::isfinite(velocity.y());
    if (!finite) {
        qCWarning(lcDialog) << "drag callback left out: translation" << translation << "velocity"
                            << velocity;
    }
    if (!allowDragGesture || !finite) {
        step.dragged = step.target = m_center;
        return step;
    }
    step.moved = true;
    m_center = {m_lastLocation.x(), dragY(translation)};
    step.dragged = m_center;
    if (state == DialogPanState::ended) {
        step.move = release(velocity);
    } else if (state == DialogPanState::cancelled || state == DialogPanState::failed) {
        step.move = DialogMove::jumpHome;
    }
    m_center = targetOf(step.move);
    step.target = m_center;
    return step;
}

std::optional<DialogBounce> DialogMotion::bounce(double offset, double duration) {
    if (!m_loaded) {
        return std::nullopt;
    }
    DialogBounce legs;
    legs.out = {m_lastLocation.x(), m_lastLocation.y() + offset};
    legs.back = homePosition();
    legs.legDuration = duration / 2;
    m_center = legs.back;
    return legs;
}
