#include "BlurredBackdrop.h"

#include <QPainter>
#include <QQuickWindow>

BlurredBackdrop::BlurredBackdrop(QQuickItem* parent) : QQuickPaintedItem(parent) {}

bool BlurredBackdrop::capture() {
    QQuickWindow* shown = window();
    if (shown == nullptr) {
        return false;
    }
    const QImage grabbed = shown->grabWindow();
    if (grabbed.isNull()) {
        return false;
    }
    m_image = blurred(grabbed);
    emit capturedChanged();
    update();
    return true;
}

QImage BlurredBackdrop::blurred(const QImage& image, int factor) {
    if (image.isNull() || factor < 2) {
        return image;
    }
    const QSize full = image.size();
    const QSize small = (full / factor).expandedTo(QSize(1, 1));
    const QSize middle = (full / std::max(2, factor / 4)).expandedTo(QSize(1, 1));
    return image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(middle, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(full, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void BlurredBackdrop::paint(QPainter* painter) {
    if (m_image.isNull()) {
        return;
    }
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(boundingRect(), m_image);
}
