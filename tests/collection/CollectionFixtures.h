#pragma once

#include <QString>
#include <memory>

#include "TagFixtures.h"
#include "TrackFixtures.h"

// A short tagged WAV named `fileName` in the music folder.
void addMusicFile(const QString& fileName, const TagSpec& spec = {});
