#include <gtest/gtest.h>

#include <QSignalSpy>

#include "Bundles.h"
#include "Navigation.h"
#include "Storyboard.h"
#include "TextViewController.h"
#include "UserDefaults.h"

namespace {

const QString kKey = QStringLiteral("BUTTON_CLICKED");

// A page as the side menu's link makes it: by its bundle.
TextViewController* makePage() {
    static const bool registered = [] {
        registerBundles();
        return true;
    }();
    Q_UNUSED(registered);
    return qobject_cast<TextViewController*>(
        Storyboard::storyboardWithName(QStringLiteral("Text")).instantiateInitialViewController());
}

TextViewController* openPage() {
    TextViewController* page = makePage();
    if (page != nullptr) {
        page->loadViewIfNeeded();
    }
    return page;
}

}  // namespace

TEST(TextPage, LoadsOnlyAStoredStringThatIsAnAddress) {
    struct Case {
        const char* what;
        QVariant stored;  // invalid: nothing stored
        QUrl expected;    // empty: nothing is loaded
    };
    const Case cases[] = {
        {"nothing stored", QVariant(), QUrl()},
        {"an empty string", QString(), QUrl()},
        {"a host with a space", QString("https://corvantis.exa mple/privacy/"), QUrl()},
        {"an unclosed host", QString("https://[::1/terms/"), QUrl()},
        {"words", QString("privacy and terms"), QUrl()},
        {"a number, not a string", 42, QUrl()},
        {"the privacy page", QString("https://corvantis.example/privacy/"),
         QUrl("https://corvantis.example/privacy/")},
        {"the terms page on a port", QString("http://127.0.0.1:8080/terms/"),
         QUrl("http://127.0.0.1:8080/terms/")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        if (c.stored.isValid()) {
            UserDefaults::standard().setObject(c.stored, kKey);
        } else {
            UserDefaults::standard().removeObjectForKey(kKey);
        }
        std::unique_ptr<TextViewController> page(openPage());
        ASSERT_NE(page, nullptr) << "the \"Text\" bundle makes the web page screen";
        EXPECT_EQ(page->requestedUrl(), c.expected);
        // Every load asks for the same time-out and the protocol's caching.
        EXPECT_EQ(page->timeoutMs(), 60000);
        EXPECT_EQ(page->cachePolicy(), 0);
    }
}

TEST(TextPage, ReadsTheAddressWhenItsViewLoadsAndKeepsIt) {
    UserDefaults::standard().setString(QStringLiteral("https://corvantis.example/privacy/"), kKey);
    std::unique_ptr<TextViewController> privacy(openPage());
    ASSERT_NE(privacy, nullptr);

    // The menu writes before the next page's view loads; a page that is
    // already up keeps what it showed.
    UserDefaults::standard().setString(QStringLiteral("https://corvantis.example/terms/"), kKey);
    std::unique_ptr<TextViewController> terms(makePage());
    ASSERT_NE(terms, nullptr);
    QSignalSpy asked(terms.get(), &TextViewController::loadRequested);
    EXPECT_TRUE(terms->requestedUrl().isEmpty()) << "nothing is read before the view loads";
    terms->loadViewIfNeeded();
    terms->loadViewIfNeeded();
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked.first().first().toUrl(), QUrl("https://corvantis.example/terms/"));
    EXPECT_EQ(privacy->requestedUrl(), QUrl("https://corvantis.example/privacy/"));
}

TEST(TextPage, DoneDismissesThePageAnimated) {
    auto* root = new ViewController;
    Navigation::shared().makeKeyAndVisible(root);
    TextViewController* page = openPage();
    ASSERT_NE(page, nullptr);
    // Stand in for the window, so that the dismissal's animation is visible.
    Navigation::shared().attachWindow();
    QSignalSpy shown(&Navigation::shared(), &Navigation::presentRequested);
    QSignalSpy dismissed(&Navigation::shared(), &Navigation::dismissRequested);
    root->presentViewController(page, true);
    ASSERT_EQ(shown.size(), 1);
    Navigation::shared().transitionFinished(shown.first().at(4).toInt());

    page->didClickDone();
    ASSERT_EQ(dismissed.size(), 1);
    EXPECT_EQ(dismissed.first().at(0).value<ViewController*>(), page);
    EXPECT_TRUE(dismissed.first().at(1).toBool()) << "animated";
    Navigation::shared().transitionFinished(dismissed.first().at(2).toInt());
    EXPECT_EQ(root->presentedViewController(), nullptr);
    Navigation::shared().detachWindow();
}
