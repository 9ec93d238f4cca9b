#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <vector>

#include "CloudFile.h"

// The rows of the cloud browser: folders and files of one listing, in the
// order shown. Rows go and come all at once, so that the view can move the
// whole page out and the next one in.
class FileListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

public:
    enum Role { NameRole = Qt::UserRole + 1, IsFolderRole };

    explicit FileListModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    const std::vector<FileProtocol>& entries() const { return m_entries; }
    void removeAll();
    void insertAll(std::vector<FileProtocol> entries);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    std::vector<FileProtocol> m_entries;
};
