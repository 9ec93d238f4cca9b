#include "ItemListModel.h"

ItemListModel::ItemListModel(QHash<int, QByteArray> roles, CountFunction count, DataFunction data,
                             SyncFunction sync, QObject* parent)
    : QAbstractListModel(parent),
      m_roles(std::move(roles)),
      m_count(std::move(count)),
      m_data(std::move(data)),
      m_sync(std::move(sync)) {}

int ItemListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count();
}

QVariant ItemListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) ||
        !m_roles.contains(role)) {
        return {};
    }
    return m_data(index.row(), role);
}

void ItemListModel::reset() {
    beginResetModel();
    if (m_sync) {
        m_sync();
    }
    endResetModel();
}

void ItemListModel::reloadSection() {
    reset();
    emit sectionReloaded();
}

void ItemListModel::reloadData() {
    reset();
    emit dataReloaded();
}

void ItemListModel::removeRow(int row, const std::function<void()>& remove) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    beginRemoveRows(QModelIndex(), row, row);
    remove();
    endRemoveRows();
}

void ItemListModel::refreshRows() {
    const int count = rowCount();
    if (count > 0) {
        emit dataChanged(index(0), index(count - 1));
    }
}
