#include "store/files.h"

#include "store/store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {
namespace {

QByteArray encoded(const QString& path) {
    return QFile::encodeName(path);
}

QString failure(const QString& path, int err) {
    return QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), systemErrorText(err));
}

bool sameInode(const QString& a, const QString& b) {
    struct stat sa {};
    struct stat sb {};
    return ::stat(encoded(a).constData(), &sa) == 0 && ::stat(encoded(b).constData(), &sb) == 0 &&
           sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

// The folder of `path` with its links resolved; empty when it does not exist.
QString realFolder(const QString& path) {
    return QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
}

// Makes a rename survive a power cut: the folder's entry reaches the disk too.
void syncFolder(const QString& path) {
    const int dir = ::open(encoded(QFileInfo(path).absolutePath()).constData(),
                           O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
}

} // namespace

QString systemErrorText(int err) {
    if (err == ENOSPC || err == EDQUOT)
        return QStringLiteral("No space left on the device");
    return QString::fromLocal8Bit(std::strerror(err));
}

void refuseLiveDatabase(const QString& path) {
    const QString live = AppFolder::databasePath();
    const QString folder = realFolder(path);
    const QString name = QFileInfo(path).fileName();
    // SQLite's files beside the database: writing one of them changes the books as surely.
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
        const QString file = live + QLatin1String(suffix);
        const bool same =
            sameInode(path, file) ||
            (!folder.isEmpty() && folder == realFolder(file) && name == QFileInfo(file).fileName());
        if (!same)
            continue;
        const QString shown = QDir::toNativeSeparators(path);
        throw Error(
            *suffix ? QStringLiteral("%1 is the journal of the database in use; choose "
                                     "another file.")
                          .arg(shown)
                    : QStringLiteral("%1 is the database in use; choose another file.").arg(shown));
    }
}

AtomicFile::AtomicFile(const QString& target, Kind kind)
    : target_(QFileInfo(target).absoluteFilePath()) {
    if (kind != Kind::TheDatabase)
        refuseLiveDatabase(target_);
    struct stat st {};
    if (::lstat(encoded(target_).constData(), &st) == 0 && S_ISLNK(st.st_mode))
        throw Error(QStringLiteral("%1 is a symbolic link; Tallywright writes no file through "
                                   "one.")
                        .arg(QDir::toNativeSeparators(target_)));
    const mode_t mode = kind == Kind::Output ? 0666 : 0600;
    // A name of its own, so that two copies writing the same target never share one. The file
    // is made and locked under a name no sweep looks at, and only then takes its .part name: a
    // sweep takes an unlocked .part file for a killed writer's, so it must never meet one that
    // is still being made.
    int err = EEXIST;
    QString claim;
    for (int attempt = 0; attempt < 16 && err == EEXIST; ++attempt) {
        temp_ = QStringLiteral("%1.%2.part")
                    .arg(target_, QString::number(QRandomGenerator::system()->generate(), 36));
        claim = temp_ + QStringLiteral("-claim");
        fd_ = ::open(encoded(claim).constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                     mode);
        err = fd_ < 0 ? errno : 0;
    }
    if (fd_ < 0)
        throw Error(failure(target_, err));
    ::flock(fd_, LOCK_EX);
    if (::renameat2(AT_FDCWD, encoded(claim).constData(), AT_FDCWD, encoded(temp_).constData(),
                    RENAME_NOREPLACE) != 0) {
        err = errno;
        ::unlink(encoded(claim).constData());
        ::close(fd_);
        fd_ = -1;
        throw Error(failure(target_, err));
    }
}

AtomicFile::~AtomicFile() {
    if (!done_)
        ::unlink(encoded(temp_).constData());
    if (fd_ >= 0)
        ::close(fd_);
}

void AtomicFile::write(QByteArrayView bytes) {
    const char* at = bytes.data();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd_, at, size_t(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            throw Error(failure(target_, n < 0 ? errno : ENOSPC));
        at += n;
        left -= n;
    }
}

void AtomicFile::flush() {
    // Whoever wrote the file, through this descriptor or by its name, its data reaches the disk
    // here; a disk that fills only now says so now.
    if (::fsync(fd_) != 0)
        throw Error(failure(target_, errno));
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || st.st_nlink == 0)
        throw Error(failure(target_, ENOENT)); // swept away while it was written
}

void AtomicFile::commit() {
    flush();
    if (::rename(encoded(temp_).constData(), encoded(target_).constData()) != 0)
        throw Error(failure(target_, errno));
    done_ = true;
    syncFolder(target_);
}

bool AtomicFile::commitAsNew(const QString& name) {
    flush();
    const QByteArray from = encoded(temp_);
    const QByteArray to = encoded(name);
    int rc = ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE);
    if (rc != 0 && (errno == EINVAL || errno == ENOSYS)) {
        // A file system that cannot rename without replacing still links without replacing.
        rc = ::link(from.constData(), to.constData());
        if (rc == 0)
            ::unlink(from.constData());
    }
    if (rc != 0) {
        if (errno == EEXIST)
            return false;
        throw Error(failure(name, errno));
    }
    done_ = true;
    target_ = QFileInfo(name).absoluteFilePath();
    syncFolder(target_);
    return true;
}

void writeFileAtomically(const QString& target, QByteArrayView bytes, AtomicFile::Kind kind) {
    AtomicFile file(target, kind);
    file.write(bytes);
    file.commit();
}

} // namespace tw
