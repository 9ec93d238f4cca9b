#include "IdleInhibitor.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

#include "Log.h"

namespace {

QDBusMessage screenSaverCall(const QString& method) {
    return QDBusMessage::createMethodCall(IdleInhibitor::serviceName, IdleInhibitor::objectPath,
                                          IdleInhibitor::serviceName, method);
}

}  // namespace

IdleInhibitor::IdleInhibitor(QObject* parent) : QObject(parent) {}

IdleInhibitor::~IdleInhibitor() {
    release();
}

void IdleInhibitor::inhibit(const QString& reason) {
    m_wanted = true;
    if (m_cookie || m_asking) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface() ||
        !bus.interface()->isServiceRegistered(serviceName).value()) {
        return;
    }
    QDBusMessage call = screenSaverCall(QStringLiteral("Inhibit"));
    call << QCoreApplication::applicationName() << reason;
    m_asking = true;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        m_asking = false;
        const QDBusPendingReply<uint> reply = *watcher;
        if (reply.isError()) {
            systemLog(QStringLiteral("The screen saver refused to stay off: ") +
                      reply.error().message());
            return;
        }
        if (!m_wanted) {
            // Given back before the answer came.
            unInhibit(reply.value());
            return;
        }
        m_cookie = reply.value();
        emit inhibitingChanged();
    });
}

void IdleInhibitor::release() {
    m_wanted = false;
    if (const std::optional<uint> cookie = std::exchange(m_cookie, std::nullopt)) {
        unInhibit(*cookie);
        emit inhibitingChanged();
    }
}

void IdleInhibitor::unInhibit(uint cookie) {
    QDBusMessage call = screenSaverCall(QStringLiteral("UnInhibit"));
    call << cookie;
    // No answer is waited for: the service also drops the hold of a client
    // that leaves the bus.
    call.setAutoStartService(false);
    QDBusConnection::sessionBus().send(call);
}
