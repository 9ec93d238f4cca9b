#pragma once

#include <QString>
#include <memory>

#include "TagFixtures.h"
#include "Track.h"

// A short tagged WAV named `fileName` in the music folder.
void addMusicFile(const QString& fileName, const TagSpec& spec = {});

// A track built in memory, as a list would hold it.
TrackPtr makeTrack(const QString& title, const QString& artist = "A", const QString& album = "B",
                   const QString& fileName = {});
