#include <QQuickItem>
#include <QQuickWindow>

#include "AlertController.h"
#include "DownloadManager.h"
#include "IntakeViewFixture.h"
#include "Localization.h"
#include "Navigation.h"
#include "QuickTestHarness.h"
#include "Storyboard.h"
#include "WiFiScreenController.h"

TEST_F(IntakeViewsTest, WalksTwoFoldersDownAndBackWithTheirTitles) {
    signInBeforeLaunch();
    fake.addFile("/top.mp3", "t");
    fake.addFile("/Music/song.mp3", "s");
    fake.addFile("/Music/Live/encore.mp3", "e");
    fake.addFolder("/Music/Live/Empty");
    openImportScreen();
    ui.screenshot("intake-import");
    ui.tap(Localization::text("download_dropbox"));
    ASSERT_NE(ui.waitFor("Music"), nullptr);
    EXPECT_TRUE(ui.isShown("Download top.mp3"));
    ui.settle();
    ui.screenshot("intake-cloud-root");

    ui.tap("Music");
    ASSERT_NE(ui.waitFor("Live"), nullptr);
    ASSERT_NE(ui.waitFor("Download song.mp3"), nullptr);
    ui.settle();
    ui.tap("Live");
    ASSERT_NE(ui.waitFor("Download encore.mp3"), nullptr);
    ui.settle();
    EXPECT_TRUE(ui.isShown("Empty"));
    EXPECT_FALSE(ui.isShown("Download song.mp3")) << "the old rows have left";
    ui.screenshot("intake-cloud-live");

    const QString back = Localization::text("back");
    ui.tap(back);
    ASSERT_NE(ui.waitFor("Download song.mp3"), nullptr);
    ui.settle();
    EXPECT_FALSE(ui.isShown("Download encore.mp3"));
    ui.tap(back);
    ASSERT_NE(ui.waitFor("Download top.mp3"), nullptr);
    ui.settle();
    // At "//" one more back closes the browser onto the import screen.
    ui.tap(back);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Download top.mp3"); }));
    EXPECT_NE(ui.waitFor(Localization::text("download_wifi")), nullptr);
}

TEST_F(IntakeViewsTest, FileButtonGoesThroughItsStatesToDownloaded) {
    signInBeforeLaunch();
    const qint64 size = 512 * 1024;
    fake.addGeneratedFile("/Mix.mp3", size);
    fake.addFile("/Other.mp3", "o");
    fake.setSlowTransfer(32 * 1024, 40);
    openImportScreen();
    ui.tap(Localization::text("download_dropbox"));
    ASSERT_NE(ui.waitFor("Download Mix.mp3"), nullptr);
    ui.settle();
    ASSERT_NE(ui.waitFor(Localization::text("dropbox_download_all")), nullptr);
    ui.tap("Download Mix.mp3");
    ASSERT_NE(ui.waitFor("Cancel download of Mix.mp3", 10000), nullptr);
    ui.screenshot("intake-cloud-downloading");
    ASSERT_NE(ui.waitFor("Mix.mp3 downloaded", 20000), nullptr);
    ui.screenshot("intake-cloud-downloaded");
    EXPECT_EQ(readFile(downloadedMusicDirectory() + "/Mix.mp3"), FakeDropbox::patternBytes(size));
    EXPECT_TRUE(ui.isShown("Download Other.mp3"));
    EXPECT_TRUE(ui.isShown(Localization::text("dropbox_download_all")));
}

TEST_F(IntakeViewsTest, WiFiScreenShowsItsAddressAndGoesBack) {
    openImportScreen();
    ui.tap(Localization::text("download_wifi"));
    ASSERT_NE(ui.waitFor(Localization::text("wifi_title")), nullptr);
    ui.settle();
    ui.screenshot("intake-wifi");
    ui.tap(Localization::text("back"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("wifi_title")); }));
    EXPECT_TRUE(ui.isShown(Localization::text("download_title")));
}

TEST_F(IntakeViewsTest, TheKeyboardWalksTheBrowsersRowsAndOpensAFolder) {
    signInBeforeLaunch();
    fake.addFolder("/Music");
    fake.addFile("/top.mp3", "t");
    fake.addFile("/Music/song.mp3", "s");
    openImportScreen();
    ui.tap(Localization::text("download_dropbox"));
    ASSERT_NE(ui.waitFor("Music"), nullptr);
    ui.settle();
    const auto focusedName = [&] {
        const QQuickItem* focused = ui.window()->activeFocusItem();
        return focused ? QuickTestHarness::accessibleName(focused) : QString();
    };

    // The rows are one stop, the chosen one; the others' buttons are not.
    const QStringList stops = ui.tabStops(6);
    EXPECT_EQ(stops.count("Music"), 2) << stops.join(", ").toStdString();
    EXPECT_FALSE(stops.contains("Download top.mp3")) << stops.join(", ").toStdString();
    for (int i = 0; i < 6 && focusedName() != "Music"; ++i) {
        ui.key(Qt::Key_Tab);
    }
    ASSERT_EQ(focusedName(), "Music");
    ui.key(Qt::Key_Down);
    EXPECT_TRUE(waitUntil([&] { return focusedName() == "top.mp3"; }))
        << focusedName().toStdString();
    ui.key(Qt::Key_Tab);
    EXPECT_EQ(focusedName(), "Download top.mp3");
    ui.screenshot("intake-cloud-keyboard");
    ui.key(Qt::Key_Backtab);
    ui.key(Qt::Key_Up);
    EXPECT_TRUE(waitUntil([&] { return focusedName() == "Music"; })) << focusedName().toStdString();
    ui.key(Qt::Key_Return);
    EXPECT_NE(ui.waitFor("Download song.mp3"), nullptr);
}
