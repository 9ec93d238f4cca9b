#include "IndexDatabase.h"

extern "C" __attribute__((visibility("default"))) const IndexDatabase* corvantisIndexDatabase1() {
    static const IndexDatabase database{
        &sqlite3_open,         &sqlite3_close,       &sqlite3_exec,         &sqlite3_free,
        &sqlite3_errmsg,       &sqlite3_prepare_v2,  &sqlite3_finalize,     &sqlite3_step,
        &sqlite3_reset,        &sqlite3_bind_null,   &sqlite3_bind_text,    &sqlite3_bind_int,
        &sqlite3_bind_int64,   &sqlite3_bind_double, &sqlite3_column_type,  &sqlite3_column_text,
        &sqlite3_column_bytes, &sqlite3_column_int,  &sqlite3_column_int64, &sqlite3_column_double,
    };
    return &database;
}
