#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QDir>
#include <csignal>
#include <cstring>
#include <vector>

#include "AudioFile.h"
#include "TestSupport.h"
#include "WavFileWriter.h"

namespace {

constexpr int kHeaderBytes = 58;
// Not a whole number of the writer's blocks, nor of the pieces below.
constexpr qint64 kFrames = 300'001;

const std::vector<float>& samples() {
    static const std::vector<float> values = [] {
        std::vector<float> v(size_t(kFrames) * 2);
        for (size_t i = 0; i < v.size(); ++i) {
            v[i] = float(int(i % 2001) - 1000) / 1000.0f;
        }
        return v;
    }();
    return values;
}

// Writes samples() in pieces of `piece` frames; false at the first failure.
bool writeInPieces(WavFileWriter& writer, qint64 piece) {
    for (qint64 at = 0; at < kFrames; at += piece) {
        const qint64 count = std::min(piece, kFrames - at);
        float* room = writer.reserve(count);
        if (!room) {
            return false;
        }
        std::memcpy(room, samples().data() + at * 2, size_t(count) * 2 * sizeof(float));
        if (!writer.commit(count)) {
            return false;
        }
    }
    return true;
}

// The whole file at `path` holds `frames` frames, the first of samples().
void expectWholeFile(const QString& path, qint64 frames) {
    const QByteArray bytes = readFile(path);
    ASSERT_EQ(bytes.size(), kHeaderBytes + frames * 8);
    EXPECT_EQ(std::memcmp(bytes.constData() + kHeaderBytes, samples().data(), size_t(frames) * 8),
              0);
    const auto file = AudioFile::openForReading(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->length(), frames);
}

}  // namespace

// Whatever the pieces, and whatever file stood at the path before, the
// result is the same bytes, cut to exactly the new length.
TEST(WavFileWriter, SameBytesInAnyPiecesAndOverWhateverWasThere) {
    const struct {
        qint64 piece;
        qint64 existingBytes;  // -1: no file there
    } cases[] = {{131'072, -1}, {4099, -1}, {16384, 8 << 20}, {777, 100}};
    QByteArray first;
    for (const auto& c : cases) {
        const QString path = QDir(testHome()).filePath(QString("out-%1.wav").arg(c.piece));
        if (c.existingBytes >= 0) {
            writeFile(path, QByteArray(c.existingBytes, '\x7f'));
        }
        WavFileWriter writer(path, 44100.0, 2);
        ASSERT_TRUE(writer.open());
        ASSERT_TRUE(writeInPieces(writer, c.piece));
        ASSERT_TRUE(writer.finish());
        expectWholeFile(path, kFrames);
        first = first.isEmpty() ? readFile(path) : first;
        EXPECT_TRUE(readFile(path) == first) << c.piece;
    }
}

// A write that fails on the writer's thread (here: past the file size limit)
// reaches the caller, and the file describes the part that was written.
TEST(WavFileWriter, AFailedWriteIsReportedAndTheFileEndsWhereItFailed) {
    const QString path = QDir(testHome()).filePath("limited.wav");
    // Past the limit a write fails with EFBIG instead of raising the signal.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit limited = saved;
    limited.rlim_cur = 1 << 20;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    WavFileWriter writer(path, 44100.0, 2);
    ASSERT_TRUE(writer.open());
    const bool written = writeInPieces(writer, 1000);
    const bool finished = writer.finish();
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(written && finished);
    EXPECT_EQ(writer.errorString(), QString::fromLocal8Bit(std::strerror(EFBIG)));
    expectWholeFile(path, ((1 << 20) - kHeaderBytes) / 8);
}
