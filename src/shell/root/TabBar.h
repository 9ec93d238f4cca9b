#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

// One item of a tab bar; items are told apart by identity, not by title.
class TabBarItem : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the areas")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(int tag READ tag CONSTANT)

public:
    TabBarItem(QString title, int tag, QObject* parent = nullptr)
        : QObject(parent), m_title(std::move(title)), m_tag(tag) {}

    QString title() const { return m_title; }
    int tag() const { return m_tag; }

private:
    QString m_title;
    int m_tag;
};

// A row of titled tabs with one selected item and a delegate told of each
// choice the user makes. Setting the selection in code tells nobody.
class TabBar : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the areas")
    Q_PROPERTY(QList<TabBarItem*> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(TabBarItem* selectedItem READ selectedItem NOTIFY selectedItemChanged)
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY selectedItemChanged)
    Q_PROPERTY(QColor barTintColor READ barTintColor CONSTANT)
    Q_PROPERTY(QColor selectedItemTintColor READ selectedItemTintColor CONSTANT)
    Q_PROPERTY(QColor unselectedItemTintColor READ unselectedItemTintColor CONSTANT)
    Q_PROPERTY(QColor tintColor READ tintColor CONSTANT)

public:
    enum class ItemAppearance { titles = 0, images = 1, titledImages = 2 };
    enum class Alignment { leading = 0, justified = 1, center = 2, centerSelected = 3 };

    explicit TabBar(QObject* parent = nullptr) : QObject(parent) {}

    QList<TabBarItem*> items() const { return m_items; }
    void setItems(const QList<TabBarItem*>& items);
    TabBarItem* selectedItem() const { return m_selectedItem; }
    void setSelectedItem(TabBarItem* item);
    int selectedIndex() const;

    ItemAppearance itemAppearance = ItemAppearance::titles;
    Alignment alignment = Alignment::justified;
    QColor barTintColor() const { return m_barTintColor; }
    QColor selectedItemTintColor() const { return m_selectedItemTintColor; }
    QColor unselectedItemTintColor() const { return m_unselectedItemTintColor; }
    QColor tintColor() const { return m_tintColor; }
    void setColors(const QColor& bar, const QColor& selected, const QColor& unselected,
                   const QColor& tint);

    // Told of every item the user picks, the selected one included.
    std::function<void(TabBar&, TabBarItem*)> didSelectItem;

    // A tap or a key on the item at `index`.
    Q_INVOKABLE void userSelected(int index);

signals:
    void itemsChanged();
    void selectedItemChanged();

private:
    QList<TabBarItem*> m_items;
    QPointer<TabBarItem> m_selectedItem;
    QColor m_barTintColor;
    QColor m_selectedItemTintColor;
    QColor m_unselectedItemTintColor;
    QColor m_tintColor;
};
