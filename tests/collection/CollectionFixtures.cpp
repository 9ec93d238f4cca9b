#include "CollectionFixtures.h"

#include <gtest/gtest.h>

#include <QDir>

#include "AppDirectories.h"
#include "TestSupport.h"

void addMusicFile(const QString& fileName, const TagSpec& spec) {
    const QString path = QDir(downloadedMusicDirectory()).filePath(fileName);
    writeFile(path, pcmWav(80));
    EXPECT_TRUE(writeTag(path, spec)) << qPrintable(path);
}

TrackPtr makeTrack(const QString& title, const QString& artist, const QString& album,
                   const QString& fileName) {
    auto track = std::make_shared<Track>();
    track->title = title;
    track->artist = artist;
    track->album = album;
    track->albumArtist = "N/A";
    track->fileName = fileName.isEmpty() ? title + ".wav" : fileName;
    return track;
}
