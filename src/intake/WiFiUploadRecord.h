#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QThread>
#include <functional>
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
//
// The record keeps a handle of its own on the settings file, on a thread of
// its own: a settings object defers work to events of the thread that made
// it, so one thread with an event loop must own it, whoever calls the record.
class WiFiUploadRecord {
public:
    static const QString key;

    explicit WiFiUploadRecord(const QString& settingsFile);
    ~WiFiUploadRecord();
    WiFiUploadRecord(const WiFiUploadRecord&) = delete;
    WiFiUploadRecord& operator=(const WiFiUploadRecord&) = delete;

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
    // Runs `work` with the store on the store's thread and waits for it.
    void onStoreThread(const std::function<void(UserDefaults&)>& work);

    mutable std::mutex m_mutex;
    QThread m_storeThread;
    QObject* m_storeContext = nullptr;
    UserDefaults* m_store = nullptr;
    QList<UploadedFile> m_files;
};
