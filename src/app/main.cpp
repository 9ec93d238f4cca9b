#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>

#include "AppDelegate.h"
#include "Bundles.h"
#include "Localization.h"

int main(int argc, char* argv[]) {
    // The web page screen's engine shares the window's graphics contexts; it
    // is loaded only when that screen first opens, so the start stays light.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("corvantis"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Corvantis"));
    QGuiApplication::setApplicationVersion(QStringLiteral(CORVANTIS_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("corvantis"));
    Localization::install();
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerBundles();

    QQmlApplicationEngine engine;
    AppDelegate delegate;
    if (!delegate.applicationDidFinishLaunching(engine)) {
        return 1;
    }
    return QGuiApplication::exec();
}
