#include <gtest/gtest.h>

#include <QFile>

#include "AudioEngine.h"
#include "DeviceAudioOutput.h"
#include "Log.h"
#include "TestSupport.h"

// Without its module the output is a device that cannot open: one log line
// that says why, the same reason from every start, and no crash.
TEST(DeviceAudioOutput, AMissingOrForeignModuleIsOneLogLineAndADeviceThatCannotStart) {
    const QString text = testHome() + "/notes.so";
    writeFile(text, "not a library\n");
    for (const QString& path : {testHome() + "/missing.so", text}) {
        LogCapture log;
        for (int attempt = 0; attempt < 2; ++attempt) {
            AudioEngine engine(std::make_unique<DeviceAudioOutput>(path));
            QString error;
            EXPECT_FALSE(engine.start(&error)) << path.toStdString();
            EXPECT_TRUE(error.contains(path)) << error.toStdString();
            EXPECT_FALSE(engine.isRunning());
            engine.output().pause();
            EXPECT_GT(engine.output().sampleRate(), 0);
            EXPECT_GT(engine.output().maximumFrames(), 0);
        }
        ASSERT_EQ(log.lines().size(), 1) << path.toStdString();
        EXPECT_TRUE(log.lines().first().startsWith("The audio output cannot be loaded: "));
    }
}

TEST(DeviceAudioOutput, TheBuiltModuleRendersTheGraphOnItsDevice) {
    qputenv("SDL_AUDIODRIVER", "dummy");
    AudioEngine engine(makeDefaultAudioOutput());
    QString error;
    ASSERT_TRUE(engine.start(&error)) << error.toStdString();
    EXPECT_TRUE(waitUntil([&] { return engine.renderedFrames() > 0; }));
    engine.output().pause();
    EXPECT_FALSE(engine.isRunning());
}
