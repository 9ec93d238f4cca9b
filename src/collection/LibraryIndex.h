#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;
struct IndexDatabase;

// What the library source knows of one file: where it is, how it looked when
// its tags were read, and what they said (absent fields stay absent).
struct IndexedFile {
    QString path;  // relative to the library's root
    qint64 size = 0;
    qint64 modified = 0;  // ns since the epoch
    std::optional<QString> title;
    std::optional<QString> album;
    std::optional<QString> artist;
    std::optional<QString> albumArtist;
    double duration = 0.0;
    std::optional<int> trackNumber;
};

// The tags of the library's files, kept in SQLite between runs and keyed by
// path, size and modification time, so that an unchanged file is not read
// again. A damaged or unreadable database is replaced by an empty one; without
// the database library (its module would not load) the index stays empty and
// every file is read.
class LibraryIndex {
public:
    explicit LibraryIndex(const QString& databasePath);
    ~LibraryIndex();
    LibraryIndex(const LibraryIndex&) = delete;
    LibraryIndex& operator=(const LibraryIndex&) = delete;

    QHash<QString, IndexedFile> load();

    // Changes to the index, made in one transaction that is committed when
    // the object goes: a scan hands over what it has read piece by piece.
    class Transaction {
    public:
        explicit Transaction(LibraryIndex& index);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        void store(const QList<IndexedFile>& files);
        void forget(const QStringList& paths);

    private:
        LibraryIndex& m_index;
        bool m_open = false;
        sqlite3_stmt* m_insert = nullptr;
    };

private:
    bool open();
    bool exec(const char* sql);

    QString m_path;
    // Set once the database library has loaded.
    const IndexDatabase* m_sql = nullptr;
    sqlite3* m_db = nullptr;
};
