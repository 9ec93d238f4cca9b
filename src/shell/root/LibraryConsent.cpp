#include "LibraryConsent.h"

#include "AlertController.h"
#include "FolderLibrarySource.h"
#include "Localization.h"
#include "MediaLibraryManager.h"
#include "MediaLibraryViewController.h"
#include "Navigation.h"
#include "NotificationCenter.h"

namespace {

void ask(const char* titleKey, const char* allowKey, const char* refuseKey,
         std::function<void(bool)> answer) {
    auto* alert = new AlertController(Localization::text(titleKey),
                                      Localization::text("library_consent_message"),
                                      AlertController::Style::alert);
    alert->addAction({Localization::text(refuseKey), AlertController::ActionStyle::cancel,
                      [answer](AlertController&) { answer(false); }});
    alert->addAction({Localization::text(allowKey), AlertController::ActionStyle::defaultStyle,
                      [answer](AlertController&) { answer(true); }});
    ViewController* top = Navigation::shared().topPresentedViewController();
    if (top == nullptr) {
        // No window to ask in: the answer is no, and the question stays open.
        delete alert;
        answer(false);
        return;
    }
    top->presentViewController(alert, true);
}

}  // namespace

void installLibraryConsent(MediaLibraryManager& library) {
    auto* source = dynamic_cast<FolderLibrarySource*>(&library.source());
    if (source == nullptr) {
        return;
    }
    source->consentPrompt = [](std::function<void(bool)> answer) {
        ask("library_consent_title", "library_consent_allow", "library_consent_refuse",
            std::move(answer));
    };
    source->settingsPage = [source] {
        ask("library_access_title", "library_consent_allow", "library_access_keep",
            [source](bool allowed) {
                if (!allowed) {
                    return;
                }
                source->setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
                NotificationCenter::defaultCenter().post(QString::fromLatin1(
                    MediaLibraryViewController::kAuthorizationChangedNotification));
            });
    };
}
