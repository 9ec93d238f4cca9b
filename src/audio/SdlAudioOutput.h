#pragma once

#include <atomic>
#include <memory>

#include "AudioOutput.h"

// The sound device through SDL's audio subsystem (PipeWire, PulseAudio, ALSA;
// the "dummy" driver on a machine without a sound card). Opens the device at
// its own rate, stereo float, with the stream role "music".
class SdlAudioOutput final : public AudioOutput {
public:
    SdlAudioOutput();
    ~SdlAudioOutput() override;

    bool start(AudioEngine& engine, QString* error) override;
    void pause() override;
    bool isRunning() const override;
    double sampleRate() const override;
    int maximumFrames() const override;

    struct Device;

private:
    std::unique_ptr<Device> m_device;
};

// The output the application plays through.
std::unique_ptr<AudioOutput> makeDefaultAudioOutput();
