// The cold start of the whole main interface over a large music folder: from
// process start to the first frame that draws a row of the tracks list, with
// 20,000 tagged files in the folder (goal: 1.5 s or less). Beside it, in the
// same run: the first frame of that start, and the first frame of a bare Qt
// Quick window started the same way. Median of 3 starts, each program
// started afresh, the folder read from the page cache as on a phone that has
// been used. `--smoke` uses 500 files and one start.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "AppDirectories.h"
#include "AudioFixtures.h"
#include "LaunchProbe.h"
#include "TagFixtures.h"
#include "UserDefaults.h"

namespace {

// One short tagged file, then as many copies as asked for, each with its own
// title, album and artist written over the template's placeholders: tags of
// the same layout a tagger writes, made in seconds rather than minutes.
bool fillMusicFolder(const QString& folder, int count) {
    const QString templatePath = folder + QStringLiteral("/../template.wav");
    AudioFixture fixture;
    fixture.frames = 800;
    fixture.sampleRate = 8000;
    fixture.channels = 1;
    if (!writeAudioFixture(templatePath, fixture).isEmpty() ||
        !writeTag(templatePath, {.title = QStringLiteral("Track 00000"),
                                 .album = QStringLiteral("Album 0000"),
                                 .artist = QStringLiteral("Artist 000")})) {
        return false;
    }
    QFile file(templatePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray bytes = file.readAll();
    const qsizetype title = bytes.indexOf("Track 00000");
    const qsizetype album = bytes.indexOf("Album 0000");
    const qsizetype artist = bytes.indexOf("Artist 000");
    if (title < 0 || album < 0 || artist < 0) {
        std::fprintf(stderr, "bench: the template's tag is not where the bench looks\n");
        return false;
    }
    for (int i = 0; i < count; ++i) {
        QByteArray copy = bytes;
        copy.replace(title + 6, 5, QByteArray::number(i).rightJustified(5, '0'));
        copy.replace(album + 6, 4, QByteArray::number(i / 12).rightJustified(4, '0'));
        copy.replace(artist + 7, 3, QByteArray::number(i / 100).rightJustified(3, '0'));
        QFile out(QStringLiteral("%1/track-%2.wav").arg(folder).arg(i, 5, 10, QLatin1Char('0')));
        if (!out.open(QIODevice::WriteOnly) || out.write(copy) != copy.size()) {
            return false;
        }
    }
    return true;
}

QProcessEnvironment environmentFor(const QString& home) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("CORVANTIS_HOME"), home);
    environment.insert(QStringLiteral("CORVANTIS_REPORT_FIRST_FRAME"), QStringLiteral("1"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home);
    environment.insert(QStringLiteral("SDL_AUDIODRIVER"), QStringLiteral("dummy"));
    if (!environment.contains(QStringLiteral("QT_QPA_PLATFORM"))) {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    if (!environment.contains(QStringLiteral("QT_QUICK_BACKEND"))) {
        environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    }
    return environment;
}

// Starts `program` and returns the times from its start to each report.
std::optional<QMap<QByteArray, double>> start(const QString& program, const QString& home,
                                              const QByteArrayList& markers) {
    QProcess process;
    process.setProcessEnvironment(environmentFor(home));
    process.setStandardErrorFile(QProcess::nullDevice());
    const qint64 started = LaunchProbe::monotonicNs();
    process.start(program, {});
    const auto reports = LaunchProbe::waitForReports(process, markers, 60000);
    LaunchProbe::stop(process);
    if (!reports) {
        std::fprintf(stderr, "bench: %s did not report %s\n", qPrintable(program),
                     markers.join(", ").constData());
        return std::nullopt;
    }
    QMap<QByteArray, double> ms;
    for (auto it = reports->begin(); it != reports->end(); ++it) {
        ms.insert(it.key(), double(it.value() - started) / 1e6);
    }
    return ms;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    const int tracks = smoke ? 500 : 20000;
    const int runs = smoke ? 1 : 3;

    QTemporaryDir home;
    qputenv("CORVANTIS_HOME", home.path().toUtf8());
    {
        UserDefaults settings(AppDirectories::settingsFile());
        settings.setBool(true, QStringLiteral("DidShowTutorial"));
        settings.setBool(true, QStringLiteral("DidShowPrivacyDialogKey"));
    }
    QDir().mkpath(downloadedMusicDirectory());
    if (!fillMusicFolder(downloadedMusicDirectory(), tracks)) {
        std::fprintf(stderr, "bench: could not fill the music folder\n");
        return 1;
    }
    QTemporaryDir bareHome;

    std::vector<double> rowMs, frameMs, bareMs;
    for (int run = 0; run < runs; ++run) {
        const auto ours = start(QStringLiteral(CORVANTIS_APP), home.path(),
                                {QByteArray("first frame"), QByteArray("first row")});
        const auto bare =
            start(QStringLiteral(BARE_WINDOW), bareHome.path(), {QByteArray("first frame")});
        if (!ours || !bare) {
            return 1;
        }
        rowMs.push_back(ours->value("first row"));
        frameMs.push_back(ours->value("first frame"));
        bareMs.push_back(bare->value("first frame"));
        std::printf("  run %d: first row %.0f ms, first frame %.0f ms, bare window %.0f ms\n",
                    run + 1, rowMs.back(), frameMs.back(), bareMs.back());
    }
    const double row = LaunchProbe::median(rowMs);
    std::printf("cold start with %d tracks in the music folder, median of %d:\n", tracks, runs);
    std::printf("  Corvantis to the first drawn row: %.0f ms (goal: 1500 ms or less): %s\n", row,
                row <= 1500 ? "met" : "NOT met");
    std::printf("  Corvantis to its first frame: %.0f ms\n", LaunchProbe::median(frameMs));
    std::printf("  bare Qt Quick window to its first frame: %.0f ms\n",
                LaunchProbe::median(bareMs));
    return 0;
}
