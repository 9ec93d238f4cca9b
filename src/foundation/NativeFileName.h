#pragma once

#include <QByteArray>
#include <QString>

// File names on Linux are bytes, not text. A name that is not valid UTF-8
// would lose its bytes in QFile::decodeName and could then never be opened
// again, so names read from the system go through here: each byte that is not
// part of valid UTF-8 is kept as the lone surrogate U+DC80 + (byte - 0x80),
// which no valid text contains, and encode() turns it back into that byte.
// Every path that such a name may be part of is opened through encode().
namespace NativeFileName {

// The name (or path) as text, every byte kept.
QString decode(const QByteArray& native);
// The bytes the system knows the name by.
QByteArray encode(const QString& name);
// What a person is shown: each kept byte as U+FFFD, the replacement character.
QString forDisplay(const QString& name);

}  // namespace NativeFileName
