#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

class QQmlEngine;
class QJSEngine;

// The window's size and place, kept across launches. A phone-sized window
// the first time; a stored value that makes no sense gives way to that.
class WindowGeometry : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(int x READ x CONSTANT)
    Q_PROPERTY(int y READ y CONSTANT)
    Q_PROPERTY(int width READ width CONSTANT)
    Q_PROPERTY(int height READ height CONSTANT)

public:
    static constexpr int kDefaultWidth = 390;
    static constexpr int kDefaultHeight = 844;

    explicit WindowGeometry(QObject* parent = nullptr);
    static WindowGeometry* create(QQmlEngine*, QJSEngine*);

    int x() const { return m_x; }
    int y() const { return m_y; }
    int width() const { return m_width; }
    int height() const { return m_height; }

    Q_INVOKABLE void save(int x, int y, int width, int height);

private:
    void centreOnPrimaryScreen();

    int m_x = 0;
    int m_y = 0;
    int m_width = kDefaultWidth;
    int m_height = kDefaultHeight;
};
