#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "Track.h"
#include "TrackListState.h"

// The scans that turn the music folder into tracks. Each runs on the main
// queue after the current turn of the loop; tags are read on the worker pool,
// and the completion runs on the main thread with the tracks in the order the
// listing gave. When the state is gone by then, nothing happens and the
// completion is not called.
namespace LocalTrackStore {

// New tracks, and a second list that is always empty.
using ScanCompletion = std::function<void(QList<TrackPtr>, QList<TrackPtr>)>;
// Tracks read so far, handed on while a long scan goes on (main thread).
using ScanBatch = std::function<void(const QList<TrackPtr>&)>;

// The incremental scan: drops tracks whose file is gone from `items` and hands
// on tracks for the names not yet in it (filtered by the playlist, if any).
// When `batch` is given, the new tracks also reach it in listing order, a
// part at a time as they are read, before the completion hands on them all.
void scanNewTracks(std::weak_ptr<TrackListState> state, ScanCompletion completion,
                   ScanBatch batch = {});

// The full scans of one artist or album: `items` is emptied and every file
// whose tag text equals the name (exactly) becomes a fresh track.
void scanTracksForArtist(std::weak_ptr<TrackListState> state, const QString& artistName,
                         ScanCompletion completion);
void scanTracksForAlbum(std::weak_ptr<TrackListState> state, const QString& albumName,
                        ScanCompletion completion);

// Every entry of the music folder as a track, in listing order, for the
// album and artist lists; nothing when the folder cannot be listed. `done`
// runs on the main thread.
void readMusicDirectory(std::function<void(std::optional<QList<TrackPtr>>)> done);

// Reads a track of each name of `directory` on the worker pool and hands the
// results, in the order of `names` (nullptr where none resulted), to `done` on
// the main thread.
void readTracks(const QString& directory, const QStringList& names,
                std::function<void(QList<TrackPtr>)> done);

// The same, read in parts of at most `partSize` names, each part handed to
// `part` (nullptr dropped) on the main thread as soon as it is read; `part`
// answers false to stop the reading, and `done` is then not called. The
// first part is small so that a caller has something to show early.
using PartHandler = std::function<bool(const QList<TrackPtr>&)>;
void readTracksInParts(const QString& directory, const QStringList& names, qsizetype partSize,
                       PartHandler part, std::function<void(QList<TrackPtr>)> done);

}  // namespace LocalTrackStore
