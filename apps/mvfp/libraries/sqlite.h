// SQLite, which keeps galleries, and no other command needs.
#ifndef APPS_MVFP_LIBRARIES_SQLITE_H_
#define APPS_MVFP_LIBRARIES_SQLITE_H_

#include <sqlite3.h>

#include "libraries/library.h"

namespace corvex::mvfp {

inline constexpr Library kSqlite = {"libsqlite3.so.0", "a gallery needs SQLite",
                                    "libsqlite3-0"};

MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_bind_blob);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_bind_text);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_busy_timeout);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_changes);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_close);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_column_blob);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_column_bytes);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_column_int);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_column_int64);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_errmsg);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_errstr);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_finalize);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_open_v2);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_prepare_v2);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_reset);
MVFP_LIBRARY_FUNCTION(kSqlite, sqlite3_step);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_LIBRARIES_SQLITE_H_
