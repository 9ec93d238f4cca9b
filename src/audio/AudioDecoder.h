#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

#include "AudioFile.h"

// Converts interleaved float audio of one rate and channel count to stereo at
// another rate. It holds a few input frames back, which a call without input
// lets out at the end.
class SampleRateConverter {
public:
    virtual ~SampleRateConverter() = default;

    // Input frames held back so far.
    virtual qint64 delay() const = 0;

    // Converts `frames` frames of `input` (nullptr: drain what is held back)
    // into at most `capacity` frames of `output`; the frames written, or -1.
    virtual int convert(float* output, int capacity, const float* input, int frames) = 0;
};

// A file as the decoder opened it to probe it, its format already read: what
// the first reader decodes from instead of opening and probing it again.
class ProbedFile {
public:
    virtual ~ProbedFile() = default;
};

// The decoding libraries behind AudioFile, which live in a module of their own
// and are loaded at the first file opened: they are most of what a start would
// otherwise map and relocate before the window can draw.
class AudioDecoder {
public:
    virtual ~AudioDecoder() = default;

    // Opens `path` and fills in what AudioFile reports about it. The file
    // stays open in what is returned, for the first reader to decode from;
    // on failure nullptr with the same `error` and `failure` as
    // AudioFile::openForReading.
    virtual std::unique_ptr<ProbedFile> probe(const QString& path,
                                              AudioFile::Properties& properties, QString* error,
                                              AudioFile::OpenFailure* failure) const = 0;

    // A reader of the file `properties` describes, at frame 0: over `probed`
    // when given (the file exactly as it was probed), else over the file
    // opened again, which fails when another file has taken its name since.
    virtual std::unique_ptr<AudioFileReader> createReader(const AudioFile::Properties& properties,
                                                          std::unique_ptr<ProbedFile> probed,
                                                          QString* error) const = 0;

    // Times a file has been opened for probing or decoding in this process.
    virtual quint64 filesOpened() const = 0;

    // A converter from `channels` channels at `inputRate` to stereo at
    // `outputRate`, a mono source on both sides at its own level and a
    // downmix kept within full scale; nullptr when none can be made.
    virtual std::unique_ptr<SampleRateConverter> createConverter(int channels, double inputRate,
                                                                 double outputRate) const = 0;
};

// The one symbol the module exports; its name carries the interface's
// generation, so a module left from an older build is refused, not misread.
using AudioDecoderEntry = const AudioDecoder* (*)();
inline constexpr char kAudioDecoderEntry[] = "corvantisAudioDecoder2";
