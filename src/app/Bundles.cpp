#include "Bundles.h"

#include <QtQml/qqmlextensionplugin.h>

#include "DownloadViewController.h"
#include "DropboxViewController.h"
#include "Storyboard.h"
#include "TextViewController.h"
#include "TutorialViewController.h"
#include "WiFiScreenController.h"

Q_IMPORT_QML_PLUGIN(Corvantis_ShellPlugin)
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
