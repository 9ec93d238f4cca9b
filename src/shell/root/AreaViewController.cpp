#include "AreaViewController.h"

#include "Localization.h"
#include "ShellColors.h"

AreaViewController::AreaViewController(QObject* parent) : ContainerViewController(parent) {
    m_tabBar.didSelectItem = [this](TabBar&, TabBarItem* item) { selectTab(item); };
}

void AreaViewController::viewDidLoad() {
    ContainerViewController::viewDidLoad();
    setUpTabBar();
}

void AreaViewController::setUpTabBar() {
    QList<TabBarItem*> items;
    for (const char* key : tabKeys()) {
        items.append(new TabBarItem(Localization::text(key).toUpper(), 0, &m_tabBar));
    }
    m_tabBar.setItems(items);
    m_tabBar.itemAppearance = TabBar::ItemAppearance::titles;
    m_tabBar.setColors(Qt::black, ShellColors::accentColor(), ShellColors::lightGray(),
                       ShellColors::accentColor());
    m_tabBar.alignment = TabBar::Alignment::justified;
}

ViewController* AreaViewController::child(Tab tab) {
    if (!m_children[tab]) {
        ViewController* made = makeChild(tab);
        if (made == nullptr) {
            qFatal("An area's list could not be made");
        }
        // Kept for the life of the area, on show or not.
        made->setParent(this);
        m_children[tab] = made;
    }
    return m_children[tab];
}

void AreaViewController::selectTab(TabBarItem* item) {
    const qsizetype index = m_tabBar.items().indexOf(item);
    Tab tab = tracks;
    if (index == artists || index == albums || index == playlists) {
        tab = static_cast<Tab>(index);
    }
    ViewController* chosen = child(tab);
    if (visibleViewController() != chosen) {
        showChild(chosen, std::nullopt);
    }
    didSelectChild(chosen);
}
