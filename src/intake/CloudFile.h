#pragma once

#include <QMetaType>
#include <QString>
#include <functional>
#include <optional>
#include <variant>

#include "CloudErrors.h"
#include "MimeType.h"

// The generic names of the intake layer stay inside it: a system header
// included beside them (X11's, say) may claim the same names.
namespace Intake {

// The cloud services a file can come from.
enum class Source { dropbox };

}  // namespace Intake

// One remote file. `id` is the service's lower-case full path (empty when the
// service gave none): the key of a download everywhere and the path it asks for.
struct CloudFile {
    QString id;
    QString name;
    std::optional<Intake::Source> source;

    bool operator==(const CloudFile& other) const = default;
};
size_t qHash(const CloudFile& file, size_t seed = 0);
Q_DECLARE_METATYPE(CloudFile)

namespace Intake {

// One remote folder. Its id is always empty, so folders are told apart by name.
struct Folder {
    QString id;
    QString name;
    MimeType mimeType = folderMimeType();

    bool operator==(const Folder& other) const = default;
};

}  // namespace Intake

// One entry of a remote listing, either kind; what is done with it goes by
// which of the two it is.
class FileProtocol {
public:
    FileProtocol(CloudFile file) : m_entry(std::move(file)) {}
    FileProtocol(Intake::Folder folder) : m_entry(std::move(folder)) {}

    QString id() const;
    QString name() const;
    const CloudFile* cloudFile() const { return std::get_if<CloudFile>(&m_entry); }
    const Intake::Folder* folder() const { return std::get_if<Intake::Folder>(&m_entry); }

private:
    std::variant<CloudFile, Intake::Folder> m_entry;
};

// How far a transfer has come, as the service's progress object tells it.
struct TransferProgress {
    qint64 completedUnitCount = 0;
    qint64 totalUnitCount = 0;

    // 0 while the total is unknown, like a progress object without a total.
    double fractionCompleted() const;
};

// What the download books need of a cloud client.
class CloudDriveManager {
public:
    using ProgressHandler = std::function<void(const TransferProgress&)>;
    using DownloadHandler = std::function<void(const Result<QString>&)>;

    virtual ~CloudDriveManager() = default;
    // Both handlers run later, on the main thread. `destination` is a local path.
    virtual void downloadFile(const CloudFile& file, const QString& destination,
                              ProgressHandler onProgress, DownloadHandler onDone) = 0;
    virtual void cancelFile(const QString& id) = 0;
};
