#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <functional>

// The rows of one list screen. The screen owns the data; the model reads it
// through the two functions it was given, and the screen says when it
// changed. A reload of the section and a reload of all data are told apart
// (the view animates the first), and a change that needs no reload emits
// nothing at all.
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

    ItemListModel(QHash<int, QByteArray> roles, CountFunction count, DataFunction data,
                  SyncFunction sync, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return m_roles; }

    void reloadSection();
    void reloadData();
    // One row goes, the others stay: `remove` takes it from the screen's data.
    void removeRow(int row, const std::function<void()>& remove);
    // The rows' contents changed in place (a picture arrived).
    void refreshRows();

signals:
    void sectionReloaded();
    void dataReloaded();

private:
    void reset();

    QHash<int, QByteArray> m_roles;
    CountFunction m_count;
    DataFunction m_data;
    SyncFunction m_sync;
};
