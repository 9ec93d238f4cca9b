#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDir>
#include <QDirIterator>
#include <QProcessEnvironment>
#include <cmath>
#include <csignal>
#include <cstring>
#include <vector>

#include "AudioFile.h"
#include "AudioFixtures.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

ProcessRun render(const QStringList& arguments, const QProcessEnvironment& environment =
                                                    QProcessEnvironment::systemEnvironment()) {
    return runProcess(CORVANTIS_CLI, QStringList{"render"} + arguments, 60000, environment);
}

// The stereo samples of the file at `path`.
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

// No CORVANTIS_HOME, and every place a default home could be is in `elsewhere`.
QProcessEnvironment withoutHome() {
    const QString elsewhere = QDir(testHome()).filePath("elsewhere");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("CORVANTIS_HOME");
    environment.insert("HOME", elsewhere);
    environment.insert("XDG_DATA_HOME", elsewhere + "/data");
    environment.insert("XDG_CONFIG_HOME", elsewhere + "/config");
    environment.insert("XDG_CACHE_HOME", QDir(testHome()).filePath("cache"));
    return environment;
}

// Renders `in` with `arguments` and returns the samples.
std::vector<float> rendered(
    const QString& in, const QStringList& arguments,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    static int count = 0;
    const QString out = QDir(testHome()).filePath(QStringLiteral("out-%1.wav").arg(++count));
    const ProcessRun run = render(arguments + QStringList{in, out}, environment);
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    return readAll(out);
}

QString sine() {
    return writeSineFile("sine.wav", 44100, 22050, 230.0, 0.05);
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
    // Bad values of the model's options, which the line names.
    const QList<QStringList> model{
        {"--preset", "jazz"}, {"--boost", "2.5"}, {"--bass", "loud"}, {"--bass", "nan"}};
    QList<QStringList> cases{{QDir(testHome()).filePath("missing.flac"), out},
                             {text, out},
                             {"--main-gains", "1,2,3", in, out},
                             {"--start", "-1", in, out},
                             {"--start", "5", in, out},
                             {"--start", "1e300", in, out},
                             {"--start", "1e18", in, out},
                             {"--duration", "3e14", in, out},
                             {"--start", "0.05", "--duration", "0.06", in, out},
                             {"--bogus", "1", in, out},
                             {in},
                             {in, testHome() + "/no/such/dir/out.wav"}};
    for (const QStringList& option : model) {
        cases << option + QStringList{in, out};
    }
    for (const QStringList& arguments : cases) {
        const ProcessRun run = render(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.err.trimmed().count('\n'), 0) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("corvantis-cli: ")) << run.err.toStdString();
        EXPECT_FALSE(QFile::exists(out)) << arguments.join(' ').toStdString();
        if (model.contains(arguments.mid(0, 2))) {
            EXPECT_TRUE(run.err.contains(arguments.first())) << run.err.toStdString();
        }
    }
    // An output that cannot seek is streamed to.
    const ProcessRun run = render({in, "/dev/null"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
}

// A disk that fills up midway (here: the file size limit, which the render
// inherits) is an error on the terminal, not a short file that looks fine.
TEST(RenderCommand, AWriteThatFailsMidwayIsReported) {
    const QString in = writePatternFile("in.wav", 44100, 44100);
    const QString out = QDir(testHome()).filePath("out.wav");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit limited = saved;
    limited.rlim_cur = 64 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const ProcessRun run = render({in, out});
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err.trimmed(), QString("corvantis-cli: cannot write %1: %2")
                                     .arg(out, QString::fromLocal8Bit(std::strerror(EFBIG))));
}

// Rendering into the input, by any of its names, would leave silence where
// the music was.
TEST(RenderCommand, RefusesToWriteOverItsInput) {
    const QString in = writePatternFile("in.wav", 44100, 4410);
    const QByteArray original = readFile(in);
    const QString symbolic = QDir(testHome()).filePath("symbolic.wav");
    const QString hard = QDir(testHome()).filePath("hard.wav");
    ASSERT_TRUE(QFile::link(in, symbolic));
    ASSERT_EQ(::link(QFile::encodeName(in), QFile::encodeName(hard)), 0);
    for (const QString& out : {in, symbolic, hard}) {
        const ProcessRun run = render({in, out});
        EXPECT_EQ(run.exitCode, 2) << out.toStdString();
        EXPECT_TRUE(run.err.contains("is the input file")) << run.err.toStdString();
        EXPECT_EQ(readFile(in), original);
    }
    EXPECT_EQ(
        render({"--duration", "0.05", symbolic, QDir(testHome()).filePath("out.wav")}).exitCode, 0);
}

TEST(RenderSound, ModelOptionsSetTheSameGainsAsTheApplication) {
    const QString in = sine();
    // Each run has a scratch store, so none leaves settings for the next.
    const QProcessEnvironment scratch = withoutHome();
    const std::vector<float> rock = rendered(in, {"--preset", "rock"}, scratch);
    EXPECT_EQ(rock, rendered(in, {"--main-gains", "5,3,-1,3,5"}, scratch));
    EXPECT_NE(rock, readAll(in));
    EXPECT_EQ(rendered(in, {"--bass", "6"}, scratch),
              rendered(in, {"--bass-gains", "6,-4,0,2,4"}, scratch));
    EXPECT_EQ(rendered(in, {"--boost", "5"}, scratch),
              rendered(in, {"--global-gain", "5"}, scratch));
    // Raw gains go on top of what the model set.
    EXPECT_EQ(rendered(in, {"--preset", "pop", "--main-gains", "5,3,-1,3,5"}, scratch), rock);
}

TEST(RenderSound, WithAHomeTheUserSettingsAreUsedAndKept) {
    const QString in = sine();
    const std::vector<float> shaped = rendered(in, {"--preset", "classical", "--bass", "2"});
    UserDefaults& defaults = UserDefaults::standard();
    EXPECT_EQ(defaults.integerForKey("equalizerPresetKey"), 7);
    EXPECT_EQ(defaults.floatForKey("equalizerBassBandKey"), 2.0f);
    // A later render with no options sounds as the player now would.
    EXPECT_EQ(rendered(in, {}), shaped);
}

TEST(RenderSound, WithoutAHomeNoSettingsAreWritten) {
    const QString in = sine();
    const QString elsewhere = QDir(testHome()).filePath("elsewhere");
    const QString out = QDir(testHome()).filePath("out.wav");
    const ProcessRun run = render({"--preset", "rock", "--boost", "10", in, out}, withoutHome());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    QStringList written;
    for (QDirIterator it(elsewhere, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        written << it.next();
    }
    EXPECT_TRUE(written.isEmpty()) << written.join('\n').toStdString();
}
