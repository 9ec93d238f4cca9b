#include "SdlAudioOutput.h"

#include <QLoggingCategory>
#include <mutex>

#include <SDL.h>

#include "AudioEngine.h"

Q_LOGGING_CATEGORY(lcSdlOutput, "corvantis.audio.sdl", QtInfoMsg)

namespace {

constexpr int kDeviceBlockFrames = 1024;

// SDL's audio subsystem is process-wide; it is brought up on first use and
// again after something shut it down underneath.
bool initialiseSdlAudio(QString* error) {
    if (SDL_WasInit(SDL_INIT_AUDIO) != 0) {
        return true;
    }
    // A music player's stream, so that the sound server routes and ducks it
    // as music.
    SDL_SetHint(SDL_HINT_AUDIO_DEVICE_STREAM_ROLE, "music");
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

}  // namespace

struct SdlAudioOutput::Device {
    SDL_AudioDeviceID id = 0;
    SDL_AudioSpec spec{};
    AudioEngine* engine = nullptr;
    QString openError;
    bool tried = false;

    bool open(QString* error);
    // Lets go of a device that stopped by itself (unplugged, sound server
    // gone, subsystem shut down), so that the next open() gets a new one.
    void closeIfStopped();

    static void callback(void* userData, Uint8* stream, int length) {
        auto* device = static_cast<Device*>(userData);
        device->engine->renderBlock(reinterpret_cast<float*>(stream),
                                    length / int(2 * sizeof(float)));
    }
};

SdlAudioOutput::SdlAudioOutput() : m_device(std::make_unique<Device>()) {}

SdlAudioOutput::~SdlAudioOutput() {
    if (m_device->id != 0) {
        SDL_CloseAudioDevice(m_device->id);
    }
}

bool SdlAudioOutput::Device::open(QString* error) {
    if (id != 0) {
        return true;
    }
    if (!initialiseSdlAudio(error)) {
        return false;
    }
    SDL_AudioSpec desired{};
    // Render at the device's own rate, so the sound server does not resample.
    // A device opened again keeps the rate and block size the graph was
    // prepared for, and SDL converts if the new device differs.
    const bool reopening = spec.freq > 0;
    SDL_AudioSpec preferred{};
    if (reopening) {
        desired.freq = spec.freq;
    } else if (SDL_GetDefaultAudioInfo(nullptr, &preferred, 0) == 0 && preferred.freq > 0) {
        desired.freq = preferred.freq;
    } else {
        desired.freq = 48000;
    }
    desired.format = AUDIO_F32SYS;
    desired.channels = 2;
    desired.samples = reopening ? spec.samples : Uint16(kDeviceBlockFrames);
    desired.callback = &Device::callback;
    desired.userdata = this;
    SDL_AudioSpec obtained{};
    id = SDL_OpenAudioDevice(nullptr, 0, &desired, &obtained,
                             reopening ? 0 : SDL_AUDIO_ALLOW_FREQUENCY_CHANGE);
    if (id == 0) {
        if (error) {
            *error = QString::fromUtf8(SDL_GetError());
        }
        return false;
    }
    spec = obtained;
    qCDebug(lcSdlOutput) << "opened" << SDL_GetCurrentAudioDriver() << "at" << spec.freq << "Hz,"
                         << spec.samples << "frames";
    return true;
}

void SdlAudioOutput::Device::closeIfStopped() {
    if (id != 0 && SDL_GetAudioDeviceStatus(id) == SDL_AUDIO_STOPPED) {
        qCDebug(lcSdlOutput) << "the audio device stopped by itself; opening it again";
        // Unknown to SDL if the subsystem was shut down, in which case this
        // does nothing.
        SDL_CloseAudioDevice(id);
        id = 0;
    }
}

bool SdlAudioOutput::start(AudioEngine& engine, QString* error) {
    m_device->closeIfStopped();
    if (!m_device->open(error)) {
        return false;
    }
    m_device->engine = &engine;
    SDL_PauseAudioDevice(m_device->id, 0);
    return true;
}

void SdlAudioOutput::pause() {
    if (m_device->id != 0 && SDL_GetAudioDeviceStatus(m_device->id) == SDL_AUDIO_PLAYING) {
        // Returns once the callback has finished its current block.
        SDL_PauseAudioDevice(m_device->id, 1);
        SDL_LockAudioDevice(m_device->id);
        SDL_UnlockAudioDevice(m_device->id);
    }
}

// The device's own state, not what was last asked of it: a device that was
// lost or shut down underneath reads as stopped, so that playback notices.
bool SdlAudioOutput::isRunning() const {
    return m_device->id != 0 && SDL_GetAudioDeviceStatus(m_device->id) == SDL_AUDIO_PLAYING;
}

double SdlAudioOutput::sampleRate() const {
    // The graph is prepared for the device's rate before the device starts.
    if (m_device->id == 0 && !m_device->tried) {
        m_device->tried = true;
        m_device->open(&m_device->openError);
    }
    return m_device->spec.freq > 0 ? double(m_device->spec.freq) : 48000.0;
}

int SdlAudioOutput::maximumFrames() const {
    // SDL may hand out blocks of its own size; the graph is prepared for the
    // larger of the two.
    return m_device->spec.freq > 0 ? std::max<int>(m_device->spec.samples, kDeviceBlockFrames) * 2
                                   : kDeviceBlockFrames * 2;
}

std::unique_ptr<AudioOutput> makeDefaultAudioOutput() {
    return std::make_unique<SdlAudioOutput>();
}
