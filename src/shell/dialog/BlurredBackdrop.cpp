#include "BlurredBackdrop.h"

#include <QPainter>
#include <QQuickWindow>
#include <QTransform>
#include <algorithm>

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

namespace {

// One pass of a box blur along rows (or, transposed, columns) of a small
// premultiplied picture; three passes come close to a Gaussian.
void boxBlurRows(QImage& image, int radius) {
    const int width = image.width();
    QList<QRgb> line(width);
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::copy(row, row + width, line.begin());
        for (int x = 0; x < width; ++x) {
            int a = 0, r = 0, g = 0, b = 0, count = 0;
            for (int k = std::max(0, x - radius); k <= std::min(width - 1, x + radius); ++k) {
                const QRgb p = line[k];
                a += qAlpha(p);
                r += qRed(p);
                g += qGreen(p);
                b += qBlue(p);
                ++count;
            }
            row[x] = qRgba(r / count, g / count, b / count, a / count);
        }
    }
}

}  // namespace

QImage BlurredBackdrop::blurred(const QImage& image, int factor) {
    if (image.isNull() || factor < 2) {
        return image;
    }
    const QSize full = image.size();
    const QSize small = (full / factor).expandedTo(QSize(1, 1));
    QImage work = image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                      .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int pass = 0; pass < 3; ++pass) {
        boxBlurRows(work, 2);
        work = work.transformed(QTransform().rotate(90));
        boxBlurRows(work, 2);
        work = work.transformed(QTransform().rotate(-90));
    }
    return work.scaled(full, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void BlurredBackdrop::paint(QPainter* painter) {
    if (m_image.isNull()) {
        return;
    }
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(boundingRect(), m_image);
}
