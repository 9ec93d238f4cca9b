#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickPaintedItem>
#include <QUrl>

// A picture cut to the circle that fits the item, filling it the way a
// photo fills a round frame (cropped, not stretched).
class RoundImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(bool ready READ isReady NOTIFY sourceChanged)

public:
    explicit RoundImage(QQuickItem* parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl& source);
    bool isReady() const { return !m_image.isNull(); }

    void paint(QPainter* painter) override;

signals:
    void sourceChanged();

private:
    QUrl m_source;
    QImage m_image;
};
