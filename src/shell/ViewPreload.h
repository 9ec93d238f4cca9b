#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

class QQmlComponent;
class QQmlEngine;

// Starts loading views on the engine's loader thread (their imports, the
// plugins those bring, their compiled code) while the start goes on with
// work of its own; when the window later makes them, they are ready. Nothing
// is created: a view is made where it always is. A view that cannot be loaded
// is logged by its address, so a renamed file shows at the next start rather
// than as a slower one.
class ViewPreload : public QObject {
    Q_OBJECT

public:
    ViewPreload(QQmlEngine& engine, const QList<QUrl>& views, QObject* parent = nullptr);

    // How many views are still loading, and how many failed.
    int pendingCount() const { return m_pending; }
    int failedCount() const { return m_failed; }

signals:
    // Every view has loaded or failed.
    void finished();

private:
    void settle(QQmlComponent* component);

    int m_pending = 0;
    int m_failed = 0;
};
