#include "AudioUnitEQ.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cmath>

#include "Biquad.h"

namespace {

Q_LOGGING_CATEGORY(lcEqualizer, "corvantis.audio.eq", QtInfoMsg)

// The ranges a band accepts; values outside are clamped, NaN and infinity
// are ignored.
constexpr float kMinGain = -96.0f;
constexpr float kMaxGain = 24.0f;
constexpr float kMinBandwidth = 0.05f;
constexpr float kMaxBandwidth = 5.0f;
constexpr float kMinFrequency = 10.0f;
// Past this fraction of the rate the bell would fold onto Nyquist.
constexpr double kMaxFrequencyOfRate = 0.45;

// A gain, frequency or output change glides over this long instead of taking
// effect at once. Sliders and presets move the gains while music plays, and a
// jump of a filter's coefficients or of the output gain is a step in the
// waveform, heard as a click. 20 ms smooths that step below hearing, also in
// the 60 Hz band, and is still short enough that a slider answers at once.
constexpr double kGlideSeconds = 0.020;
// Frames rendered with one set of coefficients while a band glides; when none
// glides a whole block runs with one set.
constexpr int kGlideChunkFrames = 8;
// A band back at 0 dB keeps running (as an identity filter) until its memory
// has rung out below this, so leaving the path causes no step worth the
// name: -180 dB, below what a float sample near full scale resolves. It
// cannot be much lower: with a loud input, roundoff keeps feeding the memory
// of an identity section at about 1e-16 divided by its bandwidth in radians.
constexpr double kRingOutLevel = 1e-9;

bool acceptValue(float value, const char* what) {
    if (!std::isfinite(value)) {
        qCWarning(lcEqualizer) << "ignoring" << what << value;
        return false;
    }
    return true;
}

}  // namespace

void AudioUnitEQFilterParameters::setFrequency(float hertz) {
    if (!acceptValue(hertz, "frequency")) {
        return;
    }
    // The upper bound depends on the rate and is applied while rendering.
    m_frequency.store(std::max(hertz, kMinFrequency), std::memory_order_relaxed);
    changed();
}

void AudioUnitEQFilterParameters::setBandwidth(float octaves) {
    if (!acceptValue(octaves, "bandwidth")) {
        return;
    }
    m_bandwidth.store(std::clamp(octaves, kMinBandwidth, kMaxBandwidth), std::memory_order_relaxed);
    changed();
}

void AudioUnitEQFilterParameters::setGain(float decibels) {
    if (!acceptValue(decibels, "gain")) {
        return;
    }
    m_gain.store(std::clamp(decibels, kMinGain, kMaxGain), std::memory_order_relaxed);
    changed();
}

void AudioUnitEQFilterParameters::setBypass(bool bypass) {
    m_bypass.store(bypass, std::memory_order_relaxed);
    changed();
}

void AudioUnitEQFilterParameters::setFilterType(AudioUnitEQFilterType type) {
    m_filterType.store(type, std::memory_order_relaxed);
    changed();
}

namespace {

// What a band should sound like, as the render thread sees it.
struct BandShape {
    double log2Frequency = 0.0;
    double bandwidth = 0.5;
    double gain = 0.0;

    bool operator==(const BandShape&) const = default;
};

// Render-thread state of one band.
struct BandRuntime {
    BandShape current;
    BandShape target;
    BandShape step;
    int chunksLeft = 0;
    // At 0 dB, but memory from before is still ringing out.
    bool ringing = false;
    BiquadSection section;

    bool inPath() const { return current.gain != 0.0 || chunksLeft > 0 || ringing; }
};

// A linear glide of the unit's output gain, per frame.
struct GainGlide {
    double current = 1.0;
    double target = 1.0;
    double step = 0.0;
    int framesLeft = 0;
};

}  // namespace

struct AudioUnitEQ::Processor {
    explicit Processor(int bandCount) : bands(bandCount), path(bandCount) {}

    std::vector<BandRuntime> bands;
    // Sections of the bands in the signal path, rebuilt per chunk.
    std::vector<BiquadSection*> path;
    GainGlide output;
    BiquadCascadeFunction runCascade = runBiquadCascade;
    double sampleRate = 0.0;
    int glideChunks = 1;
    int glideFrames = 1;
    unsigned seenChanges = 0;

    bool prepared() const { return sampleRate > 0.0; }

    BandShape shapeOf(const AudioUnitEQFilterParameters& parameters) const {
        // The setters already keep NaN out and clamp; this is the last line
        // against a value that would make the coefficients blow up.
        const double nyquistGuard = kMaxFrequencyOfRate * sampleRate;
        double frequency = parameters.frequency();
        if (!(frequency >= kMinFrequency)) {
            frequency = kMinFrequency;
        }
        frequency = std::min(frequency, nyquistGuard);
        double bandwidth = parameters.bandwidth();
        if (!(bandwidth >= kMinBandwidth)) {
            bandwidth = kMinBandwidth;
        }
        bandwidth = std::min<double>(bandwidth, kMaxBandwidth);
        double gain = parameters.gain();
        if (parameters.bypass() || !std::isfinite(gain)) {
            gain = 0.0;
        }
        gain = std::clamp<double>(gain, kMinGain, kMaxGain);
        return {std::log2(frequency), bandwidth, gain};
    }

    static double outputGainOf(float decibels) {
        if (!std::isfinite(decibels)) {
            return 1.0;
        }
        return std::pow(10.0, std::clamp(decibels, kMinGain, kMaxGain) / 20.0);
    }

    void updateCoefficients(BandRuntime& band) const {
        band.section.c = peakingCoefficients(sampleRate, std::exp2(band.current.log2Frequency),
                                             band.current.bandwidth, band.current.gain);
    }

    void snapBand(BandRuntime& band, const BandShape& shape) const {
        band.target = shape;
        band.current = shape;
        band.chunksLeft = 0;
        updateCoefficients(band);
    }

    void glideBand(BandRuntime& band, const BandShape& shape) const {
        if (shape == band.target) {
            return;
        }
        // A band out of the path that stays at 0 dB has nothing to glide from.
        if (!band.inPath() && shape.gain == 0.0) {
            snapBand(band, shape);
            return;
        }
        band.target = shape;
        const double chunks = glideChunks;
        band.step = {(shape.log2Frequency - band.current.log2Frequency) / chunks,
                     (shape.bandwidth - band.current.bandwidth) / chunks,
                     (shape.gain - band.current.gain) / chunks};
        band.chunksLeft = glideChunks;
    }

    void glideOutput(double target) {
        if (target == output.target) {
            return;
        }
        output.target = target;
        output.step = (target - output.current) / glideFrames;
        output.framesLeft = glideFrames;
    }

    // Takes the parameters as they stand now. `glide` false jumps to them,
    // which is only right while nothing is being heard.
    void pickUp(const AudioUnitEQ& unit, bool glide) {
        const auto& parameters = unit.bands();
        for (size_t i = 0; i < bands.size(); ++i) {
            const BandShape shape = shapeOf(*parameters[i]);
            if (glide) {
                glideBand(bands[i], shape);
            } else {
                snapBand(bands[i], shape);
            }
        }
        const double target = outputGainOf(unit.globalGain());
        if (glide) {
            glideOutput(target);
        } else {
            output = {target, target, 0.0, 0};
        }
    }

    void reset(const AudioUnitEQ& unit, unsigned changes) {
        seenChanges = changes;
        for (BandRuntime& band : bands) {
            band.section.clearState();
            band.ringing = false;
        }
        pickUp(unit, false);
    }

    // Advances gliding bands by one chunk and lists the sections in the path.
    // Returns how many frames to render with these coefficients, at most
    // `framesLeft`, and the number of sections in `count`.
    int beginChunk(int framesLeft, int* count) {
        *count = 0;
        bool gliding = false;
        for (BandRuntime& band : bands) {
            if (band.chunksLeft > 0) {
                if (--band.chunksLeft == 0) {
                    band.current = band.target;
                } else {
                    band.current.log2Frequency += band.step.log2Frequency;
                    band.current.bandwidth += band.step.bandwidth;
                    band.current.gain += band.step.gain;
                }
                updateCoefficients(band);
                if (band.chunksLeft == 0 && band.current.gain == 0.0) {
                    band.ringing = true;
                }
                gliding = gliding || band.chunksLeft > 0;
            }
            if (band.inPath()) {
                path[(*count)++] = &band.section;
            }
        }
        return gliding ? std::min(kGlideChunkFrames, framesLeft) : framesLeft;
    }

    void endChunk() {
        for (BandRuntime& band : bands) {
            if (band.ringing && band.section.quieterThan(kRingOutLevel)) {
                band.section.clearState();
                band.ringing = false;
            }
        }
    }

    void applyOutputGain(float* interleavedStereo, int frames) {
        if (output.framesLeft == 0 && output.current == 1.0) {
            return;
        }
        float* frame = interleavedStereo;
        for (int i = 0; i < frames; ++i, frame += 2) {
            if (output.framesLeft > 0) {
                output.current =
                    --output.framesLeft == 0 ? output.target : output.current + output.step;
            }
            frame[0] = static_cast<float>(frame[0] * output.current);
            frame[1] = static_cast<float>(frame[1] * output.current);
        }
    }

    void render(float* interleavedStereo, int frames) {
        for (int done = 0; done < frames;) {
            float* block = interleavedStereo + 2 * done;
            int count = 0;
            const int chunk = beginChunk(frames - done, &count);
            done += chunk;
            if (count > 0) {
                runCascade(path.data(), count, block, chunk);
                endChunk();
            }
            applyOutputGain(block, chunk);
        }
    }
};

AudioUnitEQ::AudioUnitEQ(int numberOfBands)
    : m_processor(std::make_unique<Processor>(std::max(numberOfBands, 0))) {
    if (numberOfBands < 0) {
        qCWarning(lcEqualizer) << "negative band count" << numberOfBands << "taken as 0";
    }
    const size_t count = m_processor->bands.size();
    m_bands.reserve(count);
    m_bandPointers.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        m_bands.push_back(std::unique_ptr<AudioUnitEQFilterParameters>(
            new AudioUnitEQFilterParameters(&m_changeCounter)));
        m_bandPointers.push_back(m_bands.back().get());
    }
}

AudioUnitEQ::~AudioUnitEQ() = default;

void AudioUnitEQ::setGlobalGain(float decibels) {
    if (!acceptValue(decibels, "global gain")) {
        return;
    }
    m_globalGain.store(std::clamp(decibels, kMinGain, kMaxGain), std::memory_order_relaxed);
    m_changeCounter.fetch_add(1, std::memory_order_release);
}

void AudioUnitEQ::prepare(double sampleRate, int maximumFrames) {
    Q_UNUSED(maximumFrames);  // processing is in place, in chunks of its own
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) {
        qCWarning(lcEqualizer) << "cannot prepare for sample rate" << sampleRate;
        m_processor->sampleRate = 0.0;
        return;
    }
    Processor& p = *m_processor;
    p.sampleRate = sampleRate;
    p.runCascade = biquadCascadeForThisCpu();
    p.glideFrames = std::max(1, static_cast<int>(std::lround(kGlideSeconds * sampleRate)));
    p.glideChunks = std::max(1, (p.glideFrames + kGlideChunkFrames / 2) / kGlideChunkFrames);
    reset();
}

void AudioUnitEQ::render(float* interleavedStereo, int frames) noexcept {
    Processor& p = *m_processor;
    if (!p.prepared() || frames <= 0) {
        return;
    }
    const unsigned changes = m_changeCounter.load(std::memory_order_acquire);
    if (changes != p.seenChanges) {
        p.seenChanges = changes;
        p.pickUp(*this, true);
    }
    p.render(interleavedStereo, frames);
}

void AudioUnitEQ::reset() noexcept {
    if (m_processor->prepared()) {
        m_processor->reset(*this, m_changeCounter.load(std::memory_order_acquire));
    }
}
