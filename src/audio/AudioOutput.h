#pragma once

#include <QString>

class AudioEngine;

// Where the rendered graph goes: a sound device, or a buffer the caller pulls.
// Every method runs on the main thread; the output calls the engine's
// renderBlock() on its own render thread (a device) or never (offline).
class AudioOutput {
public:
    virtual ~AudioOutput() = default;

    // Opens the device on first use and starts pulling from `engine`. Returns
    // false with a description in `error` when no device can be had.
    virtual bool start(AudioEngine& engine, QString* error) = 0;
    // Stops pulling, keeps the device open for a quick restart.
    virtual void pause() = 0;
    virtual bool isRunning() const = 0;
    // Frames per second the graph renders at; known before start().
    virtual double sampleRate() const = 0;
    // The largest block the output asks for at once.
    virtual int maximumFrames() const = 0;
    // Whether render() may wait for decoded audio rather than play silence:
    // true for outputs that are not real time.
    virtual bool isOffline() const { return false; }
};
