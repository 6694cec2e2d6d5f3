#pragma once
// Reading a long run of a server table's rows at the speed the server sends them.

#include "store/store.h"

#include <memory>
#include <optional>

struct pg_conn; // libpq's PGconn

namespace tw::server {

// The libpq connection under the server database open on `db`; nullptr for the file.
pg_conn* connectionOf(const QSqlDatabase& db);

// The rows of `select` on the server database open on `db`, whose first column is the row's
// identity and whose others `columns` describes (names and types, as Qt's driver gives them),
// streamed in the server's binary form and made the values Qt's driver would give; a text equal to
// the last one of its column is that one again. nullopt when a column is of a type this does not
// read, before anything is read. Throws tw::Error with the server's text when the server fails it.
std::optional<Rows> copiedRows(const QSqlDatabase& db, const QString& select,
                               const std::shared_ptr<const QSqlRecord>& columns);

} // namespace tw::server
