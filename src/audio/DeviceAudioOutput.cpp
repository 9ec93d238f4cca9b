#include "DeviceAudioOutput.h"

#include <QHash>
#include <mutex>

#include "AudioDevice.h"
#include "AudioEngine.h"
#include "LazyModule.h"
#include "Log.h"

namespace {

constexpr int kFallbackBlockFrames = 2048;
constexpr double kFallbackRate = 48000.0;

// The device's library lets this variable of the environment force the
// role over the player's own; the session's setup reports that.
constexpr char kForcedRoleVariable[] = "SDL_AUDIO_DEVICE_STREAM_ROLE";

std::mutex roleMutex;
QByteArray streamRole = QByteArrayLiteral("music");

// The module's entry, loaded once per path; when that fails it logs why once
// and answers nullptr, with the reason in `error`, from then on.
AudioDeviceEntry deviceEntry(const QString& path, QString* error) {
    struct Loaded {
        AudioDeviceEntry entry = nullptr;
        QString failure;
    };
    static std::mutex mutex;
    static QHash<QString, Loaded> modules;
    const std::lock_guard lock(mutex);
    auto found = modules.find(path);
    if (found == modules.end()) {
        Loaded loaded;
        loaded.entry = reinterpret_cast<AudioDeviceEntry>(
            LazyModule::resolve(path, kAudioDeviceEntry, &loaded.failure));
        if (!loaded.entry) {
            loaded.failure =
                QStringLiteral("The audio output cannot be loaded: %1").arg(loaded.failure);
            systemLog(loaded.failure);
        }
        found = modules.insert(path, loaded);
    }
    if (!found->entry && error) {
        *error = found->failure;
    }
    return found->entry;
}

void render(void* engine, float* interleaved, int frames) {
    static_cast<AudioEngine*>(engine)->renderBlock(interleaved, frames);
}

}  // namespace

DeviceAudioOutput::DeviceAudioOutput(const QString& modulePath) {
    if (const AudioDeviceEntry entry = deviceEntry(modulePath, &m_loadError)) {
        const std::lock_guard lock(roleMutex);
        m_device.reset(entry(streamRole.constData()));
    }
}

DeviceAudioOutput::~DeviceAudioOutput() = default;

bool DeviceAudioOutput::setStreamRole(const QByteArray& role) {
    if (role.isEmpty() || qEnvironmentVariableIsSet(kForcedRoleVariable)) {
        return false;
    }
    const std::lock_guard lock(roleMutex);
    streamRole = role;
    return true;
}

QString DeviceAudioOutput::modulePath() {
    return LazyModule::path(QStringLiteral(CORVANTIS_AUDIO_OUTPUT_MODULE));
}

bool DeviceAudioOutput::start(AudioEngine& engine, QString* error) {
    if (!m_device) {
        if (error) {
            *error = m_loadError;
        }
        return false;
    }
    return m_device->start(&render, &engine, error);
}

void DeviceAudioOutput::pause() {
    if (m_device) {
        m_device->pause();
    }
}

bool DeviceAudioOutput::isRunning() const {
    return m_device && m_device->isRunning();
}

double DeviceAudioOutput::sampleRate() const {
    return m_device ? m_device->sampleRate() : kFallbackRate;
}

int DeviceAudioOutput::maximumFrames() const {
    return m_device ? m_device->maximumFrames() : kFallbackBlockFrames;
}

std::unique_ptr<AudioOutput> makeDefaultAudioOutput() {
    return std::make_unique<DeviceAudioOutput>();
}
