#pragma once
// Backups a contractor can trust: copies of the live database made with SQLite's online backup
// (never a file copy of an open database), checked before they count, kept by a retention rule,
// and a restore that checks the file, keeps what it replaces and swaps atomically. The lock
// that marks a running desktop program lives here too, so that the command line can respect it.

#include <QDateTime>
#include <QString>

#include <vector>

namespace tw {

// The mark of a running copy of the program: Tallywright.lock in the application folder, locked
// (flock) for as long as the object lives. The system lets go of the lock when the process
// ends, however it ends, so a file left behind by a copy that died never stands in the way;
// what the file holds does not matter.
class AppLock {
public:
    enum class State { Held, Running, Failed };
    explicit AppLock(const QString& folder);
    ~AppLock();
    AppLock(const AppLock&) = delete;
    AppLock& operator=(const AppLock&) = delete;
    State state() const { return state_; }
    // Why the lock could not be taken, naming the folder; empty unless Failed.
    const QString& error() const { return error_; }

private:
    int fd_ = -1;
    State state_ = State::Failed;
    QString error_;
};

namespace backup {

struct Entry {
    QString path;
    QDateTime made; // from the file name
    qint64 size = 0;
    QString check; // "ok", or what is wrong with the copy
};

// The folder of automatic backups: backups/ in the application folder.
QString folder();
// backups/Tallywright-YYYY-MM-DD-HHMMSS.db for `when`.
QString nameFor(const QDateTime& when);

// Copies the database at `source` into `target` by SQLite's online backup, checks the copy with
// PRAGMA integrity_check, and only then gives it the name `target` (replacing a file of that
// name). The copy is owner-only. Throws tw::Error naming the file on any failure; a half-made
// copy is removed and never bears the name.
void copyDatabase(const QString& source, const QString& target);

// "ok" when `path` is a Tallywright database of this or an older format whose integrity check
// passes; otherwise the reason, naming the file.
QString check(const QString& path);

// Makes one backup of the application folder's database now into folder() and applies the
// retention rule. Gives the new file's path.
QString makeNow(const QDateTime& now = QDateTime::currentDateTime());
// True when folder() holds a backup made on `day`.
bool madeOn(const QDate& day);
// The backups in folder(), newest first, each checked.
std::vector<Entry> list();
// Keeps the newest 10 backups, plus the newest of each of the last 12 months (counting the
// month of `now`); removes the others. Files not named as backups are left alone.
void prune(const QDateTime& now);

// Puts `file` in place of the application folder's database: refuses (tw::Error) a file that
// fails check(), and while a desktop program holds the folder's lock; keeps the database it
// replaces as a backup first; then swaps the files atomically. Gives the path of that backup
// (empty when there was no database to keep).
QString restore(const QString& file, const QDateTime& now = QDateTime::currentDateTime());

} // namespace backup
} // namespace tw
