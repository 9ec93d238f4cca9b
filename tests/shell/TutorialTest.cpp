#include <gtest/gtest.h>

#include "AppDelegate.h"
#include "Navigation.h"
#include "ReviewPrompt.h"
#include "Storyboard.h"
#include "TutorialViewController.h"
#include "UserDefaults.h"

namespace {

class CountingReviewPrompt : public ReviewPrompt {
public:
    int requests = 0;
    void requestReview() override { ++requests; }
};

}  // namespace

TEST(Tutorial, TwoTapsEndItOnceWritingTheKeyOnlyAfterTheLastPage) {
    auto prompt = std::make_shared<CountingReviewPrompt>();
    ReviewPrompt::setCurrent(prompt);
    EXPECT_EQ(AppDelegate::initialBundleName(), "Tutorial");

    auto* tutorial = new TutorialViewController;
    Navigation::shared().makeKeyAndVisible(tutorial);
    EXPECT_EQ(tutorial->tutorialProgress(), 0);
    EXPECT_EQ(tutorial->image(), "Tutorial 1");
    EXPECT_FALSE(tutorial->showPage(2)) << "an index past the end changes nothing";
    EXPECT_FALSE(tutorial->showPage(-1));
    EXPECT_EQ(tutorial->image(), "Tutorial 1");

    tutorial->didClickContinue();
    EXPECT_EQ(tutorial->tutorialProgress(), 1);
    EXPECT_EQ(tutorial->image(), "Tutorial 2");
    EXPECT_FALSE(UserDefaults::standard().boolForKey("DidShowTutorial"));
    EXPECT_EQ(Navigation::shared().rootViewController(), tutorial);

    QPointer<TutorialViewController> watched(tutorial);
    tutorial->didClickContinue();
    EXPECT_TRUE(UserDefaults::standard().boolForKey("DidShowTutorial"));
    EXPECT_EQ(prompt->requests, 1);
    ViewController* main = Navigation::shared().rootViewController();
    EXPECT_NE(main, tutorial);
    // "Main" is not registered in this test: its plain page stands in.
    EXPECT_EQ(main->title(), "Main");

    // A tap that lands while the main interface fades in makes nothing new.
    if (watched) {
        watched->didClickContinue();
    }
    EXPECT_EQ(Navigation::shared().rootViewController(), main);
    EXPECT_EQ(prompt->requests, 1);
    EXPECT_EQ(AppDelegate::initialBundleName(), "Main");
    ReviewPrompt::setCurrent(nullptr);
}

TEST(Tutorial, PagesCarryTheirTextsAndImages) {
    TutorialViewController tutorial;
    ASSERT_EQ(tutorial.tutorialContent().size(), 2);
    for (const auto& page : tutorial.tutorialContent()) {
        EXPECT_FALSE(page.title.isEmpty());
        EXPECT_FALSE(page.content.isEmpty());
        EXPECT_NE(page.title, page.content);
    }
    EXPECT_EQ(tutorial.tutorialContent()[1].image, "Tutorial 2");
}
