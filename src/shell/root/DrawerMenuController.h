#pragma once

#include <QString>
#include <QUrl>
#include <functional>
#include <optional>

#include "ViewController.h"

// The screen inside the drawer: a flat set of buttons, each one operation.
// Entries whose address is not configured are not shown.
class DrawerMenuController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Main\" bundle")
    Q_PROPERTY(qreal menuIconRotation READ menuIconRotation NOTIFY menuIconRotationChanged)
    Q_PROPERTY(bool feedbackShown READ isFeedbackShown NOTIFY configurationChanged)
    Q_PROPERTY(bool rateShown READ isRateShown NOTIFY configurationChanged)
    Q_PROPERTY(bool pagesShown READ arePagesShown NOTIFY configurationChanged)

public:
    // Settings with no default, each a plain string.
    static constexpr auto kFeedbackAddressKey = "FeedbackAddress";
    static constexpr auto kStoreHostKey = "StoreHost";
    static constexpr auto kStoreIdentifierKey = "StoreIdentifier";
    static constexpr auto kPagesHostKey = "PagesHost";
    static constexpr auto kPageAddressKey = "BUTTON_CLICKED";

    explicit DrawerMenuController(QObject* parent = nullptr);

    // In degrees for the view: a quarter turn against the clock once loaded.
    qreal menuIconRotation() const { return m_menuIconRotation; }

    bool isFeedbackShown() const { return feedbackAddress().has_value(); }
    bool isRateShown() const { return reviewAddress().has_value(); }
    bool arePagesShown() const { return pagesHost().has_value(); }

    // Whether the desktop has a program for mail links; by default asks
    // xdg-mime for the handler of "mailto".
    std::function<bool()> canSendMail;

    Q_INVOKABLE void didClickMenu();
    Q_INVOKABLE void didClickFeedback();
    Q_INVOKABLE void didClickRateUs();
    Q_INVOKABLE void didClickPrivacy();
    Q_INVOKABLE void didClickTerms();
    Q_INVOKABLE void didClickTutorial();
    Q_INVOKABLE void didClickSignOut();

    // The store's write-a-review page; nothing when it is not configured.
    static std::optional<QUrl> reviewAddress();
    static std::optional<QString> feedbackAddress();
    static std::optional<QString> pagesHost();
    static bool desktopHasMailHandler();

    void viewDidLoad() override;

signals:
    void menuIconRotationChanged();
    void configurationChanged();

private:
    void closeDrawer();
    void showPage(const QString& path);

    qreal m_menuIconRotation = 0;
};
