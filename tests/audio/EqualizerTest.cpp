#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "AudioUnitEQ.h"
#include "Biquad.h"
#include "DspTestSignals.h"
#include "ScopedNoDenormals.h"

namespace {

constexpr double kRate = 44100.0;
constexpr int kSecond = 44100;
const std::vector<float> kBandFrequencies{60, 230, 910, 3000, 14000};

// The peaking bell exactly as the audio EQ cookbook writes it, unnormalised,
// direct form I, one channel at a time: slow and plain, to check against.
struct ReferencePeaking {
    double b0, b1, b2, a0, a1, a2;
    double x1[2] = {}, x2[2] = {}, y1[2] = {}, y2[2] = {};

    ReferencePeaking(double frequency, double octaves, double gainDb) {
        const double A = std::pow(10.0, gainDb / 40.0);
        const double w0 = 2.0 * std::numbers::pi * frequency / kRate;
        const double alpha =
            std::sin(w0) * std::sinh(std::log(2.0) / 2.0 * octaves * w0 / std::sin(w0));
        b0 = 1.0 + alpha * A;
        b1 = -2.0 * std::cos(w0);
        b2 = 1.0 - alpha * A;
        a0 = 1.0 + alpha / A;
        a1 = -2.0 * std::cos(w0);
        a2 = 1.0 - alpha / A;
    }

    double process(int channel, double x) {
        const double y =
            (b0 * x + b1 * x1[channel] + b2 * x2[channel] - a1 * y1[channel] - a2 * y2[channel]) /
            a0;
        x2[channel] = x1[channel];
        x1[channel] = x;
        y2[channel] = y1[channel];
        y1[channel] = y;
        return y;
    }

    double responseDb(double frequency) const {
        const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / kRate);
        const std::complex<double> h = (b0 + b1 * z + b2 * z * z) / (a0 + a1 * z + a2 * z * z);
        return 20.0 * std::log10(std::abs(h));
    }
};

struct BandSetting {
    float frequency;
    float bandwidth;
    float gain;
};

void configure(AudioUnitEQ& unit, const std::vector<BandSetting>& settings) {
    ASSERT_EQ(unit.bands().size(), settings.size());
    for (size_t i = 0; i < settings.size(); ++i) {
        unit.bands()[i]->setFrequency(settings[i].frequency);
        unit.bands()[i]->setBandwidth(settings[i].bandwidth);
        unit.bands()[i]->setGain(settings[i].gain);
    }
}

std::vector<BandSetting> standardBands(const std::vector<float>& gains) {
    std::vector<BandSetting> settings;
    for (size_t i = 0; i < gains.size(); ++i) {
        settings.push_back({kBandFrequencies[i], 0.5f, gains[i]});
    }
    return settings;
}

// Runs `signal` through the nodes in series, `blockFrames` at a time, as the
// render thread would.
void renderThrough(const std::vector<AudioNode*>& nodes, Stereo& signal, int blockFrames = 512) {
    const int frames = static_cast<int>(signal.size() / 2);
    for (int start = 0; start < frames; start += blockFrames) {
        const int count = std::min(blockFrames, frames - start);
        for (AudioNode* node : nodes) {
            node->render(signal.data() + 2 * start, count);
        }
    }
}

// Sum of sines with the same amplitude, a different phase on each channel.
Stereo tones(const std::vector<double>& frequencies, double amplitude, int frames) {
    Stereo out(2 * static_cast<size_t>(frames), 0.0f);
    for (int n = 0; n < frames; ++n) {
        double left = 0.0, right = 0.0;
        for (double f : frequencies) {
            const double phase = 2.0 * std::numbers::pi * f * n / kRate;
            left += amplitude * std::sin(phase);
            right += amplitude * std::cos(phase + 0.3);
        }
        out[2 * n] = static_cast<float>(left);
        out[2 * n + 1] = static_cast<float>(right);
    }
    return out;
}

// Amplitude of the component at `frequency` in one channel over
// [start, start + count); exact for tones that fit the window a whole number
// of times.
double amplitudeAt(const Stereo& signal, int channel, double frequency, int start, int count) {
    double re = 0.0, im = 0.0;
    for (int n = start; n < start + count; ++n) {
        const double phase = 2.0 * std::numbers::pi * frequency * n / kRate;
        re += signal[2 * n + channel] * std::cos(phase);
        im += signal[2 * n + channel] * std::sin(phase);
    }
    return 2.0 * std::hypot(re, im) / count;
}

double decibels(double ratio) {
    return 20.0 * std::log10(ratio);
}

// Gain in dB at each of `probes`, measured on the last second of a signal of
// the probe tones rendered through `nodes` (the first part lets glides end).
std::vector<double> measureGains(const std::vector<AudioNode*>& nodes,
                                 const std::vector<double>& probes) {
    constexpr double kAmplitude = 0.05;
    Stereo signal = tones(probes, kAmplitude, kSecond + kSecond / 2);
    renderThrough(nodes, signal);
    std::vector<double> gains;
    for (double f : probes) {
        gains.push_back(decibels(amplitudeAt(signal, 0, f, kSecond / 2, kSecond) / kAmplitude));
    }
    return gains;
}

// Largest |second difference| of the left channel over [start, end): a step
// or kink in the output shows up here as a spike.
double largestCurvature(const Stereo& signal, int start, int end) {
    double largest = 0.0;
    for (int n = std::max(start, 2); n < end; ++n) {
        largest =
            std::max(largest, static_cast<double>(std::fabs(signal[2 * n] - 2 * signal[2 * n - 2] +
                                                            signal[2 * n - 4])));
    }
    return largest;
}

}  // namespace

TEST(Equalizer, BandFollowsThePeakingResponseAtItsCentreAndItsEdges) {
    for (float centre : {60.0f, 910.0f, 14000.0f}) {
        for (int gain = -8; gain <= 12; gain += 2) {
            SCOPED_TRACE(testing::Message() << centre << " Hz, " << gain << " dB");
            AudioUnitEQ unit(1);
            unit.bands()[0]->setFrequency(centre);
            unit.prepare(kRate, 512);
            // Set while running, so the measurement also shows where a glide ends.
            unit.bands()[0]->setGain(static_cast<float>(gain));
            // The edges of a 0.5 octave band, where the bell has half its boost.
            const double edge = std::exp2(0.25);
            const std::vector<double> probes{std::round(centre / edge), centre,
                                             std::round(centre * edge)};
            const std::vector<double> measured = measureGains({&unit}, probes);
            const ReferencePeaking reference(centre, 0.5, gain);
            EXPECT_NEAR(measured[1], gain, 0.1);
            for (size_t i = 0; i < probes.size(); ++i) {
                EXPECT_NEAR(measured[i], reference.responseDb(probes[i]), 0.1)
                    << probes[i] << " Hz";
            }
            // Near Nyquist the digital bell leans; elsewhere its edges sit at half
            // the boost in decibels.
            if (gain != 0 && centre < 5000.0f) {
                EXPECT_NEAR(measured[0] / gain, 0.5, 0.1);
                EXPECT_NEAR(measured[2] / gain, 0.5, 0.1);
            }
        }
    }
}

TEST(Equalizer, AllGainsZeroIsBitTransparent) {
    // Below full scale in every form: loud, quiet, tiny, subnormal, signed zero.
    Stereo input = noise(2 * kSecond, 0.999f, 7);
    for (size_t i = 0; i < input.size(); i += 97) {
        input[i] *= 1e-30f;
    }
    for (size_t i = 5; i < input.size(); i += 101) {
        input[i] = (i % 2 ? 1 : -1) * 1e-40f;
    }
    input[3] = -0.0f;

    AudioUnitEQ unit(5);
    configure(unit, standardBands({0, 0, 0, 0, 0}));
    unit.prepare(kRate, 4096);
    for (int block : {1, 7, 512}) {
        Stereo output = input;
        renderThrough({&unit}, output, block);
        ASSERT_EQ(std::memcmp(output.data(), input.data(), input.size() * sizeof(float)), 0)
            << "block " << block;
    }

    // After bands and the global gain went away from 0 and came back, the
    // unit is transparent again once the bands have rung out.
    for (auto* band : unit.bands()) {
        band->setGain(9.0f);
    }
    unit.setGlobalGain(4.0f);
    Stereo busy = noise(kSecond / 2, 0.5f, 8);
    renderThrough({&unit}, busy);
    for (auto* band : unit.bands()) {
        band->setGain(0.0f);
    }
    unit.bands()[2]->setGain(5.0f);
    unit.bands()[2]->setBypass(true);
    unit.setGlobalGain(0.0f);
    Stereo ringOut = noise(2 * kSecond, 0.5f, 9);
    renderThrough({&unit}, ringOut);
    Stereo output = input;
    renderThrough({&unit}, output);
    EXPECT_EQ(std::memcmp(output.data(), input.data(), input.size() * sizeof(float)), 0);
}

TEST(Equalizer, CascadeMatchesAPlainDoubleReference) {
    std::mt19937 generator(11);
    std::uniform_real_distribution<float> gain(-12.0f, 12.0f);
    std::uniform_real_distribution<float> logFrequency(std::log2(20.0f), std::log2(18000.0f));
    std::uniform_real_distribution<float> bandwidth(0.1f, 3.0f);
    auto nonZeroGain = [&] {
        const float g = gain(generator);
        return std::fabs(g) < 0.5f ? 3.0f : g;
    };

    // The production chain (four units of five bands), and one unit with more
    // bands than one pass of the cascade takes, at arbitrary shapes.
    std::vector<std::vector<std::vector<BandSetting>>> chains(2);
    for (int u = 0; u < 4; ++u) {
        chains[0].push_back(standardBands(
            {nonZeroGain(), nonZeroGain(), nonZeroGain(), nonZeroGain(), nonZeroGain()}));
    }
    chains[1].emplace_back();
    for (int b = 0; b < 9; ++b) {
        chains[1][0].push_back(
            {std::exp2(logFrequency(generator)), bandwidth(generator), nonZeroGain()});
    }

    const Stereo input = noise(kSecond, 0.25f, 12);
    for (size_t c = 0; c < chains.size(); ++c) {
        const auto& chain = chains[c];
        std::vector<ReferencePeaking> reference;
        for (const auto& unitBands : chain) {
            for (const BandSetting& band : unitBands) {
                reference.emplace_back(band.frequency, band.bandwidth, band.gain);
            }
        }
        std::vector<double> expected(input.size());
        double power = 0.0;
        for (size_t i = 0; i < input.size(); ++i) {
            double x = input[i];
            for (ReferencePeaking& section : reference) {
                x = section.process(static_cast<int>(i % 2), x);
            }
            expected[i] = x;
            power += x * x;
        }
        const double rms = std::sqrt(power / input.size());
        auto errorDb = [&](const Stereo& output) {
            double worst = 0.0;
            for (size_t i = 0; i < output.size(); ++i) {
                worst = std::max(worst, std::fabs(output[i] - expected[i]));
            }
            return decibels(worst / rms);
        };

        for (int block : {1, 7, 64, 512, 4096}) {
            SCOPED_TRACE(testing::Message() << "chain " << c << ", block " << block);
            std::vector<std::unique_ptr<AudioUnitEQ>> units;
            std::vector<AudioNode*> nodes;
            for (const auto& unitBands : chain) {
                units.push_back(std::make_unique<AudioUnitEQ>(static_cast<int>(unitBands.size())));
                configure(*units.back(), unitBands);
                units.back()->prepare(kRate, block);
                nodes.push_back(units.back().get());
            }
            Stereo output = input;
            renderThrough(nodes, output, block);
            EXPECT_LT(errorDb(output), -100.0);
        }

        // Every build of the kernel this CPU runs, not only the one a unit picks.
        std::vector<std::pair<const char*, BiquadCascadeFunction>> kernels{
            {"baseline", runBiquadCascade}};
#if defined(__x86_64__)
        if (biquadCascadeForThisCpu() == runBiquadCascadeFused) {
            kernels.emplace_back("fused", runBiquadCascadeFused);
        }
#endif
        for (const auto& [name, kernel] : kernels) {
            std::vector<BiquadSection> sections;
            for (const auto& unitBands : chain) {
                for (const BandSetting& band : unitBands) {
                    sections.push_back(
                        {peakingCoefficients(kRate, band.frequency, band.bandwidth, band.gain)});
                }
            }
            std::vector<BiquadSection*> pointers;
            for (BiquadSection& section : sections) {
                pointers.push_back(&section);
            }
            Stereo output = input;
            kernel(pointers.data(), static_cast<int>(pointers.size()), output.data(), kSecond);
            EXPECT_LT(errorDb(output), -100.0) << "chain " << c << ", " << name << " kernel";
        }
    }
}

TEST(Equalizer, GainJumpsGlideWithoutAClick) {
    // 40 frames a period, so every window of 40 frames holds whole periods.
    constexpr double kTone = kRate / 40.0;
    constexpr double kAmplitude = 0.2;
    constexpr int kChange = kSecond / 5;
    constexpr int kEnd = kSecond / 2;
    enum class Control { band, global };
    for (Control control : {Control::band, Control::global}) {
        for (float to : {10.0f, -10.0f}) {
            SCOPED_TRACE(testing::Message() << (control == Control::band ? "band " : "global ")
                                            << "to " << to << " dB");
            AudioUnitEQ unit(5);
            configure(unit, standardBands({0, 0, 0, 0, 0}));
            unit.bands()[2]->setFrequency(static_cast<float>(kTone));
            unit.prepare(kRate, 256);
            Stereo signal = tones({kTone}, kAmplitude, kEnd);
            Stereo before(signal.begin(), signal.begin() + 2 * kChange);
            renderThrough({&unit}, before, 256);
            if (control == Control::band) {
                unit.bands()[2]->setGain(to);
            } else {
                unit.setGlobalGain(to);
            }
            Stereo after(signal.begin() + 2 * kChange, signal.end());
            renderThrough({&unit}, after, 256);
            before.insert(before.end(), after.begin(), after.end());
            signal = std::move(before);

            auto levelAt = [&](int frame) {
                return decibels(amplitudeAt(signal, 0, kTone, frame, 40) / kAmplitude);
            };
            const double steady = std::max(largestCurvature(signal, kChange - 4000, kChange),
                                           largestCurvature(signal, kEnd - 4000, kEnd));
            EXPECT_LT(largestCurvature(signal, kChange - 100, kChange + 4000), steady * 1.05);
            // The level moves over about 20 ms, steadily, and then holds.
            const double fiveMs = std::fabs(levelAt(kChange + 220));
            EXPECT_GT(fiveMs, 1.0);
            EXPECT_LT(fiveMs, 5.0);
            double previous = 0.0;
            for (int frame = kChange; frame < kChange + 1400; frame += 40) {
                const double level = std::fabs(levelAt(frame));
                EXPECT_GE(level, previous - 0.05) << "frame " << frame;
                previous = level;
            }
            EXPECT_NEAR(levelAt(kChange + 1400), to, 0.05);
            EXPECT_NEAR(levelAt(kEnd - 40), to, 0.05);
        }
    }
}

TEST(Equalizer, FrequencyAndBandwidthChangesGlideAndKeepTheFilterSane) {
    constexpr double kTone = kRate / 40.0;
    AudioUnitEQ unit(1);
    unit.bands()[0]->setFrequency(3000.0f);
    unit.bands()[0]->setGain(10.0f);
    unit.prepare(kRate, 256);
    Stereo signal = tones({kTone}, 0.2, kSecond / 2);
    Stereo before(signal.begin(), signal.begin() + 2 * 4000);
    renderThrough({&unit}, before, 256);
    unit.bands()[0]->setFrequency(static_cast<float>(kTone));
    unit.bands()[0]->setBandwidth(1.0f);
    Stereo after(signal.begin() + 2 * 4000, signal.end());
    renderThrough({&unit}, after, 256);
    auto levelAt = [&](int frame) {
        return decibels(amplitudeAt(after, 0, kTone, frame, 40) / 0.2);
    };
    EXPECT_LT(levelAt(40), 3.0);  // moving, not jumped
    EXPECT_NEAR(levelAt(kSecond / 4), 10.0, 0.05);

    // Bands thrown about every few milliseconds, across the whole range, on
    // loud noise: the output stays finite and near what +10 dB can make.
    Stereo loud = noise(kSecond, 0.5f, 31);
    for (int start = 0; start < kSecond; start += 128) {
        const bool high = (start / 128) % 2;
        unit.bands()[0]->setFrequency(high ? 20000.0f : 20.0f);
        unit.bands()[0]->setBandwidth(high ? 0.05f : 5.0f);
        unit.render(loud.data() + 2 * start, std::min(128, kSecond - start));
    }
    for (float sample : loud) {
        ASSERT_TRUE(std::isfinite(sample));
        ASSERT_LT(std::fabs(sample), 4.0f);
    }
}

TEST(Equalizer, BadParametersAreClampedOrIgnoredAndNeverYieldNaN) {
    AudioUnitEQ unit(6);
    auto bands = unit.bands();
    bands[0]->setFrequency(30000.0f);  // above Nyquist
    bands[0]->setGain(12.0f);
    bands[1]->setBandwidth(0.0f);
    bands[1]->setGain(9.0f);
    bands[2]->setBandwidth(-1.0f);
    bands[2]->setGain(-30.0f);
    bands[3]->setFrequency(-5.0f);
    bands[3]->setGain(std::numeric_limits<float>::infinity());
    bands[4]->setGain(6.0f);
    bands[4]->setGain(std::numeric_limits<float>::quiet_NaN());
    bands[4]->setBandwidth(std::numeric_limits<float>::quiet_NaN());
    bands[4]->setFrequency(std::numeric_limits<float>::quiet_NaN());
    bands[5]->setFrequency(std::numeric_limits<float>::infinity());
    bands[5]->setBandwidth(std::numeric_limits<float>::infinity());
    bands[5]->setGain(-std::numeric_limits<float>::infinity());
    unit.setGlobalGain(std::numeric_limits<float>::quiet_NaN());

    // NaN is ignored, the rest lands inside the ranges a band accepts.
    EXPECT_EQ(bands[4]->gain(), 6.0f);
    EXPECT_EQ(bands[4]->bandwidth(), 0.5f);
    EXPECT_EQ(bands[4]->frequency(), 1000.0f);
    EXPECT_EQ(unit.globalGain(), 0.0f);
    for (auto* band : bands) {
        EXPECT_TRUE(std::isfinite(band->gain()));
        EXPECT_GT(band->bandwidth(), 0.0f);
        EXPECT_GT(band->frequency(), 0.0f);
    }

    unit.prepare(kRate, 512);
    Stereo signal = noise(kSecond, 0.5f, 21);
    // A burst of garbage from upstream must not poison the filters for good.
    signal[2 * 1000] = std::numeric_limits<float>::quiet_NaN();
    signal[2 * 1001 + 1] = std::numeric_limits<float>::infinity();
    renderThrough({&unit}, signal, 100);
    for (size_t i = 2 * 2000; i < signal.size(); ++i) {
        ASSERT_TRUE(std::isfinite(signal[i])) << "sample " << i;
        ASSERT_LT(std::fabs(signal[i]), 50.0f) << "sample " << i;
    }
}

TEST(Equalizer, ScopedNoDenormalsFlushesAndRestores) {
    volatile float smallest = FLT_MIN;
    volatile float half = 0.5f;
    volatile float subnormal = FLT_MIN / 4.0f;
    ASSERT_GT(subnormal, 0.0f);
    {
        ScopedNoDenormals flush;
        EXPECT_EQ(smallest * half, 0.0f);
        {
            ScopedNoDenormals nested;
            EXPECT_EQ(subnormal * 2.0f, 0.0f);
        }
        EXPECT_EQ(smallest * half, 0.0f);
    }
    EXPECT_GT(smallest * half, 0.0f);
    EXPECT_GT(subnormal * 2.0f, 0.0f);
}
