#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickPaintedItem>

// A blurred picture of what the window showed when it was taken: the screen
// behind a dialog, taken before the dialog draws anything.
class BlurredBackdrop : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool captured READ isCaptured NOTIFY capturedChanged)

public:
    explicit BlurredBackdrop(QQuickItem* parent = nullptr);

    // Takes the window as it stands now; false when there is no window to take.
    Q_INVOKABLE bool capture();
    bool isCaptured() const { return !m_image.isNull(); }

    // A soft blur: the picture shrunk by `factor`, blurred there, and
    // spread out again.
    static QImage blurred(const QImage& image, int factor = 8);

    void paint(QPainter* painter) override;

signals:
    void capturedChanged();

private:
    QImage m_image;
};
