#pragma once

#include <QBrush>
#include <QColor>
#include <QList>
#include <QQuickPaintedItem>
#include <QSizeF>

// The fill of a gradient over an area of `size`: the colours evenly spaced in
// their order, left to right when `horizontal`, else top to bottom.
QBrush makeGradientColor(const QSizeF& size, const QList<QColor>& colors, bool horizontal);

// The same fill as a QML item with rounded corners, for the tutorial's
// continue button and the sound panels' slider tracks. It follows its size.
class GradientFill : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QList<QColor> colors READ colors WRITE setColors NOTIFY changed)
    Q_PROPERTY(bool horizontal READ horizontal WRITE setHorizontal NOTIFY changed)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY changed)
    Q_PROPERTY(QColor borderColor READ borderColor WRITE setBorderColor NOTIFY changed)
    Q_PROPERTY(qreal borderWidth READ borderWidth WRITE setBorderWidth NOTIFY changed)

public:
    explicit GradientFill(QQuickItem* parent = nullptr);

    QList<QColor> colors() const { return m_colors; }
    void setColors(const QList<QColor>& colors);
    bool horizontal() const { return m_horizontal; }
    void setHorizontal(bool horizontal);
    qreal radius() const { return m_radius; }
    void setRadius(qreal radius);
    QColor borderColor() const { return m_borderColor; }
    void setBorderColor(const QColor& color);
    qreal borderWidth() const { return m_borderWidth; }
    void setBorderWidth(qreal width);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    QList<QColor> m_colors;
    bool m_horizontal = false;
    qreal m_radius = 0;
    QColor m_borderColor = Qt::transparent;
    qreal m_borderWidth = 2;
};
