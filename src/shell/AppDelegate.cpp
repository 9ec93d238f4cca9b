#include "AppDelegate.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include "DropboxClientsManager.h"
#include "DropboxManager.h"
#include "MprisService.h"
#include "Navigation.h"
#include "Storyboard.h"
#include "SystemMediaIntegration.h"
#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcLaunch, "corvantis.launch")

namespace {

constexpr int kRemoteCommandsLatestMs = 1000;

}  // namespace

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate() = default;

QString AppDelegate::initialBundleName() {
    return UserDefaults::standard().boolForKey(QStringLiteral("DidShowTutorial"))
               ? QStringLiteral("Main")
               : QStringLiteral("Tutorial");
}

QUrl AppDelegate::windowUrl() {
    return QUrl(QStringLiteral("qrc:/Corvantis/Shell/Main.qml"));
}

void AppDelegate::addModuleImportPath(QQmlEngine& engine) {
    // The modules keep their QML at the root of the resources; a screen of
    // one module finds the frame's QML types (Theme, NamedImage, ...) there.
    engine.addImportPath(QStringLiteral("qrc:/"));
}

bool AppDelegate::applicationDidFinishLaunching(QQmlApplicationEngine& engine) {
    setupAudioSession();
    const QString bundle = initialBundleName();
    // A suspended application may be ended without another word: settings
    // still waiting to be written go out now.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [](Qt::ApplicationState state) {
                if (state == Qt::ApplicationSuspended || state == Qt::ApplicationHidden) {
                    UserDefaults::standard().flush();
                }
            });

    addModuleImportPath(engine);
    engine.load(windowUrl());
    if (engine.rootObjects().isEmpty()) {
        return false;
    }
    Navigation::shared().makeKeyAndVisible(
        Storyboard::storyboardWithName(bundle).instantiateInitialViewController());

    // The remote commands make the shared player, its graph and its sound
    // device, none of which the first frame shows: they come right after it,
    // or after a moment should the window not draw (started minimised).
    if (auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst())) {
        connect(window, &QQuickWindow::frameSwapped, this, &AppDelegate::setupRemoteCommandsOnce,
                Qt::QueuedConnection);
    }
    QTimer::singleShot(kRemoteCommandsLatestMs, this, &AppDelegate::setupRemoteCommandsOnce);
    return true;
}

void AppDelegate::setupRemoteCommandsOnce() {
    if (m_remoteCommandsSetUp) {
        return;
    }
    m_remoteCommandsSetUp = true;
    m_remoteCommands = setupRemoteCommands();
}

bool AppDelegate::openURL(const QUrl& url) {
    const QString key = DropboxClientsManager::appKeyFromConfiguration();
    if (!key.isEmpty() && url.scheme() == QStringLiteral("db-") + key) {
        DropboxManager::shared().openURL(url);
    } else {
        qCWarning(lcLaunch).noquote() << "Not a link this application opens:" << url.toString();
    }
    return true;
}
