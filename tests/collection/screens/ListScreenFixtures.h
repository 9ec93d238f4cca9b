#pragma once

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QStringList>
#include <memory>

#include "ItemListModel.h"
#include "MediaLibraryManager.h"
#include "MediaLibrarySource.h"
#include "PlaybackManager.h"

// The texts of one role down a model's rows.
inline QStringList column(const ItemListModel& model, int role) {
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row) {
        values.append(model.data(model.index(row), role).toString());
    }
    return values;
}

// The titles of tracks, in order.
inline QStringList titlesOf(const QList<TrackPtr>& tracks) {
    QStringList values;
    for (const TrackPtr& track : tracks) {
        values.append(track->title);
    }
    return values;
}

// The queue and index a list hands to playback, as handed: playing drops
// tracks it cannot read (in-memory tracks have no file).
struct QueueWatch {
    explicit QueueWatch(PlaybackManager& playback) {
        QObject::connect(&playback, &PlaybackManager::currentPlaylistChanged, &context, [&] {
            if (!seen) {
                seen = true;
                handed = titlesOf(playback.currentPlaylist());
                index = playback.currentIndex();
            }
        });
    }
    void clear() {
        seen = false;
        handed.clear();
        index = -1;
    }

    QObject context;
    bool seen = false;
    QStringList handed;
    int index = -1;
};

// A library whose songs and playlists the test lays out.
class FakeLibrarySource : public MediaLibrarySource {
public:
    QList<MediaItem> items;
    QList<MediaPlaylist> lists;

    MediaLibraryAuthorizationStatus authorizationStatus() const override {
        return MediaLibraryAuthorizationStatus::authorized;
    }
    void requestAuthorization(
        std::function<void(MediaLibraryAuthorizationStatus)> completion) override {
        completion(MediaLibraryAuthorizationStatus::authorized);
    }
    void openSettings() override {}
    std::optional<QList<MediaItem>> songs() override { return items; }
    std::optional<QList<MediaPlaylist>> playlists() override { return lists; }
};

// A song of the fake library; its artwork, when given, is counted per call.
inline MediaItem librarySong(quint64 id, const QString& title, quint64 artistId = 1,
                             quint64 albumId = 1, std::optional<int> trackNumber = std::nullopt) {
    MediaItem item;
    item.persistentID = id;
    item.artistPersistentID = artistId;
    item.albumPersistentID = albumId;
    item.title = title;
    item.artist = QStringLiteral("Artist %1").arg(artistId);
    item.albumTitle = QStringLiteral("Album %1").arg(albumId);
    item.albumTrackNumber = trackNumber;
    item.playbackDuration = 60;
    item.assetURL = QStringLiteral("/library/%1.flac").arg(id);
    return item;
}

// Counts what a list screen's model says, and checks it keeps the rules of
// item models throughout.
struct ModelWatch {
    explicit ModelWatch(ItemListModel* model)
        : tester(model, QAbstractItemModelTester::FailureReportingMode::Fatal),
          sections(model, &ItemListModel::sectionReloaded),
          data(model, &ItemListModel::dataReloaded) {}

    int reloads() const { return static_cast<int>(sections.count() + data.count()); }
    void clear() {
        sections.clear();
        data.clear();
    }

    QAbstractItemModelTester tester;
    QSignalSpy sections;
    QSignalSpy data;
};
