#pragma once

#include <QList>
#include <QString>
#include <algorithm>
#include <functional>
#include <optional>
#include <tuple>
#include <type_traits>

#include "Album.h"
#include "TextOrder.h"
#include "Track.h"

// The last chosen order of a sortable list.
enum class SORT_TYPE { ASC = 0, DESC = 1, NORMAL = 2 };

enum class SortButton { asc, desc, normal };

// Whether `text` holds `part` as it stands (both already lower-cased). Titles
// are short, where a scan for the first letter beats a general substring
// search; a search runs over every title at each keystroke.
bool containsText(QStringView text, QStringView part);

// By album track number, an absent number counting as 0; stable.
QList<TrackPtr> sortedByTrackNumber(QList<TrackPtr> tracks);
// By lower-cased file name; stable. `ties`, when given, tells whether two
// tracks had the same key, where the order given decided.
QList<TrackPtr> sortedByFileName(QList<TrackPtr> tracks, bool* ties = nullptr);

// How a list compares, orders and searches its elements. Tracks are held by
// shared reference and compared by value.
template <typename T>
struct SortableTraits {
    static bool equal(const T& a, const T& b) { return a == b; }
    // The text whose order, reversed, is the element's operator<.
    static QString orderText(const T& item) { return item.orderText(); }
    // The field the element's matches() searches; lists lower-case it once.
    static const QString& searchField(const T& item) { return item.name; }
};

template <>
struct SortableTraits<TrackPtr> {
    static bool equal(const TrackPtr& a, const TrackPtr& b) { return a == b || *a == *b; }
    static QString orderText(const TrackPtr& item) { return item->sortKey(); }
    static const QString& searchField(const TrackPtr& item) { return item->title; }
};

// The stable order of the elements' operator<, with each key normalised once
// and the sort moving small pairs: comparing elements directly reaches into
// both elements and normalises both keys on every comparison.
template <typename T>
void sortByOrder(QList<T>& items) {
    QList<std::pair<QString, qsizetype>> keyed;
    keyed.reserve(items.size());
    for (qsizetype i = 0; i < items.size(); ++i) {
        keyed.append({normalizedForOrder(SortableTraits<T>::orderText(items.at(i))), i});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        return compareNormalized(b.first, a.first) < 0;
    });
    QList<T> sorted;
    sorted.reserve(items.size());
    for (const auto& [key, index] : std::as_const(keyed)) {
        sorted.append(std::move(items[index]));
    }
    items = std::move(sorted);
}

// The state behind a list screen with a search field and three sort buttons:
// what there is (`items`), what is shown (`filteredItems`), and how they
// relate. The element orders run against the natural direction of their keys,
// so an ascending sort is a sort followed by a reversal. A screen listens to
// the two reload hooks; without them nothing is reloaded, but the arrays are
// kept up to date all the same.
template <typename T>
class SortableList {
public:
    virtual ~SortableList() = default;

    std::function<void()> reloadSection;  // "reload section 0"
    std::function<void()> reloadData;     // "reload data"

    const QList<T>& items() const { return m_items; }
    const QList<T>& filteredItems() const { return m_filteredItems; }
    SORT_TYPE sortType() const { return m_sortType; }
    bool isActionFromSortingButton() const { return m_isActionFromSortingButton; }
    // The button drawn as active (light grey); the others are dark grey.
    std::optional<SortButton> highlightedButton() const { return m_highlightedButton; }

    // Every change of `items` is followed by a refilter.
    void setItems(QList<T> items) {
        m_items = std::move(items);
        itemsChanged();
        refilter();
    }
    template <typename Change>
    void changeItems(Change&& change) {
        change(m_items);
        itemsChanged();
        refilter();
    }
    // A change that only moves elements around: what depends on the set of
    // elements alone, not their order, stays.
    template <typename Change>
    void reorderItems(Change&& change) {
        change(m_items);
        itemsReordered();
        refilter();
    }

    // Counts the changes of `items`, so that what is worked out from them
    // can be kept until the next; `setVersion` counts only those that
    // changed which elements there are.
    quint64 itemsVersion() const { return m_itemsVersion; }
    quint64 setVersion() const { return m_setVersion; }

    // Every element's search field, lower-cased, end to end, and where each
    // ends: what a search scans. Worked out from `items` on first need, or
    // handed in by whoever worked it out already (off the main thread).
    static std::pair<QString, QList<qsizetype>> searchTextOf(const QList<T>& items) {
        std::pair<QString, QList<qsizetype>> text;
        text.second.reserve(items.size());
        for (const T& item : items) {
            text.first.append(SortableTraits<T>::searchField(item).toLower());
            text.second.append(text.first.size());
        }
        return text;
    }
    // Takes `text` as the search text of `items` as they stand, unless the
    // sizes show it belongs to other items.
    void adoptSearchText(std::pair<QString, QList<qsizetype>> text) {
        if (text.second.size() == m_items.size() &&
            (text.second.isEmpty() || text.second.last() == text.first.size())) {
            m_searchCache = std::move(text.first);
            m_searchEnds = std::move(text.second);
        }
    }

    // The text in the search field; absent when there is no field or text.
    const std::optional<QString>& searchText() const { return m_searchText; }
    void setSearchText(std::optional<QString> text) { m_searchText = std::move(text); }

    // The field's text changed.
    void didChange(std::optional<QString> text) {
        m_searchText = text;
        filter(text.value_or(QString()));
    }

    void refilter() { filter(m_searchText.value_or(QString())); }

    // The screen appeared (again).
    void viewDidAppear() { m_isActionFromSortingButton = false; }

    virtual void filter(const QString& text) {
        if (!text.isEmpty()) {
            // What matches() does, with each field lower-cased once per change
            // of the items instead of once per keystroke.
            if (m_searchEnds.size() != m_items.size()) {
                std::tie(m_searchCache, m_searchEnds) = searchTextOf(m_items);
            }
            const QString lowered = text.toLower();
            QList<T> result;
            result.reserve(m_items.size());
            // One block of text read front to back instead of a string here
            // and there on the heap: the scan is what a keystroke costs.
            const QStringView cache(m_searchCache);
            qsizetype start = 0;
            for (qsizetype i = 0; i < m_items.size(); ++i) {
                const qsizetype end = m_searchEnds.at(i);
                if (containsText(cache.sliced(start, end - start), lowered)) {
                    result.append(m_items.at(i));
                }
                start = end;
            }
            if (sameElements(result, m_filteredItems)) {
                return;
            }
            m_filteredItems = std::move(result);
            reloadSection0();
            return;
        }
        if (m_sortType == SORT_TYPE::NORMAL) {
            m_filteredItems = normalItems();
            reloadSection0();
            return;
        }
        if (sameElements(m_items, m_filteredItems)) {
            return;
        }
        // After a load `items` runs low to high whatever the button says; only
        // a list the button itself just sorted already runs high to low.
        if (!m_isActionFromSortingButton && m_sortType == SORT_TYPE::DESC) {
            m_filteredItems = reversed(m_items);
        } else {
            m_filteredItems = m_items;
        }
        reloadSection0();
    }

    virtual void didClickSort(SortButton button) {
        m_isActionFromSortingButton = true;
        switch (button) {
            case SortButton::asc:
                sortItems();
                refilter();
                std::reverse(m_items.begin(), m_items.end());
                itemsReordered();
                refilter();
                m_sortType = SORT_TYPE::ASC;
                showAllItems(button);
                break;
            case SortButton::desc:
                m_sortType = SORT_TYPE::DESC;
                sortItems();
                refilter();
                showAllItems(button);
                break;
            case SortButton::normal:
                m_sortType = SORT_TYPE::NORMAL;
                if constexpr (std::is_same_v<T, TrackPtr>) {
                    m_items = sortedByTrackNumber(m_items);
                    itemsReordered();
                    refilter();
                }
                m_highlightedButton = button;
                break;
        }
    }

    // The order shown under NORMAL with no search.
    virtual QList<T> normalItems() const { return m_items; }

protected:
    void reloadSection0() {
        if (reloadSection) {
            reloadSection();
        }
    }

    static QList<T> reversed(QList<T> list) {
        std::reverse(list.begin(), list.end());
        return list;
    }

private:
    static bool sameElements(const QList<T>& a, const QList<T>& b) {
        return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend(), SortableTraits<T>::equal);
    }

    void sortItems() {
        sortByOrder(m_items);
        itemsReordered();
    }

    void itemsChanged() {
        itemsReordered();
        ++m_setVersion;
    }
    void itemsReordered() {
        m_searchEnds.clear();
        ++m_itemsVersion;
    }

    // An active search is thrown away on the screen, though the text stays.
    void showAllItems(SortButton button) {
        m_highlightedButton = button;
        m_filteredItems = m_items;
        reloadSection0();
    }

    SORT_TYPE m_sortType = SORT_TYPE::NORMAL;
    bool m_isActionFromSortingButton = false;
    std::optional<SortButton> m_highlightedButton;
    std::optional<QString> m_searchText;
    QList<T> m_items;
    QList<T> m_filteredItems;
    // The lower-cased search field of each of `items`, by index; emptied by
    // every change of `items`. Fields of elements do not change in place.
    // Every element's search field, lower-cased, end to end; where each ends.
    QString m_searchCache;
    QList<qsizetype> m_searchEnds;
    quint64 m_itemsVersion = 0;
    quint64 m_setVersion = 0;
};

// The list of the Tracks screen: under NORMAL it shows library tracks by track
// number and files by lower-cased file name, leaving `items` as it is.
class TrackSortableList : public SortableList<TrackPtr> {
public:
    bool mediaLibrary = false;

    // The NORMAL order of `items`, off the main thread: what normalItems()
    // gives, and whether equal keys made it depend on the order of `items`.
    struct NormalOrder {
        QList<TrackPtr> tracks;
        bool ties = true;
    };
    static NormalOrder normalOrderOf(const QList<TrackPtr>& items, bool mediaLibrary) {
        if (mediaLibrary) {
            // Track numbers repeat across albums: always taken as tied.
            return {sortedByTrackNumber(items), true};
        }
        NormalOrder order;
        order.tracks = sortedByFileName(items, &order.ties);
        return order;
    }

    // Worked out once per change of `items`, and kept through changes that
    // only move them while no two keys are equal: clearing a search shows
    // it again, and sorting a large folder at each keystroke or each step
    // of a load is felt.
    QList<TrackPtr> normalItems() const override {
        const bool current = m_normal && m_normalForLibrary == mediaLibrary &&
                             (m_normalVersion == itemsVersion() ||
                              (m_normalSetVersion == setVersion() && !m_normal->ties));
        if (!current) {
            m_normal = normalOrderOf(items(), mediaLibrary);
            m_normalForLibrary = mediaLibrary;
        }
        m_normalVersion = itemsVersion();
        m_normalSetVersion = setVersion();
        return m_normal->tracks;
    }

    // `order` is the NORMAL order of what the next change of `items` leaves,
    // worked out beforehand.
    void expectNormalOrder(NormalOrder order) {
        m_normal = std::move(order);
        m_normalForLibrary = mediaLibrary;
        m_normalVersion = itemsVersion() + 1;
        m_normalSetVersion = setVersion() + 1;
    }

private:
    mutable std::optional<NormalOrder> m_normal;
    mutable quint64 m_normalVersion = 0;
    mutable quint64 m_normalSetVersion = 0;
    mutable bool m_normalForLibrary = false;
};

using AlbumSortableList = SortableList<Album>;
using ArtistSortableList = SortableList<Artist>;
