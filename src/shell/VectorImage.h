#pragma once

#include <QQuickPaintedItem>
#include <QSvgRenderer>
#include <QUrl>

// A vector drawing painted at the size it is shown, kept in its aspect and
// centred. Drawn straight from the file each time the item's size changes,
// so no scaled copies pile up in a cache.
class VectorImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(bool valid READ isValid NOTIFY sourceChanged)

public:
    explicit VectorImage(QQuickItem* parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl& source);
    bool isValid() const { return m_renderer.isValid(); }

    void paint(QPainter* painter) override;

signals:
    void sourceChanged();

private:
    QUrl m_source;
    QSvgRenderer m_renderer;
};
