#pragma once

#include <QtQml/qqmlregistration.h>
#include <memory>
#include <type_traits>

#include "ItemListModel.h"
#include "SortableList.h"
#include "ViewController.h"

// What every searchable, sortable list screen shows its view: the rows, the
// search bar and the three sort buttons, and the gestures the view forwards.
// The rules live in SortableList; this side only connects them to a model.
class SortableViewControllerBase : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("a base of the list screens")
    Q_PROPERTY(ItemListModel* model READ model CONSTANT)
    Q_PROPERTY(bool mediaLibrary READ mediaLibrary WRITE setMediaLibrary NOTIFY mediaLibraryChanged)
    Q_PROPERTY(bool searchVisible READ searchVisible NOTIFY searchVisibleChanged)
    Q_PROPERTY(int sortType READ sortTypeValue NOTIFY sortChanged)
    // The button drawn as active (light grey): 0 ascending, 1 descending,
    // 2 none; -1 before any was tapped.
    Q_PROPERTY(int activeSortButton READ activeSortButton NOTIFY sortChanged)
    Q_PROPERTY(bool rowsEditable READ rowsEditable NOTIFY mediaLibraryChanged)
    // Where the list was, so that coming back to it finds the same rows.
    Q_PROPERTY(
        qreal savedContentY READ savedContentY WRITE setSavedContentY NOTIFY savedContentYChanged)

public:
    explicit SortableViewControllerBase(QObject* parent = nullptr);

    ItemListModel* model() const { return m_model; }

    bool mediaLibrary() const { return m_mediaLibrary; }
    virtual void setMediaLibrary(bool mediaLibrary);
    bool searchVisible() const { return m_searchVisible; }
    virtual bool rowsEditable() const { return false; }
    qreal savedContentY() const { return m_savedContentY; }
    void setSavedContentY(qreal y);

    virtual int sortTypeValue() const = 0;
    virtual int activeSortButton() const = 0;

    // The view's gestures.
    Q_INVOKABLE virtual void didChangeSearchText(const QString& text) = 0;
    Q_INVOKABLE virtual void didClickSort(int button) = 0;
    Q_INVOKABLE virtual void didSelectRow(int row) { Q_UNUSED(row); }
    // A swipe or the Delete key on a row; only editable rows reach here.
    Q_INVOKABLE virtual void commitDelete(int row) { Q_UNUSED(row); }

signals:
    void mediaLibraryChanged();
    void searchVisibleChanged();
    void sortChanged();
    void savedContentYChanged();

protected:
    void setSearchVisible(bool visible);
    void setModel(ItemListModel* model) { m_model = model; }

private:
    ItemListModel* m_model = nullptr;
    bool m_mediaLibrary = false;
    bool m_searchVisible = false;
    qreal m_savedContentY = 0;
};

// A list screen over elements of type T: `items` and `filteredItems` as the
// list keeps them, one model presenting `filteredItems`.
template <typename T, typename List = SortableList<T>>
class SortableViewController : public SortableViewControllerBase {
public:
    explicit SortableViewController(QHash<int, QByteArray> roles, QObject* parent = nullptr)
        : SortableViewControllerBase(parent), m_list(std::make_unique<List>()) {
        setModel(new ItemListModel(
            std::move(roles), [this] { return static_cast<int>(m_rows.size()); },
            [this](int row, int role) { return rowData(m_rows.at(row), row, role); },
            [this] { m_rows = m_list->filteredItems(); }, this));
        model()->setChangeFunction([this] { return changeToFiltered(); });
        m_list->reloadSection = [this] { model()->reloadSection(); };
        m_list->reloadData = [this] { model()->reloadData(); };
    }

    List& list() { return *m_list; }
    const List& list() const { return *m_list; }
    const QList<T>& items() const { return m_list->items(); }
    const QList<T>& filteredItems() const { return m_list->filteredItems(); }

    int sortTypeValue() const override { return static_cast<int>(m_list->sortType()); }
    int activeSortButton() const override {
        const std::optional<SortButton> button = m_list->highlightedButton();
        return button ? static_cast<int>(*button) : -1;
    }

    void didChangeSearchText(const QString& text) override { m_list->didChange(text); }
    void didClickSort(int button) override {
        if (button < 0 || button > static_cast<int>(SortButton::normal)) {
            return;
        }
        m_list->didClickSort(static_cast<SortButton>(button));
        emit sortChanged();
    }

    void viewDidAppear(bool animated) override {
        SortableViewControllerBase::viewDidAppear(animated);
        m_list->viewDidAppear();
    }

protected:
    virtual QVariant rowData(const T& item, int row, int role) const = 0;
    // The element shown at `row`, if there is one.
    const T* rowAt(int row) const {
        return row >= 0 && row < m_list->filteredItems().size() ? &m_list->filteredItems().at(row)
                                                                : nullptr;
    }

private:
    // Tracks are the same row when they are the same object; other elements
    // are values rebuilt on each load, told apart by no field the rows show.
    static bool sameRow(const T& a, const T& b) {
        if constexpr (std::is_same_v<T, TrackPtr>) {
            return a == b;
        } else {
            Q_UNUSED(a);
            Q_UNUSED(b);
            return false;
        }
    }

    ItemListModel::Change changeToFiltered() const {
        const QList<T>& next = m_list->filteredItems();
        const qsizetype common = std::min(m_rows.size(), next.size());
        qsizetype head = 0;
        while (head < common && sameRow(m_rows.at(head), next.at(head))) {
            ++head;
        }
        qsizetype tail = 0;
        while (tail < common - head &&
               sameRow(m_rows.at(m_rows.size() - 1 - tail), next.at(next.size() - 1 - tail))) {
            ++tail;
        }
        return {static_cast<int>(next.size()), static_cast<int>(head), static_cast<int>(tail)};
    }

    std::unique_ptr<List> m_list;
    // What the model shows: `filteredItems` as of the last reload.
    QList<T> m_rows;
};
