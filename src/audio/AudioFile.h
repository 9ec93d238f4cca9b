#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>
#include <mutex>

class AudioFileReader;
class ProbedFile;

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
    // `error`) when the file can no longer be opened. The first one decodes
    // from the file as it was opened here; later ones open it again.
    std::unique_ptr<AudioFileReader> createReader(QString* error = nullptr) const;

    // What a file is, as the decoder found it when the file was opened.
    struct Properties {
        QString path;
        qint64 length = 0;
        int sampleRate = 0;
        int channels = 0;
        // Which file it was: a file opened again under the same name must
        // be the same one, or its length and position would not fit it.
        quint64 device = 0;
        quint64 inode = 0;
    };

private:
    AudioFile(std::unique_ptr<Properties> properties, std::unique_ptr<ProbedFile> probed);
    std::unique_ptr<Properties> m_properties;
    // Handed to the first reader, which may be made on another thread.
    mutable std::mutex m_probedMutex;
    mutable std::unique_ptr<ProbedFile> m_probed;
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
