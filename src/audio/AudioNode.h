#pragma once

// One stage of the render graph. Every stage works on interleaved stereo float
// frames at the output's rate; a source writes them, an effect rewrites them in
// place.
//
// prepare() runs on the main thread while nothing renders and is the only
// place a node may allocate. render() runs on the render thread and must not
// allocate, lock, log or touch Qt: parameters reach it through atomics.
class AudioNode {
public:
    virtual ~AudioNode() = default;

    // The graph is about to render at `sampleRate` in blocks of at most
    // `maximumFrames` frames.
    virtual void prepare(double sampleRate, int maximumFrames) = 0;

    // Fills (source) or processes (effect) `frames` interleaved stereo frames.
    virtual void render(float* interleavedStereo, int frames) noexcept = 0;

    // Forget everything held from earlier blocks (filter memory, delay lines).
    virtual void reset() noexcept {}

    // Frames by which this node delays its input.
    virtual int latencyFrames() const { return 0; }
};
