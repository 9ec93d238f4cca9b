#include <QFileInfo>
#include <QTemporaryDir>
#include <cmath>
#include <vector>

#include "AudioFile.h"
#include "CliCommand.h"
#include "FileStatus.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "UserDefaults.h"
#include "WavFileWriter.h"

namespace {

constexpr int kBandCount = 5;
constexpr int kRenderBlock = 16384;

struct RenderOptions {
    // Through the equalizer model, as the player screen sets them.
    std::optional<PlaybackManager::EqualizerPreset> preset;
    std::optional<float> bass;
    std::optional<int> boost;
    // Straight onto the units, after the model.
    std::optional<std::vector<float>> mainGains;
    std::optional<std::vector<float>> bassGains;
    std::optional<float> globalGain;
    double start = 0.0;
    std::optional<double> duration;
    QString input;
    QString output;
};

std::optional<double> parseNumber(const QString& text) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::vector<float>> parseGains(const QString& text) {
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != kBandCount) {
        return std::nullopt;
    }
    std::vector<float> gains;
    for (const QString& part : parts) {
        const std::optional<double> gain = parseNumber(part.trimmed());
        if (!gain) {
            return std::nullopt;
        }
        gains.push_back(float(*gain));
    }
    return gains;
}

// Returns an error message, or nothing when the arguments make sense.
std::optional<QString> parse(const QStringList& arguments, RenderOptions& options) {
    QStringList positional;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (!argument.startsWith(QLatin1String("--"))) {
            positional.append(argument);
            continue;
        }
        if (i + 1 >= arguments.size()) {
            return QStringLiteral("%1 needs a value").arg(argument);
        }
        const QString value = arguments[++i];
        if (argument == QLatin1String("--main-gains") ||
            argument == QLatin1String("--bass-gains")) {
            const auto gains = parseGains(value);
            if (!gains) {
                return QStringLiteral("%1 takes five comma-separated decibel values, not \"%2\"")
                    .arg(argument, value);
            }
            (argument == QLatin1String("--main-gains") ? options.mainGains : options.bassGains) =
                *gains;
        } else if (argument == QLatin1String("--preset")) {
            options.preset = EqualizerState::presetNamed(value);
            if (!options.preset) {
                return QStringLiteral(
                           "--preset takes one of none, pop, rock, edm, hipHop, rb, "
                           "acoustic, classical, Custom, not \"%1\"")
                    .arg(value);
            }
        } else if (argument == QLatin1String("--bass")) {
            const auto gain = parseNumber(value);
            if (!gain) {
                return QStringLiteral("--bass takes decibels, not \"%1\"").arg(value);
            }
            options.bass = float(*gain);
        } else if (argument == QLatin1String("--boost")) {
            bool ok = false;
            const int gain = value.toInt(&ok);
            if (!ok) {
                return QStringLiteral("--boost takes whole decibels, not \"%1\"").arg(value);
            }
            options.boost = gain;
        } else if (argument == QLatin1String("--global-gain")) {
            const auto gain = parseNumber(value);
            if (!gain) {
                return QStringLiteral("--global-gain takes decibels, not \"%1\"").arg(value);
            }
            options.globalGain = float(*gain);
        } else if (argument == QLatin1String("--start") ||
                   argument == QLatin1String("--duration")) {
            const auto seconds = parseNumber(value);
            if (!seconds || *seconds < 0.0) {
                return QStringLiteral("%1 takes a number of seconds >= 0, not \"%2\"")
                    .arg(argument, value);
            }
            if (argument == QLatin1String("--start")) {
                options.start = *seconds;
            } else {
                options.duration = *seconds;
            }
        } else {
            return QStringLiteral("unknown option %1").arg(argument);
        }
    }
    if (positional.size() != 2) {
        return QStringLiteral("render needs an input file and an output WAV file");
    }
    options.input = positional[0];
    options.output = positional[1];
    return std::nullopt;
}

void applyGains(AudioUnitEQ& unit, const std::vector<float>& gains) {
    for (int band = 0; band < kBandCount; ++band) {
        unit.bands()[size_t(band)]->setGain(gains[size_t(band)]);
    }
}

void applySound(PlaybackManager& manager, const RenderOptions& options) {
    if (options.preset) {
        manager.selectPreset(*options.preset);
    }
    if (options.bass) {
        manager.setBassGain(*options.bass);
    }
    if (options.boost) {
        manager.setVolumeBoost(*options.boost);
    }
    if (options.mainGains) {
        applyGains(*manager.equalizer(), *options.mainGains);
    }
    if (options.globalGain) {
        manager.equalizer()->setGlobalGain(*options.globalGain);
    }
    if (options.bassGains) {
        for (const auto& bass : manager.bassEqualizers()) {
            applyGains(*bass, *options.bassGains);
        }
    }
}

}  // namespace

// Renders a file through the same graph and equalizer units that playback
// uses, offline at the file's own rate, into a float WAV: what the listener
// would hear, sample for sample.
int runRenderCommand(const QStringList& arguments) {
    RenderOptions options;
    if (const std::optional<QString> error = parse(arguments, options)) {
        return cliFail(*error);
    }
    QString error;
    const std::shared_ptr<AudioFile> file = AudioFile::openForReading(options.input, &error);
    if (!file) {
        return cliFail(QStringLiteral("cannot read %1: %2").arg(options.input, error));
    }
    // The output is truncated before the input is read to its end: writing
    // over the input, under whatever name, would leave silence in its place.
    if (FileStatus::of(options.output).isSameFileAs(FileStatus::of(options.input))) {
        return cliFail(QStringLiteral("%1 is the input file itself; render into another file")
                           .arg(options.output));
    }
    // Checked in floating point before any conversion: a number of frames
    // beyond the file's length could be beyond what a 64-bit integer holds.
    const double length = double(file->length());
    const double startFrame = std::floor(file->sampleRate() * options.start);
    if (startFrame >= length && (length > 0 || options.start > 0)) {
        return cliFail(QStringLiteral("--start %1 is past the end of %2 (%3 s)")
                           .arg(options.start)
                           .arg(options.input)
                           .arg(file->durationSeconds(), 0, 'f', 3));
    }
    // Positions in the file go through the same arithmetic as a seek.
    const auto startingFrame = qint64(startFrame);
    qint64 frames = file->length() - startingFrame;
    if (options.duration) {
        const double wanted = std::floor(file->sampleRate() * *options.duration);
        if (wanted > double(frames)) {
            return cliFail(QStringLiteral("--duration %1 runs past the end of %2: %3 s are left "
                                          "after --start %4")
                               .arg(*options.duration)
                               .arg(options.input)
                               .arg(double(frames) / file->sampleRate(), 0, 'f', 3)
                               .arg(options.start));
        }
        frames = qint64(wanted);
    }

    // A render sounds as the player would with the user's own settings; a
    // run with no home of its own keeps the user's settings out of it.
    std::unique_ptr<QTemporaryDir> scratch;
    std::unique_ptr<UserDefaults> scratchDefaults;
    if (qEnvironmentVariableIsEmpty("CORVANTIS_HOME")) {
        scratch = std::make_unique<QTemporaryDir>();
        if (!scratch->isValid()) {
            return cliFail(QStringLiteral("cannot make a scratch settings store: %1")
                               .arg(scratch->errorString()));
        }
        scratchDefaults = std::make_unique<UserDefaults>(scratch->filePath("settings"));
    }
    PlaybackManager manager(std::make_unique<OfflineAudioOutput>(file->sampleRate(), 4096),
                            scratchDefaults ? *scratchDefaults : UserDefaults::standard());
    applySound(manager, options);
    AudioEngine& engine = manager.audioEngine();
    if (!engine.start(&error)) {
        return cliFail(QStringLiteral("cannot start the audio graph: %1").arg(error));
    }
    WavFileWriter writer(options.output, file->sampleRate(), 2);
    const auto writeFailed = [&] {
        return cliFail(
            QStringLiteral("cannot write %1: %2").arg(options.output, writer.errorString()));
    };
    if (!writer.open()) {
        return writeFailed();
    }
    AudioPlayerNode& player = manager.audioPlayerNode();
    for (qint64 at = startingFrame, left = frames; left > 0;) {
        // A segment's count is 32 bits; a longer render is scheduled in pieces.
        const auto count = quint32(std::min<qint64>(left, UINT32_MAX));
        player.scheduleSegment(file, at, count);
        at += count;
        left -= count;
    }
    player.play();

    // The output stage delays by its look-ahead; its first frames are dropped
    // so that output frame k is input frame startingFrame + k.
    std::vector<float> discarded(size_t(kRenderBlock) * 2);
    for (qint64 latency = engine.latencyFrames(); latency > 0;) {
        const int count = int(std::min<qint64>(latency, kRenderBlock));
        engine.renderOffline(discarded.data(), count);
        latency -= count;
    }
    for (qint64 left = frames; left > 0;) {
        const int count = int(std::min<qint64>(left, kRenderBlock));
        // Rendered straight into the block the writer's thread puts on disk.
        float* block = writer.reserve(count);
        if (!block) {
            return writeFailed();
        }
        engine.renderOffline(block, count);
        if (!writer.commit(count)) {
            return writeFailed();
        }
        left -= count;
    }
    if (!writer.finish()) {
        return writeFailed();
    }
    return 0;
}
