#pragma once

#include <sys/stat.h>

#include <QString>

#include "LibraryIndex.h"

// Size and modification time of `file` as the index keys them.
void setStatus(IndexedFile& file, const struct stat& status);

// Fills the tag fields, track number and length of `file` from the audio file
// at `absolutePath`, and its size and modification time as it was read; a
// file that cannot be read keeps the tag fields absent. False when there is
// no file at the path any more. The fields are read as a track reads them
// (TagReader), through a stream that spares TagLib most system calls. The
// length is the decoder's, as Track measures it.
// Safe to call from several threads at once.
bool readLibraryTags(const QString& absolutePath, IndexedFile& file);
