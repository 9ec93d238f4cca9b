#pragma once

// The demuxing half of the decoder: opening a file with its audio stream
// chosen, reading its packets and measuring its exact length.

#include <QLoggingCategory>
#include <optional>

#include "AudioFile.h"
#include "FfmpegHandles.h"

Q_DECLARE_LOGGING_CATEGORY(lcDecode)

namespace ffmpeg {

// Packets in a row that may fail before a reader gives up on the file.
constexpr int kMaxConsecutiveErrors = 64;
// Streams with more channels are not taken for audio.
constexpr int kMaxChannels = 64;

qint64 toSamples(int64_t timestamp, AVRational timeBase, int sampleRate);
int64_t fromSamples(qint64 samples, AVRational timeBase, int sampleRate);

// One demuxer with its audio stream chosen and its decoder found.
struct AudioInput {
    Input context;
    int streamIndex = -1;
    const AVCodec* codec = nullptr;
    // Which file was opened (see AudioFile::Properties).
    quint64 device = 0;
    quint64 inode = 0;
    // Nothing has been read past what opening it read: decoding from here
    // starts at the first packet.
    bool atStart = true;

    AVStream* stream() const { return context->streams[streamIndex]; }
    int sampleRate() const { return stream()->codecpar->sample_rate; }
};

// Opens `path` with only its best audio stream left on; nullopt with the
// error and its kind (see AudioFile::openForReading) when it cannot.
std::optional<AudioInput> openInput(const QString& path, QString* error,
                                    AudioFile::OpenFailure* failure = nullptr);

// Files opened by openInput() so far, in this process.
quint64 filesOpened();

// Reads the next packet of any stream, stepping over damaged stretches that
// the demuxer resyncs after. False at the end of the file.
bool readPacket(AVFormatContext* context, AVPacket* packet, const QString& path);

// The samples a packet says to drop at the start of the stream, or at its end.
qint64 skipSamples(const AVPacket* packet, bool atStart);

// The stream's length in frames, exactly what its decoder yields. Where the
// container does not state it the packets are counted, which leaves the
// input at its end (atStart false).
qint64 measureLength(AudioInput& input, const QString& path);

}  // namespace ffmpeg
