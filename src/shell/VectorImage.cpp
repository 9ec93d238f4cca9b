#include "VectorImage.h"

#include <QLoggingCategory>
#include <QPainter>

Q_LOGGING_CATEGORY(lcVectorImage, "corvantis.images")

namespace {

// qrc:/x and :/x name the same resource; a file URL names a file.
QString pathOf(const QUrl& url) {
    if (url.scheme() == QLatin1String("qrc")) {
        return QLatin1Char(':') + url.path();
    }
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

}  // namespace

VectorImage::VectorImage(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void VectorImage::setSource(const QUrl& source) {
    if (source == m_source) {
        return;
    }
    m_source = source;
    if (source.isEmpty()) {
        m_renderer.load(QByteArray());
    } else if (!m_renderer.load(pathOf(source))) {
        qCWarning(lcVectorImage).noquote()
            << "The drawing" << source.toString() << "could not be read";
    }
    emit sourceChanged();
    update();
}

void VectorImage::paint(QPainter* painter) {
    if (!m_renderer.isValid()) {
        return;
    }
    QSizeF drawn = m_renderer.defaultSize();
    drawn.scale(width(), height(), Qt::KeepAspectRatio);
    const QRectF target((width() - drawn.width()) / 2, (height() - drawn.height()) / 2,
                        drawn.width(), drawn.height());
    m_renderer.render(painter, target);
}
