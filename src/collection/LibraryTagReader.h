#pragma once

#include <QString>

#include "LibraryIndex.h"

// Fills the tag fields, track number and length of `file` from the audio file
// at `absolutePath`; a file that cannot be read keeps them absent. Fields are
// those of TagLib's property map (several values joined by " / ", empty
// values absent), read straight from the format's own tag where that is the
// one the map would show. Safe to call from several threads at once.
void readLibraryTags(const QString& absolutePath, IndexedFile& file);
