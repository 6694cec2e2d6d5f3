#include "store/backup.h"

#include "store/schema.h"
#include "store/store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {

// ---- running-copy lock --------------------------------------------------------------------

AppLock::AppLock(const QString& folder) {
    auto fail = [&](int err) {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
        state_ = State::Failed;
        error_ =
            QStringLiteral("Tallywright cannot write in its folder %1: %2")
                .arg(QDir::toNativeSeparators(folder), QString::fromLocal8Bit(std::strerror(err)));
    };
    // The database and its journal are written in this folder too: one that takes no new file
    // is better told now than at the first save.
    if (::access(QFile::encodeName(folder).constData(), W_OK) != 0) {
        fail(errno);
        return;
    }
    const QByteArray path =
        QFile::encodeName(QDir(folder).filePath(QStringLiteral("Tallywright.lock")));
    fd_ = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0 && (errno == EACCES || errno == EPERM)) {
        // A lock file that may not be opened was made by no copy of ours: it is stale.
        ::unlink(path.constData());
        fd_ = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    // A file left by someone else keeps its mode on open: the lock is the owner's alone.
    if (fd_ < 0 || ::fchmod(fd_, 0600) != 0) {
        fail(errno);
        return;
    }
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int err = errno;
        if (err != EWOULDBLOCK) {
            fail(err);
            return;
        }
        ::close(fd_);
        fd_ = -1;
        state_ = State::Running;
        return;
    }
    // The process id is for a person looking into the folder; a disk too full to take it would
    // refuse the first save as well.
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::ftruncate(fd_, 0) != 0 ||
        ::write(fd_, pid.constData(), size_t(pid.size())) != ssize_t(pid.size())) {
        fail(errno != 0 ? errno : ENOSPC);
        return;
    }
    state_ = State::Held;
}

AppLock::~AppLock() {
    if (fd_ >= 0)
        ::close(fd_);
}

namespace backup {
namespace {

const QString prefix = QStringLiteral("Tallywright-");
const QString stampFormat = QStringLiteral("yyyy-MM-dd-HHmmss");

QString native(const QString& path) {
    return QDir::toNativeSeparators(path);
}

// An SQLite handle closed when it goes.
struct Handle {
    sqlite3* db = nullptr;
    ~Handle() { sqlite3_close(db); }
    QString error() const { return QString::fromUtf8(sqlite3_errmsg(db)); }
};

void open(Handle& h, const QString& path, int flags) {
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &h.db, flags, nullptr) != SQLITE_OK)
        throw Error(QStringLiteral("%1: %2").arg(native(path), h.error()));
    sqlite3_busy_timeout(h.db, 5000);
}

// The first column of the first row of `sql`, as text; throws on failure.
QString scalar(Handle& h, const char* sql, const QString& path) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(h.db, sql, -1, &st, nullptr) != SQLITE_OK)
        throw Error(QStringLiteral("%1: %2").arg(native(path), h.error()));
    QString out;
    const int rc = sqlite3_step(st);
    if (rc == SQLITE_ROW)
        out = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    sqlite3_finalize(st);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
        throw Error(QStringLiteral("%1: %2").arg(native(path), h.error()));
    return out;
}

QString checkOpen(Handle& h, const QString& path) {
    const int version = scalar(h, "pragma user_version", path).toInt();
    if (version > schema::currentVersion)
        return QStringLiteral("%1 was written by a newer version of Tallywright.")
            .arg(native(path));
    if (version == 0)
        return QStringLiteral("%1 is not a Tallywright database.").arg(native(path));
    const QString integrity = scalar(h, "pragma integrity_check", path);
    if (integrity != QLatin1String("ok"))
        return QStringLiteral("%1 is damaged: %2").arg(native(path), integrity);
    return QStringLiteral("ok");
}

QDateTime madeOf(const QString& fileName) {
    static const QRegularExpression re(
        QStringLiteral("^Tallywright-(\\d{4}-\\d\\d-\\d\\d-\\d{6})\\.db$"));
    const auto m = re.match(fileName);
    return m.hasMatch() ? QDateTime::fromString(m.captured(1), stampFormat) : QDateTime();
}

// The backups of folder() with their times, newest first (no check).
std::vector<Entry> found() {
    std::vector<Entry> out;
    const QDir dir(folder());
    for (const QFileInfo& f : dir.entryInfoList({prefix + QStringLiteral("*.db")}, QDir::Files)) {
        const QDateTime made = madeOf(f.fileName());
        if (made.isValid())
            out.push_back({f.filePath(), made, f.size(), {}});
    }
    std::sort(out.begin(), out.end(),
              [](const Entry& a, const Entry& b) { return a.made > b.made; });
    return out;
}

} // namespace

QString folder() {
    return AppFolder::file(QStringLiteral("backups"));
}

QString nameFor(const QDateTime& when) {
    return QDir(folder()).filePath(prefix + when.toString(stampFormat) + QStringLiteral(".db"));
}

void copyDatabase(const QString& source, const QString& target) {
    if (!QFileInfo(source).isFile())
        throw Error(QStringLiteral("%1: there is no database to copy.").arg(native(source)));
    const QString part = target + QStringLiteral(".part");
    QFile::remove(part);
    const int fd =
        ::open(QFile::encodeName(part).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        throw Error(QStringLiteral("%1: %2").arg(native(part),
                                                 QString::fromLocal8Bit(std::strerror(errno))));
    ::close(fd);
    try {
        Handle from, to;
        open(from, source, SQLITE_OPEN_READONLY);
        open(to, part, SQLITE_OPEN_READWRITE);
        sqlite3_backup* b = sqlite3_backup_init(to.db, "main", from.db, "main");
        if (!b)
            throw Error(QStringLiteral("%1: %2").arg(native(target), to.error()));
        int rc;
        do {
            rc = sqlite3_backup_step(b, 256);
            if (rc == SQLITE_BUSY || rc == SQLITE_LOCKED)
                sqlite3_sleep(20);
        } while (rc == SQLITE_OK || rc == SQLITE_BUSY || rc == SQLITE_LOCKED);
        sqlite3_backup_finish(b);
        if (rc != SQLITE_DONE)
            throw Error(QStringLiteral("%1: %2").arg(native(target),
                                                     QString::fromUtf8(sqlite3_errstr(rc))));
        const QString verdict = checkOpen(to, part);
        if (verdict != QLatin1String("ok"))
            throw Error(verdict);
    } catch (...) {
        QFile::remove(part);
        throw;
    }
    // The copy is complete and checked: only now does it take its name.
    if (::rename(QFile::encodeName(part).constData(), QFile::encodeName(target).constData()) != 0) {
        const QString why = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(part);
        throw Error(QStringLiteral("%1: %2").arg(native(target), why));
    }
}

QString check(const QString& path) {
    if (!QFileInfo(path).isFile())
        return QStringLiteral("%1 does not exist.").arg(native(path));
    try {
        Handle h;
        open(h, path, SQLITE_OPEN_READONLY);
        return checkOpen(h, path);
    } catch (const Error& e) {
        return e.text();
    }
}

QString makeNow(const QDateTime& now) {
    if (!QDir().mkpath(folder()))
        throw Error(QStringLiteral("%1 cannot be made.").arg(native(folder())));
    QFile::setPermissions(folder(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    // A copy cut short (the program killed midway) never took a name; clear its remains once
    // they are plainly not a copy in progress.
    for (const QFileInfo& f :
         QDir(folder()).entryInfoList({QStringLiteral("*.db.part")}, QDir::Files))
        if (f.lastModified().secsTo(QDateTime::currentDateTime()) > 600)
            QFile::remove(f.filePath());
    QDateTime when = now;
    while (QFileInfo::exists(nameFor(when)))
        when = when.addSecs(1);
    const QString target = nameFor(when);
    copyDatabase(AppFolder::databasePath(), target);
    prune(now);
    return target;
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

void prune(const QDateTime& now) {
    const auto all = found();
    std::vector<bool> keep(all.size(), false);
    for (std::size_t i = 0; i < all.size() && i < 10; ++i)
        keep[i] = true;
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

QString restore(const QString& file, const QDateTime& now) {
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
    QString kept;
    if (QFileInfo::exists(live))
        kept = makeNow(now);
    // The new file is made complete beside the live one, then swapped in by one rename.
    const QString incoming = live + QStringLiteral(".restoring");
    copyDatabase(file, incoming);
    if (::rename(QFile::encodeName(incoming).constData(), QFile::encodeName(live).constData()) !=
        0) {
        const QString why = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(incoming);
        throw Error(QStringLiteral("%1: %2").arg(native(live), why));
    }
    // A journal left by the replaced file must never be played into the new one.
    QFile::remove(live + QStringLiteral("-journal"));
    return kept;
}

} // namespace backup
} // namespace tw
