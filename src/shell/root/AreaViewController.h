#pragma once

#include <QPointer>
#include <array>

#include "ContainerViewController.h"
#include "TabBar.h"

// One of the root's two areas: four tabs (tracks, artists, albums,
// playlists) over a container with the chosen list. Each list is made on
// first use and kept, so it keeps its scroll, search and sort across
// switches.
class AreaViewController : public ContainerViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a base of the two areas")
    Q_PROPERTY(TabBar* tabBar READ tabBar CONSTANT)

public:
    enum Tab { tracks = 0, artists = 1, albums = 2, playlists = 3 };

    explicit AreaViewController(QObject* parent = nullptr);

    TabBar* tabBar() { return &m_tabBar; }

    ViewController* tracksViewController() { return child(tracks); }
    ViewController* artistsViewController() { return child(artists); }
    ViewController* albumsViewController() { return child(albums); }
    ViewController* playlistsViewController() { return child(playlists); }
    // Whether the list of that tab was made yet (without making it).
    bool hasChild(Tab tab) const { return !m_children[tab].isNull(); }

    // Shows the child of `item`: tracks for the first item and for an item
    // that is not on this bar.
    void selectTab(TabBarItem* item);

    void viewDidLoad() override;

protected:
    // The localisation keys of the four tabs, in tab order.
    virtual std::array<const char*, 4> tabKeys() const = 0;
    // Makes the list of a tab, once.
    virtual ViewController* makeChild(Tab tab) = 0;
    // After every selectTab, with the child it chose.
    virtual void didSelectChild(ViewController*) {}

    ViewController* child(Tab tab);

private:
    void setUpTabBar();

    TabBar m_tabBar;
    std::array<QPointer<ViewController>, 4> m_children;
};
