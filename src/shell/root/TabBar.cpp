#include "TabBar.h"

void TabBar::setItems(const QList<TabBarItem*>& items) {
    for (TabBarItem* item : items) {
        if (item->parent() == nullptr) {
            item->setParent(this);
        }
    }
    m_items = items;
    emit itemsChanged();
    if (m_selectedItem && !m_items.contains(m_selectedItem.data())) {
        setSelectedItem(nullptr);
    }
}

void TabBar::setSelectedItem(TabBarItem* item) {
    if (m_selectedItem == item) {
        return;
    }
    m_selectedItem = item;
    emit selectedItemChanged();
}

int TabBar::selectedIndex() const {
    return m_selectedItem ? static_cast<int>(m_items.indexOf(m_selectedItem.data())) : -1;
}

void TabBar::setColors(const QColor& bar, const QColor& selected, const QColor& unselected,
                       const QColor& tint) {
    m_barTintColor = bar;
    m_selectedItemTintColor = selected;
    m_unselectedItemTintColor = unselected;
    m_tintColor = tint;
}

void TabBar::userSelected(int index) {
    if (index < 0 || index >= m_items.size()) {
        return;
    }
    TabBarItem* item = m_items[index];
    setSelectedItem(item);
    if (didSelectItem) {
        didSelectItem(*this, item);
    }
}
