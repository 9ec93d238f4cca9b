#pragma once

#include <QString>
#include <functional>

// The name an uploaded file is stored under in the music folder. An upload
// keeps both files: while the candidate is taken, it becomes the base, a
// blank, a counter in parentheses and the suffix, always built from the base
// ("Song.mp3", "Song (1).mp3", "Song (2).mp3", ...). The base is the client's
// name with every occurrence of the suffix removed, so "a.mp3.mp3" counts on
// as "a (1).mp3".
QString uploadStoredName(const QString& fileName,
                         const std::function<bool(const QString&)>& isTaken);

// The same rule against the entries of `directory`.
QString uploadStoredName(const QString& fileName, const QString& directory);

// A client's name that could leave the music folder or name the folder itself
// ("/", NUL, "." or ".."); such a name is refused where the file would be moved.
bool isUnsafeUploadName(const QString& fileName);
