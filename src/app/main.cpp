#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QTimer>
#include <memory>
#include <thread>

#include "AppDelegate.h"
#include "AppDirectories.h"
#include "AppStyle.h"
#include "Bundles.h"
#include "DesktopEntry.h"
#include "FontBook.h"
#include "Localization.h"
#include "SingleInstance.h"
#include "ViewPreload.h"

namespace {

// Help, the version and the desktop entry need no window, so they also work
// where no display can be reached.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char* argv[]) {
    for (int i = 1; i < argc; ++i) {
        const QByteArrayView argument(argv[i]);
        if (argument == "--install-desktop-entry" || argument == "--help" || argument == "-h" ||
            argument == "--help-all" || argument == "--version" || argument == "-v") {
            return std::make_unique<QCoreApplication>(argc, argv);
        }
    }
    return std::make_unique<QGuiApplication>(argc, argv);
}

}  // namespace

int main(int argc, char* argv[]) {
    // The web page screen's engine shares the window's graphics contexts; it
    // is loaded only when that screen first opens, so the start stays light.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    AppDirectories::provideRuntimeDirectory();
    // The font configuration is read beside the rest of the start: nothing
    // reads a font before the window's first item is made.
    std::jthread fontSetUp([] { FontBook::preferPlainIconFont(); });
    const std::unique_ptr<QCoreApplication> app = makeApplication(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("corvantis"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVANTIS_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The Corvantis music player's window."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption installDesktopEntry(
        QStringLiteral("install-desktop-entry"),
        QStringLiteral("Install the desktop entry, which also opens the cloud sign-in's links."));
    parser.addOption(installDesktopEntry);
    parser.addPositionalArgument(QStringLiteral("url"),
                                 QStringLiteral("Links to open, such as the cloud sign-in's."),
                                 QStringLiteral("[url...]"));
    parser.process(*app);
    if (parser.isSet(installDesktopEntry)) {
        return DesktopEntry::install();
    }
    QList<QUrl> urls;
    for (const QString& argument : parser.positionalArguments()) {
        urls.append(QUrl(argument));
    }

    // The window's QML and the first screen's views load on the engine's own
    // thread while this one settles who runs, the texts, the bundles and the
    // fonts.
    installAppStyle();
    QQmlApplicationEngine engine;
    AppDelegate::addModuleImportPath(engine);
    auto preload =
        std::make_unique<ViewPreload>(engine, QList<QUrl>{AppDelegate::windowUrl()} +
                                                  firstViewsOf(AppDelegate::initialBundleName()));

    SingleInstance& instance = SingleInstance::shared();
    switch (instance.claim(urls)) {
        case SingleInstance::Claim::handedOver:
            return 0;
        case SingleInstance::Claim::unanswered:
            return 1;
        case SingleInstance::Claim::primary:
            break;
    }

    QGuiApplication::setApplicationDisplayName(QStringLiteral("Corvantis"));
    QGuiApplication::setDesktopFileName(QStringLiteral("corvantis"));
    Localization::install();
    registerBundles();

    fontSetUp.join();
    FontBook::warmUp();
    AppDelegate delegate;
    if (!delegate.applicationDidFinishLaunching(engine)) {
        return 1;
    }
    preload.reset();
    QObject::connect(&instance, &SingleInstance::urlReceived, &delegate, &AppDelegate::openURL);
    // Links given to this start are opened once the window runs, as later ones are.
    QTimer::singleShot(0, &delegate, [&delegate, urls] {
        for (const QUrl& url : urls) {
            delegate.openURL(url);
        }
    });
    return QCoreApplication::exec();
}
