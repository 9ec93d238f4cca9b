#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "AudioNode.h"

enum class AudioUnitEQFilterType {
    // A peaking bell around `frequency`, `bandwidth` octaves wide.
    parametric = 0,
};

// One band of an AudioUnitEQ. Setters may be called from any thread while the
// unit renders; the render thread picks the new values up at its next block
// and glides to them.
class AudioUnitEQFilterParameters {
public:
    float frequency() const { return m_frequency.load(std::memory_order_relaxed); }
    void setFrequency(float hertz);
    // Octaves between the band edges.
    float bandwidth() const { return m_bandwidth.load(std::memory_order_relaxed); }
    void setBandwidth(float octaves);
    // Decibels; 0 leaves the band out of the signal path.
    float gain() const { return m_gain.load(std::memory_order_relaxed); }
    void setGain(float decibels);
    bool bypass() const { return m_bypass.load(std::memory_order_relaxed); }
    void setBypass(bool bypass);
    AudioUnitEQFilterType filterType() const {
        return m_filterType.load(std::memory_order_relaxed);
    }
    void setFilterType(AudioUnitEQFilterType type);

private:
    friend class AudioUnitEQ;
    explicit AudioUnitEQFilterParameters(std::atomic<unsigned>* changeCounter)
        : m_changeCounter(changeCounter) {}
    void changed() { m_changeCounter->fetch_add(1, std::memory_order_release); }

    std::atomic<unsigned>* m_changeCounter;
    std::atomic<float> m_frequency{1000.0f};
    std::atomic<float> m_bandwidth{0.5f};
    std::atomic<float> m_gain{0.0f};
    std::atomic<bool> m_bypass{false};
    std::atomic<AudioUnitEQFilterType> m_filterType{AudioUnitEQFilterType::parametric};
};

// A multi-band parametric equalizer node.
class AudioUnitEQ final : public AudioNode {
public:
    explicit AudioUnitEQ(int numberOfBands);
    ~AudioUnitEQ() override;

    // Stable for the life of the unit.
    const std::vector<AudioUnitEQFilterParameters*>& bands() const { return m_bandPointers; }

    // Decibels applied to the whole unit's output.
    float globalGain() const { return m_globalGain.load(std::memory_order_relaxed); }
    void setGlobalGain(float decibels);

    void prepare(double sampleRate, int maximumFrames) override;
    void render(float* interleavedStereo, int frames) noexcept override;
    void reset() noexcept override;

    struct Processor;

private:
    std::atomic<unsigned> m_changeCounter{0};
    std::vector<std::unique_ptr<AudioUnitEQFilterParameters>> m_bands;
    std::vector<AudioUnitEQFilterParameters*> m_bandPointers;
    std::atomic<float> m_globalGain{0.0f};
    std::unique_ptr<Processor> m_processor;
};
