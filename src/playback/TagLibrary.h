#pragma once

#include <sys/stat.h>

#include <QByteArray>
#include <QString>
#include <optional>

#include "TagReader.h"

// What the library's index takes from one file in one pass over its headers.
struct LibraryFileTags {
    // False when there is no file at the path any more.
    bool exists = false;
    // The file as it was read (or found unreadable).
    struct stat status {};
    TagFields fields;
    // The length a decoder yields, where the headers state it to the sample.
    std::optional<double> exactLength;
    // An MP3 whose headers state no length: only a decoder can count it.
    bool mpegWithoutLength = false;
    // The tag library's own rounded length, for the rest.
    std::optional<double> estimatedLength;
};

// The tag library and the readers built on it, in a module of their own
// (libcorvantis-tag-library.so) loaded at the first read: a start that shows
// no track's tags yet maps none of it.
struct TagLibrary {
    TagFields (*readFields)(const QString& path);
    std::optional<QByteArray> (*readFrontCover)(const QString& path);
    LibraryFileTags (*readLibraryFile)(const QString& path);

    // The process's table, loaded on first use; when that fails it logs why
    // once and answers nullptr from then on.
    static const TagLibrary* shared();
    // Where the module is looked for (see LazyModule).
    static QString modulePath();
};

// The one symbol the module exports; its name carries the table's generation,
// so a module left from an older build is refused, not misread.
inline constexpr char kTagLibraryEntry[] = "corvantisTagLibrary1";
