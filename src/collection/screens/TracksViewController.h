#pragma once

#include <QtQml/qqmlregistration.h>
#include <QFuture>
#include <QPointer>
#include <QSet>
#include <memory>
#include <optional>

#include "Album.h"
#include "Playlist.h"
#include "SortableViewController.h"
#include "TrackListState.h"

class MediaLibraryManager;
class PlaybackManager;

// The one screen that lists tracks: all files, the files of an artist or an
// album, a playlist, their library counterparts, or a picker of files to add
// to a playlist. Its creator sets it up before it appears. A tap plays what
// the list shows; rows are deleted, added to playlists, and the playlist
// shown is renamed here.
class TracksViewController : public SortableViewController<TrackPtr, TrackSortableList> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Tracks\" bundle")
    Q_PROPERTY(bool playlistControlsVisible READ playlistControlsVisible NOTIFY modeChanged)
    Q_PROPERTY(bool addToPlaylist READ addToPlaylist NOTIFY modeChanged)
    Q_PROPERTY(bool loadingTracks READ loadingTracks NOTIFY loadingChanged)

public:
    enum Role { TitleRole = Qt::UserRole + 1, InfoRole, DurationRole, ImageKeyRole, CanAddRole };

    explicit TracksViewController(QObject* parent = nullptr);
    ~TracksViewController() override;

    // Set up by the creator before the screen appears.
    const std::optional<Playlist>& playlist() const { return m_state->playlist; }
    void setPlaylist(std::optional<Playlist> playlist);
    const std::optional<Artist>& artist() const { return m_artist; }
    void setArtist(std::optional<Artist> artist);
    const std::optional<Album>& album() const { return m_album; }
    void setAlbum(std::optional<Album> album);
    bool addToPlaylist() const { return m_state->addToPlaylist; }
    void setAddToPlaylist(bool addToPlaylist);
    void setMediaLibrary(bool mediaLibrary) override;

    bool loadingTracks() const { return m_loadingTracks; }
    bool pendingReload() const { return m_pendingReload; }
    bool playlistControlsVisible() const { return m_playlistControlsVisible; }
    bool rowsEditable() const override { return !mediaLibrary(); }

    // Where library tracks and playback come from (the shared ones unless a
    // test hands in its own).
    void setMediaLibraryManager(MediaLibraryManager* manager) { m_library = manager; }
    void setPlaybackManager(PlaybackManager* manager) { m_playback = manager; }

    void loadTracks();
    void finishLoading(const QList<TrackPtr>& tracks);

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;
    void viewDidDisappear(bool animated) override;

    void didSelectRow(int row) override;
    void commitDelete(int row) override;

    Q_INVOKABLE void didClickPlay();
    Q_INVOKABLE void didClickAdd();
    Q_INVOKABLE void didClickName();
    // The add button of a row; in picker mode a tap on a row as well.
    Q_INVOKABLE void didClickAddToPlaylist(int row);

signals:
    void modeChanged();
    void loadingChanged();

protected:
    QVariant rowData(const TrackPtr& track, int row, int role) const override;

private:
    struct PreparedLoad;
    struct PreparedPart;

    // The orders a load needs are worked out on the pool and handed back;
    // `m_rowsTicket` tells whether the rows changed meanwhile.
    void prepareLoad(QList<TrackPtr> kept, QList<TrackPtr> tracks);
    void finishLoading(const QList<TrackPtr>& tracks, PreparedLoad* prepared);
    void loadFinished(QList<TrackPtr> tracks);
    bool deletedWhileLoading(const TrackPtr& track) const;
    // `track` is held by value: the rows it came from change on the way.
    void addToPlaylistAt(int row, TrackPtr track);
    void createPlaylist(const TrackPtr& track);
    void setLoadingTracks(bool loading);
    void startThumbnailPass(const QList<TrackPtr>& tracks);
    void showScanPart(const QList<TrackPtr>& tracks);
    void presentPlayer();
    void play(int index, const QList<TrackPtr>& queue);
    void dropStaleNames();
    MediaLibraryManager& library() const;
    PlaybackManager& playback() const;

    std::shared_ptr<TrackListState> m_state = std::make_shared<TrackListState>();
    std::optional<Artist> m_artist;
    std::optional<Album> m_album;
    // Covers nobody will see once the screen is gone are not read.
    QFuture<void> m_thumbnailPass;
    bool m_loadingTracks = false;
    bool m_pendingReload = false;
    bool m_playlistControlsVisible = false;
    // The tracks a long scan has read so far, and how many of them the rows
    // show: the rows follow the scan before it ends.
    QList<TrackPtr> m_scanned;
    qsizetype m_scannedShown = 0;
    // Files deleted from the rows since the load began: the load may have
    // read them before they went.
    QSet<QString> m_deletedWhileLoading;
    quint64 m_rowsTicket = 0;
    MediaLibraryManager* m_library = nullptr;
    PlaybackManager* m_playback = nullptr;
};
