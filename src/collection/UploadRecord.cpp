#include "UploadRecord.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "Log.h"
#include "UserDefaults.h"

namespace UploadRecord {

std::variant<QList<UploadEntry>, QString> decode(const QByteArray& data) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError) {
        return QStringLiteral("%1 at offset %2").arg(error.errorString()).arg(error.offset);
    }
    if (!document.isArray()) {
        return QStringLiteral("the record is not an array");
    }
    QList<UploadEntry> entries;
    const QJsonArray array = document.array();
    for (qsizetype index = 0; index < array.size(); ++index) {
        if (!array.at(index).isObject()) {
            return QStringLiteral("entry %1 is not an object").arg(index);
        }
        const QJsonObject object = array.at(index).toObject();
        UploadEntry entry;
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!it.value().isString()) {
                return QStringLiteral("member \"%1\" of entry %2 is not a string")
                    .arg(it.key())
                    .arg(index);
            }
            entry.insert(it.key(), it.value().toString());
        }
        entries.append(entry);
    }
    return entries;
}

QByteArray encode(const QList<UploadEntry>& entries) {
    QJsonArray array;
    for (const UploadEntry& entry : entries) {
        QJsonObject object;
        for (auto it = entry.cbegin(); it != entry.cend(); ++it) {
            object.insert(it.key(), it.value());
        }
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<UploadEntry>> read() {
    const std::optional<QByteArray> data =
        UserDefaults::standard().dataForKey(kUploadedFilesWithSizeKey);
    if (!data) {
        return std::nullopt;
    }
    auto decoded = decode(*data);
    if (auto* entries = std::get_if<QList<UploadEntry>>(&decoded)) {
        return std::move(*entries);
    }
    return std::nullopt;
}

}  // namespace UploadRecord

void removeUploadRecord(const QString& fileName) {
    UserDefaults& defaults = UserDefaults::standard();
    const std::optional<QByteArray> data = defaults.dataForKey(kUploadedFilesWithSizeKey);
    if (!data) {
        systemLog("No uploaded files found in UserDefaults");
        return;
    }
    auto decoded = UploadRecord::decode(*data);
    if (const auto* error = std::get_if<QString>(&decoded)) {
        systemLog("Error decoding uploadedFilesWithSize data: " + *error);
        return;
    }
    auto& entries = std::get<QList<UploadEntry>>(decoded);
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const UploadEntry& entry) {
        const auto name = entry.constFind(QStringLiteral("name"));
        return name != entry.cend() && *name == fileName;
    });
    if (found == entries.end()) {
        return;
    }
    systemLog("File found in uploadedFilesWithSize");
    entries.erase(found);
    // Encoding a list of string maps cannot fail here, so the encoder's error
    // line has no path to take.
    defaults.setData(UploadRecord::encode(entries), kUploadedFilesWithSizeKey);
    systemLog("Saved updated uploadedFilesWithSize to UserDefaults");
}
