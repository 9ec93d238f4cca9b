#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <optional>
#include <variant>

// The user-defaults key of the record of uploaded files: JSON data, an array
// of objects with the string members "name" (the file name) and "size" (its
// length in bytes as decimal text), in the order of upload.
inline constexpr auto kUploadedFilesWithSizeKey = "uploadedFilesWithSize";

using UploadEntry = QMap<QString, QString>;

namespace UploadRecord {

// Decodes the record's data. Anything but an array of objects whose members
// are all strings is an error, whose text is returned.
std::variant<QList<UploadEntry>, QString> decode(const QByteArray& data);
QByteArray encode(const QList<UploadEntry>& entries);

// The record as stored; nothing when it is absent or does not decode.
std::optional<QList<UploadEntry>> read();

}  // namespace UploadRecord

// Removes the first entry named `fileName` from the record, with the log lines
// of each outcome. An absent or unreadable record is left as it is.
void removeUploadRecord(const QString& fileName);
