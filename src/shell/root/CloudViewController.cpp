#include "CloudViewController.h"

#include "ImageCatalog.h"
#include "Storyboard.h"

namespace {

const char* bundleOf(AreaViewController::Tab tab) {
    switch (tab) {
        case AreaViewController::artists:
            return "Artists";
        case AreaViewController::albums:
            return "Albums";
        case AreaViewController::playlists:
            return "Playlists";
        case AreaViewController::tracks:
            break;
    }
    return "Tracks";
}

}  // namespace

CloudViewController::CloudViewController(QObject* parent) : AreaViewController(parent) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/CloudView.qml")));
}

std::array<const char*, 4> CloudViewController::tabKeys() const {
    return {"tracks", "Artists", "Albums", "playlists"};
}

ViewController* CloudViewController::makeChild(Tab tab) {
    return Storyboard::storyboardWithName(QString::fromLatin1(bundleOf(tab)))
        .instantiateInitialViewController();
}

void CloudViewController::viewDidLoad() {
    AreaViewController::viewDidLoad();
    TabBar& bar = *tabBar();
    TabBarItem* first = bar.items().value(0);
    bar.setSelectedItem(first);
    selectTab(first);
    if (!ImageCatalog::contains(addButtonImage())) {
        qFatal("The add button's image \"AddBtn\" is missing");
    }
    m_addButtonHidden = false;
    emit addButtonChanged();
}

void CloudViewController::didSelectChild(ViewController* child) {
    if (!m_addButtonHidden) {
        return;
    }
    // Through the getter: the first change of tab makes the playlists list.
    const bool hidden = child == playlistsViewController();
    if (*m_addButtonHidden != hidden) {
        m_addButtonHidden = hidden;
        emit addButtonChanged();
    }
}

void CloudViewController::addButtonTapped() {
    ViewController* download =
        Storyboard::storyboardWithName(QStringLiteral("Download"))
            .instantiateViewControllerWithIdentifier(QStringLiteral("download"));
    download->setModalPresentationStyle(ModalPresentationStyle::fullScreen);
    presentViewController(download, true);
}
