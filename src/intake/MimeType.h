#pragma once

#include <QHash>
#include <QString>
#include <QUrl>
#include <optional>
#include <string>

namespace Intake {

// Top-level media type; the raw values are the exact texts of the type.
enum class Group { text, image, application, audio, video };

QString rawValue(Group group);
// Raw values compare exactly: "Audio" is no group.
std::optional<Group> groupFromRawValue(const QString& rawValue);

}  // namespace Intake

// A media type classified by a file name's extension. Only the cloud listing
// asks for one (to keep music), so the table is small and its gaps are part of
// the behaviour: wav, flac and aac are not music there.
class MimeType {
public:
    MimeType(Intake::Group group, QString type) : m_group(group), m_type(std::move(type)) {}

    // All four look the extension up; an unknown or empty one gives defaultMimeType().
    static MimeType fromExtension(const QString& extension);
    // The text after the last point of the last path component.
    static MimeType fromPath(const QString& path);
    // The same for a path held as native bytes (UTF-8).
    static MimeType fromPath(const std::string& path);
    static MimeType fromUrl(const QUrl& url);

    Intake::Group group() const { return m_group; }
    QString type() const { return m_type; }
    // "group/type", such as audio/mpeg.
    QString text() const;

    bool operator==(const MimeType& other) const = default;

private:
    Intake::Group m_group;
    QString m_type;
};

// Lower-case extension to type, 103 entries.
const QHash<QString, MimeType>& mimeTypesByExtension();
// application/octet-stream.
const MimeType& defaultMimeType();
// What every remote folder entry carries: a copy of defaultMimeType().
const MimeType& folderMimeType();
