#include "QrCodeItem.h"

#include <QPainter>
#include <algorithm>

#include "UploadLibraries.h"

namespace {
constexpr int quietModules = 4;
}

QrCodeItem::QrCodeItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(false);
}

void QrCodeItem::setText(const QString& text) {
    if (text == m_text) {
        return;
    }
    m_text = text;
    m_width = 0;
    m_modules.clear();
    // Without the encoder's module (logged as it fails to load) the address
    // still shows as text beside the empty square.
    const UploadLibraries* libraries = text.isEmpty() ? nullptr : UploadLibraries::shared();
    if (libraries) {
        const QByteArray bytes = text.toUtf8();
        if (QRcode* code =
                libraries->qrCode.encodeString(bytes.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1)) {
            m_width = code->width;
            m_modules.resize(size_t(m_width) * size_t(m_width));
            for (size_t i = 0; i < m_modules.size(); ++i) {
                m_modules[i] = (code->data[i] & 1) != 0;
            }
            libraries->qrCode.free(code);
        }
    }
    emit textChanged();
    update();
}

bool QrCodeItem::isDark(int x, int y) const {
    if (x < 0 || y < 0 || x >= m_width || y >= m_width) {
        return false;
    }
    return m_modules[size_t(y) * size_t(m_width) + size_t(x)];
}

void QrCodeItem::paint(QPainter* painter) {
    if (m_width == 0) {
        return;
    }
    const int side = int(std::min(width(), height()));
    const int total = m_width + 2 * quietModules;
    const int unit = std::max(1, side / total);
    const int drawn = unit * total;
    const int left = (int(width()) - drawn) / 2;
    const int top = (int(height()) - drawn) / 2;
    painter->fillRect(left, top, drawn, drawn, Qt::white);
    for (int y = 0; y < m_width; ++y) {
        for (int x = 0; x < m_width; ++x) {
            if (isDark(x, y)) {
                painter->fillRect(left + (x + quietModules) * unit, top + (y + quietModules) * unit,
                                  unit, unit, Qt::black);
            }
        }
    }
}
