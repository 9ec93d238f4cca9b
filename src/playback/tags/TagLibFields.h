#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

#include "TagLibrary.h"

namespace TagLib {
class File;
}

// The tag module's readers behind the table it hands out.

// The fields of a file TagLib has opened already. Where a format has several
// tags, its leading one speaks first and the ones below fill only the fields
// it lacks; an MP3's ID3v2 tag alone speaks for it.
TagFields tagFieldsOf(TagLib::File* file);
TagFields readTagFields(const QString& path);
std::optional<QByteArray> readTagFrontCover(const QString& path);
LibraryFileTags readLibraryFile(const QString& path);
