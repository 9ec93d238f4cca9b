#pragma once

#include <random>
#include <vector>

// Interleaved stereo frames.
using Stereo = std::vector<float>;

// Uniform white noise in [-amplitude, amplitude], the same for the same seed.
inline Stereo noise(int frames, float amplitude, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> value(-amplitude, amplitude);
    Stereo out(2 * static_cast<size_t>(frames));
    for (float& sample : out) {
        sample = value(generator);
    }
    return out;
}
