#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>

#include "Localization.h"
#include "QuickTestHarness.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

// A later start: the tutorial and the first-run dialog are behind the user.
void pastFirstRun() {
    // The library is a folder of the test's own, never the machine's music.
    qputenv("CORVANTIS_LIBRARY_DIR", (testHome() + "/Library").toUtf8());
    UserDefaults::standard().setBool(true, "DidShowTutorial");
    UserDefaults::standard().setBool(true, "DidShowPrivacyDialogKey");
}

QString upper(const char* key) {
    return Localization::text(key).toUpper();
}

}  // namespace

TEST(RootViews, AreasAndTabsSwitchByTapAndTheLibraryAsksFirst) {
    pastFirstRun();
    QuickTestHarness ui;
    ui.launch();
    ASSERT_NE(ui.waitFor(Localization::text("menu")), nullptr);
    ASSERT_NE(ui.waitFor(upper("Artists")), nullptr);
    EXPECT_EQ(ui.window()->title(), Localization::text("clouds") + " — Corvantis");
    ASSERT_NE(ui.waitFor(Localization::text("tracks")), nullptr)
        << "the tracks list stands in the first tab";
    ui.screenshot("root-clouds");

    // The add button goes on the playlists tab and comes back elsewhere.
    ASSERT_TRUE(ui.isShown(Localization::text("add_music")));
    ui.tap(upper("playlists"));
    ASSERT_NE(ui.waitFor(Localization::text("playlists")), nullptr);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("add_music")); }));
    ui.tap(upper("Albums"));
    ASSERT_NE(ui.waitFor(Localization::text("albums")), nullptr);
    EXPECT_TRUE(ui.isShown(Localization::text("add_music")));

    // The library shows only its panel until the user allows access.
    ui.tap(Localization::text("media_library"));
    ASSERT_NE(ui.waitFor(Localization::text("link_library_button")), nullptr);
    EXPECT_EQ(ui.window()->title(), Localization::text("media_library") + " — Corvantis");
    ui.screenshot("root-library-unlinked");
    ui.tap(Localization::text("link_library_button"));
    ASSERT_NE(ui.waitFor(Localization::text("library_consent_refuse")), nullptr);
    ui.screenshot("root-library-consent");
    ui.tap(Localization::text("library_consent_refuse"));
    EXPECT_TRUE(
        waitUntil([&] { return !ui.isShown(Localization::text("library_consent_refuse")); }));
    EXPECT_TRUE(ui.isShown(Localization::text("link_library_button")));

    // Asked again, the access page grants it and the first list shows at once.
    ui.tap(Localization::text("link_library_button"));
    ASSERT_NE(ui.waitFor(Localization::text("library_access_keep")), nullptr);
    ui.tap(Localization::text("library_consent_allow"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("link_library_button")); }));
    ASSERT_NE(ui.waitFor(Localization::text("tracks")), nullptr);
    EXPECT_FALSE(ui.isShown(Localization::text("add_music")));
    ui.screenshot("root-library-linked");

    // Back to the clouds area: the albums tab it was left on.
    ui.tap(Localization::text("clouds"));
    ASSERT_NE(ui.waitFor(Localization::text("albums")), nullptr);
}

TEST(RootViews, TheDrawerOpensByControlAndSwipeAndClosesByTapEscapeAndItsControl) {
    pastFirstRun();
    QuickTestHarness ui;
    ui.launch();
    const QString tutorial = Localization::text("menu_tutorial");
    ASSERT_NE(ui.waitFor(Localization::text("menu")), nullptr);
    EXPECT_FALSE(ui.isShown(tutorial));

    ui.tap(Localization::text("menu"));
    ASSERT_NE(ui.waitFor(tutorial), nullptr);
    ui.settle(400);
    EXPECT_FALSE(ui.isShown(Localization::text("menu_feedback")))
        << "an entry without its address is hidden";
    EXPECT_TRUE(ui.isShown(Localization::text("menu_sign_out")));
    ui.screenshot("drawer-open");
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(tutorial); }));

    const qreal middle = ui.window()->height() / 2.0;
    ui.drag({4, middle}, {300, middle});
    ASSERT_NE(ui.waitFor(tutorial), nullptr);
    ui.settle(400);
    ui.tapAt({ui.window()->width() - 20.0, middle});
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(tutorial); }));

    ui.tap(Localization::text("menu"));
    ASSERT_NE(ui.waitFor(Localization::text("close_menu")), nullptr);
    ui.settle(400);
    ui.tap(Localization::text("close_menu"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(tutorial); }));
}

TEST(RootViews, TheAddButtonOpensTheImportScreenFullScreen) {
    pastFirstRun();
    QuickTestHarness ui;
    ui.launch();
    ASSERT_NE(ui.waitFor(Localization::text("add_music")), nullptr);
    ui.tap(Localization::text("add_music"));
    ASSERT_NE(ui.waitFor(Localization::text("download_title")), nullptr);
    ui.settle(400);
    ui.screenshot("root-import");
}

TEST(RootViews, TabReachesEveryControlOfTheMainInterfaceEachByItsName) {
    pastFirstRun();
    QuickTestHarness ui;
    ui.launch();
    ASSERT_NE(ui.waitFor(Localization::text("menu")), nullptr);
    ui.settle();

    // Round the window once and a little more: every stop has a name, and
    // the walk comes back to where it began.
    const QStringList reached = ui.tabStops(24);
    EXPECT_FALSE(reached.contains(QString())) << reached.join(", ").toStdString();
    EXPECT_FALSE(reached.contains("<none>")) << reached.join(", ").toStdString();
    for (const char* key : {"menu", "now_playing", "search", "sort_ascending", "sort_descending",
                            "sort_normal", "add_music", "clouds", "media_library"}) {
        EXPECT_TRUE(reached.contains(Localization::text(key)))
            << key << " not reached: " << reached.join(", ").toStdString();
    }
    // The tab strip is one stop, named by its chosen tab; arrows choose.
    const QString tracks = upper("tracks");
    const qsizetype strip = reached.indexOf(tracks);
    ASSERT_GE(strip, 0) << reached.join(", ").toStdString();
    EXPECT_EQ(reached.count(tracks), reached.count(Localization::text("menu")))
        << "one stop per round";
    while (QuickTestHarness::accessibleName(ui.window()->activeFocusItem()) != tracks) {
        ui.key(Qt::Key_Tab);
    }
    ui.key(Qt::Key_Right);
    EXPECT_TRUE(waitUntil([&] {
        return QuickTestHarness::accessibleName(ui.window()->activeFocusItem()) == upper("artists");
    }));
}
