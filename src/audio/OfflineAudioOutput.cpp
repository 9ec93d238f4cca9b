#include "OfflineAudioOutput.h"

OfflineAudioOutput::OfflineAudioOutput(double sampleRate, int maximumFrames)
    : m_sampleRate(sampleRate), m_maximumFrames(maximumFrames) {}

bool OfflineAudioOutput::start(AudioEngine& /*engine*/, QString* /*error*/) {
    m_running = true;
    return true;
}

void OfflineAudioOutput::pause() {
    m_running = false;
}
