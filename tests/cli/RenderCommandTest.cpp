#include <gtest/gtest.h>

#include <QDir>
#include <cmath>
#include <vector>

#include "AudioFile.h"
#include "PatternFile.h"
#include "TestSupport.h"

namespace {

ProcessRun render(const QStringList& arguments) {
    return runProcess(CORVANTIS_CLI, QStringList{"render"} + arguments, 60000);
}

std::vector<float> readAll(const QString& path, qint64* frames = nullptr) {
    const auto file = AudioFile::openForReading(path);
    EXPECT_TRUE(file) << path.toStdString();
    if (!file) {
        return {};
    }
    EXPECT_EQ(file->channelCount(), 2);
    auto reader = file->createReader();
    std::vector<float> samples(size_t(file->length()) * 2);
    EXPECT_EQ(reader->read(samples.data(), file->length()), file->length());
    if (frames) {
        *frames = file->length();
    }
    return samples;
}

}  // namespace

TEST(RenderCommand, StartAndDurationSelectExactlyThoseFrames) {
    const QString in = writePatternFile("in.wav", 44100, 88200);
    const QString out = QDir(testHome()).filePath("out.wav");
    const ProcessRun run = render({"--start", "0.5", "--duration", "0.25", in, out});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    qint64 frames = 0;
    const std::vector<float> samples = readAll(out, &frames);
    ASSERT_EQ(frames, 11025);
    for (qint64 k = 0; k < frames; ++k) {
        ASSERT_EQ(patternFrame(samples[size_t(2 * k)]), 22050 + k) << "frame " << k;
        ASSERT_EQ(samples[size_t(2 * k + 1)], -samples[size_t(2 * k)]);
    }
}

TEST(RenderCommand, GainsReachTheGraph) {
    const QString in = writeSineFile("sine.wav", 44100, 44100, 910.0, 0.1);
    const QString flat = QDir(testHome()).filePath("flat.wav");
    const QString boosted = QDir(testHome()).filePath("boosted.wav");
    const QString bass = QDir(testHome()).filePath("bass.wav");
    ASSERT_EQ(render({in, flat}).exitCode, 0);
    ASSERT_EQ(render({"--global-gain", "6", in, boosted}).exitCode, 0);
    ASSERT_EQ(render({"--bass-gains", "0,0,4,0,0", in, bass}).exitCode, 0);
    const auto peak = [](const std::vector<float>& samples) {
        // After the gains have settled.
        float value = 0.0f;
        for (size_t i = samples.size() / 2; i < samples.size(); ++i) {
            value = std::max(value, std::fabs(samples[i]));
        }
        return 20.0 * std::log10(double(value));
    };
    const std::vector<float> original = readAll(flat);
    EXPECT_EQ(original, readAll(in)) << "flat gains are bit-transparent";
    EXPECT_NEAR(peak(readAll(boosted)) - peak(original), 6.0, 0.1);
    // The bass gains go to each of the three bass units.
    EXPECT_NEAR(peak(readAll(bass)) - peak(original), 12.0, 0.2);
}

TEST(RenderCommand, BadInputGivesOneLineAndAnErrorCode) {
    const QString out = QDir(testHome()).filePath("out.wav");
    const QString text = QDir(testHome()).filePath("notes.mp3");
    writeFile(text, "these are not the droids");
    const QString in = writePatternFile("in.wav", 44100, 4410);
    for (const QStringList& arguments :
         {QStringList{QDir(testHome()).filePath("missing.flac"), out}, QStringList{text, out},
          QStringList{"--main-gains", "1,2,3", in, out}, QStringList{"--start", "-1", in, out},
          QStringList{"--start", "5", in, out}, QStringList{"--bogus", "1", in, out},
          QStringList{in}, QStringList{in, QDir(testHome()).filePath("no/such/dir/out.wav")}}) {
        const ProcessRun run = render(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.err.trimmed().count('\n'), 0) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("corvantis-cli: ")) << run.err.toStdString();
    }
}

TEST(RenderCommand, StreamsToAnOutputThatCannotSeek) {
    const QString in = writePatternFile("in.wav", 44100, 4410);
    const ProcessRun run = render({in, "/dev/null"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
}
