#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QPointer>
#include <functional>

// The rows of one list screen. The screen owns the data; the model reads it
// through the two functions it was given, and the screen says when it
// changed. A reload of the section and a reload of all data are told apart
// (the view animates the first), and a change that needs no reload emits
// nothing at all.
//
// A screen that can say how its next rows differ from those on show has them
// applied as one insert or removal plus a change of the rows in between: a
// reset would make the view build every row it shows anew, which on a long
// list costs more than a frame at each keystroke.
class ItemListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by its screen")

public:
    using CountFunction = std::function<int()>;
    using DataFunction = std::function<QVariant(int row, int role)>;
    // Runs inside a reload, between the model's reset signals: the screen
    // takes its new rows here.
    using SyncFunction = std::function<void()>;
    // What the next sync changes: the rows it will leave, and how many rows
    // at the front and at the back stay the same elements.
    struct Change {
        int count = 0;
        int head = 0;
        int tail = 0;
    };
    using ChangeFunction = std::function<Change()>;

    ItemListModel(QHash<int, QByteArray> roles, CountFunction count, DataFunction data,
                  SyncFunction sync, QObject* parent = nullptr);
    // Without `change` every reload is a reset.
    void setChangeFunction(ChangeFunction change) { m_change = std::move(change); }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return m_roles; }

    void reloadSection();
    void reloadData();
    // One row goes, the others stay: `remove` takes it from the screen's data.
    void removeRow(int row, const std::function<void()>& remove);
    // The rows' contents changed in place (a picture arrived).
    void refreshRows();

    // While one lives, reloads are told at once (the signals below) but
    // applied to the rows once, when the last goes: a load that refilters
    // several times touches the view once.
    class Deferral {
    public:
        explicit Deferral(ItemListModel* model);
        ~Deferral();
        Deferral(const Deferral&) = delete;
        Deferral& operator=(const Deferral&) = delete;

    private:
        QPointer<ItemListModel> m_model;
    };

signals:
    void sectionReloaded();
    void dataReloaded();

private:
    void reset();
    void apply();

    QHash<int, QByteArray> m_roles;
    CountFunction m_count;
    DataFunction m_data;
    SyncFunction m_sync;
    ChangeFunction m_change;
    int m_deferred = 0;
    bool m_pending = false;
};
