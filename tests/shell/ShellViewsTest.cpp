#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>

#include "AlertController.h"
#include "Localization.h"
#include "Navigation.h"
#include "NavigationController.h"
#include "PlaceholderViewController.h"
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
    // The main interface fades in over 0.3 s, and the first-run dialog comes
    // up over it in the same run.
    ASSERT_NE(ui.waitFor(Localization::text("menu")), nullptr);
    EXPECT_TRUE(
        waitUntil([&] { return UserDefaults::standard().boolForKey("DidShowPrivacyDialogKey"); }));
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

TEST(ShellViews, PopoverIsASheetWhenNarrowAndACardByItsControlWhenWide) {
    QuickTestHarness ui;
    ui.launch();
    ViewController* root = Navigation::shared().rootViewController();
    const auto presentPopover = [&](QRectF anchor) {
        auto* page = new PlaceholderViewController("Download");
        page->setModalPresentationStyle(ModalPresentationStyle::popover);
        page->setPopoverSourceRect(anchor);
        root->presentViewController(page, true);
        QQuickItem* item = ui.waitFor("Download");
        ui.settle(400);
        // The page itself, not its heading of the same name.
        QQuickItem* drawn = item;
        for (QQuickItem* up = item; up != nullptr; up = up->parentItem()) {
            if (QuickTestHarness::accessibleName(up) == "Download") {
                drawn = up;
            }
        }
        return drawn;
    };

    // Narrow: a sheet along the bottom edge, whatever the anchor.
    QQuickItem* sheet = presentPopover(QRectF(20, 20, 40, 40));
    ASSERT_NE(sheet, nullptr);
    const QRectF onPhone = sheet->mapRectToScene(sheet->boundingRect());
    EXPECT_NEAR(onPhone.bottom(), ui.window()->height(), 8);
    EXPECT_NEAR(onPhone.width(), ui.window()->width(), 16);
    ui.screenshot("popover-narrow");
    // A tap on the dimmed screen above closes it.
    ui.tapAt(QPointF(ui.window()->width() / 2, 20));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Download"); }));

    // Wide: a card under the control it came from, inside the window.
    ui.resize(1280, 800);
    const QRectF control(1180, 60, 44, 44);
    QQuickItem* card = presentPopover(control);
    ASSERT_NE(card, nullptr);
    const QRectF onDesk = card->mapRectToScene(card->boundingRect());
    EXPECT_LT(onDesk.width(), 500);
    EXPECT_GE(onDesk.top(), control.bottom());
    EXPECT_LE(onDesk.right(), 1280 - 16 + 1);
    EXPECT_GT(onDesk.right(), control.center().x());
    ui.screenshot("popover-wide");
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Download"); }));
}

TEST(ShellViews, StackGoesBackByItsControlAndByEscapeAndTabReachesEveryControl) {
    QuickTestHarness ui;
    ui.launch();
    auto* stack = new NavigationController(new PlaceholderViewController("Albums"));
    Navigation::shared().rootViewController()->presentViewController(stack, false);
    ASSERT_NE(ui.waitFor("Albums"), nullptr);
    EXPECT_FALSE(ui.isShown(Localization::text("back"))) << "nothing to go back to";

    stack->pushViewController(new PlaceholderViewController("Artists"), true);
    ASSERT_NE(ui.waitFor("Artists"), nullptr);
    ui.tap(Localization::text("back"));
    EXPECT_TRUE(waitUntil([&] { return stack->depth() == 1 && ui.isShown("Albums"); }));

    stack->pushViewController(new PlaceholderViewController("Tracks"), false);
    ASSERT_NE(ui.waitFor("Tracks"), nullptr);
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return stack->depth() == 1; }));

    // Tab goes round the alert's field and buttons alone: the screens under
    // it are out of reach.
    auto* alert = new AlertController("Rename", "", AlertController::Style::alert);
    alert->addTextField([](AlertTextField& field) { field.setText("Mix"); });
    alert->addAction({"Cancel", AlertController::ActionStyle::cancel, {}});
    alert->addAction({"Save", AlertController::ActionStyle::defaultStyle, {}});
    stack->presentViewController(alert, false);
    ASSERT_NE(ui.waitFor("Save"), nullptr);
    const QStringList reached = ui.tabStops(7);
    EXPECT_EQ(QSet<QString>(reached.cbegin(), reached.cend()),
              QSet<QString>({"Cancel", "Save", Localization::text("text_field")}))
        << reached.join(",").toStdString();
    EXPECT_EQ(reached.count("Save"), 2) << reached.join(",").toStdString();
}

TEST(ShellViews, TutorialFitsFromTheSmallestPhoneToADesktopWindow) {
    QuickTestHarness ui;
    ui.launch();
    for (const QSize size : {QSize(360, 640), QSize(1920, 1080)}) {
        ui.resize(size.width(), size.height());
        QQuickItem* next = ui.waitFor(Localization::text("tutorial_continue"));
        QQuickItem* title = ui.waitFor(Localization::text("tutorial_1_title"));
        ASSERT_TRUE(next && title);
        const QRectF button = next->mapRectToScene(next->boundingRect());
        EXPECT_LE(button.bottom(), size.height()) << size.width();
        EXPECT_GE(button.height(), 44) << "a finger still finds it";
        EXPECT_LE(button.width(), 480) << "no bar across a desktop";
        EXPECT_GT(title->mapRectToScene(title->boundingRect()).top(), 0);
        ui.screenshot(QString("tutorial-%1x%2").arg(size.width()).arg(size.height()));
    }
    ui.tap(Localization::text("tutorial_continue"));
    EXPECT_NE(ui.waitFor(Localization::text("tutorial_2_title")), nullptr);
}
