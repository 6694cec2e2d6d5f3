#pragma once
// Reading a long run of a file table's rows on two cores.

#include "store/store.h"

#include <memory>

struct sqlite3;

namespace tw::sqlite {

// The rows of `select` on `file`, whose first column is the row's identity and whose others
// `columns` describes, each value as Qt's reader gives it; a text equal to the last one of its
// column is that one again. One thread steps the statement and reads its values while the
// calling one makes the rows of those read before. Throws tw::Error with SQLite's text.
Rows readRows(sqlite3* file, const QString& select,
              const std::shared_ptr<const QSqlRecord>& columns);

} // namespace tw::sqlite
