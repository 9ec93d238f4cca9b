#include <QSignalSpy>

#include "AlertController.h"
#include "Bundles.h"
#include "IntakeScreensTestSupport.h"
#include "Log.h"
#include "Navigation.h"
#include "ProgressHUD.h"
#include "WiFiScreenController.h"

namespace {

// The import screen presented over the window's root, with the bundles the
// application registers.
class ImportScreenTest : public CloudTest {
protected:
    void SetUp() override {
        CloudTest::SetUp();
        registerBundles();
        WiFiScreenController::setPreferredPort(0);
        Navigation::shared().makeKeyAndVisible(root);
        root->presentViewController(screen, false);
    }

    // The alerts stacked over the import screen, bottom first.
    QList<AlertController*> alerts() const {
        QList<AlertController*> found;
        for (ViewController* top = screen->presentedViewController(); top;
             top = top->presentedViewController()) {
            if (auto* alert = qobject_cast<AlertController*>(top)) {
                found.append(alert);
            }
        }
        return found;
    }

    // Picks `urls` and waits for the import's end.
    void pick(const QList<QUrl>& urls) {
        QSignalSpy finished(screen, &DownloadViewController::importFinished);
        screen->documentPickerDidPickDocumentsAtURLs(urls);
        EXPECT_TRUE(screen->isImporting());
        ASSERT_TRUE(finished.wait(10000));
        EXPECT_FALSE(screen->isImporting());
    }

    ViewController* root = new ViewController;
    DownloadViewController* screen = new DownloadViewController;
};

}  // namespace

TEST_F(ImportScreenTest, ReplacedFilesAndAnUnreadablePickStackTheirAlerts) {
    const QString music = downloadedMusicDirectory();
    writeFile(music + "/old.mp3", "old bytes");
    writeFile(testHome() + "/picked/old.mp3", "new bytes");
    writeFile(testHome() + "/picked/fresh.ogg", "fresh");
    pick({QUrl::fromLocalFile(testHome() + "/picked/missing.mp3"),
          QUrl::fromLocalFile(testHome() + "/picked/old.mp3"),
          QUrl::fromLocalFile(testHome() + "/picked/fresh.ogg")});
    const QList<AlertController*> shown = alerts();
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown[0]->title(), "Error");
    EXPECT_TRUE(shown[0]->message().startsWith("Error handling file missing.mp3: "));
    EXPECT_EQ(shown[1]->title(), "Import Result");
    EXPECT_EQ(shown[1]->message(),
              "2 out of 3 files imported successfully. 1 existing files were replaced.");
    EXPECT_EQ(readFile(music + "/old.mp3"), "new bytes");
    EXPECT_EQ(readFile(music + "/fresh.ogg"), "fresh");
    EXPECT_TRUE(waitUntil([] { return !ProgressHUD::shared().isVisible(); }));

    // An empty pick still says so, over the alerts already there.
    pick({});
    ASSERT_EQ(alerts().size(), 3);
    EXPECT_EQ(alerts().last()->message(), "0 out of 0 files imported successfully.");
}

TEST(ImportWithoutWindow, MessagesAreLoggedAndTheCancelToo) {
    LogCapture log;
    DownloadViewController screen;
    writeFile(testHome() + "/picked/a.mp3", "a");
    QSignalSpy finished(&screen, &DownloadViewController::importFinished);
    screen.documentPickerDidPickDocumentsAtURLs(
        {QUrl::fromLocalFile(testHome() + "/picked/a.mp3")});
    ASSERT_TRUE(finished.wait(10000));
    EXPECT_EQ(log.count("Failed to find a suitable view controller to present the alert."), 1);
    EXPECT_EQ(readFile(downloadedMusicDirectory() + "/a.mp3"), "a");
    screen.documentPickerWasCancelled();
    EXPECT_TRUE(log.contains("User cancelled document picker"));
}

TEST_F(ImportScreenTest, PickerIsFilteredToTheAudioTypes) {
    QSignalSpy requested(screen, &DownloadViewController::documentPickerRequested);
    screen->didClickFiles();
    EXPECT_EQ(requested.count(), 1);
    const QStringList filters = DownloadViewController::audioNameFilters();
    ASSERT_EQ(filters.size(), 1);
    for (const char* pattern : {"*.mp3", "*.m4a", "*.ogg"}) {
        EXPECT_TRUE(filters[0].contains(pattern)) << pattern;
    }
    EXPECT_FALSE(filters[0].contains("*.pdf"));
}

TEST_F(ImportScreenTest, SignInInTheBrowserGoesOnToTheCloudBrowser) {
    QNetworkAccessManager network;
    // Declined first: the error display, no browser, and the screen stays.
    fake.setDenyAuthorization(true);
    signInWithBrowser(fake, network);
    screen->didClickDropBox();
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::loading);
    ASSERT_TRUE(waitUntil([&] { return ProgressHUD::shared().type() == ProgressHUDType::error; }));
    EXPECT_EQ(screen->presentedViewController(), nullptr);

    // A second tap starts again and this time comes back signed in.
    fake.setDenyAuthorization(false);
    screen->didClickDropBox();
    ASSERT_TRUE(waitUntil([&] { return screen->presentedViewController() != nullptr; }, 10000));
    EXPECT_NE(qobject_cast<DropboxViewController*>(screen->presentedViewController()), nullptr);
    EXPECT_NE(DropboxClientsManager::authorizedClient(), nullptr);
    DownloadViewController::setOpenURL({});
}

TEST_F(ImportScreenTest, SignedInGoesStraightOnAndTheOtherRoadsOpenTheirScreens) {
    signInBeforeLaunch();
    bool browserOpened = false;
    DownloadViewController::setOpenURL([&](const QUrl&) { browserOpened = true; });
    screen->didClickDropBox();
    EXPECT_FALSE(browserOpened);
    ASSERT_NE(qobject_cast<DropboxViewController*>(screen->presentedViewController()), nullptr);
    screen->presentedViewController()->dismissViewController(false);
    ASSERT_EQ(screen->presentedViewController(), nullptr);

    screen->didClickWiFi();
    ASSERT_NE(screen->presentedViewController(), nullptr);
    EXPECT_EQ(screen->presentedViewController()->metaObject()->className(),
              QByteArray("WiFiScreenController"));
    screen->presentedViewController()->dismissViewController(false);

    screen->didTapClose();
    EXPECT_EQ(root->presentedViewController(), nullptr);
    DownloadViewController::setOpenURL({});
}
