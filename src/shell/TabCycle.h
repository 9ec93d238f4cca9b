#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

// Keeps Tab and Shift+Tab going round the item it is placed in: a screen
// presented over others leaves what it covers out of the keyboard's reach,
// as it is out of sight. Only while the keyboard's focus is inside that
// item; elsewhere Tab goes on through the window as usual.
class TabCycle : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit TabCycle(QQuickItem* parent = nullptr);
    ~TabCycle() override;

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void watch(QQuickWindow* window);
    // The next stop inside the scope, or none when it has none.
    QQuickItem* nextStop(QQuickItem* from, bool forward) const;

    QPointer<QQuickWindow> m_window;
};
