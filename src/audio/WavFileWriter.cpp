#include "WavFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QtEndian>
#include <cerrno>
#include <cstring>

#include "NativeFileName.h"

namespace {

constexpr quint16 kFormatIeeeFloat = 3;
// RIFF, fmt (18 bytes: float formats carry cbSize), fact, data.
constexpr int kHeaderBytes = 12 + (8 + 18) + (8 + 4) + 8;
// Large enough that a write costs little more than its copy, small enough
// that the blocks in flight stay a few MiB.
constexpr size_t kBlockBytes = size_t(1) << 20;
constexpr int kBlockCount = 4;

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

// Writes all of `size` bytes at the file's position, adding what it wrote to
// `done`; 0, or the error.
int writeFully(int fd, const char* data, size_t size, qint64* done = nullptr) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        data += written;
        size -= size_t(written);
        if (done) {
            *done += written;
        }
    }
    return 0;
}

}  // namespace

WavFileWriter::WavFileWriter(const QString& path, double sampleRate, int channelCount)
    : m_path(NativeFileName::encode(path)),
      m_sampleRate(sampleRate),
      m_channelCount(channelCount) {}

WavFileWriter::~WavFileWriter() {
    if (m_fd >= 0 && !m_finished) {
        finish();
    }
}

QString WavFileWriter::errorString() const {
    std::lock_guard lock(m_mutex);
    return QString::fromLocal8Bit(std::strerror(m_error));
}

bool WavFileWriter::fail(int error) {
    std::lock_guard lock(m_mutex);
    if (m_error == 0) {
        m_error = error;
    }
    return false;
}

bool WavFileWriter::failed() const {
    std::lock_guard lock(m_mutex);
    return m_error != 0;
}

bool WavFileWriter::open() {
    // No O_TRUNC: see the class comment. finish() cuts the file to length.
    m_fd = ::open(m_path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (m_fd < 0) {
        return fail(errno);
    }
    const auto abandon = [this](int error) {
        ::close(m_fd);
        m_fd = -1;
        return fail(error);
    };
    struct stat status {};
    if (::fstat(m_fd, &status) != 0) {
        return abandon(errno);
    }
    // Readers take the sizes a stream cannot fill in as "until the end".
    m_streaming = !S_ISREG(status.st_mode);
    // Written where the file starts, which leaves its position after it.
    const QByteArray start = header(0);
    if (const int error = writeFully(m_fd, start.constData(), size_t(start.size()))) {
        return abandon(error);
    }
    for (int i = 0; i < kBlockCount; ++i) {
        auto block = std::make_unique<Block>();
        // Every byte is written before it is read.
        block->bytes = std::make_unique_for_overwrite<char[]>(kBlockBytes);
        m_free.push_back(std::move(block));
    }
    m_filling = std::move(m_free.back());
    m_free.pop_back();
    m_writer = std::thread(&WavFileWriter::writeBlocks, this);
    return true;
}

QByteArray WavFileWriter::header(qint64 frames) const {
    const quint32 dataBytes =
        m_streaming ? quint32(UINT32_MAX - 64)
                    : quint32(std::min<qint64>(frames * m_channelCount * qint64(sizeof(float)),
                                               qint64(UINT32_MAX - 64)));
    QByteArray header;
    putTag(header, "RIFF");
    put32(header, kHeaderBytes - 8 + dataBytes);
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
    put32(header, quint32(std::min<qint64>(frames, UINT32_MAX)));
    putTag(header, "data");
    put32(header, dataBytes);
    Q_ASSERT(header.size() == kHeaderBytes);
    return header;
}

qint64 WavFileWriter::maximumReserve() const {
    return qint64(kBlockBytes / (size_t(m_channelCount) * sizeof(float)));
}

float* WavFileWriter::reserve(qint64 frames) {
    const size_t bytes = size_t(frames) * size_t(m_channelCount) * sizeof(float);
    if (!m_filling || frames > maximumReserve() || failed()) {
        return nullptr;
    }
    if (m_filling->size + bytes > kBlockBytes && !handOff()) {
        return nullptr;
    }
    // Blocks hold whole frames, so every reservation is float-aligned.
    return reinterpret_cast<float*>(m_filling->bytes.get() + m_filling->size);
}

bool WavFileWriter::commit(qint64 frames) {
    if (!m_filling) {
        return false;
    }
    const size_t count = size_t(frames) * size_t(m_channelCount);
    auto* samples = reinterpret_cast<float*>(m_filling->bytes.get() + m_filling->size);
    if constexpr (Q_BYTE_ORDER != Q_LITTLE_ENDIAN) {
        qToLittleEndian<float>(samples, qsizetype(count), samples);
    }
    m_filling->size += count * sizeof(float);
    m_frames += frames;
    return !failed();
}

// Queues the block being filled and takes a free one, waiting while every
// block is on its way to the disk.
bool WavFileWriter::handOff() {
    std::unique_lock lock(m_mutex);
    m_queued.push_back(std::move(m_filling));
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_free.empty(); });
    m_filling = std::move(m_free.back());
    m_free.pop_back();
    m_filling->size = 0;
    return m_error == 0;
}

void WavFileWriter::writeBlocks() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closing || !m_queued.empty(); });
        if (m_queued.empty()) {
            return;
        }
        std::unique_ptr<Block> block = std::move(m_queued.front());
        m_queued.pop_front();
        // After a failure the rest is dropped: the file ends where it failed.
        if (m_error == 0) {
            qint64 written = 0;
            lock.unlock();
            const int error = writeFully(m_fd, block->bytes.get(), block->size, &written);
            lock.lock();
            m_bytesWritten += written;
            m_error = error;
        }
        m_free.push_back(std::move(block));
        m_changed.notify_all();
    }
}

bool WavFileWriter::finish() {
    m_finished = true;
    if (m_fd < 0) {
        return false;
    }
    if (m_writer.joinable()) {
        {
            std::lock_guard lock(m_mutex);
            if (m_filling && m_filling->size > 0) {
                m_queued.push_back(std::move(m_filling));
            }
            m_closing = true;
        }
        m_changed.notify_all();
        m_writer.join();
    }
    const qint64 frameBytes = qint64(m_channelCount) * qint64(sizeof(float));
    // What reached the file, in whole frames: after a failure the header
    // describes the part that was written.
    const qint64 frames = m_bytesWritten / frameBytes;
    bool ok = !failed();
    if (!m_streaming) {
        struct stat status {};
        const off_t length = off_t(kHeaderBytes + frames * frameBytes);
        // Whatever an earlier file had beyond the new one goes.
        if (::fstat(m_fd, &status) != 0 ||
            (status.st_size != length && ::ftruncate(m_fd, length))) {
            ok = fail(errno);
        }
        const QByteArray sizes = header(frames);
        const ssize_t written = ::pwrite(m_fd, sizes.constData(), size_t(sizes.size()), 0);
        if (written != sizes.size()) {
            ok = fail(written < 0 ? errno : EIO);
        }
    }
    if (::close(m_fd) != 0) {
        ok = fail(errno);
    }
    m_fd = -1;
    return ok;
}
