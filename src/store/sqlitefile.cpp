#include "store/sqlitefile.h"

#include "store/files.h"
#include "store/store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QTemporaryDir>
#include <QUrl>

#include <cerrno>

#include <sqlite3.h>

namespace tw::sqlite {

void harden(sqlite3* db) {
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

sqlite3* handleOf(const QSqlDatabase& db) {
    const QVariant v = db.driver()->handle();
    if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3* const*>(v.constData());
}

void harden(const QSqlDatabase& db) {
    if (sqlite3* h = handleOf(db))
        harden(h);
}

namespace {
// Byte 18 of the file's header: 1 for a rollback journal, 2 for WAL; 0 for a file that is no
// database.
char journalKind(const QString& path) {
    QFile f(path);
    const QByteArray header = f.open(QIODevice::ReadOnly) ? f.read(20) : QByteArray();
    return header.size() == 20 && header.startsWith("SQLite format 3") ? header[18] : 0;
}
} // namespace

void settle(const QString& path) {
    if (QFileInfo(path + QStringLiteral("-journal")).size() == 0 || journalKind(path) != 1)
        return;
    Handle h;
    h.open(path, SQLITE_OPEN_READWRITE);
    h.scalar(QStringLiteral("pragma user_version"));
}

Handle::~Handle() {
    sqlite3_close(db_);
}

void Handle::open(const QString& path, int flags, const QString& shown) {
    path_ = shown.isEmpty() ? path : shown;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &db_, flags, nullptr) != SQLITE_OK)
        throw Error(error());
    harden(db_);
    sqlite3_busy_timeout(db_, 5000);
}

void Handle::inspect(const QString& path) {
    path_ = path;
    const QString wal = path + QStringLiteral("-wal");
    const char kind = journalKind(path);
    QByteArray name = QFile::encodeName(path);
    int flags = SQLITE_OPEN_READONLY;
    if (kind == 2 && QFileInfo(wal).size() > 0) {
        // Rows still in a WAL are read only through an index SQLite would make beside the file
        // and fold into it on closing; the pair is looked at through a private copy instead.
        copy_ = std::make_unique<QTemporaryDir>();
        const QString file = copy_->filePath(QStringLiteral("inspected.db"));
        for (const auto& [from, to] : {std::pair{path, file}, std::pair{wal, file + "-wal"}}) {
            QFile source(from);
            if (!source.copy(to))
                throw Error(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(from),
                                                         source.errorString()));
        }
        name = QFile::encodeName(file);
        flags = SQLITE_OPEN_READWRITE;
    } else if (kind != 1) {
        // Not a rollback file (a WAL file with nothing in its WAL, or no database at all): read
        // as it lies, without the index a WAL file would be given.
        name = "file:" + QUrl::toPercentEncoding(QFileInfo(path).absoluteFilePath(), "/") +
               "?immutable=1";
        flags |= SQLITE_OPEN_URI;
    }
    // A rollback file is read read-only with its locks, so a copy of the program writing beside
    // is waited for; nothing is written to it or beside it (a hot journal is refused, not played).
    if (sqlite3_open_v2(name.constData(), &db_, flags, nullptr) != SQLITE_OK)
        throw Error(error());
    harden(db_);
    sqlite3_busy_timeout(db_, 5000);
}

QString Handle::error(int code) const {
    const bool full = code == SQLITE_FULL ||
                      ((code & 0xff) == SQLITE_IOERR && sqlite3_system_errno(db_) == ENOSPC);
    // The handle's own text says more than the code's, when it tells of this failure.
    const bool told = db_ && (sqlite3_extended_errcode(db_) & 0xff) == (code & 0xff);
    const QString why = full ? systemErrorText(ENOSPC)
                             : QString::fromUtf8(told ? sqlite3_errmsg(db_) : sqlite3_errstr(code));
    return QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path_), why);
}

QString Handle::error() const {
    return error(db_ ? sqlite3_extended_errcode(db_) : SQLITE_NOMEM);
}

std::vector<QStringList> Handle::rows(const QString& sql, const QStringList& params) const {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db_, sql.toUtf8().constData(), -1, &st, nullptr) != SQLITE_OK)
        throw Error(error());
    std::vector<QByteArray> bound;
    for (int i = 0; i < params.size(); ++i) {
        bound.push_back(params[i].toUtf8());
        sqlite3_bind_text(st, i + 1, bound.back().constData(), int(bound.back().size()),
                          SQLITE_TRANSIENT);
    }
    std::vector<QStringList> out;
    int rc;
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
        QStringList row;
        for (int c = 0; c < sqlite3_column_count(st); ++c) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(st, c));
            row << (text ? QString::fromUtf8(text) : QString());
        }
        out.push_back(row);
    }
    sqlite3_finalize(st);
    if (rc != SQLITE_DONE)
        throw Error(error(rc));
    return out;
}

QString Handle::scalar(const QString& sql) const {
    const auto r = rows(sql);
    return r.empty() || r.front().isEmpty() ? QString() : r.front().front();
}

} // namespace tw::sqlite
