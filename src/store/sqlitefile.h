#pragma once
// SQLite below Qt, for the store's own use: looking at a file before it is trusted, and the
// online backup. Every handle, and every Qt connection, runs hardened.

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

struct sqlite3;
class QSqlDatabase;

namespace tw::sqlite {

// Code stored in a file (a view, a trigger, a default) may call only functions that cannot
// harm, and no statement may corrupt the file on purpose (writable schema and the like).
void harden(sqlite3* db);
// The same for the handle under a Qt connection.
void harden(const QSqlDatabase& db);
// The handle under a Qt connection to a file; none under a server's.
sqlite3* handleOf(const QSqlDatabase& db);

// Plays back a journal that a crash left beside the database at `path` (a hot journal), as
// SQLite does at the first read, so that the file is as it was at its last commit before it is
// inspected. A file in WAL mode has no such journal and is not touched.
void settle(const QString& path);

// A handle closed when it goes. Failures throw tw::Error naming the file.
class Handle {
public:
    Handle() = default;
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    // Opens `path` with SQLite's open flags; failures name `shown` (the file the user knows of,
    // when `path` is its temporary stand-in), else `path`.
    void open(const QString& path, int flags, const QString& shown = {});
    // Opens `path` only to look at it, so nothing is written to the file or beside it: no
    // journal played back, no -shm made, a WAL file left in WAL mode. A rollback file is opened
    // read-only (its locks keep out a writer's half-done work), any other immutable; a WAL file
    // with rows in its WAL is read through a private copy of the two.
    void inspect(const QString& path);

    sqlite3* get() const { return db_; }
    const QString& path() const { return path_; }
    // The last failure, naming the file; a full disk reads "No space left on the device".
    QString error() const;
    QString error(int code) const;

    // The rows of `sql`, `params` bound in order; each row its columns as text (a Null as a
    // null QString).
    std::vector<QStringList> rows(const QString& sql, const QStringList& params = {}) const;
    // The first column of the first row, or a null QString.
    QString scalar(const QString& sql) const;

private:
    std::unique_ptr<QTemporaryDir> copy_; // removed after the handle is closed
    sqlite3* db_ = nullptr;
    QString path_;
};

} // namespace tw::sqlite
