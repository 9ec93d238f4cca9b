#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>

#include "AlertController.h"
#include "Localization.h"
#include "Navigation.h"
#include "ProgressHUD.h"
#include "QuickTestHarness.h"
#include "TestSupport.h"
#include "UserDefaults.h"

TEST(ShellViews, FirstLaunchWalksTheTutorialIntoTheMainInterface) {
    QuickTestHarness ui;
    ui.launch();
    const QString next = Localization::text("tutorial_continue");
    ASSERT_NE(ui.waitFor(Localization::text("tutorial_1_title")), nullptr);
    ui.screenshot("tutorial-1");
    ui.tap(next);
    ASSERT_NE(ui.waitFor(Localization::text("tutorial_2_title")), nullptr);
    EXPECT_FALSE(UserDefaults::standard().boolForKey("DidShowTutorial"));
    ui.screenshot("tutorial-2");
    // Enter works as the button does.
    ui.key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return UserDefaults::standard().boolForKey("DidShowTutorial"); }));
    // The main interface fades in over 0.3 s; until its bundle is built, its
    // plain page stands there.
    ASSERT_NE(ui.waitFor("Main"), nullptr);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("tutorial_2_title")); }));
}

TEST(ShellViews, AlertsStackAndAnswerEnterEscapeAndTaps) {
    QuickTestHarness ui;
    ui.launch();
    ViewController* root = Navigation::shared().rootViewController();
    QStringList heard;
    auto* rename = new AlertController("Rename", "", AlertController::Style::alert);
    rename->addTextField([](AlertTextField& field) { field.setText("Mix"); });
    rename->addAction({"Cancel", AlertController::ActionStyle::cancel,
                       [&](AlertController&) { heard << "cancel"; }});
    rename->addAction({"Save", AlertController::ActionStyle::defaultStyle,
                       [&](AlertController& a) { heard << a.firstTextField()->text(); }});
    root->presentViewController(rename, true);
    ASSERT_NE(ui.waitFor("Save"), nullptr);

    // A message presented meanwhile stands over the first alert.
    root->presentViewController(AlertController::okAlert("Import Result", "2 files imported"),
                                true);
    ASSERT_NE(ui.waitFor("OK"), nullptr);
    ui.screenshot("alert-stacked");
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("OK"); }));

    // The field is typed into with real keys; Enter saves.
    ui.tap(Localization::text("text_field"));
    ui.key(Qt::Key_End);
    ui.type(" tape");
    ui.screenshot("alert-text-field");
    ui.key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return !heard.isEmpty(); }));
    EXPECT_EQ(heard, (QStringList{"Mix tape"}));

    // An action sheet: actions from the bottom, cancel apart, a tap chooses.
    auto* sheet = new AlertController("Add to playlist", "", AlertController::Style::actionSheet);
    sheet->addAction({"Road trip", AlertController::ActionStyle::defaultStyle,
                      [&](AlertController&) { heard << "road"; }});
    sheet->addAction({"Cancel", AlertController::ActionStyle::cancel, {}});
    root->presentViewController(sheet, true);
    QQuickItem* road = ui.waitFor("Road trip");
    QQuickItem* cancel = ui.waitFor("Cancel");
    ASSERT_TRUE(road && cancel);
    EXPECT_GT(QuickTestHarness::centreOf(cancel).y(), QuickTestHarness::centreOf(road).y());
    EXPECT_GT(QuickTestHarness::centreOf(road).y(), ui.window()->height() / 2);
    ui.screenshot("action-sheet");
    ui.tap(road);
    EXPECT_TRUE(waitUntil([&] { return heard.size() == 2; }));
    EXPECT_EQ(heard.last(), "road");
}

TEST(ShellViews, ProgressDisplayTakesEveryTouchWhileItShows) {
    QuickTestHarness ui;
    ui.launch();
    ViewController* root = Navigation::shared().rootViewController();
    bool answered = false;
    auto* alert =
        new AlertController("Error", "Error handling file", AlertController::Style::alert);
    alert->addAction({"OK", AlertController::ActionStyle::defaultStyle,
                      [&](AlertController&) { answered = true; }});
    root->presentViewController(alert, false);
    QQuickItem* ok = ui.waitFor("OK");
    ASSERT_NE(ok, nullptr);

    ProgressHUD::shared().show(ProgressHUDType::loading, root);
    ASSERT_NE(ui.waitFor(Localization::text("message_please_wait")), nullptr);
    ui.screenshot("progress-loading");
    ui.tap(ok);
    ui.settle(100);
    EXPECT_FALSE(answered) << "a touch under the display reached the alert";

    ProgressHUD::shared().dismiss(0);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("message_please_wait")); }));
    ui.tap(ok);
    EXPECT_TRUE(waitUntil([&] { return answered; }));
}
