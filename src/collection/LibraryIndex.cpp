#include "LibraryIndex.h"

#include <sqlite3.h>

#include <QFile>
#include <QLoggingCategory>

namespace {

Q_LOGGING_CATEGORY(lcLibraryIndex, "corvantis.collection.index")

// Bumped whenever what is stored per file changes; an older index is dropped.
// 2: lengths are the decoder's, no longer TagLib's milliseconds.
constexpr int kSchemaVersion = 2;

constexpr auto kSchema = R"(
CREATE TABLE IF NOT EXISTS files (
    path TEXT PRIMARY KEY NOT NULL,
    size INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    title TEXT, album TEXT, artist TEXT, album_artist TEXT,
    duration REAL NOT NULL,
    track_number INTEGER
) WITHOUT ROWID;
)";

void bindText(sqlite3_stmt* statement, int index, const std::optional<QString>& text) {
    if (!text) {
        sqlite3_bind_null(statement, index);
        return;
    }
    const QByteArray utf8 = text->toUtf8();
    sqlite3_bind_text(statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

class Statement {
public:
    Statement(sqlite3* db, const char* sql) {
        if (sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr) != SQLITE_OK) {
            qCWarning(lcLibraryIndex) << "prepare failed:" << sqlite3_errmsg(db);
            m_statement = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

    std::optional<QString> text(int column) const {
        if (sqlite3_column_type(m_statement, column) == SQLITE_NULL) {
            return std::nullopt;
        }
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return QString::fromUtf8(bytes, sqlite3_column_bytes(m_statement, column));
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

}  // namespace

LibraryIndex::LibraryIndex(const QString& databasePath) : m_path(databasePath) {}

LibraryIndex::~LibraryIndex() {
    sqlite3_close(m_db);
}

bool LibraryIndex::exec(const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        qCWarning(lcLibraryIndex) << "statement failed:" << (error ? error : "?");
        sqlite3_free(error);
        return false;
    }
    return true;
}

bool LibraryIndex::open() {
    if (m_db) {
        return true;
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (sqlite3_open(QFile::encodeName(m_path).constData(), &m_db) == SQLITE_OK) {
            bool readable = false;
            int stored = -1;
            {
                Statement version(m_db, "PRAGMA user_version");
                readable = version && sqlite3_step(version.get()) == SQLITE_ROW;
                stored = readable ? sqlite3_column_int(version.get(), 0) : -1;
            }
            // The journal first, so that making the schema does not wait for
            // the disk as a rollback journal would.
            if (readable) {
                exec("PRAGMA journal_mode = WAL");
                exec("PRAGMA synchronous = NORMAL");
            }
            if (readable && stored != kSchemaVersion) {
                exec("DROP TABLE IF EXISTS files");
            }
            if (readable && exec(kSchema) &&
                exec(QByteArray("PRAGMA user_version = " + QByteArray::number(kSchemaVersion))
                         .constData())) {
                return true;
            }
        }
        // Not a database we can use: start over with an empty one.
        qCWarning(lcLibraryIndex) << "replacing the library index at" << m_path;
        sqlite3_close(m_db);
        m_db = nullptr;
        QFile::remove(m_path);
        QFile::remove(m_path + "-wal");
        QFile::remove(m_path + "-shm");
    }
    return false;
}

QHash<QString, IndexedFile> LibraryIndex::load() {
    QHash<QString, IndexedFile> files;
    if (!open()) {
        return files;
    }
    Statement select(m_db,
                     "SELECT path, size, modified, title, album, artist, album_artist, duration, "
                     "track_number FROM files");
    if (!select) {
        return files;
    }
    while (sqlite3_step(select.get()) == SQLITE_ROW) {
        IndexedFile file;
        file.path = *select.text(0);
        file.size = sqlite3_column_int64(select.get(), 1);
        file.modified = sqlite3_column_int64(select.get(), 2);
        file.title = select.text(3);
        file.album = select.text(4);
        file.artist = select.text(5);
        file.albumArtist = select.text(6);
        file.duration = sqlite3_column_double(select.get(), 7);
        if (sqlite3_column_type(select.get(), 8) != SQLITE_NULL) {
            file.trackNumber = sqlite3_column_int(select.get(), 8);
        }
        files.insert(file.path, file);
    }
    return files;
}

LibraryIndex::Transaction::Transaction(LibraryIndex& index) : m_index(index) {
    m_open = m_index.open() && m_index.exec("BEGIN");
}

LibraryIndex::Transaction::~Transaction() {
    sqlite3_finalize(m_insert);
    if (m_open) {
        m_index.exec("COMMIT");
    }
}

void LibraryIndex::Transaction::store(const QList<IndexedFile>& files) {
    if (!m_open || files.isEmpty()) {
        return;
    }
    // Prepared once for all the pieces of a scan.
    if (!m_insert &&
        sqlite3_prepare_v2(m_index.m_db,
                           "INSERT OR REPLACE INTO files (path, size, modified, title, album, "
                           "artist, album_artist, duration, track_number) "
                           "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                           -1, &m_insert, nullptr) != SQLITE_OK) {
        qCWarning(lcLibraryIndex) << "prepare failed:" << sqlite3_errmsg(m_index.m_db);
        m_open = false;
        m_index.exec("ROLLBACK");
        return;
    }
    for (const IndexedFile& file : files) {
        bindText(m_insert, 1, file.path);
        sqlite3_bind_int64(m_insert, 2, file.size);
        sqlite3_bind_int64(m_insert, 3, file.modified);
        bindText(m_insert, 4, file.title);
        bindText(m_insert, 5, file.album);
        bindText(m_insert, 6, file.artist);
        bindText(m_insert, 7, file.albumArtist);
        sqlite3_bind_double(m_insert, 8, file.duration);
        if (file.trackNumber) {
            sqlite3_bind_int(m_insert, 9, *file.trackNumber);
        } else {
            sqlite3_bind_null(m_insert, 9);
        }
        sqlite3_step(m_insert);
        sqlite3_reset(m_insert);
    }
}

void LibraryIndex::Transaction::forget(const QStringList& paths) {
    if (!m_open || paths.isEmpty()) {
        return;
    }
    Statement erase(m_index.m_db, "DELETE FROM files WHERE path = ?");
    if (!erase) {
        return;
    }
    for (const QString& path : paths) {
        bindText(erase.get(), 1, path);
        sqlite3_step(erase.get());
        sqlite3_reset(erase.get());
    }
}
