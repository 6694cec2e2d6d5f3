#pragma once
// Files the program writes: whole or not at all, never through a symbolic link and never onto
// the database in use. A report, a workbook, a backup or twk.cfg is written under a temporary
// name beside its target, flushed to the disk and only then renamed into place, so a full disk
// or a killed program leaves the old file (or none), never half a new one.

#include <QByteArrayView>
#include <QString>

namespace tw {

// The text of a system error number. A full disk reads "No space left on the device".
QString systemErrorText(int err);

// Throws tw::Error naming `path` when it is the application folder's database or a file SQLite
// keeps beside it (its journal): writing there would replace the books. Reading is not refused.
void refuseLiveDatabase(const QString& path);

// A file written beside its target and renamed into place when complete. Nothing is written
// through a symbolic link: a target that is one is refused, and the temporary file is made new
// (never an existing file). The temporary file is locked while the object lives, so a sweep of
// leftovers (backup::sweep) tells it from the remains of a killed program.
class AtomicFile {
public:
    enum class Kind {
        Output,     // a document for the user: mode 0666 less the umask
        OwnerOnly,  // a copy of the books or the login: mode 0600
        TheDatabase // the restore's new database: owner-only, and it may replace the one in use
    };
    // Throws tw::Error naming the target when it cannot be written.
    explicit AtomicFile(const QString& target, Kind kind = Kind::Output);
    ~AtomicFile(); // a file never committed is removed
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    const QString& target() const { return target_; }
    // The temporary file, for a writer that opens a file by its name (SQLite, a workbook
    // library); what it writes there is flushed by commit().
    const QString& path() const { return temp_; }
    // Appends to the temporary file. Throws tw::Error naming the target on failure.
    void write(QByteArrayView bytes);
    // Flushes the file to the disk and gives it the target's name, replacing a file of that
    // name. Throws tw::Error naming the target on failure; the target is then as it was.
    void commit();
    // The same under `name` (in the target's folder), but only when no file has that name:
    // gives false and keeps the temporary file when one has.
    bool commitAsNew(const QString& name);

private:
    void flush();
    int fd_ = -1;
    QString target_, temp_;
    bool done_ = false;
};

// Writes `bytes` to `target` through an AtomicFile.
void writeFileAtomically(const QString& target, QByteArrayView bytes,
                         AtomicFile::Kind kind = AtomicFile::Kind::Output);

} // namespace tw
