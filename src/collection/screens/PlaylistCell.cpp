#include "PlaylistCell.h"

void PlaylistCell::setPlaylist(const QString& id, const QString& name) {
    if (id == m_id) {
        return;
    }
    m_id = id;
    m_name = id.isEmpty() ? QString() : name;
    emit nameChanged();
}
