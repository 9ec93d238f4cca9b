#pragma once

#include <QFile>
#include <QString>
#include <QtGlobal>

// Writes 32-bit float WAV files (format 3, IEEE float), the exact form of the
// graph's output. The sizes in the header are filled in by finish().
class WavFileWriter {
public:
    WavFileWriter(const QString& path, double sampleRate, int channelCount);
    ~WavFileWriter();
    WavFileWriter(const WavFileWriter&) = delete;
    WavFileWriter& operator=(const WavFileWriter&) = delete;

    // Creates the file; false (and errorString()) when it cannot be written.
    bool open();
    // Appends `frames` interleaved frames.
    bool write(const float* interleaved, qint64 frames);
    // Completes the header and closes the file.
    bool finish();
    QString errorString() const { return m_file.errorString(); }
    qint64 framesWritten() const { return m_frames; }

private:
    bool writeHeader();

    QFile m_file;
    double m_sampleRate;
    int m_channelCount;
    qint64 m_frames = 0;
    bool m_finished = false;
    bool m_streaming = false;
};
