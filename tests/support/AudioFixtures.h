#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>
#include <vector>

// Audio files made by test code (never committed), encoded with the same
// libraries a user's encoder would use, so that decoding sees real delay,
// padding and packet layouts.
enum class FixtureFormat {
    wav,          // 16-bit PCM
    aiff,         // 16-bit PCM, big-endian
    flac,         // 16-bit
    mp3,          // VBR with a Xing/LAME header (frame count, delay, padding)
    mp3NoHeader,  // VBR without any header that states the length
    m4aAac,
    m4aAlac,  // 16-bit
    oggVorbis,
    opus,      // Ogg Opus; 48000 Hz only (or 8000, 12000, 16000, 24000)
    wavFloat,  // 32-bit float PCM
};

// File extension with the dot: ".wav", ".m4a", ...
QString fixtureExtension(FixtureFormat format);
// A short name for test output: "wav", "mp3NoHeader", ...
const char* fixtureName(FixtureFormat format);
// Whether the format stores 16-bit samples unchanged.
bool isLossless(FixtureFormat format);

// What the file sounds like.
struct FixtureSignal {
    enum class Kind {
        sine,
        // Lossless formats only: every frame holds values that depend on its
        // index alone (see patternSample), so a test can tell exactly which
        // frame it is looking at.
        framePattern,
        // wavFloat only: every sample holds (frame + 1) / 2^24, negated on odd
        // channels; exact for 2^24 frames and never zero, so that a test can
        // name the source frame of any sample it hears, and tell silence apart.
        frameIndex,
    };
    Kind kind = Kind::sine;
    double frequency = 440.0;  // Hz; channel c plays frequency * (c + 1)
    double amplitude = 0.5;    // of full scale

    static FixtureSignal sine(double frequency, double amplitude = 0.5) {
        return {Kind::sine, frequency, amplitude};
    }
    static FixtureSignal framePattern() { return {Kind::framePattern, 0.0, 0.0}; }
    static FixtureSignal frameIndex() { return {Kind::frameIndex, 0.0, 0.0}; }
};

struct AudioFixture {
    FixtureFormat format = FixtureFormat::wav;
    qint64 frames = 44100;
    int sampleRate = 44100;
    int channels = 2;
    FixtureSignal signal;
};

// The decoded value, as float in [-1, 1), of `channel` at `frame` in a
// frame-pattern fixture: a sawtooth that runs through all 65536 16-bit values,
// each channel offset from the others.
float patternSample(qint64 frame, int channel);

// Encodes `fixture` into `path` (directories are created). Returns an empty
// string on success, else what went wrong.
QString writeAudioFixture(const QString& path, const AudioFixture& fixture);

// A float WAV named `name` in the test's home, of the frame index or of a sine;
// fails the test when it cannot be written.
QString writePatternFile(const QString& name, int sampleRate, qint64 frames, int channels = 2);
QString writeSineFile(const QString& name, int sampleRate, qint64 frames, double hertz,
                      double amplitude, int channels = 2);
// The source frame a frame-index sample encodes; -1 for silence.
qint64 patternFrame(float sample);

// A whole file decoded with plain library calls, without seeking or trimming of
// our own: the reference a reader is compared with.
struct DecodedAudio {
    int sampleRate = 0;
    int channels = 0;
    std::vector<float> samples;  // interleaved
    qint64 frames() const { return channels > 0 ? qint64(samples.size()) / channels : 0; }
};
// nullopt (and `error`) when the file does not decode.
std::optional<DecodedAudio> referenceDecode(const QString& path, QString* error = nullptr);
