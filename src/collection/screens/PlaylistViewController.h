#pragma once

#include <QtQml/qqmlregistration.h>
#include <optional>

#include "ItemListModel.h"
#include "Playlist.h"
#include "Track.h"
#include "ViewController.h"

class MediaLibraryManager;
class PlaybackManager;

// The user's playlists, or the library's. A tap plays a playlist at once; the
// row's edit button opens it in the Tracks screen. Playlists are created and
// deleted here; the library's are read-only.
class PlaylistViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Playlists\" bundle")
    Q_PROPERTY(ItemListModel* model READ model CONSTANT)
    Q_PROPERTY(bool mediaLibrary READ mediaLibrary WRITE setMediaLibrary NOTIFY mediaLibraryChanged)
    Q_PROPERTY(
        bool addPlaylistButtonVisible READ addPlaylistButtonVisible NOTIFY mediaLibraryChanged)
    Q_PROPERTY(bool rowsEditable READ rowsEditable NOTIFY mediaLibraryChanged)
    Q_PROPERTY(qreal savedContentY MEMBER m_savedContentY NOTIFY savedContentYChanged)

public:
    enum Role { IdRole = Qt::UserRole + 1, NameRole };

    explicit PlaylistViewController(QObject* parent = nullptr);
    ~PlaylistViewController() override;

    ItemListModel* model() const { return m_model; }
    bool mediaLibrary() const { return m_mediaLibrary; }
    void setMediaLibrary(bool mediaLibrary);
    bool addPlaylistButtonVisible() const { return !m_mediaLibrary; }
    bool rowsEditable() const { return !m_mediaLibrary; }
    const QList<Playlist>& playlists() const { return m_playlists; }

    void setMediaLibraryManager(MediaLibraryManager* manager) { m_library = manager; }
    void setPlaybackManager(PlaybackManager* manager) { m_playback = manager; }

    void loadPlaylists();
    // What a tap plays: nothing for an empty list.
    std::optional<QList<TrackPtr>> tracks(const Playlist& playlist);

    void viewDidLoad() override;

    Q_INVOKABLE void didSelectRow(int row);
    Q_INVOKABLE void didClickEdit(int row);
    Q_INVOKABLE void didClickAddPlaylist();
    Q_INVOKABLE void commitDelete(int row);

signals:
    void mediaLibraryChanged();
    void savedContentYChanged();

private:
    MediaLibraryManager& library() const;
    PlaybackManager& playback() const;

    ItemListModel* m_model = nullptr;
    bool m_mediaLibrary = false;
    QList<Playlist> m_playlists;
    // What the model shows, taken at each reload.
    QList<Playlist> m_rows;
    qreal m_savedContentY = 0;
    MediaLibraryManager* m_library = nullptr;
    PlaybackManager* m_playback = nullptr;
};
