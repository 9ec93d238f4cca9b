#include "FileListModel.h"

void FileListModel::removeAll() {
    if (m_entries.empty()) {
        return;
    }
    beginRemoveRows({}, 0, int(m_entries.size()) - 1);
    m_entries.clear();
    endRemoveRows();
}

void FileListModel::insertAll(std::vector<FileProtocol> entries) {
    removeAll();
    if (entries.empty()) {
        return;
    }
    beginInsertRows({}, 0, int(entries.size()) - 1);
    m_entries = std::move(entries);
    endInsertRows();
}

int FileListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant FileListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const FileProtocol& entry = m_entries[size_t(index.row())];
    switch (role) {
        case NameRole:
        case Qt::DisplayRole:
            return entry.name();
        case IsFolderRole:
            return entry.folder() != nullptr;
        default:
            return {};
    }
}

QHash<int, QByteArray> FileListModel::roleNames() const {
    return {{NameRole, "name"}, {IsFolderRole, "isFolder"}};
}
