#pragma once

#include <sqlite3.h>

#include <QString>

// The database library under the library's index comes from a module of its
// own (libcorvantis-index-database.so), loaded when the index is first opened:
// a start that never shows the library maps none of it. The module is nothing
// but this table of the functions the index uses.
struct IndexDatabase {
    decltype(&sqlite3_open) open;
    decltype(&sqlite3_close) close;
    decltype(&sqlite3_exec) exec;
    decltype(&sqlite3_free) free;
    decltype(&sqlite3_errmsg) errmsg;
    decltype(&sqlite3_prepare_v2) prepare;
    decltype(&sqlite3_finalize) finalize;
    decltype(&sqlite3_step) step;
    decltype(&sqlite3_reset) reset;
    decltype(&sqlite3_bind_null) bindNull;
    decltype(&sqlite3_bind_text) bindText;
    decltype(&sqlite3_bind_int) bindInt;
    decltype(&sqlite3_bind_int64) bindInt64;
    decltype(&sqlite3_bind_double) bindDouble;
    decltype(&sqlite3_column_type) columnType;
    decltype(&sqlite3_column_text) columnText;
    decltype(&sqlite3_column_bytes) columnBytes;
    decltype(&sqlite3_column_int) columnInt;
    decltype(&sqlite3_column_int64) columnInt64;
    decltype(&sqlite3_column_double) columnDouble;

    // The process's table, loaded on first use; when that fails it logs why
    // once and answers nullptr from then on.
    static const IndexDatabase* shared();
    // Where the module is looked for (see LazyModule).
    static QString modulePath();
};

// The one symbol the module exports; its name carries the table's
// generation, so a module left from an older build is refused, not misread.
inline constexpr char kIndexDatabaseEntry[] = "corvantisIndexDatabase1";
