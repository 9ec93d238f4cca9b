#include "FolderCell.h"

using Intake::Folder;

void FolderCell::setFolder(const std::optional<Folder>& folder) {
    if (!folder) {
        return;
    }
    const bool changed = !m_folder || m_folder->id != folder->id || m_folder->name != folder->name;
    m_folder = folder;
    if (changed) {
        m_name = folder->name;
        emit nameChanged();
    }
}
