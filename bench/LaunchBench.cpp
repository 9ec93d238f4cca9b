// Launch figures of the application window, each program started afresh:
//   - from process start to the first frame that shows the main interface
//     (a returning user: the tutorial and the one-time dialog after it have run), median of 5
//     starts, beside a bare Qt Quick window with one rectangle started the same way (goal: 400 ms
//     or less, and at most 1.5x the bare window);
//   - resident memory of the idle main interface 1 s after that frame,
//     beside the bare window's (goal: 120 MB or less).
// Both programs report the monotonic time of their first frame on standard
// output; the bench reads the clock just before it starts them.
// `--smoke` starts each once.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "AppDirectories.h"
#include "LaunchProbe.h"
#include "UserDefaults.h"

namespace {

struct Launch {
    double firstFrameMs = 0;
    // What the program ran on the processors until then, all threads; on a
    // busy machine this moves far less than the wall time.
    double cpuMs = 0;
    double residentMb = 0;
};

// VmRSS of a running process, in MB.
double residentMb(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
        }
    }
    return 0;
}

// Processor time of a running process so far, over all its threads, in ms.
double cpuMs(qint64 pid) {
    double ns = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile schedstat(tasks.filePath(task + QStringLiteral("/schedstat")));
        if (schedstat.open(QIODevice::ReadOnly)) {
            ns += schedstat.readAll().split(' ').value(0).toDouble();
        }
    }
    return ns / 1e6;
}

// A world of its own for each start: a fresh home where the tutorial has run,
// and with it the one-time dialog that follows it on the first start.
QProcessEnvironment freshEnvironment(const QTemporaryDir& home) {
    qputenv("CORVANTIS_HOME", home.path().toUtf8());
    UserDefaults defaults(AppDirectories::settingsFile());
    defaults.setBool(true, QStringLiteral("DidShowTutorial"));
    defaults.setBool(true, QStringLiteral("DidShowPrivacyDialogKey"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("CORVANTIS_HOME"), home.path());
    environment.insert(QStringLiteral("CORVANTIS_REPORT_FIRST_FRAME"), QStringLiteral("1"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
    if (!environment.contains(QStringLiteral("QT_QPA_PLATFORM"))) {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    // Both programs draw with the same renderer, whatever the machine has.
    if (!environment.contains(QStringLiteral("QT_QUICK_BACKEND"))) {
        environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    }
    return environment;
}

std::optional<Launch> launch(const QString& program, const QStringList& arguments = {}) {
    QTemporaryDir home;
    QProcess process;
    process.setProcessEnvironment(freshEnvironment(home));
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardErrorFile(QProcess::nullDevice());
    const qint64 started = LaunchProbe::monotonicNs();
    process.start(program, arguments);
    const auto reports = LaunchProbe::waitForReports(process, {QByteArray("first frame")}, 30000);
    const std::optional<qint64> frame =
        reports ? std::optional(reports->value("first frame")) : std::nullopt;
    std::optional<Launch> result;
    if (frame) {
        const double cpu = cpuMs(process.processId());
        QThread::msleep(1000);
        if (process.state() == QProcess::Running) {
            result = Launch{double(*frame - started) / 1e6, cpu, residentMb(process.processId())};
        }
    }
    if (!result) {
        std::fprintf(stderr, "bench: %s showed no first frame (%s)\n", qPrintable(program),
                     qPrintable(process.errorString()));
    }
    LaunchProbe::stop(process);
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    const int runs = smoke ? 1 : 5;
    std::vector<double> oursMs, bareMs, oursCpu, bareCpu, oursMb, bareMb, toolkitMs, toolkitCpu;
    for (int run = 0; run < runs; ++run) {
        // Taking turns spreads the machine's mood over all three.
        const std::optional<Launch> ours = launch(QStringLiteral(CORVANTIS_APP));
        const std::optional<Launch> bare = launch(QStringLiteral(BARE_WINDOW));
        const std::optional<Launch> toolkit =
            launch(QStringLiteral(BARE_WINDOW), {QStringLiteral("--controls")});
        if (!ours || !bare || !toolkit) {
            return 1;
        }
        std::printf(
            "  run %d: Corvantis %.0f ms (%.0f ms on the processors) %.0f MB, bare window %.0f ms "
            "(%.0f ms) %.0f MB, controls window %.0f ms (%.0f ms)\n",
            run + 1, ours->firstFrameMs, ours->cpuMs, ours->residentMb, bare->firstFrameMs,
            bare->cpuMs, bare->residentMb, toolkit->firstFrameMs, toolkit->cpuMs);
        toolkitMs.push_back(toolkit->firstFrameMs);
        toolkitCpu.push_back(toolkit->cpuMs);
        oursMs.push_back(ours->firstFrameMs);
        bareMs.push_back(bare->firstFrameMs);
        oursCpu.push_back(ours->cpuMs);
        bareCpu.push_back(bare->cpuMs);
        oursMb.push_back(ours->residentMb);
        bareMb.push_back(bare->residentMb);
    }
    const double ms = LaunchProbe::median(oursMs);
    const double peerMs = LaunchProbe::median(bareMs);
    std::printf("start to first frame of the main interface, median of %d:\n", runs);
    std::printf("  Corvantis: %.0f ms\n", ms);
    std::printf("  bare Qt Quick window: %.0f ms\n", peerMs);
    std::printf("  ratio: %.2fx bare window (goal: 400 ms or less and at most 1.50x): %s\n",
                ms / peerMs, ms <= 400 && ms <= 1.5 * peerMs ? "met" : "NOT met");
    std::printf("  processor time until then: Corvantis %.0f ms, bare window %.0f ms (%.2fx)\n",
                LaunchProbe::median(oursCpu), LaunchProbe::median(bareCpu),
                LaunchProbe::median(oursCpu) / LaunchProbe::median(bareCpu));
    // Where the gap lies: what the controls toolkit alone costs a window that
    // shows one label, before any screen of ours.
    const double toolkit = LaunchProbe::median(toolkitMs);
    std::printf(
        "  for scale, a controls-toolkit window with one label: %.0f ms (%.2fx bare window, "
        "%.0f ms on the processors); Corvantis is %.2fx of it\n",
        toolkit, toolkit / peerMs, LaunchProbe::median(toolkitCpu), ms / toolkit);
    const double mb = LaunchProbe::median(oursMb);
    std::printf("idle memory 1 s after the first frame, median of %d:\n", runs);
    std::printf("  Corvantis: %.0f MB\n", mb);
    std::printf("  bare Qt Quick window: %.0f MB\n", LaunchProbe::median(bareMb));
    std::printf("  goal: 120 MB or less: %s\n", mb <= 120 ? "met" : "NOT met");
    return 0;
}
