#include "DrawerMenuController.h"

#include <QDesktopServices>
#include <QLoggingCategory>
#include <QProcess>
#include <QUrlQuery>
#include <numbers>

#include "AlertController.h"
#include "Containment.h"
#include "DialogViewController.h"
#include "DocumentImporter.h"
#include "DrawerController.h"
#include "DropboxSignOut.h"
#include "Navigation.h"
#include "ProgressHUD.h"
#include "Storyboard.h"
#include "TutorialDialog.h"
#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcMenu, "corvantis.menu")

namespace {

constexpr double kQuarterTurnBack = -1.5707963267948966;
constexpr int kMailProbeMs = 3000;

std::optional<QString> setting(const char* key) {
    std::optional<QString> value = UserDefaults::standard().stringForKey(QString::fromLatin1(key));
    if (value) {
        *value = value->trimmed();
    }
    if (!value || value->isEmpty()) {
        return std::nullopt;
    }
    return value;
}

QString withoutTrailingSlashes(QString host) {
    while (host.endsWith(QLatin1Char('/'))) {
        host.chop(1);
    }
    return host;
}

// Shows each message from one screen, as an alert with one "OK" button.
class ScreenPresenter : public MessagePresenter {
public:
    explicit ScreenPresenter(ViewController* screen) : m_screen(screen) {}
    void presentMessage(const QString& title, const QString& message) override {
        if (m_screen != nullptr) {
            m_screen->presentViewController(AlertController::okAlert(title, message), true);
        }
    }

private:
    ViewController* m_screen;
};

}  // namespace

DrawerMenuController::DrawerMenuController(QObject* parent)
    : ViewController(parent), canSendMail(&DrawerMenuController::desktopHasMailHandler) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/DrawerMenuView.qml")));
    connect(
        &UserDefaults::standard(), &UserDefaults::valueChanged, this, [this](const QString& key) {
            if (key == QLatin1String(kFeedbackAddressKey) || key == QLatin1String(kStoreHostKey) ||
                key == QLatin1String(kStoreIdentifierKey) || key == QLatin1String(kPagesHostKey)) {
                emit configurationChanged();
            }
        });
}

void DrawerMenuController::viewDidLoad() {
    ViewController::viewDidLoad();
    m_menuIconRotation = kQuarterTurnBack * 180.0 / std::numbers::pi;
    emit menuIconRotationChanged();
}

std::optional<QString> DrawerMenuController::feedbackAddress() {
    return setting(kFeedbackAddressKey);
}

std::optional<QString> DrawerMenuController::pagesHost() {
    return setting(kPagesHostKey);
}

std::optional<QUrl> DrawerMenuController::reviewAddress() {
    const std::optional<QString> host = setting(kStoreHostKey);
    const std::optional<QString> identifier = setting(kStoreIdentifierKey);
    if (!host || !identifier) {
        return std::nullopt;
    }
    const QString base = withoutTrailingSlashes(*host);
    const QUrl url(base + QStringLiteral("/app/id") + *identifier +
                       QStringLiteral("?mt=8&action=write-review"),
                   QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty()) {
        qCWarning(lcMenu).noquote()
            << "The store page setting is no address; the entry is hidden:" << *host;
        return std::nullopt;
    }
    return url;
}

bool DrawerMenuController::desktopHasMailHandler() {
    QProcess probe;
    probe.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                             QStringLiteral("x-scheme-handler/mailto")});
    if (!probe.waitForFinished(kMailProbeMs) || probe.exitStatus() != QProcess::NormalExit) {
        probe.kill();
        probe.waitForFinished(kMailProbeMs);
        return false;
    }
    return probe.exitCode() == 0 && !probe.readAllStandardOutput().trimmed().isEmpty();
}

void DrawerMenuController::closeDrawer() {
    if (DrawerController* drawer = findDrawerController(*this)) {
        drawer->setDrawerState(DrawerController::DrawerState::closed, true);
    }
}

void DrawerMenuController::didClickMenu() {
    closeDrawer();
}

void DrawerMenuController::didClickFeedback() {
    closeDrawer();
    const std::optional<QString> address = feedbackAddress();
    if (address && canSendMail && canSendMail()) {
        QUrl mail;
        mail.setScheme(QStringLiteral("mailto"));
        mail.setPath(*address);
        QUrlQuery query;
        // The same subject in every language.
        query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Feedback Corvantis"));
        mail.setQuery(query);
        QDesktopServices::openUrl(mail);
        return;
    }
    ProgressHUD::shared().show(ProgressHUDType::error, this);
}

void DrawerMenuController::didClickRateUs() {
    closeDrawer();
    if (const std::optional<QUrl> url = reviewAddress()) {
        // A page that will not open is not reported.
        QDesktopServices::openUrl(*url);
    }
}

void DrawerMenuController::showPage(const QString& path) {
    closeDrawer();
    const std::optional<QString> host = pagesHost();
    if (!host) {
        return;
    }
    const QString base = withoutTrailingSlashes(*host);
    // Written before the page screen loads its view, which reads it.
    UserDefaults::standard().setString(base + path, QString::fromLatin1(kPageAddressKey));
    presentViewController(
        Storyboard::storyboardWithName(QStringLiteral("Text")).instantiateInitialViewController(),
        true);
}

void DrawerMenuController::didClickPrivacy() {
    showPage(QStringLiteral("/privacy/"));
}

void DrawerMenuController::didClickTerms() {
    showPage(QStringLiteral("/terms/"));
}

void DrawerMenuController::didClickTutorial() {
    // The drawer stays open behind it.
    presentViewController(makeTutorialDialog(), true);
}

void DrawerMenuController::didClickSignOut() {
    Navigation& navigation = Navigation::shared();
    ScreenPresenter window(navigation.hasKeyWindow() ? navigation.rootViewController() : nullptr);
    ScreenPresenter menu(this);
    signOutOfDropbox(window, menu);
}
