#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickPaintedItem>

// A track's picture, filling the item and cut to its shape, with rounded
// corners. Painted from memory: the picture has no file of its own.
class ArtworkImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QImage image READ image WRITE setImage NOTIFY imageChanged)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY imageChanged)

public:
    explicit ArtworkImage(QQuickItem* parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage& image);
    qreal radius() const { return m_radius; }
    void setRadius(qreal radius);

    void paint(QPainter* painter) override;

signals:
    void imageChanged();

private:
    QImage m_image;
    qreal m_radius = 0;
};
