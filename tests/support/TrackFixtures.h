#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>
#include <memory>

#include "AudioFixtures.h"
#include "PlaybackManager.h"
#include "Track.h"

// A track built in memory, as a list or the queue would hold it.
inline TrackPtr makeTrack(const QString& title, const QString& artist = "A",
                          const QString& album = "B", const QString& fileName = {}) {
    auto track = std::make_shared<Track>();
    track->title = title;
    track->artist = artist;
    track->album = album;
    track->albumArtist = "N/A";
    track->fileName = fileName.isEmpty() ? title + ".wav" : fileName;
    return track;
}

// A track the queue believes lasts `duration`, whose file in the music folder
// holds `audioSeconds` of a stereo 44.1 kHz WAV whose every frame tells its own
// index (no file for 0).
inline TrackPtr queuedTrack(const QString& title, double duration, double audioSeconds = 1.0) {
    TrackPtr result = makeTrack(title);
    result->duration = duration;
    if (audioSeconds > 0) {
        AudioFixture fixture;
        fixture.frames = qint64(audioSeconds * fixture.sampleRate);
        fixture.signal = FixtureSignal::framePattern();
        EXPECT_EQ(writeAudioFixture(result->url(), fixture), QString());
    }
    return result;
}

// A list screen's tap: index, queue, play.
inline void startQueue(PlaybackManager& manager, const QList<TrackPtr>& queue, int index = 0) {
    manager.setCurrentIndex(index);
    manager.setCurrentPlaylist(queue);
    manager.playCurrentTrack();
}

// title, album, artist and albumArtist, to compare in one go.
inline QStringList fieldsOf(const Track& track) {
    return {track.title, track.album, track.artist, track.albumArtist};
}
