// Main-thread time of one switch of area or tab in the main interface, after
// each area and tab has been shown once: from the tap's call to the end of
// the frame that shows the new content, on the processor of the main thread
// (the render loop is the basic one, so drawing counts too). Beside it, the
// same window toggling between two plain rectangles: what one frame with a
// change costs at all. Goal: 16 ms or less per switch (median and the 95th
// percentile are printed). `--smoke` runs a few switches.
#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

#include "AppDirectories.h"
#include "AppStyle.h"
#include "Bundles.h"
#include "CloudViewController.h"
#include "DrawerController.h"
#include "FolderLibrarySource.h"
#include "Localization.h"
#include "MediaLibraryManager.h"
#include "MediaLibraryViewController.h"
#include "Navigation.h"
#include "RootViewController.h"
#include "Storyboard.h"
#include "UserDefaults.h"

namespace {

double threadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Runs `change`, then the loop until the window has drawn a frame after it
// (bounded), and returns the main thread's processor time for both.
double timedSwitch(QQuickWindow& window, const std::function<void()>& change) {
    // The loop sleeps while it waits, so only real work counts.
    QEventLoop loop;
    const QMetaObject::Connection connection =
        QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
    QTimer::singleShot(2000, &loop, &QEventLoop::quit);
    const double start = threadCpuMs();
    change();
    window.requestUpdate();
    loop.exec();
    const double spent = threadCpuMs() - start;
    QObject::disconnect(connection);
    return spent;
}

struct Figures {
    double median = 0;
    double p95 = 0;
};

Figures figures(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return {values[n / 2], values[std::min(n - 1, (n * 95) / 100)]};
}

}  // namespace

int main(int argc, char** argv) {
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    const int switches = smoke ? 16 : 400;
    QTemporaryDir home;
    QTemporaryDir library;
    qputenv("CORVANTIS_HOME", home.path().toUtf8());
    qputenv("CORVANTIS_LIBRARY_DIR", library.path().toUtf8());
    qputenv("QSG_RENDER_LOOP", "basic");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) {
        qputenv("QT_QUICK_BACKEND", "software");
    }
    QGuiApplication app(argc, argv);
    Localization::install();
    installAppStyle();
    registerBundles();
    UserDefaults::standard().setBool(true, QStringLiteral("DidShowTutorial"));
    UserDefaults::standard().setBool(true, QStringLiteral("DidShowPrivacyDialogKey"));
    if (auto* source =
            dynamic_cast<FolderLibrarySource*>(&MediaLibraryManager::shared().source())) {
        source->setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
    }

    QQmlApplicationEngine engine;
    engine.load(QUrl(QStringLiteral("qrc:/Corvantis/Shell/Main.qml")));
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    if (window == nullptr) {
        std::fprintf(stderr, "bench: the window could not be made\n");
        return 1;
    }
    auto* drawer = qobject_cast<DrawerController*>(
        Storyboard::storyboardWithName(QStringLiteral("Main")).instantiateInitialViewController());
    Navigation::shared().makeKeyAndVisible(drawer);
    auto* root = qobject_cast<RootViewController*>(drawer->mainViewController());
    auto* cloud = qobject_cast<CloudViewController*>(root->cloudViewController());
    auto* media = qobject_cast<MediaLibraryViewController*>(root->mediaLibraryViewController());

    // Every switch the user can make, in a round; the first round is the
    // first use of each and is not counted.
    const std::vector<std::function<void()>> round{
        [&] { cloud->tabBar()->userSelected(1); }, [&] { cloud->tabBar()->userSelected(2); },
        [&] { cloud->tabBar()->userSelected(3); }, [&] { cloud->tabBar()->userSelected(0); },
        [&] { root->didTapMediaLibrary(); },       [&] { media->tabBar()->userSelected(1); },
        [&] { media->tabBar()->userSelected(2); }, [&] { media->tabBar()->userSelected(3); },
        [&] { media->tabBar()->userSelected(0); }, [&] { root->didTapCloud(); },
    };
    for (const auto& change : round) {
        timedSwitch(*window, change);
    }
    std::vector<double> ours;
    for (int i = 0; i < switches; ++i) {
        ours.push_back(timedSwitch(*window, round[size_t(i) % round.size()]));
    }

    // The peer: the same kind of window, two plain pages, one shown at a time.
    QQmlComponent pages(&engine);
    pages.setData(R"(
        import QtQuick
        Window {
            id: pages
            width: 390; height: 844; visible: true
            property bool second: false
            Rectangle { anchors.fill: parent; color: "#141518"; visible: !pages.second
                Text { anchors.centerIn: parent; text: "first"; color: "white" } }
            Rectangle { anchors.fill: parent; color: "#1f2124"; visible: pages.second
                Text { anchors.centerIn: parent; text: "second"; color: "white" } }
        })",
                  QUrl());
    std::unique_ptr<QObject> peerObject(pages.create());
    auto* peer = qobject_cast<QQuickWindow*>(peerObject.get());
    if (peer == nullptr) {
        std::fprintf(stderr, "bench: the peer window could not be made\n");
        return 1;
    }
    timedSwitch(*peer, [&] { peer->setProperty("second", true); });
    std::vector<double> bare;
    for (int i = 0; i < switches; ++i) {
        bare.push_back(timedSwitch(*peer, [&] { peer->setProperty("second", i % 2 == 0); }));
    }

    const Figures f = figures(ours);
    const Figures p = figures(bare);
    std::printf("main-thread time per area or tab switch after first use, %d switches:\n",
                switches);
    std::printf("  Corvantis: %.2f ms median, %.2f ms p95\n", f.median, f.p95);
    std::printf("  two plain pages toggled: %.2f ms median, %.2f ms p95\n", p.median, p.p95);
    std::printf("  goal: 16 ms or less: %s\n", f.p95 <= 16 ? "met" : "NOT met");
    return 0;
}
