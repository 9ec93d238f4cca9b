#include <pulse/pulseaudio.h>

#include <QLoggingCategory>
#include <QString>
#include <algorithm>
#include <cmath>
#include <string>

#include "VolumeServer.h"

Q_LOGGING_CATEGORY(lcSystemVolume, "corvantis.player.volume")

namespace {

// Holds the library's lock for a scope on the calling thread.
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

class PulseVolumeServer final : public VolumeServer {
public:
    PulseVolumeServer(const char* server, Report report, void* context)
        : m_report(report), m_reportContext(context) {
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
        pa_context_set_state_callback(m_context, &PulseVolumeServer::stateChanged, this);
        pa_context_set_subscribe_callback(
            m_context,
            [](pa_context*, pa_subscription_event_type_t, uint32_t, void* self) {
                static_cast<PulseVolumeServer*>(self)->queryDefaultSink();
            },
            this);
        // No autospawn: a machine without a sound server stays without one.
        if (pa_context_connect(m_context, server, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            qCInfo(lcSystemVolume)
                << "no sound server:" << pa_strerror(pa_context_errno(m_context));
            return;
        }
        if (pa_threaded_mainloop_start(m_mainloop) < 0) {
            qCWarning(lcSystemVolume) << "cannot start the sound server's event loop";
        }
    }

    ~PulseVolumeServer() override {
        // Stopped first: no callback runs once the rest goes.
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

    PulseVolumeServer(const PulseVolumeServer&) = delete;
    PulseVolumeServer& operator=(const PulseVolumeServer&) = delete;

    void setVolume(double volume) override {
        if (!m_mainloop || !m_context || !std::isfinite(volume)) {
            return;
        }
        const MainloopLock lock(m_mainloop);
        if (m_sinkName.empty()) {
            return;
        }
        pa_cvolume levels;
        pa_cvolume_set(&levels, unsigned(std::max(1, m_channels)),
                       pa_volume_t(std::lround(std::clamp(volume, 0.0, 1.0) * PA_VOLUME_NORM)));
        if (pa_operation* operation = pa_context_set_sink_volume_by_name(
                m_context, m_sinkName.c_str(), &levels, nullptr, nullptr)) {
            pa_operation_unref(operation);
        }
    }

private:
    static void stateChanged(pa_context* context, void* data) {
        auto* self = static_cast<PulseVolumeServer*>(data);
        switch (pa_context_get_state(context)) {
            case PA_CONTEXT_READY: {
                const auto mask =
                    pa_subscription_mask_t(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER);
                if (pa_operation* operation =
                        pa_context_subscribe(context, mask, nullptr, nullptr)) {
                    pa_operation_unref(operation);
                }
                self->queryDefaultSink();
                break;
            }
            case PA_CONTEXT_FAILED:
            case PA_CONTEXT_TERMINATED:
                qCInfo(lcSystemVolume)
                    << "sound server gone:" << pa_strerror(pa_context_errno(context));
                self->m_report(self->m_reportContext, false, 0);
                break;
            default:
                break;
        }
    }

    // On the library's thread: the default sink may have changed too, so it
    // is looked up by name each time.
    void queryDefaultSink() {
        static constexpr auto sinkInfo = [](pa_context*, const pa_sink_info* info, int eol,
                                            void* data) {
            auto* self = static_cast<PulseVolumeServer*>(data);
            if (eol < 0) {
                self->m_report(self->m_reportContext, false, 0);
                return;
            }
            if (eol > 0 || !info) {
                return;
            }
            self->m_sinkName = info->name;
            self->m_channels = info->volume.channels;
            self->m_report(self->m_reportContext, true,
                           double(pa_cvolume_avg(&info->volume)) / PA_VOLUME_NORM);
        };
        const auto serverInfo = [](pa_context* context, const pa_server_info* info, void* data) {
            auto* self = static_cast<PulseVolumeServer*>(data);
            if (!info || !info->default_sink_name) {
                self->m_report(self->m_reportContext, false, 0);
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

    Report m_report;
    void* m_reportContext;
    pa_threaded_mainloop* m_mainloop = nullptr;
    pa_context* m_context = nullptr;
    // Written on the library's thread, under its lock.
    std::string m_sinkName;
    int m_channels = 2;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) VolumeServer* corvantisVolumeServer1(
    const char* server, VolumeServer::Report report, void* context) {
    return new PulseVolumeServer(server, report, context);
}
