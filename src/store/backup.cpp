#include "store/backup.h"

#include "store/files.h"
#include "store/schema.h"
#include "store/sqlitefile.h"
#include "store/store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <map>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {

namespace {
QString native(const QString& path) {
    return QDir::toNativeSeparators(path);
}
} // namespace

// ---- running-copy lock --------------------------------------------------------------------

AppLock::AppLock(const QString& folder) {
    const QString lockFile = QDir(folder).filePath(QStringLiteral("Tallywright.lock"));
    auto fail = [&](const QString& text) {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
        state_ = State::Failed;
        error_ = text;
    };
    // The database and its journal are written in this folder too: one that takes no new file
    // is better told now than at the first save.
    if (const QString why = AppFolder::unwritable(folder); !why.isEmpty()) {
        fail(why);
        return;
    }
    const QByteArray path = QFile::encodeName(lockFile);
    fd_ = ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd_ < 0) {
        const int err = errno;
        fail(err == ELOOP ? QStringLiteral("The lock %1 is a symbolic link; Tallywright takes no "
                                           "lock through one.")
                                .arg(native(lockFile))
                          : QStringLiteral("The lock %1 cannot be opened: %2")
                                .arg(native(lockFile), systemErrorText(err)));
        return;
    }
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int err = errno;
        if (err != EWOULDBLOCK) {
            fail(QStringLiteral("The lock %1 cannot be taken: %2")
                     .arg(native(lockFile), systemErrorText(err)));
            return;
        }
        ::close(fd_);
        fd_ = -1;
        state_ = State::Running;
        return;
    }
    state_ = State::Held;
    // The process id is for a person looking into the folder. It goes only into a file of this
    // user's with no other name: a file linked to another is never cut short.
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode) || st.st_nlink != 1 ||
        st.st_uid != ::geteuid())
        return;
    // A disk too full to take the id refuses the first save as well, and says so there.
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::fchmod(fd_, 0600) == 0 && ::ftruncate(fd_, 0) == 0) {
        const ssize_t written = ::pwrite(fd_, pid.constData(), size_t(pid.size()), 0);
        Q_UNUSED(written);
    }
}

AppLock::~AppLock() {
    if (fd_ >= 0)
        ::close(fd_);
}

namespace backup {
namespace {

const QString prefix = QStringLiteral("Tallywright-");
const QString stampFormat = QStringLiteral("yyyy-MM-dd-HHmmss");

// "ok", or what is wrong with the database open on `h`: not one of this program's, or damaged.
QString verdictOf(const sqlite::Handle& h) {
    try {
        schema::inspect(h);
    } catch (const Error& e) {
        return e.text();
    }
    const QString integrity = h.scalar(QStringLiteral("pragma integrity_check"));
    if (integrity != QLatin1String("ok"))
        return QStringLiteral("%1 is damaged: %2").arg(native(h.path()), integrity);
    return QStringLiteral("ok");
}

// Copies the database open on `from` into the temporary file of `to` by SQLite's online
// backup, and checks the copy. Failures name the target. `copying`, told after each run of
// pages, may stop it.
void backupInto(const sqlite::Handle& from, AtomicFile& to, const Copying& copying = {}) {
    sqlite::Handle copy;
    copy.open(to.path(), SQLITE_OPEN_READWRITE, to.target());
    // The copy is thrown away unless it completes, so it keeps no journal on the disk.
    copy.scalar(QStringLiteral("pragma journal_mode=memory"));
    sqlite3_backup* b = sqlite3_backup_init(copy.get(), "main", from.get(), "main");
    if (!b)
        throw Error(copy.error());
    // A run waits for another program's write a little at a time, so that a stop is heard
    // between the waits.
    if (copying)
        sqlite3_busy_timeout(from.get(), 100);
    int rc;
    do {
        rc = sqlite3_backup_step(b, 256);
        if (copying && !copying(sqlite3_backup_pagecount(b) - sqlite3_backup_remaining(b),
                                sqlite3_backup_pagecount(b))) {
            sqlite3_backup_finish(b);
            throw Stopped{};
        }
        if (rc == SQLITE_BUSY || rc == SQLITE_LOCKED)
            sqlite3_sleep(20);
    } while (rc == SQLITE_OK || rc == SQLITE_BUSY || rc == SQLITE_LOCKED);
    const int pages = sqlite3_backup_pagecount(b);
    sqlite3_backup_finish(b);
    if (rc != SQLITE_DONE)
        throw Error(copy.error(rc));
    // The check of a large copy takes longer than the copy: a stop is heard there too.
    struct Checking {
        const Copying& copying;
        int pages;
        bool stopped = false;
    } checking{copying, pages};
    if (copying)
        sqlite3_progress_handler(
            copy.get(), 10000,
            [](void* c) {
                auto& checking = *static_cast<Checking*>(c);
                checking.stopped = !checking.copying(checking.pages, checking.pages);
                return int(checking.stopped);
            },
            &checking);
    QString verdict;
    try {
        verdict = verdictOf(copy);
    } catch (const Error&) {
        if (!checking.stopped)
            throw;
    }
    if (checking.stopped)
        throw Stopped{};
    if (verdict != QLatin1String("ok"))
        throw Error(verdict);
}

// The program's own database, opened so that a journal a crash left beside it is played back
// as every connection of the program would; nothing is written to it here.
void openLive(sqlite::Handle& h, const QString& path) {
    if (!QFileInfo(path).isFile())
        throw Error(QStringLiteral("%1: there is no database to copy.").arg(native(path)));
    h.open(path, SQLITE_OPEN_READWRITE);
}

const QRegularExpression& nameRule() {
    static const QRegularExpression re(
        QStringLiteral("^Tallywright-(\\d{4}-\\d\\d-\\d\\d-\\d{6})(?:-(\\d+))?\\.(?:db|dump)$"));
    return re;
}

// The extension of a backup of the books in use: a server's dump, or a copy of the file.
QString extension() {
    return Store::server() ? QStringLiteral(".dump") : QStringLiteral(".db");
}

// The backups of folder() with their times, newest first (no check).
std::vector<Entry> found() {
    std::vector<Entry> out;
    const QDir dir(folder());
    for (const QFileInfo& f : dir.entryInfoList(
             {prefix + QStringLiteral("*.db"), prefix + QStringLiteral("*.dump")}, QDir::Files)) {
        const auto m = nameRule().match(f.fileName());
        const QDateTime made =
            m.hasMatch() ? QDateTime::fromString(m.captured(1), stampFormat) : QDateTime();
        if (made.isValid())
            out.push_back({f.filePath(),
                           made,
                           m.captured(2).isEmpty() ? 1 : m.captured(2).toInt(),
                           f.size(),
                           {}});
    }
    std::sort(out.begin(), out.end(), [](const Entry& a, const Entry& b) {
        return a.made != b.made ? a.made > b.made : a.sequence > b.sequence;
    });
    return out;
}

QString makeBackup(const QDateTime& now, const QStringList& spare, const Copying& copying = {}) {
    if (!QDir().mkpath(folder())) {
        const QString why = AppFolder::unwritable(AppFolder::path());
        throw Error(why.isEmpty() ? QStringLiteral("%1 cannot be made.").arg(native(folder()))
                                  : why);
    }
    QFile::setPermissions(folder(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    sweep();
    AtomicFile copy(nameFor(now), AtomicFile::Kind::OwnerOnly);
    if (const auto& server = Store::server()) {
        dumpDatabase(*server, copy);
    } else {
        sqlite::Handle live;
        openLive(live, AppFolder::databasePath());
        backupInto(live, copy, copying);
    }
    // A backup made in the same second keeps its name; this one takes the next, after the
    // highest of that second, so that the order of the names stays the order of the backups.
    int sequence = 1;
    const QDateTime second = QDateTime::fromString(now.toString(stampFormat), stampFormat);
    for (const Entry& e : found())
        if (e.made == second)
            sequence = std::max(sequence, e.sequence + 1);
    for (;; ++sequence) {
        const QString name = nameFor(now, sequence);
        if (copy.commitAsNew(name)) {
            prune(now, QStringList(spare) << name);
            return name;
        }
    }
}

// True when nobody writes `path`: a writer holds its lock for as long as it writes.
bool abandoned(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return errno == ELOOP; // a link is nobody's work in progress
    const bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return free;
}

void sweepFolder(const QString& dir, const QString& stem) {
    const QDir d(dir);
    for (const QString& name :
         d.entryList({stem + QStringLiteral("*.part")}, QDir::Files | QDir::System))
        if (abandoned(d.filePath(name)))
            QFile::remove(d.filePath(name));
    for (const QString& name :
         d.entryList({stem + QStringLiteral("*.part-journal")}, QDir::Files | QDir::System)) {
        const QString part = d.filePath(name.chopped(int(qstrlen("-journal"))));
        if (!QFileInfo::exists(part))
            QFile::remove(d.filePath(name));
    }
}

} // namespace

QString folder() {
    return AppFolder::file(QStringLiteral("backups"));
}

QString nameFor(const QDateTime& when, int sequence) {
    const QString more = sequence > 1 ? QStringLiteral("-%1").arg(sequence) : QString();
    return QDir(folder()).filePath(prefix + when.toString(stampFormat) + more + extension());
}

void copyDatabase(const QString& source, const QString& target) {
    AtomicFile copy(target, AtomicFile::Kind::OwnerOnly);
    sqlite::Handle from;
    openLive(from, source);
    backupInto(from, copy);
    copy.commit();
}

QString check(const QString& path) {
    if (path.endsWith(QLatin1String(".dump")))
        return checkDump(path);
    if (!QFileInfo(path).isFile())
        return QStringLiteral("%1 does not exist.").arg(native(path));
    try {
        sqlite::Handle h;
        h.inspect(path);
        return verdictOf(h);
    } catch (const Error& e) {
        return e.text();
    }
}

QString makeNow(const QDateTime& now, const Copying& copying) {
    return makeBackup(now, {}, copying);
}

bool madeOn(const QDate& day) {
    for (const auto& e : found())
        if (e.made.date() == day)
            return true;
    return false;
}

std::vector<Entry> list() {
    auto all = found();
    for (auto& e : all)
        e.check = check(e.path);
    return all;
}

void prune(const QDateTime& now, const QStringList& spare) {
    const auto all = found();
    std::vector<bool> keep(all.size(), false);
    for (std::size_t i = 0; i < all.size(); ++i)
        keep[i] = i < 10 || std::any_of(spare.begin(), spare.end(), [&](const QString& s) {
                      return QFileInfo(s) == QFileInfo(all[i].path);
                  });
    // The newest of each of the last twelve months: the first met of each month, newest first.
    const QDate thisMonth(now.date().year(), now.date().month(), 1);
    const QDate oldest = thisMonth.addMonths(-11);
    std::map<QDate, bool> monthTaken;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const QDate d = all[i].made.date();
        const QDate month(d.year(), d.month(), 1);
        if (month < oldest || month > thisMonth || monthTaken[month])
            continue;
        monthTaken[month] = true;
        keep[i] = true;
    }
    for (std::size_t i = 0; i < all.size(); ++i)
        if (!keep[i])
            QFile::remove(all[i].path);
}

void sweep() {
    sweepFolder(folder(), QString());
    sweepFolder(AppFolder::path(), QStringLiteral("Tallywright.db."));
}

QString restore(const QString& file, const QDateTime& now) {
    if (const auto& server = Store::server()) {
        restoreDump(file, *server);
        return {};
    }
    const QString verdict = check(file);
    if (verdict != QLatin1String("ok"))
        throw Error(verdict);
    const AppLock lock(AppFolder::path());
    if (lock.state() == AppLock::State::Running)
        throw Error(QStringLiteral("Tallywright is running on %1: close it before restoring.")
                        .arg(native(AppFolder::path())));
    if (lock.state() == AppLock::State::Failed)
        throw Error(lock.error());
    const QString live = AppFolder::databasePath();
    // The new file is made complete beside the live one before anything else happens, so the
    // retention rule run by the kept copy can take nothing it needs.
    AtomicFile incoming(live, AtomicFile::Kind::TheDatabase);
    {
        sqlite::Handle from;
        from.inspect(file);
        backupInto(from, incoming);
    }
    QString kept;
    if (QFileInfo::exists(live))
        kept = makeBackup(now, {file});
    incoming.commit();
    // A journal left by the replaced file must never be played into the new one.
    QFile::remove(live + QStringLiteral("-journal"));
    return kept;
}

} // namespace backup
} // namespace tw
