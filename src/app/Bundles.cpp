#include "Bundles.h"

#include <QtQml/qqmlextensionplugin.h>

#include "PlayerViewController.h"
#include "Storyboard.h"
#include "TextViewController.h"
#include "TutorialViewController.h"

Q_IMPORT_QML_PLUGIN(Corvantis_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Corvantis_PlayerPlugin)

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
}
