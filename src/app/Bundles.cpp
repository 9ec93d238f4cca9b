#include "Bundles.h"

#include <QtQml/qqmlextensionplugin.h>

#include "AlbumsViewController.h"
#include "ArtistsViewController.h"
#include "CloudViewController.h"
#include "DownloadViewController.h"
#include "DrawerController.h"
#include "DrawerMenuController.h"
#include "DropboxViewController.h"
#include "LibraryConsent.h"
#include "MediaLibraryManager.h"
#include "MediaLibraryViewController.h"
#include "PlayerViewController.h"
#include "PlaylistViewController.h"
#include "RootViewController.h"
#include "Storyboard.h"
#include "TextViewController.h"
#include "TracksViewController.h"
#include "TutorialViewController.h"
#include "WiFiScreenController.h"

Q_IMPORT_QML_PLUGIN(Corvantis_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Corvantis_PlayerPlugin)
Q_IMPORT_QML_PLUGIN(Corvantis_CollectionPlugin)
Q_IMPORT_QML_PLUGIN(Corvantis_IntakePlugin)

void registerBundles() {
    Storyboard::registerBundle(QStringLiteral("Tutorial"),
                               {Storyboard::screen<TutorialViewController>(
                                    QUrl(QStringLiteral("qrc:/Corvantis/Shell/TutorialView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Text"),
                               {Storyboard::screen<TextViewController>(
                                    QUrl(QStringLiteral("qrc:/Corvantis/Shell/TextView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Player"),
                               {Storyboard::screen<PlayerViewController>(
                                    QUrl(QStringLiteral("qrc:/Corvantis/Player/PlayerView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Main"),
                               {[] {
                                    return static_cast<ViewController*>(new DrawerController(
                                        new RootViewController, new DrawerMenuController));
                                },
                                {}});
    Storyboard::registerBundle(
        QStringLiteral("Cloud"),
        {[] { return static_cast<ViewController*>(new CloudViewController); }, {}});
    Storyboard::registerBundle(
        QStringLiteral("Media Library"),
        {[] {
             // The library asks its questions in this window.
             installLibraryConsent(MediaLibraryManager::shared());
             return static_cast<ViewController*>(new MediaLibraryViewController);
         },
         {}});
    Storyboard::registerBundle(QStringLiteral("Tracks"),
                               {Storyboard::screen<TracksViewController>(QUrl(
                                    QStringLiteral("qrc:/Corvantis/Collection/TracksView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Artists"),
                               {Storyboard::screen<ArtistsViewController>(QUrl(
                                    QStringLiteral("qrc:/Corvantis/Collection/ArtistsView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Albums"),
                               {Storyboard::screen<AlbumsViewController>(QUrl(
                                    QStringLiteral("qrc:/Corvantis/Collection/AlbumsView.qml"))),
                                {}});
    Storyboard::registerBundle(QStringLiteral("Playlists"),
                               {Storyboard::screen<PlaylistViewController>(QUrl(
                                    QStringLiteral("qrc:/Corvantis/Collection/PlaylistsView.qml"))),
                                {}});
    const auto download = Storyboard::screen<DownloadViewController>(
        QUrl(QStringLiteral("qrc:/Corvantis/Intake/DownloadView.qml")));
    Storyboard::registerBundle(
        QStringLiteral("Download"),
        {download,
         {{QStringLiteral("download"), download},
          {QStringLiteral("wifi"), Storyboard::screen<WiFiScreenController>(
                                       QUrl(QStringLiteral("qrc:/Corvantis/Intake/WiFiView.qml")))},
          {QStringLiteral("dropbox"), Storyboard::screen<DropboxViewController>(QUrl(QStringLiteral(
                                          "qrc:/Corvantis/Intake/DropboxView.qml")))}}});
}

QList<QUrl> firstViewsOf(const QString& bundle) {
    if (bundle == QStringLiteral("Tutorial")) {
        return {QUrl(QStringLiteral("qrc:/Corvantis/Shell/TutorialView.qml"))};
    }
    if (bundle == QStringLiteral("Main")) {
        // The side menu round the root, the cloud area on its tracks tab, and
        // the progress display the tracks show while they load.
        return {QUrl(QStringLiteral("qrc:/Corvantis/Shell/DrawerView.qml")),
                QUrl(QStringLiteral("qrc:/Corvantis/Shell/RootView.qml")),
                QUrl(QStringLiteral("qrc:/Corvantis/Shell/CloudView.qml")),
                QUrl(QStringLiteral("qrc:/Corvantis/Collection/TracksView.qml")),
                QUrl(QStringLiteral("qrc:/Corvantis/Shell/ProgressHUDView.qml"))};
    }
    return {};
}
