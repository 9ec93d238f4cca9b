#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include "AppDelegate.h"
#include "AppStyle.h"
#include "Bundles.h"
#include "Localization.h"

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("corvantis"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Corvantis"));
    QGuiApplication::setApplicationVersion(QStringLiteral(CORVANTIS_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("corvantis"));
    Localization::install();
    installAppStyle();
    registerBundles();

    QQmlApplicationEngine engine;
    AppDelegate delegate;
    if (!delegate.applicationDidFinishLaunching(engine)) {
        return 1;
    }
    return QGuiApplication::exec();
}
