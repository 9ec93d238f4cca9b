#include "SystemVolume.h"

#include <QMetaObject>
#include <algorithm>
#include <cmath>

#include "LazyModule.h"
#include "Log.h"
#include "VolumeServer.h"

namespace {

// Loaded once; when that fails it says why once and answers nullptr from then on.
VolumeServerEntry serverEntry() {
    static const VolumeServerEntry entry = [] {
        QString error;
        const auto resolved = reinterpret_cast<VolumeServerEntry>(
            LazyModule::resolve(SystemVolume::modulePath(), kVolumeServerEntry, &error));
        if (!resolved) {
            systemLog(QStringLiteral("The volume control cannot be loaded: %1").arg(error));
        }
        return resolved;
    }();
    return entry;
}

}  // namespace

SystemVolume::SystemVolume(const QString& server, QObject* parent) : QObject(parent) {
    if (const VolumeServerEntry entry = serverEntry()) {
        const QByteArray serverName = server.toLocal8Bit();
        m_server.reset(entry(server.isEmpty() ? nullptr : serverName.constData(),
                             &SystemVolume::report, this));
    }
}

// The connection goes first, so no report arrives for an object half gone.
SystemVolume::~SystemVolume() {
    m_server.reset();
}

QString SystemVolume::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_SYSTEM_VOLUME_MODULE));
}

void SystemVolume::report(void* self, bool available, double volume) {
    auto* target = static_cast<SystemVolume*>(self);
    QMetaObject::invokeMethod(
        target,
        [target, available, volume] {
            if (target->m_volume != volume) {
                target->m_volume = volume;
                emit target->volumeChanged();
            }
            if (target->m_available != available) {
                target->m_available = available;
                emit target->availableChanged();
            }
        },
        Qt::QueuedConnection);
}

void SystemVolume::setVolume(qreal volume) {
    if (!m_available || !std::isfinite(volume)) {
        return;
    }
    volume = std::clamp(volume, 0.0, 1.0);
    if (m_volume != volume) {
        m_volume = volume;
        emit volumeChanged();
    }
    m_server->setVolume(volume);
}
