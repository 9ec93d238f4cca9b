#include "RoundImage.h"

#include <QLoggingCategory>
#include <QPainter>
#include <QPainterPath>

namespace {

Q_LOGGING_CATEGORY(lcRoundImage, "corvantis.dialog")

QString localPath(const QUrl& url) {
    if (url.scheme() == QLatin1String("qrc")) {
        return QLatin1Char(':') + url.path();
    }
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

}  // namespace

RoundImage::RoundImage(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void RoundImage::setSource(const QUrl& source) {
    if (m_source == source) {
        return;
    }
    m_source = source;
    m_image = QImage();
    if (!source.isEmpty() && !m_image.load(localPath(source))) {
        qCWarning(lcRoundImage) << "could not read the image" << source;
    }
    emit sourceChanged();
    update();
}

void RoundImage::paint(QPainter* painter) {
    if (m_image.isNull() || width() <= 0 || height() <= 0) {
        return;
    }
    const QRectF target = boundingRect();
    QPainterPath circle;
    circle.addEllipse(target);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setClipPath(circle);
    // The middle of the picture, as large as the circle allows.
    const QSizeF size = m_image.size();
    const qreal scale = std::max(target.width() / size.width(), target.height() / size.height());
    const QSizeF shown(target.width() / scale, target.height() / scale);
    const QRectF source(
        QPointF((size.width() - shown.width()) / 2, (size.height() - shown.height()) / 2), shown);
    painter->drawImage(target, m_image, source);
}
