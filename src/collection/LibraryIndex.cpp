#include "LibraryIndex.h"

#include <QFile>
#include <QLoggingCategory>

#include "IndexDatabase.h"

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

void bindText(const IndexDatabase& sql, sqlite3_stmt* statement, int index,
              const std::optional<QString>& text) {
    if (!text) {
        sql.bindNull(statement, index);
        return;
    }
    const QByteArray utf8 = text->toUtf8();
    sql.bindText(statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

class Statement {
public:
    Statement(const IndexDatabase& sql, sqlite3* db, const char* text) : m_sql(sql) {
        if (m_sql.prepare(db, text, -1, &m_statement, nullptr) != SQLITE_OK) {
            qCWarning(lcLibraryIndex) << "prepare failed:" << m_sql.errmsg(db);
            m_statement = nullptr;
        }
    }
    ~Statement() { m_sql.finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

    std::optional<QString> text(int column) const {
        if (m_sql.columnType(m_statement, column) == SQLITE_NULL) {
            return std::nullopt;
        }
        const auto* bytes = reinterpret_cast<const char*>(m_sql.columnText(m_statement, column));
        return QString::fromUtf8(bytes, m_sql.columnBytes(m_statement, column));
    }

private:
    const IndexDatabase& m_sql;
    sqlite3_stmt* m_statement = nullptr;
};

}  // namespace

LibraryIndex::LibraryIndex(const QString& databasePath) : m_path(databasePath) {}

LibraryIndex::~LibraryIndex() {
    if (m_sql) {
        m_sql->close(m_db);
    }
}

bool LibraryIndex::exec(const char* sql) {
    char* error = nullptr;
    if (m_sql->exec(m_db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        qCWarning(lcLibraryIndex) << "statement failed:" << (error ? error : "?");
        m_sql->free(error);
        return false;
    }
    return true;
}

bool LibraryIndex::open() {
    if (m_db) {
        return true;
    }
    m_sql = IndexDatabase::shared();
    if (!m_sql) {
        return false;
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (m_sql->open(QFile::encodeName(m_path).constData(), &m_db) == SQLITE_OK) {
            bool readable = false;
            int stored = -1;
            {
                Statement version(*m_sql, m_db, "PRAGMA user_version");
                readable = version && m_sql->step(version.get()) == SQLITE_ROW;
                stored = readable ? m_sql->columnInt(version.get(), 0) : -1;
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
        m_sql->close(m_db);
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
    Statement select(*m_sql, m_db,
                     "SELECT path, size, modified, title, album, artist, album_artist, duration, "
                     "track_number FROM files");
    if (!select) {
        return files;
    }
    const IndexDatabase& sql = *m_sql;
    while (sql.step(select.get()) == SQLITE_ROW) {
        IndexedFile file;
        file.path = *select.text(0);
        file.size = sql.columnInt64(select.get(), 1);
        file.modified = sql.columnInt64(select.get(), 2);
        file.title = select.text(3);
        file.album = select.text(4);
        file.artist = select.text(5);
        file.albumArtist = select.text(6);
        file.duration = sql.columnDouble(select.get(), 7);
        if (sql.columnType(select.get(), 8) != SQLITE_NULL) {
            file.trackNumber = sql.columnInt(select.get(), 8);
        }
        files.insert(file.path, file);
    }
    return files;
}

LibraryIndex::Transaction::Transaction(LibraryIndex& index) : m_index(index) {
    m_open = m_index.open() && m_index.exec("BEGIN");
}

LibraryIndex::Transaction::~Transaction() {
    if (m_index.m_sql) {
        m_index.m_sql->finalize(m_insert);
    }
    if (m_open) {
        m_index.exec("COMMIT");
    }
}

void LibraryIndex::Transaction::store(const QList<IndexedFile>& files) {
    if (!m_open || files.isEmpty()) {
        return;
    }
    const IndexDatabase& sql = *m_index.m_sql;
    // Prepared once for all the pieces of a scan.
    if (!m_insert &&
        sql.prepare(m_index.m_db,
                    "INSERT OR REPLACE INTO files (path, size, modified, title, album, "
                    "artist, album_artist, duration, track_number) "
                    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                    -1, &m_insert, nullptr) != SQLITE_OK) {
        qCWarning(lcLibraryIndex) << "prepare failed:" << sql.errmsg(m_index.m_db);
        m_open = false;
        m_index.exec("ROLLBACK");
        return;
    }
    for (const IndexedFile& file : files) {
        bindText(sql, m_insert, 1, file.path);
        sql.bindInt64(m_insert, 2, file.size);
        sql.bindInt64(m_insert, 3, file.modified);
        bindText(sql, m_insert, 4, file.title);
        bindText(sql, m_insert, 5, file.album);
        bindText(sql, m_insert, 6, file.artist);
        bindText(sql, m_insert, 7, file.albumArtist);
        sql.bindDouble(m_insert, 8, file.duration);
        if (file.trackNumber) {
            sql.bindInt(m_insert, 9, *file.trackNumber);
        } else {
            sql.bindNull(m_insert, 9);
        }
        sql.step(m_insert);
        sql.reset(m_insert);
    }
}

void LibraryIndex::Transaction::forget(const QStringList& paths) {
    if (!m_open || paths.isEmpty()) {
        return;
    }
    const IndexDatabase& sql = *m_index.m_sql;
    Statement erase(sql, m_index.m_db, "DELETE FROM files WHERE path = ?");
    if (!erase) {
        return;
    }
    for (const QString& path : paths) {
        bindText(sql, erase.get(), 1, path);
        sql.step(erase.get());
        sql.reset(erase.get());
    }
}
