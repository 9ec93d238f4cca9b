#include "ItemListModel.h"

#include <algorithm>

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

void ItemListModel::apply() {
    if (m_deferred > 0) {
        m_pending = true;
        return;
    }
    if (!m_change) {
        reset();
        return;
    }
    const Change change = m_change();
    const int before = rowCount();
    const int head = std::min({change.head, before, change.count});
    const int tail = std::min({change.tail, before - head, change.count - head});
    const int oldMiddle = before - head - tail;
    const int newMiddle = change.count - head - tail;
    const int replaced = std::min(oldMiddle, newMiddle);
    if (oldMiddle > newMiddle) {
        beginRemoveRows(QModelIndex(), head + replaced, head + oldMiddle - 1);
        m_sync();
        endRemoveRows();
    } else if (newMiddle > oldMiddle) {
        beginInsertRows(QModelIndex(), head + replaced, head + newMiddle - 1);
        m_sync();
        endInsertRows();
    } else {
        m_sync();
    }
    if (replaced > 0) {
        emit dataChanged(index(head), index(head + replaced - 1));
    }
}

void ItemListModel::reloadSection() {
    apply();
    emit sectionReloaded();
}

void ItemListModel::reloadData() {
    apply();
    emit dataReloaded();
}

ItemListModel::Deferral::Deferral(ItemListModel* model) : m_model(model) {
    ++m_model->m_deferred;
}

ItemListModel::Deferral::~Deferral() {
    if (m_model && --m_model->m_deferred == 0 && m_model->m_pending) {
        m_model->m_pending = false;
        m_model->apply();
    }
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
