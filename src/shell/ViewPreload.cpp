#include "ViewPreload.h"

#include <QQmlComponent>

#include "Log.h"

ViewPreload::ViewPreload(QQmlEngine& engine, const QList<QUrl>& views, QObject* parent)
    : QObject(parent) {
    for (const QUrl& view : views) {
        auto* component = new QQmlComponent(&engine, view, QQmlComponent::Asynchronous, this);
        ++m_pending;
        if (component->isLoading()) {
            connect(component, &QQmlComponent::statusChanged, this,
                    [this, component] { settle(component); });
        } else {
            settle(component);
        }
    }
}

void ViewPreload::settle(QQmlComponent* component) {
    if (component->isLoading()) {
        return;
    }
    disconnect(component, nullptr, this, nullptr);
    if (component->isError()) {
        ++m_failed;
        systemLog(QStringLiteral("A view of the first screen cannot be loaded: %1 %2")
                      .arg(component->url().toString(), component->errorString().trimmed()));
    }
    if (--m_pending == 0) {
        emit finished();
    }
}
