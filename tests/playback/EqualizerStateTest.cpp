#include <gtest/gtest.h>

#include <QDir>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "AppDirectories.h"
#include "AudioFile.h"
#include "AudioFixtures.h"
#include "Log.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

using Preset = PlaybackManager::EqualizerPreset;

constexpr double kRate = 44100.0;
constexpr int kBlock = 512;

std::unique_ptr<PlaybackManager> launch() {
    return std::make_unique<PlaybackManager>(std::make_unique<OfflineAudioOutput>(kRate, kBlock));
}

std::vector<float> unitGains(const AudioUnitEQ& unit) {
    std::vector<float> gains;
    for (const auto* band : unit.bands()) {
        gains.push_back(band->gain());
    }
    return gains;
}

std::vector<float> mainGains(const PlaybackManager& manager) {
    return unitGains(*manager.equalizer());
}

// The largest magnitude in samples [from, to).
float peak(const std::vector<float>& samples, size_t from = 0, size_t to = SIZE_MAX) {
    float result = 0.0f;
    for (size_t i = from; i < std::min(to, samples.size()); ++i) {
        result = std::max(result, std::abs(samples[i]));
    }
    return result;
}

// Writes `seconds` of a sine at `hertz` and plays it on `manager`'s engine from
// its start; returns the file's frames.
qint64 playSine(PlaybackManager& manager, double hertz, double amplitude, double seconds) {
    const QString path =
        QDir(testHome()).filePath(QStringLiteral("sine-%1-%2.wav").arg(hertz).arg(amplitude));
    AudioFixture fixture;
    fixture.frames = qint64(kRate * seconds);
    fixture.signal = FixtureSignal::sine(hertz, amplitude);
    EXPECT_EQ(writeAudioFixture(path, fixture), QString());
    const auto file = AudioFile::openForReading(path);
    EXPECT_TRUE(file);
    manager.audioPlayerNode().stop();
    if (file) {
        manager.audioPlayerNode().scheduleFile(file);
    }
    EXPECT_TRUE(manager.audioEngine().start(nullptr));
    manager.audioPlayerNode().play();
    return fixture.frames;
}

// The stored band dictionary in band order, or nothing when absent.
std::optional<std::vector<float>> storedBands(QLatin1String key) {
    const auto dictionary = UserDefaults::standard().dictionaryForKey(key);
    if (!dictionary) {
        return std::nullopt;
    }
    std::vector<float> gains;
    for (const char* frequency : {"60.0", "230.0", "910.0", "3000.0", "14000.0"}) {
        const QVariant value = dictionary->value(frequency);
        EXPECT_EQ(value.typeId(), QMetaType::Float) << frequency;
        gains.push_back(value.toFloat());
    }
    EXPECT_EQ(dictionary->size(), 5);
    return gains;
}

qint64 storedPreset() {
    return UserDefaults::standard().integerForKey(PlaybackManager::KEY_EQ_PRESET);
}

const std::vector<float> kFlat = {0, 0, 0, 0, 0};
const std::vector<float> kRock = {5, 3, -1, 3, 5};

}  // namespace

TEST(EqualizerState, FirstLaunchIsFlatAndStoresOnlyTheBass) {
    auto manager = launch();
    EXPECT_EQ(mainGains(*manager), kFlat);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
    EXPECT_EQ(manager->bassGain(), 0.0f);
    EXPECT_EQ(manager->equalizer()->globalGain(), 0.0f);
    for (const auto& unit : manager->bassEqualizers()) {
        EXPECT_EQ(unitGains(*unit), kFlat);
    }
    UserDefaults& defaults = UserDefaults::standard();
    for (QLatin1String key :
         {PlaybackManager::KEY_EQ_BANDS, PlaybackManager::KEY_EQ_BANDS_CUSTOM,
          PlaybackManager::KEY_EQ_GLOBAL_GAIN, PlaybackManager::KEY_EQ_PRESET}) {
        EXPECT_FALSE(defaults.objectForKey(key).has_value()) << key.data();
    }
    const auto bass = defaults.objectForKey(PlaybackManager::KEY_EQ_BASS);
    ASSERT_TRUE(bass.has_value());
    EXPECT_EQ(bass->typeId(), QMetaType::Float);
    EXPECT_EQ(bass->toFloat(), 0.0f);
}

TEST(EqualizerState, KeyTextsAndPresetNames) {
    EXPECT_EQ(EqualizerState::frequencyKey(60), "60.0");
    EXPECT_EQ(EqualizerState::frequencyKey(14000), "14000.0");
    EXPECT_EQ(EqualizerState::frequencyKey(62.5f), "62.5");
    EXPECT_EQ(EqualizerState::presetNamed("hiphop"), Preset::hipHop);
    EXPECT_EQ(EqualizerState::presetNamed("custom"), Preset::Custom);
    EXPECT_FALSE(EqualizerState::presetNamed("jazz").has_value());
    EXPECT_FALSE(EqualizerState::presetForRawValue(9).has_value());
    EXPECT_FALSE(EqualizerState::presetForRawValue(-1).has_value());
}

TEST(EqualizerState, PresetThenABandMoveLeavesThePresetWorld) {
    auto manager = launch();
    manager->selectPreset(Preset::rock);
    EXPECT_EQ(mainGains(*manager), kRock);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::rock);
    EXPECT_EQ(storedPreset(), 2);
    EXPECT_EQ(storedBands(PlaybackManager::KEY_EQ_BANDS), kRock);

    // Again: through none and back, with the same outcome.
    manager->selectPreset(Preset::rock);
    EXPECT_EQ(mainGains(*manager), kRock);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::rock);
    EXPECT_EQ(storedPreset(), 2);

    manager->setEqualizerBand(910, 4);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
    EXPECT_EQ(mainGains(*manager), (std::vector<float>{5, 3, 4, 3, 5}));
    EXPECT_EQ(storedPreset(), 0);
    EXPECT_EQ(storedBands(PlaybackManager::KEY_EQ_BANDS), (std::vector<float>{5, 3, 4, 3, 5}));
}

TEST(EqualizerState, BandCallsThatMoveNothing) {
    auto manager = launch();
    manager->selectPreset(Preset::pop);
    UserDefaults::standard().removeObjectForKey(PlaybackManager::KEY_EQ_BANDS);

    // The same gain: the preset still drops, but nothing is saved.
    manager->setEqualizerBand(60, -1);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
    EXPECT_FALSE(storedBands(PlaybackManager::KEY_EQ_BANDS).has_value());

    // No such band: no gain moves, yet the bands are saved.
    manager->setEqualizerBand(61, 9);
    EXPECT_EQ(mainGains(*manager), (std::vector<float>{-1, 2, 5, 1, -2}));
    EXPECT_EQ(storedBands(PlaybackManager::KEY_EQ_BANDS), mainGains(*manager));

    // In memory only, and the preset stays.
    manager->selectPreset(Preset::edm);
    manager->setCustomEqualizerBand(3000, 7);
    EXPECT_EQ(manager->bands()[3]->gain(), 7.0f);
    EXPECT_EQ(manager->selectedEQPreset(), Preset::edm);
    EXPECT_EQ(storedBands(PlaybackManager::KEY_EQ_BANDS)->at(3), 0.0f);
}

TEST(EqualizerState, CustomPresetIsNoneUntilSavedSurvivesARelaunchAndUndoesUnsavedMoves) {
    const std::vector<float> mine = {2, -3, 1.5f, 0, 6};
    {
        auto manager = launch();
        // Custom with nothing stored ends as none.
        manager->selectPreset(Preset::classical);
        manager->selectPreset(Preset::Custom);
        EXPECT_EQ(mainGains(*manager), kFlat);
        EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
        EXPECT_EQ(storedPreset(), 0);

        manager->selectPreset(Preset::acoustic);
        for (size_t i = 0; i < mine.size(); ++i) {
            manager->setEqualizerBand(manager->bands()[i]->frequency(), mine[i]);
        }
        manager->saveCustomEqualizerBands();
        manager->selectPreset(Preset::rock);
        manager->selectPreset(Preset::Custom);
        EXPECT_EQ(mainGains(*manager), mine);
        EXPECT_EQ(manager->selectedEQPreset(), Preset::Custom);
        EXPECT_EQ(storedPreset(), 8);
        EXPECT_EQ(storedBands(PlaybackManager::KEY_EQ_BANDS), kFlat);

        // A move in Custom stays in memory; reopening the panel reloads.
        manager->setCustomEqualizerBand(230, 9);
        EXPECT_EQ(manager->bands()[1]->gain(), 9.0f);
        manager->loadCustomPreset();
        EXPECT_EQ(mainGains(*manager), mine);
        EXPECT_EQ(manager->selectedEQPreset(), Preset::Custom);
    }
    auto relaunched = launch();
    EXPECT_EQ(mainGains(*relaunched), mine);
    EXPECT_EQ(relaunched->selectedEQPreset(), Preset::Custom);
}

TEST(EqualizerState, BassShapeOnEveryUnit) {
    auto manager = launch();
    manager->selectPreset(Preset::rock);
    manager->setBassGain(6);
    EXPECT_EQ(manager->bassGain(), 6.0f);
    ASSERT_EQ(manager->bassEqualizers().size(), 3u);
    for (const auto& unit : manager->bassEqualizers()) {
        EXPECT_EQ(unitGains(*unit), (std::vector<float>{6, -4, 0, 2, 4}));
    }
    EXPECT_EQ(UserDefaults::standard().floatForKey(PlaybackManager::KEY_EQ_BASS), 6.0f);
    // Bass is no part of a preset, and presets leave it alone.
    EXPECT_EQ(mainGains(*manager), kRock);
    manager->selectPreset(Preset::pop);
    EXPECT_EQ(manager->bassGain(), 6.0f);

    manager->setBassGain(-2);
    for (const auto& unit : manager->bassEqualizers()) {
        EXPECT_EQ(unitGains(*unit), (std::vector<float>{-2, 0, 0, 0, 0}));
    }
    manager->setBassGain(0);
    for (const auto& unit : manager->bassEqualizers()) {
        EXPECT_EQ(unitGains(*unit), kFlat);
    }
    EXPECT_EQ(manager->bassGain(), 0.0f);
}

TEST(EqualizerState, EverythingComesBackAfterARelaunch) {
    {
        auto manager = launch();
        manager->selectPreset(Preset::hipHop);
        manager->setBassGain(3.5f);
        manager->setVolumeBoost(5);
        EXPECT_EQ(manager->equalizer()->globalGain(), 5.0f);
        EXPECT_EQ(UserDefaults::standard().floatForKey(PlaybackManager::KEY_EQ_GLOBAL_GAIN), 5.0f);
    }
    {
        auto manager = launch();
        EXPECT_EQ(mainGains(*manager), (std::vector<float>{5, 3, 0, 1, 3}));
        EXPECT_EQ(manager->selectedEQPreset(), Preset::hipHop);
        EXPECT_EQ(manager->bassGain(), 3.5f);
        EXPECT_EQ(unitGains(*manager->bassEqualizers().back()),
                  (std::vector<float>{3.5f, -4, 0, 2, 4}));
        EXPECT_EQ(manager->equalizer()->globalGain(), 5.0f);
        // A move off the preset is what the next launch sees.
        manager->setEqualizerBand(14000, -6);
    }
    auto manager = launch();
    EXPECT_EQ(mainGains(*manager), (std::vector<float>{5, 3, 0, 1, -6}));
    EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
}

TEST(EqualizerState, AnUnreadableSettingsFileStartsFlatAndLaunchGainsComeFromTheStoredBands) {
    writeFile(AppDirectories::settingsFile(), "{\"equalizerPresetKey\": [2, \x01 not json");
    {
        auto manager = launch();
        EXPECT_EQ(mainGains(*manager), kFlat);
        EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
        manager->selectPreset(Preset::rock);
        EXPECT_EQ(storedPreset(), 2);
    }
    // The stored bands win over the preset's table.
    UserDefaults& defaults = UserDefaults::standard();
    defaults.setDictionary({{"60.0", 1.0f}, {"910.0", -2.0f}}, PlaybackManager::KEY_EQ_BANDS);
    defaults.setInteger(2, PlaybackManager::KEY_EQ_PRESET);
    auto manager = launch();
    EXPECT_EQ(mainGains(*manager), (std::vector<float>{1, 0, -2, 0, 0}));
    EXPECT_EQ(manager->selectedEQPreset(), Preset::rock);
}

TEST(EqualizerState, DamagedSettingsStartFlatAndNeverStopTheLaunch) {
    UserDefaults& defaults = UserDefaults::standard();
    LogCapture log;

    defaults.setInteger(12, PlaybackManager::KEY_EQ_PRESET);
    defaults.setString("loud", PlaybackManager::KEY_EQ_GLOBAL_GAIN);
    defaults.setString("6", PlaybackManager::KEY_EQ_BASS);
    defaults.setDictionary({{"60.0", 4.0f}, {"230.0", QString("3")}},
                           PlaybackManager::KEY_EQ_BANDS);
    {
        auto manager = launch();
        EXPECT_EQ(mainGains(*manager), kFlat);
        EXPECT_EQ(manager->selectedEQPreset(), Preset::none);
        EXPECT_EQ(manager->equalizer()->globalGain(), 0.0f);
        EXPECT_EQ(manager->bassGain(), 0.0f);
        EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('\n').toStdString();
    }

    // A key that is no frequency is told once and treated as absent.
    defaults.setDictionary({{"60.0", 4.0f}, {"sixty", 2.0f}}, PlaybackManager::KEY_EQ_BANDS);
    defaults.setDictionary({{"bass", 4.0f}}, PlaybackManager::KEY_EQ_BANDS_CUSTOM);
    defaults.setInteger(8, PlaybackManager::KEY_EQ_PRESET);
    auto manager = launch();
    EXPECT_EQ(mainGains(*manager), kFlat);
    // With neither dictionary usable there is nothing to apply, so nothing
    // drops Custom to none.
    EXPECT_EQ(manager->selectedEQPreset(), Preset::Custom);
    EXPECT_EQ(storedPreset(), 8);
    EXPECT_EQ(log.count("Ignoring the stored equalizer bands \"equalizerBandKey\": \"sixty\" is "
                        "not a frequency"),
              2);
    EXPECT_EQ(log.count("Ignoring the stored equalizer bands \"equalizerBandKeyCustom\": \"bass\" "
                        "is not a frequency"),
              1);
}

// The largest boosts the model allows: rock, +6 dB bass on three units and
// +10 dB boost, about +33 dB at 60 Hz all told.
class LoudestSettings : public ::testing::Test {
protected:
    void SetUp() override {
        manager->selectPreset(Preset::rock);
        manager->setBassGain(6);
        manager->setVolumeBoost(10);
    }

    std::vector<float> render(double hertz, double amplitude) {
        const qint64 frames = playSine(*manager, hertz, amplitude, 0.5);
        AudioEngine& engine = manager->audioEngine();
        std::vector<float> samples(size_t(frames + engine.latencyFrames()) * 2);
        EXPECT_TRUE(engine.renderOffline(samples.data(), int(samples.size() / 2)));
        return samples;
    }

    std::unique_ptr<PlaybackManager> manager = launch();
};

TEST_F(LoudestSettings, NeverPassFullScale) {
    for (double hertz : {60.0, 230.0, 3000.0, 14000.0}) {
        const std::vector<float> out = render(hertz, 0.9);
        const float top = peak(out);
        EXPECT_LE(top, 1.0f) << hertz << " Hz";
        // Held just under full scale, not squashed to nothing.
        EXPECT_GT(top, 0.5f) << hertz << " Hz";
    }
}

TEST_F(LoudestSettings, LeaveAudioThatFitsUntouchedByTheLimiter) {
    // Below full scale the chain is linear: five times the input gives five
    // times the output, which a limiter at work would not.
    const float quiet = peak(render(910.0, 0.01));
    const float louder = peak(render(910.0, 0.05));
    ASSERT_GT(quiet, 0.01f);
    ASSERT_LT(louder, 1.0f);
    EXPECT_NEAR(louder / quiet, 5.0f, 0.05f);
}

TEST(EqualizerSound, ChangesWhilePlayingGlideWithoutAClick) {
    auto manager = launch();
    playSine(*manager, 230.0, 0.05, 1.0);

    const int part = int(kRate / 4);
    std::vector<float> out(size_t(part) * 2 * 3);
    // The largest bend between neighbouring frames of one channel: a jump
    // of the level shows as a spike of it, while a sine bends by a fixed
    // fraction of its amplitude.
    const auto largestBend = [&out](size_t from, size_t to) {
        float bend = 0.0f;
        for (size_t i = std::max<size_t>(from, 4); i < to; ++i) {
            bend = std::max(bend, std::abs(out[i] - 2.0f * out[i - 2] + out[i - 4]));
        }
        return bend;
    };
    const size_t partSamples = size_t(part) * 2;
    ASSERT_TRUE(manager->audioEngine().renderOffline(out.data(), part));
    // The loudest settings in one go; the right channel (460 Hz) gains most.
    manager->selectPreset(Preset::rock);
    manager->setBassGain(6);
    manager->setVolumeBoost(10);
    ASSERT_TRUE(manager->audioEngine().renderOffline(out.data() + partSamples, part));
    manager->setEqualizerBand(230, -6);
    ASSERT_TRUE(manager->audioEngine().renderOffline(out.data() + 2 * partSamples, part));

    const size_t settle = size_t(kRate / 10) * 2;
    // A band move: no bend beyond the steady sound's own on either side.
    const float steady = std::max(largestBend(2 * partSamples - settle, 2 * partSamples),
                                  largestBend(3 * partSamples - settle, 3 * partSamples));
    EXPECT_LE(largestBend(2 * partSamples - settle, 3 * partSamples), steady * 1.1f);
    // Everything at once: a level that jumped would bend the wave by up to
    // the whole change; the glide keeps it to a small part of that.
    const float change = peak(out, 2 * partSamples - settle, 2 * partSamples) -
                         peak(out, partSamples - settle, partSamples);
    ASSERT_GT(change, 0.05f);
    EXPECT_LT(largestBend(partSamples, 2 * partSamples), change * 0.1f);
}
