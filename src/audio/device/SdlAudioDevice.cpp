#include <QByteArray>
#include <QLoggingCategory>
#include <algorithm>

#include <SDL.h>

#include "AudioDevice.h"

Q_LOGGING_CATEGORY(lcSdlOutput, "corvantis.audio.sdl", QtInfoMsg)

namespace {

constexpr int kDeviceBlockFrames = 1024;

// SDL's audio subsystem is process-wide; it is brought up on first use and
// again after something shut it down underneath.
bool initialiseSdlAudio(const QByteArray& streamRole, QString* error) {
    if (SDL_WasInit(SDL_INIT_AUDIO) != 0) {
        return true;
    }
    // The stream's role lets the sound server route and duck it as what it is.
    SDL_SetHint(SDL_HINT_AUDIO_DEVICE_STREAM_ROLE, streamRole.constData());
    SDL_SetHint(SDL_HINT_AUDIO_DEVICE_APP_NAME, "Corvantis");
    SDL_SetHint(SDL_HINT_AUDIO_DEVICE_STREAM_NAME, "Music");
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
        if (error) {
            *error = QString::fromUtf8(SDL_GetError());
        }
        return false;
    }
    return true;
}

// The sound device through SDL's audio subsystem (PipeWire, PulseAudio, ALSA;
// the "dummy" driver on a machine without a sound card). Opens the device at
// its own rate, stereo float.
class SdlAudioDevice final : public AudioDevice {
public:
    explicit SdlAudioDevice(const char* streamRole) : m_streamRole(streamRole) {}
    ~SdlAudioDevice() override {
        if (m_id != 0) {
            SDL_CloseAudioDevice(m_id);
        }
    }

    bool start(Render render, void* context, QString* error) override;
    void pause() override;
    bool isRunning() const override;
    double sampleRate() override;
    int maximumFrames() const override;

private:
    bool open(QString* error);
    // Lets go of a device that stopped by itself (unplugged, sound server
    // gone, subsystem shut down), so that the next open() gets a new one.
    void closeIfStopped();

    static void callback(void* userData, Uint8* stream, int length) {
        auto* device = static_cast<SdlAudioDevice*>(userData);
        device->m_render(device->m_context, reinterpret_cast<float*>(stream),
                         length / int(2 * sizeof(float)));
    }

    const QByteArray m_streamRole;
    SDL_AudioDeviceID m_id = 0;
    SDL_AudioSpec m_spec{};
    Render m_render = nullptr;
    void* m_context = nullptr;
    QString m_openError;
    bool m_tried = false;
};

bool SdlAudioDevice::open(QString* error) {
    if (m_id != 0) {
        return true;
    }
    if (!initialiseSdlAudio(m_streamRole, error)) {
        return false;
    }
    SDL_AudioSpec desired{};
    // Render at the device's own rate, so the sound server does not resample.
    // A device opened again keeps the rate and block size the graph was
    // prepared for, and SDL converts if the new device differs.
    const bool reopening = m_spec.freq > 0;
    SDL_AudioSpec preferred{};
    if (reopening) {
        desired.freq = m_spec.freq;
    } else if (SDL_GetDefaultAudioInfo(nullptr, &preferred, 0) == 0 && preferred.freq > 0) {
        desired.freq = preferred.freq;
    } else {
        desired.freq = 48000;
    }
    desired.format = AUDIO_F32SYS;
    desired.channels = 2;
    desired.samples = reopening ? m_spec.samples : Uint16(kDeviceBlockFrames);
    desired.callback = &SdlAudioDevice::callback;
    desired.userdata = this;
    SDL_AudioSpec obtained{};
    m_id = SDL_OpenAudioDevice(nullptr, 0, &desired, &obtained,
                               reopening ? 0 : SDL_AUDIO_ALLOW_FREQUENCY_CHANGE);
    if (m_id == 0) {
        if (error) {
            *error = QString::fromUtf8(SDL_GetError());
        }
        return false;
    }
    m_spec = obtained;
    qCDebug(lcSdlOutput) << "opened" << SDL_GetCurrentAudioDriver() << "at" << m_spec.freq << "Hz,"
                         << m_spec.samples << "frames";
    return true;
}

void SdlAudioDevice::closeIfStopped() {
    if (m_id != 0 && SDL_GetAudioDeviceStatus(m_id) == SDL_AUDIO_STOPPED) {
        qCDebug(lcSdlOutput) << "the audio device stopped by itself; opening it again";
        // Unknown to SDL if the subsystem was shut down, in which case this
        // does nothing.
        SDL_CloseAudioDevice(m_id);
        m_id = 0;
    }
}

bool SdlAudioDevice::start(Render render, void* context, QString* error) {
    closeIfStopped();
    if (!open(error)) {
        return false;
    }
    m_render = render;
    m_context = context;
    SDL_PauseAudioDevice(m_id, 0);
    return true;
}

void SdlAudioDevice::pause() {
    if (m_id != 0 && SDL_GetAudioDeviceStatus(m_id) == SDL_AUDIO_PLAYING) {
        // Returns once the callback has finished its current block.
        SDL_PauseAudioDevice(m_id, 1);
        SDL_LockAudioDevice(m_id);
        SDL_UnlockAudioDevice(m_id);
    }
}

// The device's own state, not what was last asked of it: a device that was
// lost or shut down underneath reads as stopped, so that playback notices.
bool SdlAudioDevice::isRunning() const {
    return m_id != 0 && SDL_GetAudioDeviceStatus(m_id) == SDL_AUDIO_PLAYING;
}

double SdlAudioDevice::sampleRate() {
    // The graph is prepared for the device's rate before the device starts.
    if (m_id == 0 && !m_tried) {
        m_tried = true;
        open(&m_openError);
    }
    return m_spec.freq > 0 ? double(m_spec.freq) : 48000.0;
}

int SdlAudioDevice::maximumFrames() const {
    // SDL may hand out blocks of its own size; the graph is prepared for the
    // larger of the two.
    return m_spec.freq > 0 ? std::max<int>(m_spec.samples, kDeviceBlockFrames) * 2
                           : kDeviceBlockFrames * 2;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) AudioDevice* corvantisAudioDevice1(
    const char* streamRole) {
    return new SdlAudioDevice(streamRole);
}
