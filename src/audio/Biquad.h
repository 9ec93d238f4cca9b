#pragma once

#include <cmath>
#include <cstring>
#include <numbers>

// Second-order sections for the equalizer. Arithmetic and state are double:
// in float the low bands' poles sit so close to the unit circle that roundoff
// alone leaves the output only ~60 dB clear of the exact result. Both channels
// of a frame travel in one two-lane vector, which costs what a float cascade
// costs and keeps the two channels in lock step.

// Two doubles in one register: SSE2 on x86-64, NEON on aarch64, plain pairs
// elsewhere; the compiler picks the instructions.
using Double2 = double __attribute__((vector_size(16)));
using Float2 = float __attribute__((vector_size(8)));

inline Double2 splat(double value) {
    return Double2{value, value};
}

// One section, normalised so that a0 = 1, each coefficient held in both lanes.
struct BiquadCoefficients {
    Double2 b0 = splat(1.0);
    Double2 b1 = splat(0.0);
    Double2 b2 = splat(0.0);
    Double2 a1 = splat(0.0);
    Double2 a2 = splat(0.0);
};

// Peaking bell from the audio EQ cookbook: `octaves` is the bandwidth between
// the frequencies where the boost is half its decibels, taken in the digital
// domain (the sin(w0) form), so bands keep their width near Nyquist.
inline BiquadCoefficients peakingCoefficients(double sampleRate, double frequency, double octaves,
                                              double gainDecibels) {
    const double a = std::pow(10.0, gainDecibels / 40.0);
    const double w0 = 2.0 * std::numbers::pi * frequency / sampleRate;
    const double sinW0 = std::sin(w0);
    const double cosW0 = std::cos(w0);
    const double alpha = sinW0 * std::sinh(std::numbers::ln2 / 2.0 * octaves * w0 / sinW0);
    const double a0 = 1.0 + alpha / a;
    BiquadCoefficients c;
    c.b0 = splat((1.0 + alpha * a) / a0);
    c.b1 = splat(-2.0 * cosW0 / a0);
    c.b2 = splat((1.0 - alpha * a) / a0);
    c.a1 = c.b1;
    c.a2 = splat((1.0 - alpha / a) / a0);
    return c;
}

// Transposed direct form II: two state words per section and channel.
struct BiquadSection {
    BiquadCoefficients c;
    Double2 s1 = splat(0.0);
    Double2 s2 = splat(0.0);

    void clearState() {
        s1 = splat(0.0);
        s2 = splat(0.0);
    }

    bool quieterThan(double level) const {
        for (int lane = 0; lane < 2; ++lane) {
            if (!(std::fabs(s1[lane]) < level && std::fabs(s2[lane]) < level)) {
                return false;
            }
        }
        return true;
    }
};

// Memory below 1e-30 (-600 dB) is dropped so that a section ringing out on
// silence does not decay into subnormals, and memory that is no longer finite
// (NaN fed in from upstream) is dropped so the section recovers.
[[gnu::always_inline]] inline Double2 scrubbed(Double2 word) {
    const Double2 magnitude = word < 0.0 ? -word : word;
    const auto keep = (magnitude >= 1e-30) & (magnitude < 1e100);
    return keep ? word : splat(0.0);
}

// The kernel is built twice: for the baseline of the architecture and, on
// x86-64, for CPUs with AVX2 and FMA, which run it about twice as fast (three
// operand instructions, and the multiply-adds fused). Fusing changes
// roundoff by a few units in the last place of a double and nothing audible.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC push_options
#pragma GCC optimize("fp-contract=fast")
#endif

namespace biquad_detail {

// Runs `frames` interleaved stereo frames through N sections. Frames are the
// outer loop and sections the inner one, so while one section waits for its
// own previous output the CPU already works on the next sections of the same
// frame. Coefficients and state are copied into locals so they can live in
// registers across the loop. (A later version may run the sections
// pipelined across the lanes of a wider vector; the call stays the same.)
template <int N>
[[gnu::always_inline]] inline void runSections(BiquadSection* const* sections,
                                               float* interleavedStereo, int frames) {
#if defined(__clang__)
#pragma clang fp contract(fast)
#endif
    BiquadCoefficients c[N];
    Double2 s1[N];
    Double2 s2[N];
    for (int k = 0; k < N; ++k) {
        c[k] = sections[k]->c;
        s1[k] = sections[k]->s1;
        s2[k] = sections[k]->s2;
    }
    // Memory is scrubbed this often. Falling from 1e-30 into subnormals within
    // 64 frames takes poles near zero; the bells here ring far longer.
    constexpr int kScrubFrames = 64;
    float* frame = interleavedStereo;
    for (int done = 0; done < frames; done += kScrubFrames) {
        const int run = frames - done < kScrubFrames ? frames - done : kScrubFrames;
        for (int i = 0; i < run; ++i, frame += 2) {
            Float2 in;
            std::memcpy(&in, frame, sizeof in);
            Double2 x = __builtin_convertvector(in, Double2);
#pragma GCC unroll 8
            for (int k = 0; k < N; ++k) {
                const Double2 y = c[k].b0 * x + s1[k];
                // Grouped so that only one multiply and one add wait for y.
                s1[k] = (c[k].b1 * x + s2[k]) - c[k].a1 * y;
                s2[k] = c[k].b2 * x - c[k].a2 * y;
                x = y;
            }
            const Float2 out = __builtin_convertvector(x, Float2);
            std::memcpy(frame, &out, sizeof out);
        }
        for (int k = 0; k < N; ++k) {
            s1[k] = scrubbed(s1[k]);
            s2[k] = scrubbed(s2[k]);
        }
    }
    for (int k = 0; k < N; ++k) {
        sections[k]->s1 = s1[k];
        sections[k]->s2 = s2[k];
    }
}

[[gnu::always_inline]] inline void runCascade(BiquadSection* const* sections, int count,
                                              float* interleavedStereo, int frames) {
    // Six sections' state still fits the sixteen vector registers of x86-64.
    constexpr int kWidest = 6;
    while (count > 0) {
        const int n = count < kWidest ? count : kWidest;
        switch (n) {
            case 1:
                runSections<1>(sections, interleavedStereo, frames);
                break;
            case 2:
                runSections<2>(sections, interleavedStereo, frames);
                break;
            case 3:
                runSections<3>(sections, interleavedStereo, frames);
                break;
            case 4:
                runSections<4>(sections, interleavedStereo, frames);
                break;
            case 5:
                runSections<5>(sections, interleavedStereo, frames);
                break;
            default:
                runSections<kWidest>(sections, interleavedStereo, frames);
                break;
        }
        sections += n;
        count -= n;
    }
}

}  // namespace biquad_detail

// Runs the sections in order over the frames, in place.
inline void runBiquadCascade(BiquadSection* const* sections, int count, float* interleavedStereo,
                             int frames) {
    biquad_detail::runCascade(sections, count, interleavedStereo, frames);
}

#if defined(__x86_64__)
// The same for CPUs with AVX2 and FMA; only call it where they are present.
[[gnu::target("avx2,fma")]] inline void runBiquadCascadeFused(BiquadSection* const* sections,
                                                              int count, float* interleavedStereo,
                                                              int frames) {
    biquad_detail::runCascade(sections, count, interleavedStereo, frames);
}
#endif

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC pop_options
#endif

using BiquadCascadeFunction = void (*)(BiquadSection* const*, int, float*, int);

// The fastest kernel this CPU runs. Asks the CPU, so call it while preparing,
// not per block.
inline BiquadCascadeFunction biquadCascadeForThisCpu() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
        return runBiquadCascadeFused;
    }
#endif
    return runBiquadCascade;
}
