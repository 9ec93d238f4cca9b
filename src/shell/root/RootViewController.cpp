#include "RootViewController.h"

#include "Containment.h"
#include "DialogViewController.h"
#include "DrawerController.h"
#include "Localization.h"
#include "Log.h"
#include "NotificationCenter.h"
#include "ReviewPrompt.h"
#include "ShellColors.h"
#include "Storyboard.h"
#include "TutorialDialog.h"
#include "UserDefaults.h"

namespace {

ViewController* lazyArea(QPointer<ViewController>& area, const char* bundle, QObject* owner) {
    if (!area) {
        area = Storyboard::storyboardWithName(QString::fromLatin1(bundle))
                   .instantiateInitialViewController();
        // Lives as long as the root, on show or not.
        area->setParent(owner);
    }
    return area;
}

}  // namespace

RootViewController::RootViewController(QObject* parent) : ContainerViewController(parent) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/RootView.qml")));
}

void RootViewController::setTitle(const QString& title) {
    ContainerViewController::setTitle(title);
    if (m_barTitle != title) {
        m_barTitle = title;
        emit barTitleChanged();
    }
}

ViewController* RootViewController::cloudViewController() {
    return lazyArea(m_cloudViewController, "Cloud", this);
}

ViewController* RootViewController::mediaLibraryViewController() {
    return lazyArea(m_mediaLibraryViewController, "Media Library", this);
}

bool RootViewController::isMediaLibraryShown() const {
    return visibleViewController() != nullptr &&
           visibleViewController() == m_mediaLibraryViewController;
}

void RootViewController::showArea(bool mediaLibrary) {
    ViewController* area = mediaLibrary ? mediaLibraryViewController() : cloudViewController();
    const QString title = Localization::text(mediaLibrary ? "media_library" : "clouds");
    if (visibleViewController() == area) {
        return;
    }
    showChild(area, title);
    m_cloudsLabelColor = mediaLibrary ? QColor(Qt::white) : ShellColors::accentColor();
    m_mediaLibraryLabelColor = mediaLibrary ? ShellColors::accentColor() : QColor(Qt::white);
    m_cloudsTintColor = m_cloudsLabelColor;
    m_mediaLibraryTintColor = m_mediaLibraryLabelColor;
    emit areaColorsChanged();
}

void RootViewController::didClickPlayer() {
    ViewController* player =
        Storyboard::storyboardWithName(QStringLiteral("Player")).instantiateInitialViewController();
    player->setModalPresentationStyle(ModalPresentationStyle::overFullScreen);
    presentViewController(player, true);
}

void RootViewController::didClickMenu() {
    if (DrawerController* drawer = findDrawerController(*this)) {
        drawer->setDrawerState(DrawerController::DrawerState::opened, true);
    }
}

void RootViewController::changePlayingTune(const Notification& notification) {
    const QVariant value = notification.userInfo.value(QStringLiteral("isPlaying"));
    if (value.typeId() != QMetaType::Bool) {
        return;
    }
    m_isMusicPlaying = value.toBool();
    systemLog(m_isMusicPlaying ? QStringLiteral("music true") : QStringLiteral("music false"));
    m_musicTunesImage = m_isMusicPlaying ? QStringLiteral("wave_1x") : QStringLiteral("wave");
    emit musicTunesImageChanged();
}

void RootViewController::viewDidLoad() {
    ContainerViewController::viewDidLoad();
    ReviewPrompt::current().requestReview();
    showArea(false);
    NotificationCenter::defaultCenter().addObserver(
        QStringLiteral("isPlaying"), this,
        [this](const Notification& notification) { changePlayingTune(notification); });
}

void RootViewController::viewDidAppear(bool animated) {
    ContainerViewController::viewDidAppear(animated);
    UserDefaults& defaults = UserDefaults::standard();
    if (defaults.boolForKey(QString::fromLatin1(kDidShowPrivacyDialogKey))) {
        return;
    }
    presentViewController(makeTutorialDialog(), true);
    // Written as it shows: a run killed with the dialog up does not show it again.
    defaults.setBool(true, QString::fromLatin1(kDidShowPrivacyDialogKey));
}
