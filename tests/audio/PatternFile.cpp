#include "PatternFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <cmath>
#include <vector>

#include "TestSupport.h"
#include "WavFileWriter.h"

namespace {

constexpr double kPatternScale = 16777216.0;  // 2^24

template <typename Sample>
QString writeFile(const QString& name, double sampleRate, qint64 frames, int channels,
                  Sample sample) {
    const QString path = QDir(testHome()).filePath(name);
    WavFileWriter writer(path, sampleRate, channels);
    EXPECT_TRUE(writer.open()) << writer.errorString().toStdString();
    std::vector<float> block;
    for (qint64 start = 0; start < frames; start += 4096) {
        const qint64 count = std::min<qint64>(4096, frames - start);
        block.resize(size_t(count * channels));
        for (qint64 k = 0; k < count; ++k) {
            for (int c = 0; c < channels; ++c) {
                block[size_t(k * channels + c)] = sample(start + k, c);
            }
        }
        EXPECT_TRUE(writer.write(block.data(), count));
    }
    EXPECT_TRUE(writer.finish());
    return path;
}

}  // namespace

QString writePatternFile(const QString& name, double sampleRate, qint64 frames, int channels) {
    return writeFile(name, sampleRate, frames, channels, [](qint64 frame, int channel) {
        const float value = float(double(frame + 1) / kPatternScale);
        return channel % 2 == 0 ? value : -value;
    });
}

qint64 patternFrame(float sample) {
    return qint64(std::llround(std::fabs(double(sample)) * kPatternScale)) - 1;
}

QString writeSineFile(const QString& name, double sampleRate, qint64 frames, double hertz,
                      double amplitude, int channels) {
    return writeFile(name, sampleRate, frames, channels, [=](qint64 frame, int) {
        return float(amplitude * std::sin(2.0 * M_PI * hertz * double(frame) / sampleRate));
    });
}
