#include <gtest/gtest.h>

#include <thread>

#include "Bundles.h"
#include "CloudViewController.h"
#include "Containment.h"
#include "DialogViewController.h"
#include "DrawerController.h"
#include "DrawerMenuController.h"
#include "Localization.h"
#include "Log.h"
#include "MediaLibraryManager.h"
#include "MediaLibraryViewController.h"
#include "Navigation.h"
#include "NavigationController.h"
#include "NotificationCenter.h"
#include "ReviewPrompt.h"
#include "RootViewController.h"
#include "ShellColors.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

class CountingReviewPrompt : public ReviewPrompt {
public:
    int requests = 0;
    void requestReview() override { ++requests; }
};

// The main interface as the launch makes it, on a window-less navigation.
struct MainInterface {
    DrawerController* drawer = nullptr;
    RootViewController* root = nullptr;

    // A later start unless told: the first-run dialog is behind it.
    explicit MainInterface(bool firstRun = false) {
        if (!firstRun) {
            UserDefaults::standard().setBool(true, RootViewController::kDidShowPrivacyDialogKey);
        }
        registerBundles();
        ViewController* main =
            Storyboard::storyboardWithName("Main").instantiateInitialViewController();
        drawer = qobject_cast<DrawerController*>(main);
        root = drawer ? qobject_cast<RootViewController*>(drawer->mainViewController()) : nullptr;
        Navigation::shared().makeKeyAndVisible(main);
    }
    CloudViewController* cloud() const {
        return qobject_cast<CloudViewController*>(root->cloudViewController());
    }
    MediaLibraryViewController* library() const {
        return qobject_cast<MediaLibraryViewController*>(root->mediaLibraryViewController());
    }
};

// A library whose permission the test answers.
class ScriptedLibrarySource : public MediaLibrarySource {
public:
    MediaLibraryAuthorizationStatus status = MediaLibraryAuthorizationStatus::notDetermined;
    std::function<void(MediaLibraryAuthorizationStatus)> pending;
    int settingsOpened = 0;

    MediaLibraryAuthorizationStatus authorizationStatus() const override { return status; }
    void requestAuthorization(
        std::function<void(MediaLibraryAuthorizationStatus)> completion) override {
        pending = std::move(completion);
    }
    void openSettings() override { ++settingsOpened; }
    std::optional<QList<MediaItem>> songs() override { return QList<MediaItem>{}; }
    std::optional<QList<MediaPlaylist>> playlists() override { return QList<MediaPlaylist>{}; }
};

}  // namespace

TEST(RootNavigation, AreasAreMadeOnceAndTheVisibleOneIsLeftAloneWhenTappedAgain) {
    auto prompt = std::make_shared<CountingReviewPrompt>();
    ReviewPrompt::setCurrent(prompt);
    MainInterface ui;
    ASSERT_TRUE(ui.root);
    EXPECT_EQ(prompt->requests, 1) << "the root asks for a review as it is made";
    ReviewPrompt::setCurrent(nullptr);

    // The clouds area comes first, with its colours and its title in the bar
    // and in the window's title.
    ViewController* clouds = ui.root->visibleViewController();
    EXPECT_EQ(clouds, ui.root->cloudViewController());
    EXPECT_EQ(ui.root->barTitle(), Localization::text("clouds"));
    EXPECT_EQ(ui.drawer->title(), Localization::text("clouds"));
    EXPECT_EQ(ui.root->cloudsLabelColor(), ShellColors::accentColor());
    EXPECT_EQ(ui.root->mediaLibraryTintColor(), QColor(Qt::white));

    ui.root->didTapMediaLibrary();
    ViewController* library = ui.root->visibleViewController();
    EXPECT_EQ(library, ui.root->mediaLibraryViewController());
    EXPECT_EQ(ui.drawer->title(), Localization::text("media_library"));
    EXPECT_EQ(ui.root->mediaLibraryLabelColor(), ShellColors::accentColor());
    EXPECT_EQ(ui.root->mediaLibraryTintColor(), ShellColors::accentColor());
    EXPECT_EQ(ui.root->cloudsTintColor(), QColor(Qt::white));
    EXPECT_EQ(clouds->parentViewController(), nullptr) << "the old area left the container";
    EXPECT_EQ(library->parentViewController(), ui.root);

    // Tapping the area on show again touches neither title nor colours.
    ui.root->setTitle("Elsewhere");
    ui.root->didTapMediaLibrary();
    EXPECT_EQ(ui.root->barTitle(), "Elsewhere");

    // Back: the very same area, which kept its state.
    ui.root->didTapCloud();
    EXPECT_EQ(ui.root->visibleViewController(), clouds);
    EXPECT_EQ(ui.root->barTitle(), Localization::text("clouds"));
    EXPECT_EQ(ui.root->cloudsLabelColor(), ShellColors::accentColor());
}

TEST(RootNavigation, CloudTabsPickTheirListAndRecomputeTheAddButtonEveryTime) {
    MainInterface ui;
    CloudViewController* cloud = ui.cloud();
    ASSERT_TRUE(cloud);
    TabBar& bar = *cloud->tabBar();
    ASSERT_EQ(bar.items().size(), 4);
    const QStringList titles{bar.items()[0]->title(), bar.items()[1]->title(),
                             bar.items()[2]->title(), bar.items()[3]->title()};
    EXPECT_EQ(titles, (QStringList{Localization::text("tracks").toUpper(),
                                   Localization::text("Artists").toUpper(),
                                   Localization::text("Albums").toUpper(),
                                   Localization::text("playlists").toUpper()}));
    EXPECT_EQ(bar.selectedItem(), bar.items()[0]);
    EXPECT_EQ(cloud->visibleViewController(), cloud->tracksViewController());
    EXPECT_TRUE(cloud->hasAddButton());
    EXPECT_FALSE(cloud->isAddButtonHidden());
    EXPECT_FALSE(cloud->hasChild(AreaViewController::playlists))
        << "the first selection comes before the button, so nothing asks for playlists";

    TabBarItem stranger("elsewhere", 0);
    struct Step {
        TabBarItem* item;
        ViewController* (CloudViewController::*child)();
        bool hidden;
    };
    const std::vector<Step> steps{
        {bar.items()[1], &CloudViewController::artistsViewController, false},
        {bar.items()[3], &CloudViewController::playlistsViewController, true},
        {bar.items()[3], &CloudViewController::playlistsViewController, true},
        {bar.items()[2], &CloudViewController::albumsViewController, false},
        {&stranger, &CloudViewController::tracksViewController, false},
        {nullptr, &CloudViewController::tracksViewController, false},
    };
    ViewController* artists = nullptr;
    for (const Step& step : steps) {
        bar.userSelected(static_cast<int>(bar.items().indexOf(step.item)));
        if (!bar.items().contains(step.item)) {
            cloud->selectTab(step.item);
        }
        EXPECT_EQ(cloud->visibleViewController(), (cloud->*step.child)());
        EXPECT_EQ(cloud->isAddButtonHidden(), step.hidden);
        if (step.item == bar.items()[1]) {
            artists = cloud->visibleViewController();
            EXPECT_TRUE(cloud->hasChild(AreaViewController::playlists))
                << "the button's check goes through the lazy getter";
        }
    }
    // Lists are made once and kept.
    cloud->selectTab(bar.items()[1]);
    EXPECT_EQ(cloud->visibleViewController(), artists);
    EXPECT_EQ(cloud->childViewControllers(), QList<ViewController*>{artists});
}

TEST(RootNavigation, TheAddButtonOpensTheImportScreenAndTheTuneButtonAFreshPlayer) {
    MainInterface ui;
    ui.cloud()->addButtonTapped();
    ViewController* download = ui.cloud()->presentedViewController();
    ASSERT_TRUE(download);
    EXPECT_EQ(download->modalPresentationStyle(), ModalPresentationStyle::fullScreen);
    download->dismissViewController(false);

    ui.root->didClickPlayer();
    QPointer<ViewController> first = ui.root->presentedViewController();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->modalPresentationStyle(), ModalPresentationStyle::overFullScreen);
    first->dismissViewController(false);
    ui.root->didClickPlayer();
    EXPECT_NE(ui.root->presentedViewController(), first.data());
}

TEST(RootNavigation, TheLibraryAreaShowsNothingUntilLinkedAndARefusalChangesNothing) {
    auto source = std::make_shared<ScriptedLibrarySource>();
    MediaLibraryManager library(source);
    // The artists list comes in a stack, as the list screens' bundles make it.
    registerBundles();
    ViewController* artistsList = nullptr;
    Storyboard::registerBundle(
        "Artists", {[&] {
                        artistsList = new ViewController;
                        return static_cast<ViewController*>(new NavigationController(artistsList));
                    },
                    {}});
    MediaLibraryViewController area;
    area.setLibrary(&library);
    area.loadViewIfNeeded();
    area.viewWillAppear(false);
    settle();
    EXPECT_EQ(area.visibleViewController(), nullptr);
    EXPECT_EQ(area.tabBar()->selectedItem(), nullptr);
    EXPECT_EQ(area.tabBar()->items()[1]->title(), Localization::text("artists").toUpper());
    EXPECT_FALSE(area.isAuthorizationViewHidden());

    area.didClickLinkLibrary();
    ASSERT_TRUE(source->pending);
    source->pending(MediaLibraryAuthorizationStatus::denied);
    settle();
    EXPECT_FALSE(area.isAuthorizationViewHidden());
    EXPECT_EQ(area.visibleViewController(), nullptr);
    EXPECT_EQ(area.presentedViewController(), nullptr) << "a refusal says nothing";

    // Later requests go to the settings and never answer; access given there
    // shows at the next appearance, always on a later turn of the loop.
    area.didClickLinkLibrary();
    EXPECT_EQ(source->settingsOpened, 1);
    source->status = MediaLibraryAuthorizationStatus::authorized;
    area.viewWillAppear(false);
    EXPECT_FALSE(area.isAuthorizationViewHidden());
    EXPECT_TRUE(waitUntil([&] { return area.isAuthorizationViewHidden(); }));
    ViewController* tracks = area.visibleViewController();
    EXPECT_EQ(tracks, area.tracksViewController());
    EXPECT_EQ(tracks->property("mediaLibrary"), QVariant(true));
    EXPECT_EQ(area.tabBar()->selectedItem(), nullptr) << "linking selects no item";

    area.tabBar()->userSelected(1);
    EXPECT_TRUE(qobject_cast<NavigationController*>(area.visibleViewController()));
    ASSERT_TRUE(artistsList);
    EXPECT_EQ(artistsList->property("mediaLibrary"), QVariant(true));

    // Linking again keeps the tab the user chose.
    area.showLinkedLibrary();
    settle();
    EXPECT_EQ(area.visibleViewController(), area.artistsViewController());
}

TEST(RootNavigation, AGrantFromAnyThreadLinksOnTheMainOne) {
    auto source = std::make_shared<ScriptedLibrarySource>();
    MediaLibraryManager library(source);
    registerBundles();
    MediaLibraryViewController area;
    area.setLibrary(&library);
    area.loadViewIfNeeded();
    area.didClickLinkLibrary();
    ASSERT_TRUE(source->pending);
    std::thread answer([&] { source->pending(MediaLibraryAuthorizationStatus::authorized); });
    answer.join();
    EXPECT_FALSE(area.isAuthorizationViewHidden());
    EXPECT_TRUE(waitUntil([&] { return area.visibleViewController() != nullptr; }));
    EXPECT_TRUE(area.isAuthorizationViewHidden());
}

TEST(RootNavigation, OnlyABoolUnderIsPlayingMovesTheTuneButton) {
    MainInterface ui;
    LogCapture log;
    EXPECT_EQ(ui.root->musicTunesImage(), "wave");
    struct Case {
        QVariantMap userInfo;
        bool playing;
        QString image;
    };
    const std::vector<Case> cases{
        {{{"isPlaying", true}}, true, "wave_1x"},
        {{{"isPlaying", "false"}}, true, "wave_1x"},
        {{{"isPlaying", 0}}, true, "wave_1x"},
        {{{"playing", false}}, true, "wave_1x"},
        {{}, true, "wave_1x"},
        {{{"isPlaying", false}}, false, "wave"},
    };
    for (const Case& c : cases) {
        NotificationCenter::defaultCenter().post("isPlaying", nullptr, c.userInfo);
        EXPECT_EQ(ui.root->isMusicPlaying(), c.playing) << c.userInfo.keys().value(0).toStdString();
        EXPECT_EQ(ui.root->musicTunesImage(), c.image);
    }
    EXPECT_EQ(log.lines(), (QStringList{"music true", "music false"}));
}

TEST(RootNavigation, TheFirstRunDialogShowsOnceWithTheKeyWrittenAsItShows) {
    EXPECT_FALSE(UserDefaults::standard().boolForKey("DidShowPrivacyDialogKey"));
    MainInterface ui(true);
    auto* dialog = qobject_cast<DialogViewController*>(ui.root->presentedViewController());
    ASSERT_TRUE(dialog);
    EXPECT_TRUE(UserDefaults::standard().boolForKey("DidShowPrivacyDialogKey"));
    EXPECT_EQ(dialog->title(), Localization::text("tutorial_title"));
    EXPECT_EQ(dialog->attributedMessage(), Localization::text("tutorial_description"));
    EXPECT_TRUE(dialog->message().isNull());
    EXPECT_EQ(dialog->fontName(), "AvenirNext-Medium");
    EXPECT_EQ(dialog->fontNameBold(), "AvenirNext-Bold");
    EXPECT_EQ(dialog->spacing(), 10);
    EXPECT_EQ(dialog->sideSpacing(), 20);
    EXPECT_EQ(dialog->titleFontSize(), 20);
    EXPECT_EQ(dialog->messageFontSize(), 16);
    EXPECT_EQ(dialog->buttonHeight(), 45);
    EXPECT_EQ(dialog->widthRatio(), 0.8);
    EXPECT_EQ(dialog->titleColor(), QColor(Qt::black));
    EXPECT_NEAR(dialog->messageColor().alphaF(), 0.7, 0.01);
    EXPECT_FALSE(dialog->blurBackground);
    EXPECT_FALSE(dialog->showSeparator);
    ASSERT_EQ(dialog->buttons().size(), 1);
    const DialogButtonLook look = dialog->buttons()[0].look;
    EXPECT_EQ(look.title, Localization::text("OK"));
    EXPECT_EQ(look.backgroundColor, ShellColors::buttonColor());
    EXPECT_EQ(look.borderColor, look.backgroundColor);
    EXPECT_EQ(look.cornerRadius, 8);

    // Its one button takes it away; a new root of a later start shows none.
    dialog->handleAction(0);
    EXPECT_EQ(ui.root->presentedViewController(), nullptr);
    MainInterface again(true);
    EXPECT_EQ(again.root->presentedViewController(), nullptr);
}

TEST(RootNavigation, TheDrawerIsFoundFromEveryScreenBelowIt) {
    MainInterface ui;
    auto* menu = qobject_cast<DrawerMenuController*>(ui.drawer->drawerViewController());
    EXPECT_EQ(findDrawerController(*menu), ui.drawer);
    EXPECT_EQ(findDrawerController(*ui.cloud()->tracksViewController()), ui.drawer);
    auto* stacked = new ViewController;
    NavigationController stack(stacked);
    ui.cloud()->addChildViewController(&stack);
    EXPECT_EQ(findDrawerController(*stacked), ui.drawer);
    stack.removeFromParentViewController();
    EXPECT_EQ(findDrawerController(*stacked), nullptr);

    ui.root->didClickMenu();
    EXPECT_EQ(ui.drawer->drawerState(), DrawerController::DrawerState::opened);
    menu->didClickMenu();
    EXPECT_EQ(ui.drawer->drawerState(), DrawerController::DrawerState::closed);
}
