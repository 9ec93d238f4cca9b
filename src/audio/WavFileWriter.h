#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// Writes 32-bit float WAV files (format 3, IEEE float), the exact form of the
// graph's output. The sizes in the header are filled in by finish().
//
// The samples go to the disk from a thread of the writer's own, in blocks of
// a mebibyte, so that the thread that renders them never waits on a write. A
// file already at the path is written over in place and cut to length at the
// end rather than emptied first: emptying a file that was just written waits
// for its pages to reach the disk, and the file system then pushes the whole
// new file out when it is closed.
class WavFileWriter {
public:
    WavFileWriter(const QString& path, double sampleRate, int channelCount);
    ~WavFileWriter();
    WavFileWriter(const WavFileWriter&) = delete;
    WavFileWriter& operator=(const WavFileWriter&) = delete;

    // Creates the file and writes its header; false (and errorString()) when
    // it cannot be written.
    bool open();
    // Room for `frames` interleaved frames (at most maximumReserve()) that
    // commit() appends once they are written there: the samples are rendered
    // straight into the block that goes to the disk. nullptr after an error.
    float* reserve(qint64 frames);
    bool commit(qint64 frames);
    qint64 maximumReserve() const;
    // Writes what is left, completes the header and closes the file. A write
    // that failed on the writer's thread is reported here at the latest.
    bool finish();
    QString errorString() const;
    qint64 framesWritten() const { return m_frames; }

private:
    struct Block {
        std::unique_ptr<char[]> bytes;
        size_t size = 0;
    };

    bool fail(int error);
    bool failed() const;
    QByteArray header(qint64 frames) const;
    bool handOff();
    void writeBlocks();

    QByteArray m_path;
    double m_sampleRate;
    int m_channelCount;
    int m_fd = -1;
    // A pipe or a device cannot be rewound to fill the sizes in.
    bool m_streaming = false;
    bool m_finished = false;
    qint64 m_frames = 0;
    std::unique_ptr<Block> m_filling;

    // --- shared with the writer thread, under m_mutex ---
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::unique_ptr<Block>> m_queued;
    std::vector<std::unique_ptr<Block>> m_free;
    bool m_closing = false;
    int m_error = 0;
    // Bytes of samples that reached the file.
    qint64 m_bytesWritten = 0;

    std::thread m_writer;
};
