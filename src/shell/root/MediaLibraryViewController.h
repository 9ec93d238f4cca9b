#pragma once

#include <QPointer>

#include "AreaViewController.h"

class MediaLibraryManager;

// The user's music library: the same four lists over the library, behind a
// panel that asks to link it until the user has allowed access. Nothing is
// selected before that.
class MediaLibraryViewController : public AreaViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Media Library\" bundle")
    Q_PROPERTY(bool authorizationViewHidden READ isAuthorizationViewHidden NOTIFY
                   authorizationViewHiddenChanged)

public:
    // Posted when access was granted outside the linking panel (the access
    // settings), so that an area on show links at once.
    static constexpr auto kAuthorizationChangedNotification = "MediaLibraryAuthorizationChanged";

    explicit MediaLibraryViewController(QObject* parent = nullptr);
    // The library asked and read; the shared one unless a test gives its own.
    void setLibrary(MediaLibraryManager* library) { m_library = library; }

    bool isAuthorizationViewHidden() const { return m_authorizationViewHidden; }

    Q_INVOKABLE void didClickLinkLibrary();
    // Hides the panel and shows the first tab, always on a later turn of the
    // main loop, whichever thread asks.
    void showLinkedLibrary();

    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;

signals:
    void authorizationViewHiddenChanged();

protected:
    std::array<const char*, 4> tabKeys() const override;
    ViewController* makeChild(Tab tab) override;

private:
    static void scheduleLinkedLibrary(QPointer<MediaLibraryViewController> self);
    MediaLibraryManager& library() const;
    bool isAuthorized() const;

    MediaLibraryManager* m_library = nullptr;
    bool m_authorizationViewHidden = false;
};
