#include "AppDelegate.h"

#include <QLoggingCategory>
#include <QQmlApplicationEngine>

#include "DropboxClientsManager.h"
#include "DropboxManager.h"
#include "MprisService.h"
#include "Navigation.h"
#include "Storyboard.h"
#include "SystemMediaIntegration.h"
#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcLaunch, "corvantis.launch")

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate() = default;

QString AppDelegate::initialBundleName() {
    return UserDefaults::standard().boolForKey(QStringLiteral("DidShowTutorial"))
               ? QStringLiteral("Main")
               : QStringLiteral("Tutorial");
}

bool AppDelegate::applicationDidFinishLaunching(QQmlApplicationEngine& engine) {
    setupAudioSession();
    m_remoteCommands = setupRemoteCommands();
    const QString bundle = initialBundleName();

    // Where every module of the application keeps its qmldir, so that one
    // module's QML can use another's components, not only its C++ types.
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.load(QUrl(QStringLiteral("qrc:/Corvantis/Shell/Main.qml")));
    if (engine.rootObjects().isEmpty()) {
        return false;
    }
    Navigation::shared().makeKeyAndVisible(
        Storyboard::storyboardWithName(bundle).instantiateInitialViewController());
    return true;
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
