// Throughput of the equalizer chain the player runs (four units of five bands,
// every band non-zero) beside ffmpeg's `equalizer` filter doing the same 20
// bands on the same input, measured in the same run.
//
//   bench_equalizer            60 s of input, the figures to quote
//   bench_equalizer --smoke    a short input, to check the bench still works
//
// Any other argument goes to Google Benchmark.

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <vector>

#include "AudioUnitEQ.h"
#include "ScopedNoDenormals.h"

namespace {

constexpr int kRate = 44100;
constexpr int kBlockFrames = 512;
const std::vector<float> kFrequencies{60, 230, 910, 3000, 14000};
// The main unit at a preset and three bass units, with the 910 Hz band moved
// off 0 dB so that every one of the 20 bands costs.
const std::vector<std::vector<float>> kUnitGains{
    {5, 3, -1, 3, 5}, {6, -4, 1, 2, 4}, {6, -4, 1, 2, 4}, {6, -4, 1, 2, 4}};

struct Settings {
    bool smoke = false;
    int seconds = 60;
    int ffmpegRuns = 5;
    int repetitions = 5;
};

Settings g_settings;
std::vector<float> g_input;  // interleaved stereo

// Pinkish noise under a few drifting tones: a spectrum spread like music's.
std::vector<float> musicLikeSignal(int seconds) {
    std::mt19937 generator(2024);
    std::uniform_real_distribution<double> white(-1.0, 1.0);
    const size_t frames = static_cast<size_t>(seconds) * kRate;
    std::vector<float> out(2 * frames);
    double lowLeft = 0.0, lowRight = 0.0;
    for (size_t n = 0; n < frames; ++n) {
        lowLeft = 0.98 * lowLeft + 0.02 * white(generator);
        lowRight = 0.98 * lowRight + 0.02 * white(generator);
        const double t = static_cast<double>(n) / kRate;
        const double tones = 0.10 * std::sin(2 * std::numbers::pi * 110.0 * t) +
                             0.05 * std::sin(2 * std::numbers::pi * (440.0 + 3.0 * t) * t);
        out[2 * n] = static_cast<float>(tones + 2.0 * lowLeft + 0.05 * white(generator));
        out[2 * n + 1] = static_cast<float>(tones + 2.0 * lowRight + 0.05 * white(generator));
    }
    return out;
}

std::vector<std::unique_ptr<AudioUnitEQ>> makeChain() {
    std::vector<std::unique_ptr<AudioUnitEQ>> chain;
    for (const auto& gains : kUnitGains) {
        auto unit = std::make_unique<AudioUnitEQ>(static_cast<int>(kFrequencies.size()));
        for (size_t i = 0; i < kFrequencies.size(); ++i) {
            unit->bands()[i]->setFrequency(kFrequencies[i]);
            unit->bands()[i]->setGain(gains[i]);
        }
        unit->prepare(kRate, kBlockFrames);
        chain.push_back(std::move(unit));
    }
    return chain;
}

// One iteration renders the whole input through the chain in blocks, as the
// render thread would, so "x real time" is seconds of input per second spent.
void EqualizerChain20Bands(benchmark::State& state) {
    auto chain = makeChain();
    std::vector<float> block(2 * kBlockFrames);
    const size_t frames = g_input.size() / 2;
    ScopedNoDenormals noDenormals;
    for (auto _ : state) {
        for (size_t start = 0; start < frames; start += kBlockFrames) {
            const size_t count = std::min<size_t>(kBlockFrames, frames - start);
            std::memcpy(block.data(), &g_input[2 * start], 2 * count * sizeof(float));
            for (auto& unit : chain) {
                unit->render(block.data(), static_cast<int>(count));
            }
            benchmark::DoNotOptimize(block.data());
        }
        benchmark::ClobberMemory();
    }
}

// Prints as usual and keeps the chain's figure for the comparison: the best
// repetition, as ffmpeg's figure is its best run, so that a neighbour's load
// on a shared machine skews both the same way.
class CapturingReporter : public benchmark::ConsoleReporter {
public:
    std::optional<double> realTimeFactor;

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_name.function_name != "EqualizerChain20Bands" || run.error_occurred) {
                continue;
            }
            const bool best = g_settings.repetitions == 1 ? run.run_type == Run::RT_Iteration
                                                          : run.run_type == Run::RT_Aggregate &&
                                                                run.aggregate_name == "min";
            if (best) {
                // Time per iteration, and one iteration is the whole input.
                const double seconds =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
                realTimeFactor = g_input.size() / 2.0 / kRate / seconds;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

QString ffmpegFilterChain() {
    QStringList filters;
    for (const auto& gains : kUnitGains) {
        for (size_t i = 0; i < kFrequencies.size(); ++i) {
            filters << QStringLiteral("equalizer=f=%1:t=o:w=0.5:g=%2")
                           .arg(kFrequencies[i])
                           .arg(gains[i]);
        }
    }
    return filters.join(',');
}

// Best wall time of `runs` runs of ffmpeg over the input, in seconds, or
// nothing if ffmpeg fails.
std::optional<double> timeFfmpeg(const QString& ffmpeg, const QString& input,
                                 const QString& filterChain, int runs) {
    QStringList arguments{"-hide_banner", "-nostats", "-filter_threads",      "1",   "-f",
                          "f32le",        "-ar",      QString::number(kRate), "-ac", "2",
                          "-i",           input};
    if (!filterChain.isEmpty()) {
        arguments << "-af" << filterChain;
    }
    arguments << "-f"
              << "null"
              << "-";
    std::optional<double> best;
    for (int run = 0; run < runs; ++run) {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        QElapsedTimer timer;
        timer.start();
        process.start(ffmpeg, arguments);
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0) {
            std::fprintf(stderr, "ffmpeg failed: %s\n%s\n", qPrintable(process.errorString()),
                         process.readAllStandardError().constData());
            return std::nullopt;
        }
        const double seconds = timer.nsecsElapsed() / 1e9;
        best = best ? std::min(*best, seconds) : seconds;
    }
    return best;
}

// ffmpeg's cost for the 20 filters alone: the same command without them is
// its read and write cost, which is taken off.
std::optional<double> ffmpegRealTimeFactor(QString* detail) {
    const QString ffmpeg = QStandardPaths::findExecutable("ffmpeg");
    if (ffmpeg.isEmpty()) {
        *detail = "ffmpeg not found on PATH";
        return std::nullopt;
    }
    QTemporaryDir dir;
    const QString path = dir.filePath("input.f32");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(reinterpret_cast<const char*>(g_input.data()),
                   static_cast<qint64>(g_input.size() * sizeof(float))) !=
            static_cast<qint64>(g_input.size() * sizeof(float))) {
        *detail = "cannot write " + path;
        return std::nullopt;
    }
    file.close();
    const auto withFilters = timeFfmpeg(ffmpeg, path, ffmpegFilterChain(), g_settings.ffmpegRuns);
    const auto readOnly = timeFfmpeg(ffmpeg, path, QString(), g_settings.ffmpegRuns);
    if (!withFilters || !readOnly) {
        *detail = "ffmpeg did not run";
        return std::nullopt;
    }
    *detail = QStringLiteral("with filters %1 s, read only %2 s, best of %3")
                  .arg(*withFilters, 0, 'f', 3)
                  .arg(*readOnly, 0, 'f', 3)
                  .arg(g_settings.ffmpegRuns);
    const double filterSeconds = *withFilters - *readOnly;
    if (filterSeconds <= 0.0) {
        *detail += "; the filters took less than the timing noise";
        return std::nullopt;
    }
    return g_settings.seconds / filterSeconds;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::vector<char*> arguments;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--smoke") == 0) {
            g_settings = {true, 10, 3, 1};
        } else {
            arguments.push_back(argv[i]);
        }
    }
    static char shortRun[] = "--benchmark_min_time=0.01";
    if (g_settings.smoke) {
        arguments.push_back(shortRun);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }

    g_input = musicLikeSignal(g_settings.seconds);
    benchmark::RegisterBenchmark("EqualizerChain20Bands", EqualizerChain20Bands)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(g_settings.repetitions)
        ->DisplayAggregatesOnly()
        ->ComputeStatistics("min", [](const std::vector<double>& values) {
            return *std::min_element(values.begin(), values.end());
        });
    CapturingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    QString detail;
    const std::optional<double> ours = reporter.realTimeFactor;
    const std::optional<double> theirs = ffmpegRealTimeFactor(&detail);

    std::printf("\n20-band equalizer chain (4 units x 5 bands), %d s of 44.1 kHz stereo%s:\n",
                g_settings.seconds, g_settings.smoke ? " (smoke run, figures are rough)" : "");
    if (ours) {
        std::printf("  Corvantis: %.1fx real time\n", *ours);
    } else {
        std::printf("  Corvantis: not measured (benchmark filtered out or failed)\n");
    }
    if (theirs) {
        std::printf("  ffmpeg equalizer x20 (-filter_threads 1): %.1fx real time (%s)\n", *theirs,
                    qPrintable(detail));
    } else {
        std::printf("  ffmpeg equalizer x20: not measured (%s)\n", qPrintable(detail));
    }
    if (ours && theirs) {
        const double ratio = *ours / *theirs;
        std::printf("  ratio: %.2f (goal >= 3): %s\n", ratio, ratio >= 3.0 ? "met" : "NOT met");
    }
    return ours && theirs ? 0 : 1;
}
