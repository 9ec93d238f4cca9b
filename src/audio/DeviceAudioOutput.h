#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

#include "AudioOutput.h"

class AudioDevice;

// The sound device, through the output module loaded when the first one is
// made. Without the module it logs why once and every start() fails with
// that reason, so playback reports a device it cannot open.
class DeviceAudioOutput final : public AudioOutput {
public:
    explicit DeviceAudioOutput(const QString& modulePath = DeviceAudioOutput::modulePath());
    ~DeviceAudioOutput() override;

    bool start(AudioEngine& engine, QString* error) override;
    void pause() override;
    bool isRunning() const override;
    double sampleRate() const override;
    int maximumFrames() const override;

    // The role the sound server sees on the streams of outputs made from now
    // on ("music" routes and ducks it as music); false for an empty role and
    // when the environment forces one of its own.
    static bool setStreamRole(const QByteArray& role);

    // Where the module is looked for: beside the running program, else where
    // the build put it.
    static QString modulePath();

private:
    std::unique_ptr<AudioDevice> m_device;
    QString m_loadError;
};

// The output the application plays through.
std::unique_ptr<AudioOutput> makeDefaultAudioOutput();
