#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <mutex>

class UserDefaults;

// One uploaded file: the stored name in the music folder and its length in
// bytes as decimal text (a string in memory, on disk and on the wire).
struct UploadedFile {
    QString name;
    QString size;
    bool operator==(const UploadedFile&) const = default;
};

// The upload server's side of the "uploadedFilesWithSize" record: the JSON
// bytes of an array of {"name", "size"} objects under that key. Only a listing
// reads the store; a saved file appends to the in-memory list and writes the
// whole list back. So an upload before the first listing replaces what was
// stored, which is how the record is meant to behave. Every member takes the
// one mutex, since request handlers run on several threads at once.
class WiFiUploadRecord {
public:
    static const QString key;

    // `store` must outlive the record and be used by no other thread meanwhile.
    explicit WiFiUploadRecord(UserDefaults& store);

    // GET /files: reloads the in-memory list from the store (an absent or
    // undecodable record reads as empty) and answers {"files":[...]}.
    QByteArray reloadAsFilesJson();

    // Appends one saved file and stores the whole list at once.
    void append(const QString& name, qint64 size);

    QList<UploadedFile> files() const;

    static QByteArray encode(const QList<UploadedFile>& files);
    // An array of objects whose members are all strings, else an error text.
    static bool decode(const QByteArray& bytes, QList<UploadedFile>* files, QString* error);

private:
    mutable std::mutex m_mutex;
    UserDefaults& m_store;
    QList<UploadedFile> m_files;
};
