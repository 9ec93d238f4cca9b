#include "SystemVolume.h"

#include <pulse/pulseaudio.h>

#include <QLoggingCategory>
#include <QMetaObject>
#include <algorithm>
#include <cmath>

Q_LOGGING_CATEGORY(lcSystemVolume, "corvantis.player.volume")

namespace {

// Holds the library's lock for a scope on this thread.
class MainloopLock {
public:
    explicit MainloopLock(pa_threaded_mainloop* mainloop) : m_mainloop(mainloop) {
        pa_threaded_mainloop_lock(m_mainloop);
    }
    ~MainloopLock() { pa_threaded_mainloop_unlock(m_mainloop); }
    MainloopLock(const MainloopLock&) = delete;
    MainloopLock& operator=(const MainloopLock&) = delete;

private:
    pa_threaded_mainloop* m_mainloop;
};

}  // namespace

SystemVolume::SystemVolume(const QString& server, QObject* parent) : QObject(parent) {
    m_mainloop = pa_threaded_mainloop_new();
    if (!m_mainloop) {
        qCWarning(lcSystemVolume) << "no event loop for the sound server";
        return;
    }
    m_context = pa_context_new(pa_threaded_mainloop_get_api(m_mainloop), "Corvantis");
    if (!m_context) {
        qCWarning(lcSystemVolume) << "no connection object for the sound server";
        return;
    }
    pa_context_set_state_callback(m_context, &SystemVolume::contextStateChanged, this);
    pa_context_set_subscribe_callback(
        m_context,
        [](pa_context*, pa_subscription_event_type_t, uint32_t, void* self) {
            static_cast<SystemVolume*>(self)->queryDefaultSink();
        },
        this);
    const QByteArray serverName = server.toLocal8Bit();
    // No autospawn: a machine without a sound server stays without one.
    if (pa_context_connect(m_context, server.isEmpty() ? nullptr : serverName.constData(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        qCInfo(lcSystemVolume) << "no sound server:" << pa_strerror(pa_context_errno(m_context));
        return;
    }
    if (pa_threaded_mainloop_start(m_mainloop) < 0) {
        qCWarning(lcSystemVolume) << "cannot start the sound server's event loop";
    }
}

SystemVolume::~SystemVolume() {
    if (m_mainloop) {
        pa_threaded_mainloop_stop(m_mainloop);
    }
    if (m_context) {
        pa_context_set_state_callback(m_context, nullptr, nullptr);
        pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
        pa_context_disconnect(m_context);
        pa_context_unref(m_context);
    }
    if (m_mainloop) {
        pa_threaded_mainloop_free(m_mainloop);
    }
}

void SystemVolume::contextStateChanged(pa_context* context, void* data) {
    auto* self = static_cast<SystemVolume*>(data);
    switch (pa_context_get_state(context)) {
        case PA_CONTEXT_READY: {
            const auto mask =
                pa_subscription_mask_t(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER);
            if (pa_operation* operation = pa_context_subscribe(context, mask, nullptr, nullptr)) {
                pa_operation_unref(operation);
            }
            self->queryDefaultSink();
            break;
        }
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            qCInfo(lcSystemVolume)
                << "sound server gone:" << pa_strerror(pa_context_errno(context));
            self->report(false, 0);
            break;
        default:
            break;
    }
}

// On the library's thread: the default sink may have changed too, so it is
// looked up by name each time.
void SystemVolume::queryDefaultSink() {
    static constexpr auto sinkInfo = [](pa_context*, const pa_sink_info* info, int eol,
                                        void* data) {
        auto* self = static_cast<SystemVolume*>(data);
        if (eol < 0) {
            self->report(false, 0);
            return;
        }
        if (eol > 0 || !info) {
            return;
        }
        self->m_sinkName = QString::fromUtf8(info->name);
        self->m_channels = info->volume.channels;
        self->report(true, double(pa_cvolume_avg(&info->volume)) / PA_VOLUME_NORM);
    };
    const auto serverInfo = [](pa_context* context, const pa_server_info* info, void* data) {
        if (!info || !info->default_sink_name) {
            static_cast<SystemVolume*>(data)->report(false, 0);
            return;
        }
        if (pa_operation* operation = pa_context_get_sink_info_by_name(
                context, info->default_sink_name, +sinkInfo, data)) {
            pa_operation_unref(operation);
        }
    };
    if (pa_operation* operation = pa_context_get_server_info(m_context, +serverInfo, this)) {
        pa_operation_unref(operation);
    }
}

void SystemVolume::report(bool available, qreal volume) {
    QMetaObject::invokeMethod(
        this,
        [this, available, volume] {
            if (m_volume != volume) {
                m_volume = volume;
                emit volumeChanged();
            }
            if (m_available != available) {
                m_available = available;
                emit availableChanged();
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
    const MainloopLock lock(m_mainloop);
    if (m_sinkName.isEmpty()) {
        return;
    }
    pa_cvolume levels;
    pa_cvolume_set(&levels, unsigned(std::max(1, m_channels)),
                   pa_volume_t(std::lround(volume * PA_VOLUME_NORM)));
    const QByteArray name = m_sinkName.toUtf8();
    if (pa_operation* operation = pa_context_set_sink_volume_by_name(m_context, name.constData(),
                                                                     &levels, nullptr, nullptr)) {
        pa_operation_unref(operation);
    }
}
