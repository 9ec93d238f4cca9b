#include <gtest/gtest.h>

#include <QDesktopServices>

#include "AlertController.h"
#include "Bundles.h"
#include "DialogViewController.h"
#include "DrawerController.h"
#include "DrawerMenuController.h"
#include "DropboxTokenStore.h"
#include "Localization.h"
#include "Log.h"
#include "Navigation.h"
#include "ProgressHUD.h"
#include "RootViewController.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "TextViewController.h"
#include "UserDefaults.h"

namespace {

// Takes the addresses the menu hands to the desktop.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    OpenedUrls() {
        for (const char* scheme : {"mailto", "https", "http"}) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }
    ~OpenedUrls() override {
        for (const char* scheme : {"mailto", "https", "http"}) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

// The menu in its open drawer, over a root that showed its first-run dialog long ago.
struct OpenMenu {
    DrawerController* drawer = nullptr;
    DrawerMenuController* menu = nullptr;

    OpenMenu() {
        UserDefaults::standard().setBool(true, RootViewController::kDidShowPrivacyDialogKey);
        registerBundles();
        drawer = qobject_cast<DrawerController*>(
            Storyboard::storyboardWithName("Main").instantiateInitialViewController());
        menu = qobject_cast<DrawerMenuController*>(drawer->drawerViewController());
        Navigation::shared().makeKeyAndVisible(drawer);
        drawer->openDrawer();
    }
    bool isOpen() const { return drawer->drawerState() == DrawerController::DrawerState::opened; }
};

void configure(const QString& key, const QString& value) {
    UserDefaults::standard().setString(value, key);
}

}  // namespace

TEST(DrawerMenu, EntriesWithoutTheirAddressStayHidden) {
    OpenMenu ui;
    EXPECT_FALSE(ui.menu->isFeedbackShown());
    EXPECT_FALSE(ui.menu->isRateShown());
    EXPECT_FALSE(ui.menu->arePagesShown());
    configure(DrawerMenuController::kStoreHostKey, "https://store.example");
    EXPECT_FALSE(ui.menu->isRateShown()) << "the host alone makes no address";
    configure(DrawerMenuController::kStoreIdentifierKey, "1234");
    configure(DrawerMenuController::kFeedbackAddressKey, "  ");
    EXPECT_TRUE(ui.menu->isRateShown());
    EXPECT_FALSE(ui.menu->isFeedbackShown()) << "blank is not configured";
    configure(DrawerMenuController::kStoreHostKey, "not a host");
    EXPECT_FALSE(ui.menu->isRateShown());

    // A hidden entry reached anyway opens nothing and breaks nothing.
    OpenedUrls opened;
    ui.menu->didClickRateUs();
    ui.menu->didClickPrivacy();
    EXPECT_TRUE(opened.urls.isEmpty());
    EXPECT_FALSE(UserDefaults::standard().stringForKey("BUTTON_CLICKED"));
}

TEST(DrawerMenu, FeedbackAndRatingCloseTheDrawerAndOpenTheirAddresses) {
    OpenMenu ui;
    OpenedUrls opened;
    configure(DrawerMenuController::kFeedbackAddressKey, "listen@corvantis.example");
    configure(DrawerMenuController::kStoreHostKey, "https://store.example/");
    configure(DrawerMenuController::kStoreIdentifierKey, "987");
    ui.menu->canSendMail = [] { return true; };

    ui.menu->didClickFeedback();
    EXPECT_FALSE(ui.isOpen());
    ui.drawer->openDrawer();
    ui.menu->didClickRateUs();
    EXPECT_FALSE(ui.isOpen());
    ASSERT_EQ(opened.urls.size(), 2);
    EXPECT_EQ(opened.urls[0].toString(),
              "mailto:listen@corvantis.example?subject=Feedback Corvantis");
    EXPECT_EQ(opened.urls[1].toString(),
              "https://store.example/app/id987?mt=8&action=write-review");

    // No mail program: the error display with no text of its own, no address.
    ui.menu->canSendMail = [] { return false; };
    ui.menu->didClickFeedback();
    EXPECT_EQ(opened.urls.size(), 2);
    EXPECT_TRUE(ProgressHUD::shared().isVisible());
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::error);
    EXPECT_EQ(ProgressHUD::shared().textValue(), Localization::text("error_unknown"));
}

TEST(DrawerMenu, PrivacyThenTermsLeavesTheTermsAddressForThePageToLoad) {
    OpenMenu ui;
    configure(DrawerMenuController::kPagesHostKey, "https://pages.example");
    ui.menu->didClickPrivacy();
    EXPECT_FALSE(ui.isOpen());
    auto* page = qobject_cast<TextViewController*>(ui.menu->presentedViewController());
    ASSERT_TRUE(page);
    EXPECT_EQ(page->requestedUrl().toString(), "https://pages.example/privacy/");
    page->didClickDone();

    ui.drawer->openDrawer();
    ui.menu->didClickTerms();
    EXPECT_EQ(UserDefaults::standard().stringForKey("BUTTON_CLICKED"),
              "https://pages.example/terms/");
    page = qobject_cast<TextViewController*>(ui.menu->presentedViewController());
    ASSERT_TRUE(page);
    EXPECT_EQ(page->requestedUrl().toString(), "https://pages.example/terms/");
}

TEST(DrawerMenu, TheTutorialShowsOverTheOpenDrawerAndWritesNothing) {
    OpenMenu ui;
    UserDefaults::standard().removeObjectForKey(RootViewController::kDidShowPrivacyDialogKey);
    ui.menu->didClickTutorial();
    auto* dialog = qobject_cast<DialogViewController*>(ui.menu->presentedViewController());
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->title(), Localization::text("tutorial_title"));
    EXPECT_EQ(dialog->buttonHeight(), 45);
    dialog->handleAction(0);
    EXPECT_EQ(ui.menu->presentedViewController(), nullptr);
    EXPECT_TRUE(ui.isOpen());
    EXPECT_FALSE(UserDefaults::standard().boolForKey(RootViewController::kDidShowPrivacyDialogKey));
}

TEST(DrawerMenu, OperationsWithoutADrawerStillDoTheirWork) {
    configure(DrawerMenuController::kPagesHostKey, "https://pages.example");
    DrawerMenuController menu;
    menu.loadViewIfNeeded();
    EXPECT_DOUBLE_EQ(menu.menuIconRotation(), -90.0);
    menu.didClickMenu();
    menu.didClickTerms();
    EXPECT_EQ(UserDefaults::standard().stringForKey("BUTTON_CLICKED"),
              "https://pages.example/terms/");
}

TEST(DrawerMenu, SigningOutTwiceSucceedsThenFindsNobodySignedIn) {
    qputenv("CORVANTIS_DROPBOX_APP_KEY", "abcdefghijklmno");
    // Nothing listens here: the revocation fails quietly, as offline.
    qputenv("CORVANTIS_DROPBOX_API_URL", "http://127.0.0.1:9");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    DropboxTokens tokens;
    tokens.appKey = "abcdefghijklmno";
    tokens.accessToken = "access";
    tokens.refreshToken = "refresh";
    tokens.uid = "1";
    ASSERT_TRUE(DropboxTokenStore::save(tokens));

    OpenMenu ui;
    LogCapture log;
    const auto shown = [](ViewController* from) {
        QStringList texts;
        for (ViewController* c = from->presentedViewController(); c != nullptr;
             c = c->presentedViewController()) {
            if (auto* alert = qobject_cast<AlertController*>(c)) {
                texts << alert->title() + ": " + alert->message();
            }
        }
        return texts;
    };
    ui.menu->didClickSignOut();
    EXPECT_EQ(shown(ui.menu), QStringList{"Sign Out: Successfully signed out from Dropbox"});
    ui.menu->presentedViewController()->dismissViewController(false);

    ui.menu->didClickSignOut();
    // The first message stands over the window's root, the second over the menu.
    EXPECT_EQ(shown(ui.drawer) + shown(ui.menu),
              (QStringList{"No User Logged In: There is no user logged in. Please log in to "
                           "Dropbox.",
                           "Sign Out Failed: Failed to sign out from Dropbox. Error: "
                           "Corvantis.AuthError"}));
    EXPECT_TRUE(log.contains("Sign-out failed with error: Corvantis.AuthError"));
    EXPECT_TRUE(ui.isOpen()) << "sign-out leaves the drawer as it was";
}

#include "DrawerMenuTest.moc"
