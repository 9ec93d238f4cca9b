#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QProcessEnvironment>
#include <vector>

#include "AudioFile.h"
#include "PatternFile.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

ProcessRun render(const QStringList& arguments, const QProcessEnvironment& environment =
                                                    QProcessEnvironment::systemEnvironment()) {
    return runProcess(CORVANTIS_CLI, QStringList{"render"} + arguments, 60000, environment);
}

std::vector<float> readAll(const QString& path) {
    const auto file = AudioFile::openForReading(path);
    EXPECT_TRUE(file) << path.toStdString();
    if (!file) {
        return {};
    }
    auto reader = file->createReader();
    std::vector<float> samples(size_t(file->length()) * size_t(file->channelCount()));
    EXPECT_EQ(reader->read(samples.data(), file->length()), file->length());
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

TEST(RenderSound, BadModelValuesGiveOneLineAndAnErrorCode) {
    const QString in = sine();
    const QString out = QDir(testHome()).filePath("out.wav");
    for (const QStringList& arguments :
         {QStringList{"--preset", "jazz"}, QStringList{"--boost", "2.5"},
          QStringList{"--bass", "loud"}, QStringList{"--bass", "nan"}}) {
        const ProcessRun run = render(arguments + QStringList{in, out});
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.err.trimmed().count('\n'), 0) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(arguments.first())) << run.err.toStdString();
    }
}
