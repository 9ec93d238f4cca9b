// Figures of the player screen, in one process:
//   - a band slider of the equalizer panel moved continuously (one move per
//     16 ms, every move a new whole decibel) while music plays through the
//     whole graph on a paced output that renders in real time on its own
//     thread: the main thread's time per move (goal: 1 ms or less on
//     average), beside the same gain changes made straight on the manager;
//     and the render thread's missed deadlines and the decoder's underruns
//     (goal: none);
//   - opening the player screen in the application window, from the
//     presentation to the first frame that shows it (goal: 150 ms or less),
//     beside a bare Qt Quick screen of the same size shown in the same window
//     (median of 5 each).
// `--smoke` moves the slider for 1 s and opens each screen once.
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include "AppDelegate.h"
#include "AppDirectories.h"
#include "AppStyle.h"
#include "AudioEngine.h"
#include "AudioFixtures.h"
#include "AudioOutput.h"
#include "Bundles.h"
#include "Localization.h"
#include "Navigation.h"
#include "PlayerViewController.h"
#include "Storyboard.h"
#include "UserDefaults.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kBlock = 512;
constexpr double kRate = 44100.0;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A sound device without the sound: a thread that asks the engine for a block
// at the pace a device would, and counts the blocks that were not ready when
// the next one was due.
class PacedOutput final : public AudioOutput {
public:
    ~PacedOutput() override { pause(); }

    bool start(AudioEngine& engine, QString*) override {
        if (m_thread.joinable()) {
            return true;
        }
        m_running = true;
        m_thread = std::thread([this, &engine] { run(engine); });
        return true;
    }
    void pause() override {
        m_running = false;
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    bool isRunning() const override { return m_running; }
    double sampleRate() const override { return kRate; }
    int maximumFrames() const override { return kBlock; }

    std::uint64_t missedDeadlines() const { return m_missed.load(); }
    std::uint64_t blocks() const { return m_blocks.load(); }

private:
    void run(AudioEngine& engine) {
        std::vector<float> buffer(size_t(kBlock) * 2);
        const auto period = std::chrono::nanoseconds(qint64(1e9 * kBlock / kRate));
        auto due = Clock::now();
        while (m_running) {
            engine.renderBlock(buffer.data(), kBlock);
            due += period;
            m_blocks.fetch_add(1, std::memory_order_relaxed);
            if (Clock::now() > due) {
                m_missed.fetch_add(1, std::memory_order_relaxed);
            }
            std::this_thread::sleep_until(due);
        }
    }

    std::atomic<bool> m_running{false};
    std::thread m_thread;
    std::atomic<std::uint64_t> m_missed{0};
    std::atomic<std::uint64_t> m_blocks{0};
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

void spin(int ms) {
    const auto until = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < until) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

// Time from `show` to the window's next frame in which `ready` holds.
double untilFrame(QQuickWindow& window, const std::function<void()>& show,
                  const std::function<bool()>& ready) {
    bool swapped = false;
    const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &window,
                                             [&] { swapped = swapped || ready(); });
    const auto start = Clock::now();
    show();
    while (!swapped && msSince(start) < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double ms = msSince(start);
    QObject::disconnect(connection);
    return swapped ? ms : -1;
}

struct MoveFigures {
    double screenMsPerMove = 0;
    double managerMsPerMove = 0;
    std::uint64_t missed = 0;
    std::uint64_t underruns = 0;
    std::uint64_t blocks = 0;
};

MoveFigures moveBand(QQuickWindow& window, double seconds) {
    AudioFixture fixture;
    fixture.frames = qint64((seconds * 2 + 5) * kRate);
    fixture.signal = FixtureSignal::sine(440, 0.3);
    const QString folder = downloadedMusicDirectory();
    writeAudioFixture(folder + "/tone.wav", fixture);
    auto output = std::make_unique<PacedOutput>();
    PacedOutput* paced = output.get();
    PlaybackManager manager(std::move(output));
    manager.setCurrentIndex(0);
    manager.setCurrentPlaylist({Track::fromFile("tone.wav", folder)});
    manager.playCurrentTrack();

    auto* screen = new PlayerViewController(manager, nullptr);
    screen->setViewSource(QUrl("qrc:/Corvantis/Player/PlayerView.qml"));
    Navigation::shared().rootViewController()->presentViewController(screen, false);
    spin(500);
    screen->didTapEqualizer();
    spin(300);
    ThickSlider* band = screen->equalizerView().sliderWithTag(910)->slider();

    MoveFigures figures;
    const std::uint64_t missedBefore = paced->missedDeadlines();
    const std::uint64_t underrunsBefore = manager.audioPlayerNode().underrunCount();
    const std::uint64_t blocksBefore = paced->blocks();
    // Through the screen: the panel rounds, the screen shows the save button
    // and hands the gain to the manager, the QML follows.
    double busy = 0;
    int moves = 0;
    const auto until = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < until) {
        const float gain = float((moves % 13) - 6) + 0.3f;
        const auto start = Clock::now();
        band->userDidMoveTo(gain);
        busy += msSince(start);
        ++moves;
        spin(16);
    }
    figures.screenMsPerMove = busy / moves;
    // The same gains straight on the manager.
    busy = 0;
    for (int i = 0; i < moves; ++i) {
        const auto start = Clock::now();
        manager.setEqualizerBand(910, float((i % 13) - 6));
        busy += msSince(start);
    }
    figures.managerMsPerMove = busy / moves;
    figures.missed = paced->missedDeadlines() - missedBefore;
    figures.underruns = manager.audioPlayerNode().underrunCount() - underrunsBefore;
    figures.blocks = paced->blocks() - blocksBefore;
    screen->dismissViewController(false);
    spin(300);
    manager.pause();
    (void)window;
    return figures;
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("CORVANTIS_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    const bool smoke = app.arguments().contains(QStringLiteral("--smoke"));
    UserDefaults::standard().setBool(true, QStringLiteral("DidShowTutorial"));
    UserDefaults::standard().setBool(true, QStringLiteral("DidClickBassBoostBeforeKey"));
    Localization::install();
    installAppStyle();
    registerBundles();
    QQmlApplicationEngine engine;
    AppDelegate::addModuleImportPath(engine);
    engine.load(QUrl(QStringLiteral("qrc:/Corvantis/Shell/Main.qml")));
    if (engine.rootObjects().isEmpty()) {
        std::fprintf(stderr, "bench: the window could not be made\n");
        return 1;
    }
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    window->setGeometry(0, 0, 390, 844);
    window->show();
    Navigation::shared().makeKeyAndVisible(
        Storyboard::storyboardWithName(QStringLiteral("Main")).instantiateInitialViewController());
    spin(500);

    const MoveFigures moves = moveBand(*window, smoke ? 1.0 : 10.0);
    std::printf("band slider moved for %s s while playing (%llu blocks rendered):\n",
                smoke ? "1" : "10", static_cast<unsigned long long>(moves.blocks));
    std::printf("  main thread per move: %.3f ms (goal <= 1 ms)\n", moves.screenMsPerMove);
    std::printf("  straight on the manager: %.3f ms\n", moves.managerMsPerMove);
    std::printf("  render deadlines missed: %llu, underruns: %llu (goal 0)\n",
                static_cast<unsigned long long>(moves.missed),
                static_cast<unsigned long long>(moves.underruns));

    // Opening: the player screen through its bundle, and a bare screen of
    // the same size, turn about.
    QQmlComponent bare(&engine);
    bare.setData("import QtQuick\nRectangle { color: \"black\" }", QUrl());
    std::vector<double> playerMs, bareMs;
    const int runs = smoke ? 1 : 5;
    ViewController* root = Navigation::shared().rootViewController();
    for (int run = 0; run < runs; ++run) {
        ViewController* player = Storyboard::storyboardWithName(QStringLiteral("Player"))
                                     .instantiateInitialViewController();
        playerMs.push_back(untilFrame(
            *window, [&] { root->presentViewController(player, false); },
            [&] { return player->isViewLoaded(); }));
        root->dismissViewController(false);
        spin(300);

        QQuickItem* item = nullptr;
        bareMs.push_back(untilFrame(
            *window,
            [&] {
                item = qobject_cast<QQuickItem*>(bare.create());
                item->setParentItem(window->contentItem());
                item->setSize(window->size());
                item->setZ(1000);
            },
            [] { return true; }));
        delete item;
        spin(300);
    }
    std::printf("opening the player screen, presentation to first frame (goal <= 150 ms):\n");
    std::printf("  player screen: %.0f ms\n", median(playerMs));
    std::printf("  bare Qt Quick screen: %.0f ms\n", median(bareMs));
    return 0;
}
