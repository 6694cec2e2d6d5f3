#pragma once
// Backups a contractor can trust: copies of the live database made with SQLite's online backup
// (never a file copy of an open database), checked before they count, kept by a retention rule,
// and a restore that checks the file, keeps what it replaces and swaps atomically. The lock
// that marks a running desktop program lives here too, so that the command line can respect it.

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <vector>

namespace tw {

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
// backups/Tallywright-YYYY-MM-DD-HHMMSS.db for `when`; a later backup of the same second takes
// -2, -3 ... before .db, so a name never moves into the future.
QString nameFor(const QDateTime& when, int sequence = 1);

// Copies the database at `source` into `target` by SQLite's online backup, checks the copy with
// PRAGMA integrity_check, and only then gives it the name `target` (replacing a file of that
// name). The copy is owner-only, written beside the target under a name of its own. Refuses the
// database in use and its journal as the target, and a target that is a symbolic link. Throws
// tw::Error naming the file on any failure; a half-made copy is removed and never bears the
// name. A journal a crash left beside the source is played back first.
void copyDatabase(const QString& source, const QString& target);

// "ok" when `path` is a Tallywright database of this or an older format (schema::inspect) whose
// integrity check passes; otherwise the reason, naming the file. The file is only looked at.
QString check(const QString& path);

// Makes one backup of the application folder's database now into folder() and applies the
// retention rule, which never takes the new backup. Gives the new file's path.
QString makeNow(const QDateTime& now = QDateTime::currentDateTime());
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
// database to keep).
QString restore(const QString& file, const QDateTime& now = QDateTime::currentDateTime());

} // namespace backup
} // namespace tw
