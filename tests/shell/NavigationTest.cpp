#include <gtest/gtest.h>

#include <QSignalSpy>

#include "AlertController.h"
#include "Navigation.h"
#include "NavigationController.h"
#include "PlaceholderViewController.h"
#include "Storyboard.h"

namespace {

// Records the life-cycle calls a screen receives, in order.
class RecordingController : public ViewController {
public:
    using ViewController::ViewController;
    QStringList calls;
    void viewDidLoad() override { calls << QStringLiteral("load"); }
    void viewWillAppear(bool) override { calls << QStringLiteral("willAppear"); }
    void viewDidAppear(bool) override { calls << QStringLiteral("didAppear"); }
    void viewWillDisappear(bool) override { calls << QStringLiteral("willDisappear"); }
    void viewDidDisappear(bool) override { calls << QStringLiteral("didDisappear"); }
};

}  // namespace

TEST(Navigation, PresentsAndDismissesAlongTheChainWithCompletionsAndLifeCycle) {
    auto* root = new RecordingController;
    Navigation::shared().makeKeyAndVisible(root);
    EXPECT_EQ(root->calls, (QStringList{"load", "willAppear", "didAppear"}));
    root->calls.clear();

    auto* cover = new RecordingController;
    cover->setModalPresentationStyle(ModalPresentationStyle::fullScreen);
    bool presented = false;
    root->presentViewController(cover, true, [&] { presented = true; });
    EXPECT_TRUE(presented);
    EXPECT_EQ(root->presentedViewController(), cover);
    EXPECT_EQ(cover->presentingViewController(), root);
    // Full screen hides the presenter; over full screen would not.
    EXPECT_EQ(root->calls, (QStringList{"willDisappear", "didDisappear"}));
    EXPECT_EQ(cover->calls, (QStringList{"load", "willAppear", "didAppear"}));

    // A second presentation from the root stacks on top instead of being lost.
    AlertController* first = AlertController::okAlert("One", "first");
    AlertController* second = AlertController::okAlert("Two", "second");
    root->presentViewController(first, false);
    root->presentViewController(second, false);
    EXPECT_EQ(cover->presentedViewController(), first);
    EXPECT_EQ(first->presentedViewController(), second);
    EXPECT_EQ(Navigation::shared().topPresentedViewController(), second);

    // Dismissing the cover takes everything above it along.
    root->calls.clear();
    bool dismissed = false;
    QPointer<ViewController> watched(first);
    cover->dismissViewController(true, [&] { dismissed = true; });
    EXPECT_TRUE(dismissed);
    EXPECT_EQ(cover->presentedViewController(), nullptr) << "the cover presented the alerts";
    root->dismissViewController(true);
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(Navigation::shared().topPresentedViewController(), root);
    EXPECT_EQ(root->calls, (QStringList{"willAppear", "didAppear"}));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(watched.isNull()) << "a dismissed screen it adopted is released";
}

TEST(Navigation, ChangesTheRootOnlyWhenThereIsAWindow) {
    auto* stranger = new RecordingController;
    bool called = false;
    Navigation::shared().changeRootViewController(stranger, Navigation::kTransitionCrossDissolve,
                                                  0.3, [&] { called = true; });
    EXPECT_FALSE(called) << "no key window: nothing happens, not even the completion";
    EXPECT_EQ(Navigation::shared().rootViewController(), nullptr);
    delete stranger;

    auto* first = new RecordingController;
    Navigation::shared().makeKeyAndVisible(first);
    auto* next = new RecordingController;
    QSignalSpy rootChanged(&Navigation::shared(), &Navigation::rootViewControllerChanged);
    Navigation::shared().changeRootViewController(next, Navigation::kTransitionCrossDissolve, 0.3,
                                                  [&] { called = true; });
    EXPECT_TRUE(called);
    EXPECT_EQ(rootChanged.count(), 1);
    EXPECT_EQ(Navigation::shared().rootViewController(), next);
    EXPECT_TRUE(first->calls.endsWith("didDisappear"));
    EXPECT_TRUE(next->calls.endsWith("didAppear"));
}

TEST(Navigation, NavigationControllerPushesPopsAndKeepsItsFirstScreen) {
    auto* first = new RecordingController;
    first->setTitle("Artists");
    NavigationController stack(first);
    stack.loadViewIfNeeded();
    EXPECT_EQ(first->calls, (QStringList{"load"}));
    EXPECT_EQ(first->navigationController(), &stack);

    auto* pushed = new RecordingController;
    QSignalSpy pushes(&stack, &NavigationController::pushRequested);
    stack.pushViewController(pushed, true);
    EXPECT_EQ(pushes.count(), 1);
    EXPECT_EQ(stack.topViewController(), pushed);
    EXPECT_EQ(stack.depth(), 2);

    EXPECT_EQ(stack.popViewControllerAnimated(true), pushed);
    EXPECT_EQ(stack.popViewControllerAnimated(true), nullptr) << "the first screen stays";
    EXPECT_EQ(stack.topViewController(), first);
}

TEST(Navigation, BundlesOpenByNameAndAnUnbuiltOneOpensAPlainPage) {
    Storyboard::unregisterAll();
    Storyboard::registerBundle("Player", {[] { return new RecordingController; }, {}});
    ViewController* player =
        Storyboard::storyboardWithName("Player").instantiateInitialViewController();
    ASSERT_NE(player, nullptr);
    EXPECT_EQ(qobject_cast<PlaceholderViewController*>(player), nullptr);
    ViewController* other =
        Storyboard::storyboardWithName("Player").instantiateInitialViewController();
    EXPECT_NE(player, other) << "a fresh screen each time";

    std::unique_ptr<ViewController> cloud(
        Storyboard::storyboardWithName("Cloud").instantiateInitialViewController());
    auto* page = qobject_cast<PlaceholderViewController*>(cloud.get());
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->bundleName(), "Cloud");
    std::unique_ptr<ViewController> download(
        Storyboard::storyboardWithName("Download")
            .instantiateViewControllerWithIdentifier("download"));
    EXPECT_NE(qobject_cast<PlaceholderViewController*>(download.get()), nullptr);
    delete player;
    delete other;
}

TEST(Navigation, AlertChoosesOnceAndHandlersStillReadTheTextField) {
    auto* root = new ViewController;
    Navigation::shared().makeKeyAndVisible(root);
    auto* alert = new AlertController("new_playlist", "", AlertController::Style::alert);
    alert->addTextField([](AlertTextField& field) { field.setText("Road trip"); });
    QStringList heard;
    alert->addAction({"Cancel", AlertController::ActionStyle::cancel,
                      [&](AlertController&) { heard << "cancel"; }});
    alert->addAction({"Create", AlertController::ActionStyle::defaultStyle,
                      [&](AlertController& a) { heard << a.firstTextField()->text(); }});
    root->presentViewController(alert, true);
    EXPECT_EQ(alert->defaultActionIndex(), 1);
    EXPECT_EQ(alert->cancelActionIndex(), 0);
    alert->firstTextField()->setText("Road trip\n2");
    alert->didPressEnter();
    alert->didPressEscape();
    EXPECT_EQ(heard, (QStringList{"Road trip\n2"})) << "one choice per alert";
    EXPECT_EQ(root->presentedViewController(), nullptr);
}

TEST(Navigation, ASecondDismissalWhileTheFirstRunsIsRefused) {
    Navigation& navigation = Navigation::shared();
    auto* root = new RecordingController;
    navigation.makeKeyAndVisible(root);
    navigation.attachWindow();
    QSignalSpy requests(&navigation, &Navigation::dismissRequested);
    // The window ends every presentation at once.
    QObject::connect(&navigation, &Navigation::presentRequested, &navigation,
                     [&](ViewController*, ViewController*, int, bool, int requestId) {
                         navigation.transitionFinished(requestId);
                     });
    auto* sheet = new RecordingController;
    root->presentViewController(sheet, false);
    const auto finishAll = [&] {
        for (const QList<QVariant>& request : std::as_const(requests)) {
            navigation.transitionFinished(request.at(2).toInt());
        }
        requests.clear();
    };
    sheet->calls.clear();

    int completions = 0;
    sheet->dismissViewController(true, [&] { ++completions; });
    sheet->dismissViewController(true, [&] { ++completions; });
    EXPECT_EQ(requests.size(), 1) << "one animation out";
    finishAll();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(sheet->calls, (QStringList{"willDisappear", "didDisappear"}));
    EXPECT_EQ(root->presentedViewController(), nullptr);

    // Once gone, a new sheet dismisses as usual.
    auto* next = new RecordingController;
    root->presentViewController(next, false);
    next->dismissViewController(true, [&] { ++completions; });
    finishAll();
    EXPECT_EQ(completions, 2);
    navigation.detachWindow();
}
