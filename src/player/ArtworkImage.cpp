#include "ArtworkImage.h"

#include <QPainter>
#include <QPainterPath>

ArtworkImage::ArtworkImage(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void ArtworkImage::setImage(const QImage& image) {
    m_image = image;
    emit imageChanged();
    update();
}

void ArtworkImage::setRadius(qreal radius) {
    m_radius = radius;
    emit imageChanged();
    update();
}

void ArtworkImage::paint(QPainter* painter) {
    if (m_image.isNull() || width() <= 0 || height() <= 0) {
        return;
    }
    const QRectF target(0, 0, width(), height());
    // Fill the square and cut what stands over, as a record sleeve would.
    const QSizeF scaled =
        QSizeF(m_image.size()).scaled(target.size(), Qt::KeepAspectRatioByExpanding);
    const QRectF source(
        QPointF((scaled.width() - target.width()) / 2 * m_image.width() / scaled.width(),
                (scaled.height() - target.height()) / 2 * m_image.height() / scaled.height()),
        QSizeF(target.width() * m_image.width() / scaled.width(),
               target.height() * m_image.height() / scaled.height()));
    QPainterPath clip;
    clip.addRoundedRect(target, m_radius, m_radius);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setClipPath(clip);
    painter->drawImage(target, m_image, source);
}
