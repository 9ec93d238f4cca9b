#include "GradientFill.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

QBrush makeGradientColor(const QSizeF& size, const QList<QColor>& colors, bool horizontal) {
    if (colors.isEmpty()) {
        return QBrush(Qt::transparent);
    }
    if (colors.size() == 1) {
        return QBrush(colors.first());
    }
    const QPointF end = horizontal ? QPointF(size.width(), 0) : QPointF(0, size.height());
    QLinearGradient gradient(QPointF(0, 0), end);
    const qsizetype last = colors.size() - 1;
    for (qsizetype i = 0; i <= last; ++i) {
        gradient.setColorAt(static_cast<qreal>(i) / static_cast<qreal>(last), colors[i]);
    }
    return QBrush(gradient);
}

GradientFill::GradientFill(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    connect(this, &GradientFill::changed, this, [this] { update(); });
}

void GradientFill::setColors(const QList<QColor>& colors) {
    if (m_colors == colors) {
        return;
    }
    m_colors = colors;
    emit changed();
}

void GradientFill::setHorizontal(bool horizontal) {
    if (m_horizontal == horizontal) {
        return;
    }
    m_horizontal = horizontal;
    emit changed();
}

void GradientFill::setRadius(qreal radius) {
    if (qFuzzyCompare(m_radius, radius)) {
        return;
    }
    m_radius = radius;
    emit changed();
}

void GradientFill::setBorderColor(const QColor& color) {
    if (m_borderColor == color) {
        return;
    }
    m_borderColor = color;
    emit changed();
}

void GradientFill::setBorderWidth(qreal width) {
    if (qFuzzyCompare(m_borderWidth, width)) {
        return;
    }
    m_borderWidth = width;
    emit changed();
}

void GradientFill::paint(QPainter* painter) {
    const QRectF area = boundingRect();
    if (area.isEmpty()) {
        return;
    }
    painter->setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    const qreal radius = std::min({m_radius, area.width() / 2, area.height() / 2});
    path.addRoundedRect(area, radius, radius);
    painter->fillPath(path, makeGradientColor(area.size(), m_colors, m_horizontal));
    if (m_borderColor.alpha() > 0 && m_borderWidth > 0) {
        const qreal inset = m_borderWidth / 2;
        QPainterPath edge;
        edge.addRoundedRect(area.adjusted(inset, inset, -inset, -inset), radius, radius);
        painter->setPen(QPen(m_borderColor, m_borderWidth));
        painter->drawPath(edge);
    }
}
