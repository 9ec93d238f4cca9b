#include "TracksViewController.h"

#include <QCoreApplication>
#include <QSet>
#include <QtConcurrent>

#include "AlertController.h"
#include "BackgroundPool.h"
#include "DownloadManager.h"
#include "LocalTrackStore.h"
#include "Localization.h"
#include "MediaLibraryManager.h"
#include "NavigationController.h"
#include "NotificationCenter.h"
#include "PlaybackManager.h"
#include "PlaylistsManager.h"
#include "ProgressHUD.h"
#include "Storyboard.h"
#include "ThumbnailCache.h"
#include "TrackCell.h"
#include "UploadRecord.h"

namespace {

QHash<int, QByteArray> trackRoles() {
    return {{TracksViewController::TitleRole, "title"},
            {TracksViewController::InfoRole, "info"},
            {TracksViewController::DurationRole, "duration"},
            {TracksViewController::ImageKeyRole, "imageKey"},
            {TracksViewController::CanAddRole, "canAdd"}};
}

// Library tracks of one mode, in the order of the library's sorted list, then
// sorted with < (high to low) as every load hands them on.
QList<TrackPtr> libraryTracksOfMode(const QList<TrackPtr>& sorted,
                                    const std::optional<Playlist>& playlist,
                                    const std::optional<Artist>& artist,
                                    const std::optional<Album>& album) {
    QList<TrackPtr> result;
    if (playlist) {
        result = MediaLibraryManager::tracksOfPlaylist(*playlist, sorted);
    } else if (artist) {
        for (const TrackPtr& track : sorted) {
            if (track->mediaLibraryArtistID.value_or(0) == artist->id) {
                result.append(track);
            }
        }
    } else if (album) {
        for (const TrackPtr& track : sorted) {
            if (track->mediaLibraryAlbumID.value_or(0) == album->id) {
                result.append(track);
            }
        }
    } else {
        return sorted;
    }
    sortByOrder(result);
    return result;
}

}  // namespace

TracksViewController::TracksViewController(QObject* parent)
    : SortableViewController(trackRoles(), parent) {}

TracksViewController::~TracksViewController() {
    m_thumbnailPass.cancel();
    NotificationCenter::defaultCenter().removeObserver(this);
}

MediaLibraryManager& TracksViewController::library() const {
    return m_library ? *m_library : MediaLibraryManager::shared();
}

PlaybackManager& TracksViewController::playback() const {
    return m_playback ? *m_playback : PlaybackManager::shared();
}

void TracksViewController::setPlaylist(std::optional<Playlist> playlist) {
    m_state->playlist = std::move(playlist);
    emit modeChanged();
}

void TracksViewController::setArtist(std::optional<Artist> artist) {
    m_artist = std::move(artist);
    emit modeChanged();
}

void TracksViewController::setAlbum(std::optional<Album> album) {
    m_album = std::move(album);
    emit modeChanged();
}

void TracksViewController::setAddToPlaylist(bool addToPlaylist) {
    m_state->addToPlaylist = addToPlaylist;
    emit modeChanged();
}

void TracksViewController::setMediaLibrary(bool mediaLibrary) {
    list().mediaLibrary = mediaLibrary;
    SortableViewControllerBase::setMediaLibrary(mediaLibrary);
}

void TracksViewController::setLoadingTracks(bool loading) {
    if (m_loadingTracks != loading) {
        m_loadingTracks = loading;
        emit loadingChanged();
    }
}

QVariant TracksViewController::rowData(const TrackPtr& track, int, int role) const {
    switch (role) {
        case TitleRole:
            return track->title;
        case InfoRole:
            return TrackCell::infoText(*track);
        case DurationRole:
            return TrackCell::durationText(track->duration);
        case ImageKeyRole:
            return ThumbnailCache::shared().keyFor(track);
        case CanAddRole:
            return !track->mediaLibraryItem;
        default:
            return {};
    }
}

void TracksViewController::viewDidLoad() {
    SortableViewController::viewDidLoad();
    const bool hasPlaylist = playlist().has_value();
    m_playlistControlsVisible = hasPlaylist && !addToPlaylist() && !mediaLibrary();
    // A playlist, artist or album has no search bar; a picker has one.
    setSearchVisible(!m_artist && !m_album && (!hasPlaylist || addToPlaylist()));
    emit modeChanged();
}

void TracksViewController::viewDidAppear(bool animated) {
    SortableViewController::viewDidAppear(animated);
    loadTracks();
    NotificationCenter& center = NotificationCenter::defaultCenter();
    // Observed while on show only: a screen further down a stack catches up
    // when it appears again.
    center.removeObserver(this);
    center.addObserver(DownloadManager::downloadCompleteNotification, this,
                       [this](const Notification&) { loadTracks(); });
    center.addObserver(QString::fromLatin1(kPlaylistChangedNotification), this,
                       [this](const Notification&) { loadTracks(); });
    if (playlist()) {
        setTitle(playlist()->name);
    } else if (m_artist) {
        setTitle(m_artist->name);
    } else if (m_album) {
        setTitle(m_album->name);
    }
}

void TracksViewController::viewDidDisappear(bool animated) {
    SortableViewController::viewDidDisappear(animated);
    NotificationCenter::defaultCenter().removeObserver(this);
}

// What a load leaves in `items`, and the orders shown from it, worked out off
// the main thread from the tracks kept and the tracks the load brings.
struct TracksViewController::PreparedLoad {
    quint64 ticket = 0;
    QList<TrackPtr> kept;
    QList<TrackPtr> tracks;
    TrackSortableList::NormalOrder keptNormal;
    TrackSortableList::NormalOrder allNormal;
    QList<TrackPtr> highToLow;
    QList<TrackPtr> lowToHigh;
    std::pair<QString, QList<qsizetype>> searchText;
};

// The rows of a long scan as it goes, likewise.
struct TracksViewController::PreparedPart {
    quint64 ticket = 0;
    QList<TrackPtr> shown;
    TrackSortableList::NormalOrder normal;
};

void TracksViewController::loadTracks() {
    if (m_loadingTracks) {
        m_pendingReload = true;
        return;
    }
    setLoadingTracks(true);
    ProgressHUD::shared().show(ProgressHUDType::loading, this);
    m_deletedWhileLoading.clear();
    if (mediaLibrary()) {
        if (!items().isEmpty()) {
            prepareLoad(items(), {});
            return;
        }
        QPointer<TracksViewController> self(this);
        library().loadTracks(false, [self](QList<TrackPtr> sorted, QList<TrackPtr>) {
            if (self) {
                self->prepareLoad(
                    self->items(),
                    libraryTracksOfMode(sorted, self->playlist(), self->m_artist, self->m_album));
            }
        });
        return;
    }
    m_state->items = items();
    std::weak_ptr<TrackListState> weakState = m_state;
    QPointer<TracksViewController> self(this);
    m_scanned.clear();
    m_scannedShown = 0;
    auto completion = [self](QList<TrackPtr> tracks, QList<TrackPtr>) {
        if (self) {
            self->loadFinished(std::move(tracks));
        }
    };
    if (m_artist) {
        LocalTrackStore::scanTracksForArtist(weakState, m_artist->name, completion);
    } else if (m_album) {
        LocalTrackStore::scanTracksForAlbum(weakState, m_album->name, completion);
    } else {
        LocalTrackStore::scanNewTracks(weakState, completion, [self](const QList<TrackPtr>& part) {
            if (self) {
                self->showScanPart(part);
            }
        });
    }
}

bool TracksViewController::deletedWhileLoading(const TrackPtr& track) const {
    return m_deletedWhileLoading.contains(track->fileName);
}

// A file scan ended. It may have dropped tracks whose file went, emptied the
// list for a fresh artist or album scan, or shown its parts as it went:
// `items` goes back to the tracks it kept before all it read is added.
void TracksViewController::loadFinished(QList<TrackPtr> tracks) {
    m_scanned.clear();
    m_scannedShown = 0;
    tracks.removeIf([this](const TrackPtr& track) { return deletedWhileLoading(track); });
    prepareLoad(m_state->items, std::move(tracks));
}

void TracksViewController::prepareLoad(QList<TrackPtr> kept, QList<TrackPtr> tracks) {
    const quint64 ticket = ++m_rowsTicket;
    const bool library = mediaLibrary();
    QPointer<TracksViewController> self(this);
    QtConcurrent::run(&BackgroundPool::shared(), [ticket, library, kept = std::move(kept),
                                                  tracks = std::move(tracks)] {
        PreparedLoad load;
        load.ticket = ticket;
        load.kept = kept;
        load.tracks = tracks;
        load.keptNormal = TrackSortableList::normalOrderOf(kept, library);
        QList<TrackPtr> all = kept + tracks;
        load.allNormal = TrackSortableList::normalOrderOf(all, library);
        sortByOrder(all);
        load.highToLow = all;
        std::reverse(all.begin(), all.end());
        load.searchText = TrackSortableList::searchTextOf(all);
        load.lowToHigh = std::move(all);
        return load;
    }).then(QCoreApplication::instance(), [self](PreparedLoad load) {
        if (!self) {
            return;
        }
        if (load.ticket != self->m_rowsTicket) {
            // Rows were deleted meanwhile: once more without them.
            QList<TrackPtr> tracks = load.tracks;
            tracks.removeIf(
                [&](const TrackPtr& track) { return self->deletedWhileLoading(track); });
            self->prepareLoad(self->mediaLibrary() ? self->items() : self->m_state->items,
                              std::move(tracks));
            return;
        }
        const ItemListModel::Deferral deferral(self->model());
        if (!std::equal(load.kept.cbegin(), load.kept.cend(), self->items().cbegin(),
                        self->items().cend())) {
            self->list().expectNormalOrder(std::move(load.keptNormal));
            self->list().setItems(load.kept);
        }
        const QList<TrackPtr> tracks = load.tracks;
        self->finishLoading(tracks, &load);
    });
}

// The rows of a long scan as it goes, in the order the load will give them.
// Until it ends, `items` is the tracks kept from before plus those read so
// far; the end puts back the kept ones before adding all it read.
void TracksViewController::showScanPart(const QList<TrackPtr>& tracks) {
    for (const TrackPtr& track : tracks) {
        if (!deletedWhileLoading(track)) {
            m_scanned.append(track);
        }
    }
    // Shown again only when the rows read have doubled: a handful of
    // updates over a whole folder, however large.
    if (m_scannedShown > 0 && m_scanned.size() < 2 * m_scannedShown) {
        return;
    }
    m_scannedShown = m_scanned.size();
    const quint64 ticket = ++m_rowsTicket;
    const bool library = mediaLibrary();
    QPointer<TracksViewController> self(this);
    QtConcurrent::run(&BackgroundPool::shared(), [ticket, library,
                                                  read = m_state->items + m_scanned] {
        PreparedPart part;
        part.ticket = ticket;
        part.shown = read;
        sortByOrder(part.shown);
        std::reverse(part.shown.begin(), part.shown.end());
        part.normal = TrackSortableList::normalOrderOf(part.shown, library);
        return part;
    }).then(QCoreApplication::instance(), [self](PreparedPart part) {
        // A later part, the end of the scan or a delete came first.
        if (!self || part.ticket != self->m_rowsTicket) {
            return;
        }
        const ItemListModel::Deferral deferral(self->model());
        self->list().expectNormalOrder(std::move(part.normal));
        self->list().setItems(std::move(part.shown));
    });
}

void TracksViewController::finishLoading(const QList<TrackPtr>& tracks) {
    finishLoading(tracks, nullptr);
}

void TracksViewController::finishLoading(const QList<TrackPtr>& tracks, PreparedLoad* prepared) {
    const qsizetype before = items().size();
    {
        // The three steps, each with its refilter, reach the view as one
        // change of its rows.
        const ItemListModel::Deferral deferral(model());
        const bool ready = prepared && std::equal(prepared->kept.cbegin(), prepared->kept.cend(),
                                                  items().cbegin(), items().cend());
        if (ready) {
            list().expectNormalOrder(std::move(prepared->allNormal));
        }
        list().changeItems([&](QList<TrackPtr>& items) { items.append(tracks); });
        list().reorderItems([&](QList<TrackPtr>& items) {
            if (ready) {
                items = prepared->highToLow;
            } else {
                sortByOrder(items);
            }
        });
        list().reorderItems([&](QList<TrackPtr>& items) {
            if (ready) {
                items = prepared->lowToHigh;
            } else {
                std::reverse(items.begin(), items.end());
            }
        });
        if (ready) {
            list().adoptSearchText(std::move(prepared->searchText));
        }
        if (before != 0 && !tracks.isEmpty()) {
            model()->reloadSection();
        } else {
            model()->reloadData();
        }
    }
    if (m_pendingReload) {
        // One more load for what was asked meanwhile, and then no more: a flag
        // left set would chain loads without end (and, for the library,
        // recurse without end).
        m_pendingReload = false;
        setLoadingTracks(false);
        loadTracks();
        return;
    }
    if (!addToPlaylist() && !mediaLibrary()) {
        dropStaleNames();
    }
    ProgressHUD::shared().dismiss(0);
    if (tracks.isEmpty() && addToPlaylist()) {
        dismissViewController(true);
    }
    startThumbnailPass(tracks);
}

// A playlist's names of files that are gone leave it when it is shown.
void TracksViewController::dropStaleNames() {
    if (!m_state->playlist) {
        return;
    }
    QSet<QString> present;
    for (const TrackPtr& track : items()) {
        present.insert(track->fileName);
    }
    if (present == m_state->playlist->fileNames) {
        return;
    }
    m_state->playlist->fileNames = present;
    PlaylistsManager::shared().savePlaylist(*m_state->playlist, false);
}

void TracksViewController::startThumbnailPass(const QList<TrackPtr>& tracks) {
    QPointer<TracksViewController> self(this);
    // The pass works through the list in place: it lives until the pass ends.
    auto pending = std::make_shared<QList<TrackPtr>>(tracks);
    m_thumbnailPass =
        QtConcurrent::map(&BackgroundPool::bulk(), *pending, [](const TrackPtr& track) {
            if (BackgroundPool::stopping()) {
                return;
            }
            BackgroundPool::yieldToTheWindow();
            ThumbnailCache::shared().load(track);
        });
    m_thumbnailPass.then(QCoreApplication::instance(), [self, pending] {
        if (self) {
            self->setLoadingTracks(false);
        }
    });
}

void TracksViewController::didSelectRow(int row) {
    if (addToPlaylist()) {
        if (const TrackPtr* track = rowAt(row)) {
            addToPlaylistAt(row, *track);
        }
        return;
    }
    play(row < filteredItems().size() ? row : 0, filteredItems());
}

void TracksViewController::play(int index, const QList<TrackPtr>& queue) {
    PlaybackManager& manager = playback();
    manager.setCurrentIndex(index);
    manager.setCurrentPlaylist(queue);
    manager.playCurrentTrack();
    presentPlayer();
}

void TracksViewController::presentPlayer() {
    ViewController* player =
        Storyboard::storyboardWithName(QStringLiteral("Player")).instantiateInitialViewController();
    player->setModalPresentationStyle(ModalPresentationStyle::overFullScreen);
    presentViewController(player, true);
}

void TracksViewController::didClickPlay() {
    play(0, items());
}

void TracksViewController::didClickAdd() {
    if (!playlist()) {
        return;
    }
    ViewController* screen =
        Storyboard::storyboardWithName(QStringLiteral("Tracks")).instantiateInitialViewController();
    if (auto* picker = qobject_cast<TracksViewController*>(screen)) {
        picker->setAddToPlaylist(true);
        picker->setPlaylist(playlist());
        picker->setMediaLibraryManager(m_library);
        picker->setPlaybackManager(m_playback);
    }
    screen->setModalPresentationStyle(ModalPresentationStyle::popover);
    presentViewController(screen, true);
}

void TracksViewController::didClickName() {
    if (!playlist()) {
        return;
    }
    auto* alert =
        new AlertController(qtTrId("playlist_name"), QString(), AlertController::Style::alert);
    const QString name = playlist()->name;
    alert->addTextField([name](AlertTextField& field) { field.setText(name); });
    QPointer<TracksViewController> self(this);
    alert->addAction(
        {qtTrId("ok"), AlertController::ActionStyle::defaultStyle, [self](AlertController& alert) {
             AlertTextField* field = alert.firstTextField();
             if (!self || !field || !self->m_state->playlist) {
                 return;
             }
             // An empty name is taken as it stands here.
             const QString text = field->text();
             self->setTitle(text);
             self->m_state->playlist->name = text;
             PlaylistsManager::shared().savePlaylist(*self->m_state->playlist, true);
         }});
    alert->addAction({qtTrId("cancel"), AlertController::ActionStyle::cancel, {}});
    presentViewController(alert, true);
}

void TracksViewController::didClickAddToPlaylist(int row) {
    if (const TrackPtr* track = rowAt(row)) {
        addToPlaylistAt(row, *track);
    }
}

void TracksViewController::addToPlaylistAt(int row, TrackPtr track) {
    if (addToPlaylist() && m_state->playlist) {
        // The row of the table is applied to `items`: with a search or a sort
        // on show this may be another element than the one tapped.
        if (row >= 0 && row < items().size()) {
            list().changeItems([row](QList<TrackPtr>& items) { items.removeAt(row); });
            model()->reloadData();
        }
        Playlist changed = *m_state->playlist;
        changed.fileNames.insert(track->fileName);
        PlaylistsManager::shared().savePlaylist(changed, true);
        if (items().isEmpty()) {
            dismissViewController(true);
        }
        return;
    }
    auto* sheet = new AlertController(qtTrId("choose_playlist"), QString(),
                                      AlertController::Style::actionSheet);
    // The store keeps no order; by name (then id) the sheet reads the same
    // each time.
    QList<Playlist> playlists = PlaylistsManager::shared().playlists().values();
    std::stable_sort(playlists.begin(), playlists.end(), [](const Playlist& a, const Playlist& b) {
        return a.name != b.name ? a < b : a.id < b.id;
    });
    const QString fileName = track->fileName;
    for (const Playlist& playlist : std::as_const(playlists)) {
        const QString id = playlist.id;
        sheet->addAction({playlist.name, AlertController::ActionStyle::defaultStyle,
                          [id, fileName](AlertController&) {
                              std::optional<Playlist> target =
                                  PlaylistsManager::shared().playlist(id);
                              if (!target) {
                                  return;
                              }
                              target->fileNames.insert(fileName);
                              PlaylistsManager::shared().savePlaylist(*target, true);
                          }});
    }
    QPointer<TracksViewController> self(this);
    sheet->addAction({qtTrId("new_playlist"), AlertController::ActionStyle::defaultStyle,
                      [self, track](AlertController&) {
                          if (self) {
                              self->createPlaylist(track);
                          }
                      }});
    sheet->addAction({qtTrId("cancel"), AlertController::ActionStyle::cancel, {}});
    presentViewController(sheet, true);
}

void TracksViewController::createPlaylist(const TrackPtr& track) {
    auto* alert =
        new AlertController(qtTrId("playlist_name"), QString(), AlertController::Style::alert);
    alert->addTextField();
    const QString fileName = track->fileName;
    alert->addAction({qtTrId("ok"), AlertController::ActionStyle::defaultStyle,
                      [fileName](AlertController& alert) {
                          AlertTextField* field = alert.firstTextField();
                          if (!field || field->text().isEmpty()) {
                              return;
                          }
                          PlaylistsManager::shared().savePlaylist(
                              Playlist{Playlist::newId(), field->text(), {fileName}, false}, true);
                      }});
    alert->addAction({qtTrId("cancel"), AlertController::ActionStyle::cancel, {}});
    presentViewController(alert, true);
}

void TracksViewController::commitDelete(int row) {
    const TrackPtr* shown = rowAt(row);
    if (mediaLibrary() || !shown) {
        return;
    }
    const QString fileName = (*shown)->fileName;
    // The upload record goes first, whatever follows.
    removeUploadRecord(fileName);
    if (m_state->playlist && m_state->playlist->fileNames.contains(fileName)) {
        // Only out of the playlist: the file stays.
        m_state->playlist->fileNames.remove(fileName);
        PlaylistsManager::shared().savePlaylist(*m_state->playlist, false);
    } else if (const std::optional<QString> error =
                   DownloadManager::shared().deleteDownloadedFile(fileName)) {
        ProgressHUD::shared().show(ProgressHUDType::error, this, *error);
        return;
    }
    list().changeItems([&fileName](QList<TrackPtr>& items) {
        const auto it = std::find_if(items.begin(), items.end(), [&](const TrackPtr& track) {
            return track->fileName == fileName;
        });
        if (it != items.end()) {
            items.erase(it);
        }
    });
    model()->reloadData();
    if (m_loadingTracks) {
        // A scan under way may have read the file already, or read it later
        // for a playlist that still named it when the scan began.
        m_deletedWhileLoading.insert(fileName);
        const auto named = [&fileName](const TrackPtr& track) {
            return track->fileName == fileName;
        };
        m_scanned.removeIf(named);
        m_state->items.removeIf(named);
        ++m_rowsTicket;
    }
}
