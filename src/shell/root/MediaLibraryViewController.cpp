#include "MediaLibraryViewController.h"

#include <QPointer>

#include "MainQueue.h"
#include "MediaLibraryManager.h"
#include "NavigationController.h"
#include "NotificationCenter.h"
#include "Storyboard.h"

MediaLibraryViewController::MediaLibraryViewController(QObject* parent)
    : AreaViewController(parent) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/MediaLibraryView.qml")));
}

MediaLibraryManager& MediaLibraryViewController::library() const {
    return m_library != nullptr ? *m_library : MediaLibraryManager::shared();
}

bool MediaLibraryViewController::isAuthorized() const {
    return library().source().authorizationStatus() == MediaLibraryAuthorizationStatus::authorized;
}

std::array<const char*, 4> MediaLibraryViewController::tabKeys() const {
    return {"tracks", "artists", "albums", "playlists"};
}

ViewController* MediaLibraryViewController::makeChild(Tab tab) {
    static const std::array<QString, 4> bundles{QStringLiteral("Tracks"), QStringLiteral("Artists"),
                                                QStringLiteral("Albums"),
                                                QStringLiteral("Playlists")};
    ViewController* made =
        Storyboard::storyboardWithName(bundles[tab]).instantiateInitialViewController();
    // The lists other than tracks come in a navigation stack; the list is
    // its first screen, and the stack is what the tab shows.
    ViewController* list = made;
    if (auto* stack = qobject_cast<NavigationController*>(made)) {
        list = stack->viewControllers().value(0);
        if (list == nullptr) {
            qFatal("The bundle \"%s\" has no list in its stack", qPrintable(bundles[tab]));
        }
    }
    // Before its view loads: the list reads it then.
    list->setProperty("mediaLibrary", true);
    return made;
}

void MediaLibraryViewController::viewDidLoad() {
    AreaViewController::viewDidLoad();
    NotificationCenter::defaultCenter().addObserver(
        QString::fromLatin1(kAuthorizationChangedNotification), this, [this](const Notification&) {
            if (isAuthorized()) {
                showLinkedLibrary();
            }
        });
}

void MediaLibraryViewController::viewWillAppear(bool animated) {
    AreaViewController::viewWillAppear(animated);
    if (isAuthorized()) {
        showLinkedLibrary();
    }
}

void MediaLibraryViewController::didClickLinkLibrary() {
    QPointer<MediaLibraryViewController> self(this);
    library().requestAuthorization([self](bool granted) {
        // A refusal says nothing: the panel stays as it is.
        if (granted) {
            scheduleLinkedLibrary(self);
        }
    });
}

void MediaLibraryViewController::showLinkedLibrary() {
    scheduleLinkedLibrary(this);
}

void MediaLibraryViewController::scheduleLinkedLibrary(QPointer<MediaLibraryViewController> self) {
    // The answer may come on any thread; the screen is looked at on the main one.
    MainQueue::async([self] {
        if (!self) {
            return;
        }
        if (!self->m_authorizationViewHidden) {
            self->m_authorizationViewHidden = true;
            emit self->authorizationViewHiddenChanged();
        }
        if (self->visibleViewController() == nullptr) {
            self->selectTab(self->tabBar()->items().value(0));
        }
    });
}
