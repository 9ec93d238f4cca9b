#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickPaintedItem>
#include <QString>
#include <vector>

// A QR code of a short text (an address), drawn dark on light with the quiet
// border scanners need, as large as the item allows with whole pixels per module.
class QrCodeItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(int moduleCount READ moduleCount NOTIFY textChanged)

public:
    explicit QrCodeItem(QQuickItem* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);
    // Modules along one side; 0 when there is no code (empty or too long a text).
    int moduleCount() const { return m_width; }
    bool isDark(int x, int y) const;

    void paint(QPainter* painter) override;

signals:
    void textChanged();

private:
    QString m_text;
    int m_width = 0;
    std::vector<bool> m_modules;
};
