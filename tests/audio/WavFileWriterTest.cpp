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

std::vector<float> samples(qint64 frames) {
    std::vector<float> values(size_t(frames) * 2);
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = float(int(i % 2001) - 1000) / 1000.0f;
    }
    return values;
}

// Writes `values` in pieces of `piece` frames, through write() or straight
// into reserved room.
bool writeInPieces(const QString& path, const std::vector<float>& values, qint64 piece,
                   bool reserved) {
    WavFileWriter writer(path, 44100.0, 2);
    if (!writer.open()) {
        return false;
    }
    const qint64 frames = qint64(values.size() / 2);
    for (qint64 at = 0; at < frames; at += piece) {
        const qint64 count = std::min(piece, frames - at);
        const float* from = values.data() + at * 2;
        if (reserved) {
            float* room = writer.reserve(count);
            if (!room) {
                return false;
            }
            std::memcpy(room, from, size_t(count) * 2 * sizeof(float));
            if (!writer.commit(count)) {
                return false;
            }
        } else if (!writer.write(from, count)) {
            return false;
        }
    }
    return writer.finish();
}

}  // namespace

// However the samples arrive, and whatever file stood at the path before,
// the result is the same bytes, cut to exactly the new length.
TEST(WavFileWriter, SameBytesHoweverWrittenAndOverWhateverWasThere) {
    const std::vector<float> values = samples(kFrames);
    const QString reference = QDir(testHome()).filePath("reference.wav");
    ASSERT_TRUE(writeInPieces(reference, values, kFrames, false));
    const QByteArray expected = readFile(reference);
    ASSERT_EQ(expected.size(), kHeaderBytes + kFrames * 8);
    EXPECT_EQ(std::memcmp(expected.constData() + kHeaderBytes, values.data(), size_t(kFrames) * 8),
              0);
    const auto file = AudioFile::openForReading(reference);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->length(), kFrames);
    EXPECT_EQ(file->sampleRate(), 44100.0);

    struct Case {
        const char* name;
        qint64 piece;
        bool reserved;
        qint64 existingBytes;  // -1: no file there
    };
    const Case cases[] = {
        {"odd pieces", 4099, false, -1},
        {"reserved pieces", 16384, true, -1},
        {"over a longer file", 16384, true, 8 << 20},
        {"over a shorter file", 777, false, 100},
        {"larger than a block", 200'000, false, 3 << 20},
    };
    for (const Case& c : cases) {
        const QString path = QDir(testHome()).filePath(QString("%1.wav").arg(c.name));
        if (c.existingBytes >= 0) {
            writeFile(path, QByteArray(c.existingBytes, '\x7f'));
        }
        ASSERT_TRUE(writeInPieces(path, values, c.piece, c.reserved)) << c.name;
        EXPECT_TRUE(readFile(path) == expected) << c.name;
    }
}

// A write that fails on the writer's thread (here: past the file size limit)
// reaches the caller, and the file describes the part that was written.
TEST(WavFileWriter, AFailedWriteIsReportedAndTheFileEndsWhereItFailed) {
    const QString path = QDir(testHome()).filePath("limited.wav");
    const std::vector<float> values = samples(kFrames);
    // Past the limit a write fails with EFBIG instead of raising the signal.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit limited = saved;
    limited.rlim_cur = 1 << 20;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    WavFileWriter writer(path, 44100.0, 2);
    ASSERT_TRUE(writer.open());
    bool ok = true;
    for (qint64 at = 0; at < kFrames && ok; at += 1000) {
        ok = writer.write(values.data() + at * 2, std::min<qint64>(1000, kFrames - at));
    }
    ok = writer.finish() && ok;
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(ok);
    EXPECT_EQ(writer.errorString(), QString::fromLocal8Bit(std::strerror(EFBIG)));

    const QByteArray bytes = readFile(path);
    ASSERT_LE(bytes.size(), 1 << 20);
    ASSERT_GT(bytes.size(), kHeaderBytes);
    const qint64 frames = (bytes.size() - kHeaderBytes) / 8;
    EXPECT_EQ(bytes.size(), kHeaderBytes + frames * 8);
    const auto file = AudioFile::openForReading(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->length(), frames);
    EXPECT_EQ(std::memcmp(bytes.constData() + kHeaderBytes, values.data(), size_t(frames) * 8), 0);
}
