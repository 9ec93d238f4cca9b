#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

class AudioFileReader;

// An audio file opened for reading: anything the decoder libraries read (mp3,
// m4a/aac, alac, flac, wav, aiff, ogg/vorbis, opus, ...). The file itself is
// immutable; decoding happens through readers, each with a position of its own,
// so a decoder thread never shares state with the thread that opened the file.
class AudioFile {
public:
    // Why an open failed: the file is missing or is not audio that can be
    // read, which opening it again will not change; or the system failed to
    // open a file that may well be fine (out of file handles or memory, an
    // I/O error).
    enum class OpenFailure { unreadable, system };

    // Opens `path`. On failure returns nullptr and, when `error` is given, a
    // one-line description a user can read ("Invalid data found when
    // processing input", "No such file or directory", ...), and when
    // `failure` is given, which kind of failure it was.
    static std::shared_ptr<AudioFile> openForReading(const QString& path, QString* error = nullptr,
                                                     OpenFailure* failure = nullptr);

    ~AudioFile();
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;

    QString path() const;
    // Length in frames: exactly the number of frames the decoder yields, with
    // the encoder delay and padding the file declares taken off.
    qint64 length() const;
    // Frames per second of the decoded audio.
    double sampleRate() const;
    // Channels of the decoded audio, in the decoder's default order for
    // that count (mono; left, right; ...).
    int channelCount() const;
    // length / sampleRate.
    double durationSeconds() const;

    // A new decoder over the file, positioned at frame 0; nullptr (and
    // `error`) when the file can no longer be opened.
    std::unique_ptr<AudioFileReader> createReader(QString* error = nullptr) const;

    struct Properties;
    struct OpenInput;

private:
    explicit AudioFile(std::unique_ptr<Properties> properties);
    std::unique_ptr<Properties> m_properties;
    // The demuxer that opening measured the file with, untouched since, for
    // the first reader to take over instead of opening the file again.
    std::unique_ptr<OpenInput> m_openInput;
};

// Sequential, sample-exact decoding of one AudioFile. Not thread-safe: one
// reader belongs to one thread at a time. Allocation happens here, never on
// the render thread.
class AudioFileReader {
public:
    virtual ~AudioFileReader() = default;

    // Positions the reader so that the next read starts exactly at `frame`
    // (0 <= frame <= length). Returns false when the file cannot seek there.
    virtual bool seek(qint64 frame) = 0;

    // Decodes up to `frames` frames into `destination` as interleaved float,
    // channelCount() channels per frame. Returns the frames written: fewer than
    // asked only at the end of the file (then 0 on the next call), or -1 when
    // decoding failed for good.
    virtual qint64 read(float* destination, qint64 frames) = 0;

    // The frame the next read starts at.
    virtual qint64 position() const = 0;
};
