#pragma once
// Backups a contractor can trust: copies of the live database made with SQLite's online backup
// (never a file copy of an open database), checked before they count, kept by a retention rule,
// and a restore that checks the file, keeps what it replaces and swaps atomically. The lock
// that marks a running desktop program lives here too, so that the command line can respect it.

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace tw {

class AtomicFile;
struct ServerAddress;

// The mark of a running copy of the program: Tallywright.lock in the application folder, locked
// (flock) for as long as the object lives. The system lets go of the lock when the process
// ends, however it ends, so a file left behind by a copy that died never stands in the way;
// what the file holds does not matter. The file is only ever locked, never removed: a lock file
// this user cannot open (another user's, a symbolic link) is reported, naming it, since
// removing it would let a second copy run beside the first.
class AppLock {
public:
    enum class State { Held, Running, Failed };
    explicit AppLock(const QString& folder);
    ~AppLock();
    AppLock(const AppLock&) = delete;
    AppLock& operator=(const AppLock&) = delete;
    State state() const { return state_; }
    // Why the lock could not be taken, naming the folder or the lock file; empty unless Failed.
    const QString& error() const { return error_; }

private:
    int fd_ = -1;
    State state_ = State::Failed;
    QString error_;
};

namespace backup {

struct Entry {
    QString path;
    QDateTime made;   // from the file name
    int sequence = 1; // the second backup of one second is -2, and so on
    qint64 size = 0;
    QString check; // "ok", or what is wrong with the copy
};

// The folder of automatic backups: backups/ in the application folder.
QString folder();
// backups/Tallywright-YYYY-MM-DD-HHMMSS.db for `when` (.dump for a server store's); a later
// backup of the same second takes -2, -3 ... before the extension, so a name never moves into
// the future.
QString nameFor(const QDateTime& when, int sequence = 1);

// Copies the database at `source` into `target` by SQLite's online backup, checks the copy with
// PRAGMA integrity_check, and only then gives it the name `target` (replacing a file of that
// name). The copy is owner-only, written beside the target under a name of its own. Refuses the
// database in use and its journal as the target, and a target that is a symbolic link. Throws
// tw::Error naming the file on any failure; a half-made copy is removed and never bears the
// name. A journal a crash left beside the source is played back first.
void copyDatabase(const QString& source, const QString& target);

// "ok" when `path` is a Tallywright database of this or an older format (schema::inspect) whose
// integrity check passes, or a server's backup (.dump) of one (checkDump); otherwise the reason,
// naming the file. The file is only looked at.
QString check(const QString& path);

// Told as a backup of the file goes on: the pages copied so far, of how many (0 of 0 while it
// waits for another program's write). False stops the backup.
using Copying = std::function<bool(int copied, int total)>;
// Thrown when `Copying` stopped a backup: nothing of it is left in the folder.
struct Stopped {};

// Makes one backup of the books now into folder(), the local file's or the server database's,
// and applies the retention rule, which never takes the new backup. Gives the new file's path.
// `copying` is told how the file's copy goes on and may stop it (Stopped is thrown).
QString makeNow(const QDateTime& now = QDateTime::currentDateTime(), const Copying& copying = {});
// True when folder() holds a backup made on `day`.
bool madeOn(const QDate& day);
// The backups in folder(), newest first, each checked.
std::vector<Entry> list();
// Keeps the newest 10 backups, plus the newest of each of the last 12 months (counting the
// month of `now`), plus the files in `spare`; removes the others. Files not named as backups
// are left alone.
void prune(const QDateTime& now, const QStringList& spare = {});
// Removes what killed backups and restores left behind: the temporary files (*.part) in
// folder() and beside the database, and their journals. A file still being written is locked by
// its writer and stays.
void sweep();

// Puts `file` in place of the application folder's database: refuses (tw::Error) a file that
// fails check(), and while a desktop program holds the folder's lock; copies `file` beside the
// database, keeps the database it replaces as a backup (`file` itself is never pruned then),
// and swaps the files atomically. Gives the path of that backup (empty when there was no
// database to keep). On a server store: restoreDump into the store's database, which must be
// empty, so nothing is replaced.
QString restore(const QString& file, const QDateTime& now = QDateTime::currentDateTime());

// ---- a server store's backups ----

// The server's program `name` (pg_dump, pg_restore): on the search path, else the newest in the
// server's own folders. Throws tw::Error naming the package that brings it when it is missing.
QString serverTool(const QString& name);
// Dumps the server database at `address` in the server's own format into the temporary file of
// `into`, and checks the dump. Throws tw::Error with what the server's program said.
void dumpDatabase(const ServerAddress& address, AtomicFile& into);
// "ok" when `path` is a dump (pg_restore reads its contents) holding every table of the
// program and its rows; otherwise the reason, naming the file.
QString checkDump(const QString& path);
// Loads the dump `file` into the empty server database at `address` in one transaction, then
// checks the database as opening it does; a database that fails the check is emptied again.
// Throws tw::Error for a file that fails checkDump, a database that is not empty, or a failure.
void restoreDump(const QString& file, const ServerAddress& address);

} // namespace backup
} // namespace tw
