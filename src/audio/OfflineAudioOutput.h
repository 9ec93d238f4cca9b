#pragma once

#include "AudioOutput.h"

// An output that renders as fast as the caller pulls: AudioEngine::renderOffline()
// drives the graph on the caller's thread. For tests, the render command and
// the benchmarks.
class OfflineAudioOutput final : public AudioOutput {
public:
    explicit OfflineAudioOutput(double sampleRate = 44100.0, int maximumFrames = 512);

    bool start(AudioEngine& engine, QString* error) override;
    void pause() override;
    bool isRunning() const override { return m_running; }
    double sampleRate() const override { return m_sampleRate; }
    int maximumFrames() const override { return m_maximumFrames; }
    bool isOffline() const override { return true; }

private:
    double m_sampleRate;
    int m_maximumFrames;
    bool m_running = false;
};
