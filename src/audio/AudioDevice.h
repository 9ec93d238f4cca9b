#pragma once

#include <QString>

// The sound device behind the application's output, which lives in a module
// of its own (libcorvantis-audio-output.so) loaded when the first player is
// made: its library and the ones it pulls in are a good part of what a start
// would otherwise map before the window can draw.
class AudioDevice {
public:
    // Called on the device's render thread for `frames` stereo float frames.
    using Render = void (*)(void* context, float* interleaved, int frames);

    virtual ~AudioDevice() = default;

    // The meaning of each is that of the AudioOutput method of the same name;
    // asking for the rate may open the device to learn it.
    virtual bool start(Render render, void* context, QString* error) = 0;
    virtual void pause() = 0;
    virtual bool isRunning() const = 0;
    virtual double sampleRate() = 0;
    virtual int maximumFrames() const = 0;
};

// The one symbol the module exports: a new device whose stream carries
// `streamRole` (such as "music") for the sound server. Its name carries the
// interface's generation, so a module left from an older build is refused.
using AudioDeviceEntry = AudioDevice* (*)(const char* streamRole);
inline constexpr char kAudioDeviceEntry[] = "corvantisAudioDevice1";
