#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <optional>

// Writes a file under a temporary name in the same directory and renames it
// over the path on commit(): readers see the old file or the whole new one,
// and a failure leaves the old one as it was. Unlike QSaveFile, a symbolic
// link at the path is itself replaced, never written through: a file the
// application keeps must not become a way to overwrite some other file.
// The new file gets the permissions a new file gets (the umask applies).
class ReplacingFile {
public:
    explicit ReplacingFile(QString path);
    ~ReplacingFile();  // drops the temporary file unless committed
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    bool open();
    bool write(const char* data, qint64 size);
    bool write(const QByteArray& bytes) { return write(bytes.constData(), bytes.size()); }
    // Flushes to the disk and renames; false (and the old file kept) on failure.
    bool commit();
    // Why the last step failed.
    QString errorString() const { return m_error; }

    // Writes `bytes` as the whole new content of `path`; nothing on success,
    // else why not.
    static std::optional<QString> replace(const QString& path, const QByteArray& bytes);

private:
    bool fail(int error);
    void discard();

    QString m_path;
    QByteArray m_temporary;
    int m_fd = -1;
    QString m_error;
};
