#include "PlaylistViewController.h"

#include <QPointer>

#include "AlertController.h"
#include "AppDirectories.h"
#include "MediaLibraryManager.h"
#include "NavigationController.h"
#include "NotificationCenter.h"
#include "PlaybackManager.h"
#include "PlaylistsManager.h"
#include "ProgressHUD.h"
#include "SortableList.h"
#include "Storyboard.h"
#include "TracksViewController.h"

PlaylistViewController::PlaylistViewController(QObject* parent) : ViewController(parent) {
    m_model = new ItemListModel(
        {{IdRole, "playlistId"}, {NameRole, "name"}},
        [this] { return static_cast<int>(m_rows.size()); },
        [this](int row, int role) -> QVariant {
            const Playlist& playlist = m_rows.at(row);
            return role == IdRole ? playlist.id : playlist.name;
        },
        [this] { m_rows = m_playlists; }, this);
}

PlaylistViewController::~PlaylistViewController() {
    NotificationCenter::defaultCenter().removeObserver(this);
}

MediaLibraryManager& PlaylistViewController::library() const {
    return m_library ? *m_library : MediaLibraryManager::shared();
}

PlaybackManager& PlaylistViewController::playback() const {
    return m_playback ? *m_playback : PlaybackManager::shared();
}

void PlaylistViewController::setMediaLibrary(bool mediaLibrary) {
    if (m_mediaLibrary != mediaLibrary) {
        m_mediaLibrary = mediaLibrary;
        emit mediaLibraryChanged();
    }
}

void PlaylistViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    loadPlaylists();
    NotificationCenter::defaultCenter().addObserver(
        QString::fromLatin1(kPlaylistChangedNotification), this,
        [this](const Notification&) { loadPlaylists(); });
}

void PlaylistViewController::loadPlaylists() {
    if (!m_mediaLibrary) {
        // The store keeps no order; by name (then id) the rows stay put from
        // one change to the next.
        QList<Playlist> playlists = PlaylistsManager::shared().playlists().values();
        std::stable_sort(playlists.begin(), playlists.end(),
                         [](const Playlist& a, const Playlist& b) {
                             return a.name != b.name ? a < b : a.id < b.id;
                         });
        m_playlists = std::move(playlists);
        m_model->reloadSection();
        return;
    }
    if (!m_playlists.isEmpty()) {
        return;
    }
    QPointer<PlaylistViewController> self(this);
    library().loadPlaylists(false, [self](QList<Playlist> sorted, QList<Playlist>) {
        if (self) {
            self->m_playlists = std::move(sorted);
            self->m_model->reloadSection();
        }
    });
}

std::optional<QList<TrackPtr>> PlaylistViewController::tracks(const Playlist& playlist) {
    QList<TrackPtr> result;
    if (m_mediaLibrary) {
        // The cached list as it stands: before the library's first load
        // there is nothing to play.
        result = MediaLibraryManager::tracksOfPlaylist(playlist, library().tracks());
        sortByOrder(result);
        std::reverse(result.begin(), result.end());
    } else {
        const QString directory = downloadedMusicDirectory();
        for (const QString& fileName : playlist.fileNames) {
            if (TrackPtr track = Track::fromFile(fileName, directory)) {
                result.append(std::move(track));
            }
        }
        // High to low, as the user's playlists have always played.
        sortByOrder(result);
    }
    if (result.isEmpty()) {
        return std::nullopt;
    }
    return result;
}

void PlaylistViewController::didSelectRow(int row) {
    if (row < 0 || row >= m_rows.size()) {
        return;
    }
    const std::optional<QList<TrackPtr>> queue = tracks(m_rows.at(row));
    if (!queue) {
        return;
    }
    PlaybackManager& manager = playback();
    manager.setCurrentIndex(0);
    manager.setCurrentPlaylist(*queue);
    manager.playCurrentTrack();
    ViewController* player =
        Storyboard::storyboardWithName(QStringLiteral("Player")).instantiateInitialViewController();
    player->setModalPresentationStyle(ModalPresentationStyle::overFullScreen);
    presentViewController(player, true);
}

void PlaylistViewController::didClickEdit(int row) {
    if (row < 0 || row >= m_rows.size()) {
        return;
    }
    ViewController* screen =
        Storyboard::storyboardWithName(QStringLiteral("Tracks")).instantiateInitialViewController();
    if (auto* tracks = qobject_cast<TracksViewController*>(screen)) {
        tracks->setPlaylist(m_rows.at(row));
        tracks->setMediaLibrary(m_mediaLibrary);
        tracks->setMediaLibraryManager(m_library);
        tracks->setPlaybackManager(m_playback);
    }
    if (NavigationController* navigation = navigationController()) {
        navigation->pushViewController(screen, true);
    } else {
        presentViewController(screen, true);
    }
}

void PlaylistViewController::didClickAddPlaylist() {
    auto* alert =
        new AlertController(qtTrId("playlist_name"), QString(), AlertController::Style::alert);
    alert->addTextField();
    alert->addAction(
        {qtTrId("ok"), AlertController::ActionStyle::defaultStyle, [](AlertController& alert) {
             AlertTextField* field = alert.firstTextField();
             if (!field || field->text().isEmpty()) {
                 return;
             }
             PlaylistsManager::shared().savePlaylist(
                 Playlist{Playlist::newId(), field->text(), {}, false}, true);
         }});
    alert->addAction({qtTrId("cancel"), AlertController::ActionStyle::cancel, {}});
    presentViewController(alert, true);
}

void PlaylistViewController::commitDelete(int row) {
    if (m_mediaLibrary || row < 0 || row >= m_rows.size()) {
        return;
    }
    const Playlist playlist = m_rows.at(row);
    if (const std::optional<QString> error =
            PlaylistsManager::shared().deletePlaylist(playlist.id, playlist.mediaLibraryItem)) {
        ProgressHUD::shared().show(ProgressHUDType::error, this, *error);
        return;
    }
    m_model->removeRow(row, [this, row] {
        m_playlists.removeAt(row);
        m_rows.removeAt(row);
    });
}
