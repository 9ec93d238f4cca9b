#include "WavFileWriter.h"

#include <QtEndian>
#include <cstring>

namespace {

constexpr quint16 kFormatIeeeFloat = 3;

void putTag(QByteArray& out, const char* tag) {
    out.append(tag, 4);
}

void put32(QByteArray& out, quint32 value) {
    const quint32 le = qToLittleEndian(value);
    out.append(reinterpret_cast<const char*>(&le), 4);
}

void put16(QByteArray& out, quint16 value) {
    const quint16 le = qToLittleEndian(value);
    out.append(reinterpret_cast<const char*>(&le), 2);
}

}  // namespace

WavFileWriter::WavFileWriter(const QString& path, double sampleRate, int channelCount)
    : m_file(path), m_sampleRate(sampleRate), m_channelCount(channelCount) {}

WavFileWriter::~WavFileWriter() {
    if (m_file.isOpen() && !m_finished) {
        finish();
    }
}

bool WavFileWriter::open() {
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    // A pipe or a device cannot be rewound to fill the sizes in: stream with
    // the sizes that readers take as "until the end".
    m_streaming = m_file.isSequential();
    return writeHeader();
}

bool WavFileWriter::writeHeader() {
    // RIFF, fmt (18 bytes: float formats carry cbSize), fact, data.
    const quint32 dataBytes =
        m_streaming ? quint32(UINT32_MAX - 64)
                    : quint32(std::min<qint64>(m_frames * m_channelCount * qint64(sizeof(float)),
                                               qint64(UINT32_MAX - 64)));
    QByteArray header;
    putTag(header, "RIFF");
    put32(header, 4 + (8 + 18) + (8 + 4) + 8 + dataBytes);
    putTag(header, "WAVE");
    putTag(header, "fmt ");
    put32(header, 18);
    put16(header, kFormatIeeeFloat);
    put16(header, quint16(m_channelCount));
    put32(header, quint32(qRound(m_sampleRate)));
    put32(header, quint32(qRound(m_sampleRate)) * quint32(m_channelCount) * 4);
    put16(header, quint16(m_channelCount * 4));
    put16(header, 32);
    put16(header, 0);
    putTag(header, "fact");
    put32(header, 4);
    put32(header, quint32(std::min<qint64>(m_frames, UINT32_MAX)));
    putTag(header, "data");
    put32(header, dataBytes);
    if (!m_streaming && !m_file.seek(0)) {
        return false;
    }
    return m_file.write(header) == header.size();
}

bool WavFileWriter::write(const float* interleaved, qint64 frames) {
    const qint64 bytes = frames * m_channelCount * qint64(sizeof(float));
    if constexpr (Q_BYTE_ORDER == Q_LITTLE_ENDIAN) {
        if (m_file.write(reinterpret_cast<const char*>(interleaved), bytes) != bytes) {
            return false;
        }
    } else {
        QByteArray swapped(bytes, Qt::Uninitialized);
        qToLittleEndian<float>(interleaved, frames * m_channelCount, swapped.data());
        if (m_file.write(swapped) != bytes) {
            return false;
        }
    }
    m_frames += frames;
    return true;
}

bool WavFileWriter::finish() {
    m_finished = true;
    const bool ok = (m_streaming || writeHeader()) && m_file.flush();
    m_file.close();
    return ok;
}
