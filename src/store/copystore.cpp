#include "store/copystore.h"

#include "store/files.h"
#include "store/history.h"
#include "store/schema.h"
#include "store/sqlitefile.h"
#include "store/store.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include <cmath>
#include <memory>

namespace tw {
namespace {

QString quotedName(const QString& name) {
    return u'"' + QString(name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

// What a connection had to say when it did not open, as a failure of the copy.
class Collect : public Messenger {
public:
    QString said;

protected:
    Answer show(const Message& m) override {
        said = m.text;
        return Answer::Ok;
    }
};

// One side of the copy: a connection and how it names a row's identity.
class Side {
public:
    virtual ~Side() = default;
    virtual QSqlDatabase db() const = 0;
    bool onServer() const { return server::isServer(db()); }
    QString identity(const QString& table) const {
        return onServer() ? server::identity(table) : QStringLiteral("rowid");
    }
    // The per-project tables, with their columns as the local file declares them.
    std::vector<schema::Table> projectTables() const {
        std::vector<schema::Table> out;
        if (onServer()) {
            // The server keeps names in lower case; the families take their usual spelling back.
            for (const QString& name : schema::inspectServer(db()).projectTables) {
                QString spelled = name;
                if (spelled.front().isLetter())
                    spelled[0] = spelled.front().toUpper();
                out.push_back({spelled, schema::serverColumns(db(), name)});
            }
            return out;
        }
        QSqlQuery names = prepared(db(),
                                   QStringLiteral("select name from sqlite_master where type = "
                                                  "'table' order by name"),
                                   {});
        while (names.next()) {
            const QString name = names.value(0).toString();
            if (!schema::isProjectTable(name))
                continue;
            schema::Table t{name, {}};
            QSqlQuery cols = prepared(
                db(), QStringLiteral("select name, type from pragma_table_info(?)"), {name});
            while (cols.next())
                t.columns.push_back({cols.value(0).toString(), cols.value(1).toString()});
            out.push_back(t);
        }
        return out;
    }
    // Where the next identity of `table` stands: the highest one given so far.
    qint64 lastIdentity(const QString& table) const {
        QSqlQuery q =
            onServer()
                ? prepared(db(),
                           QStringLiteral("select coalesce(pg_sequence_last_value("
                                          "pg_get_serial_sequence(?, ?)::regclass), 0)"),
                           {table.toLower(), identity(table)})
                : prepared(db(),
                           QStringLiteral("select coalesce((select seq from sqlite_sequence where "
                                          "name = ?), 0)"),
                           {table});
        const qint64 last = q.next() ? q.value(0).toLongLong() : 0;
        QSqlQuery highest = prepared(db(),
                                     QStringLiteral("select coalesce(max(%1), 0) from %2")
                                         .arg(identity(table), quotedName(table)),
                                     {});
        return std::max(last, highest.next() ? highest.value(0).toLongLong() : 0);
    }
};

// The source: opened as the program opens its books, so that it is checked (and a file of an
// older format brought up to date) before a row is read.
class Source : public Side {
public:
    explicit Source(const std::optional<ServerAddress>& at) : con_(said_) {
        if (!at && !QFileInfo(AppFolder::databasePath()).isFile())
            throw Error(QStringLiteral("%1: there is no database to copy.")
                            .arg(QDir::toNativeSeparators(AppFolder::databasePath())));
        const auto kept = Store::server();
        Store::use(at);
        con_.conopen();
        Store::use(kept);
        if (!con_.isOpen())
            throw Error(said_.said);
    }
    QSqlDatabase db() const override { return con_.db(); }

private:
    Collect said_;
    ConClass con_;
};

// The target: an empty server database, or a new file made beside the folder's database name.
class Target : public Side {
public:
    explicit Target(const std::optional<ServerAddress>& at) {
        if (at) {
            session_ = std::make_unique<server::Session>(*at);
            if (schema::inspectServer(db()).version != 0)
                throw notEmpty(at->shown());
            return;
        }
        const QString path = AppFolder::databasePath();
        if (QFileInfo(path).size() > 0)
            throw notEmpty(QStringLiteral("file ") + QDir::toNativeSeparators(path));
        file_ = std::make_unique<AtomicFile>(path, AtomicFile::Kind::TheDatabase);
        name_ = QStringLiteral("tw-copy-target");
        QSqlDatabase d = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name_);
        d.setDatabaseName(file_->path());
        if (!d.open())
            throw Error(
                QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), d.lastError().text()));
        sqlite::harden(d);
        prepared(d, QStringLiteral("pragma journal_mode=DELETE"), {});
        prepared(d, QStringLiteral("pragma synchronous=FULL"), {});
    }
    ~Target() override {
        if (name_.isEmpty())
            return;
        QSqlDatabase::database(name_, false).close();
        QSqlDatabase::removeDatabase(name_);
    }
    QSqlDatabase db() const override {
        return session_ ? session_->db() : QSqlDatabase::database(name_, false);
    }
    // Makes every table of the program (without seed rows: the source's rows come instead) and
    // marks the format.
    void createTables() {
        QSqlDatabase d = db();
        if (session_) {
            schema::createServerTables(d, false);
            return;
        }
        for (const schema::Table& t : schema::tables())
            prepared(d, schema::createStatement(t.name, t.columns), {});
        prepared(d, QStringLiteral("pragma user_version = %1").arg(schema::currentVersion), {});
    }
    void recordChanges() {
        if (session_)
            history::ensureServer(db());
        else
            history::ensureLocal(db());
    }
    void createProjectTable(const schema::Table& t) {
        prepared(db(),
                 session_ ? schema::serverCreateStatement(t.name, t.columns)
                          : schema::createStatement(t.name, t.columns),
                 {});
    }
    // The next identity of `table` after `last`.
    void setLastIdentity(const QString& table, qint64 last) {
        if (session_) {
            // A table that never had a row starts at 1; another goes on after its last.
            prepared(db(),
                     last > 0 ? QStringLiteral("select setval(pg_get_serial_sequence(?, ?), ?)")
                              : QStringLiteral("select setval(pg_get_serial_sequence(?, ?), 1, "
                                               "false)"),
                     last > 0 ? QVariantList{table.toLower(), identity(table), last}
                              : QVariantList{table.toLower(), identity(table)});
            return;
        }
        // Only a table with a key of its own keeps its next identity in the file.
        const schema::Table* t = schema::programTable(table);
        if (last == 0 || !t || !t->columns.front().type.contains(QLatin1String("AUTOINCREMENT")))
            return;
        if (prepared(db(), QStringLiteral("update sqlite_sequence set seq = ? where name = ?"),
                     {last, t->name})
                .numRowsAffected() == 0)
            prepared(db(), QStringLiteral("insert into sqlite_sequence (name, seq) values (?, ?)"),
                     {t->name, last});
    }
    // After the commit: a new file is checked as any file from outside, and only then takes
    // the database's name.
    void finish() {
        if (session_) {
            // The server plans its reads by what it knows of each table's rows, and it learns
            // that of freshly copied books only when its upkeep comes round: without this, the
            // first reports walk a project's lines through an index in place of one scan.
            prepared(db(), QStringLiteral("analyze"), {});
            return;
        }
        if (!file_)
            return;
        db().close();
        schema::inspect(file_->path());
        file_->commit();
    }

private:
    static Error notEmpty(const QString& where) {
        return Error(QStringLiteral("The %1 is not empty: the books are copied only into an "
                                    "empty database.")
                         .arg(where));
    }
    std::unique_ptr<server::Session> session_;
    std::unique_ptr<AtomicFile> file_;
    QString name_;
};

// A value as both stores hold it alike: a number by its value (5 and 5.0 alike), text as it
// is, Null apart from both.
void addValue(QCryptographicHash& hash, const QVariant& v) {
    static const char nul = '\x01', unit = '\x1f';
    if (v.isNull()) {
        hash.addData(QByteArrayView(&nul, 1));
    } else if (v.typeId() == QMetaType::QString || v.typeId() == QMetaType::QByteArray) {
        hash.addData(v.toString().toUtf8());
    } else {
        const double d = v.toDouble();
        const bool whole = std::trunc(d) == d && std::fabs(d) < 9.0e15;
        hash.addData((whole ? QByteArray::number(qint64(d)) : QByteArray::number(d, 'g', 17)));
    }
    hash.addData(QByteArrayView(&unit, 1));
}

// The rows of `table` on `side` in the order of their identities, the identity first.
QSqlQuery readRows(const Side& side, const QString& table, const QStringList& columns) {
    QStringList names;
    for (const QString& c : columns)
        names << quotedName(c);
    const QString id = side.identity(table);
    return prepared(side.db(),
                    QStringLiteral("select %1, %2 from %3 order by %1")
                        .arg(id, names.join(QStringLiteral(", ")), quotedName(table)),
                    {});
}

struct Summary {
    qint64 rows = 0;
    QByteArray checksum;
};

Summary summarise(const Side& side, const QString& table, const QStringList& columns) {
    QSqlQuery q = readRows(side, table, columns);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    Summary s;
    while (q.next()) {
        for (int i = 0; i <= columns.size(); ++i)
            addValue(hash, q.value(i));
        ++s.rows;
    }
    s.checksum = hash.result().toHex().left(16);
    return s;
}

// Copies the rows of one table, then reads them back and compares.
CopiedTable copyTable(const Side& from, Target& to, const schema::Table& t) {
    QStringList columns;
    for (const schema::Column& c : t.columns)
        columns << c.name;
    // A table whose key is its identity carries it among its columns.
    const bool ownKey = t.columns.front().type.contains(QLatin1String("PRIMARY KEY"));
    QStringList target = columns;
    if (!ownKey)
        target.prepend(to.onServer() ? server::hiddenIdentity : QStringLiteral("rowid"));
    QStringList names;
    for (const QString& c : target)
        names << quotedName(c);
    const QString marks = u'(' + QStringList(target.size(), QStringLiteral("?")).join(u',') + u')';
    // The server takes many rows a statement; the file as many statements as there are rows.
    const int perStatement = to.onServer() ? std::max<int>(1, 2000 / int(target.size())) : 1;
    const auto insertOf = [&](int rows) {
        return QStringLiteral("insert into %1 (%2) values %3")
            .arg(quotedName(t.name), names.join(u','),
                 QStringList(rows, marks).join(QStringLiteral(", ")));
    };
    const QString shown = t.name;
    const auto failed = [&](const Error& e) {
        return Error(QStringLiteral("The table %1 could not be copied: %2").arg(shown, e.text()));
    };
    Summary source;
    try {
        Statement one(to.db(), insertOf(1));
        std::unique_ptr<Statement> many;
        QVariantList batch;
        int batched = 0;
        QCryptographicHash hash(QCryptographicHash::Sha256);
        QSqlQuery rows = readRows(from, t.name, columns);
        while (rows.next()) {
            for (int i = 0; i <= columns.size(); ++i)
                addValue(hash, rows.value(i));
            ++source.rows;
            if (!ownKey)
                batch << rows.value(0);
            for (int i = 1; i <= columns.size(); ++i)
                batch << rows.value(i);
            if (++batched < perStatement)
                continue;
            if (!many)
                many = std::make_unique<Statement>(to.db(), insertOf(perStatement));
            (perStatement == 1 ? one : *many).run(batch);
            batch.clear();
            batched = 0;
        }
        if (batched > 0)
            Statement(to.db(), insertOf(batched)).run(batch);
        source.checksum = hash.result().toHex().left(16);
    } catch (const Error& e) {
        throw failed(e);
    }
    to.setLastIdentity(t.name, from.lastIdentity(t.name));
    const Summary copy = summarise(to, t.name, columns);
    if (copy.rows != source.rows || copy.checksum != source.checksum)
        throw Error(QStringLiteral("The copy of the table %1 differs from its source: %2 rows, "
                                   "checksum %3, where the source has %4 rows, checksum %5.")
                        .arg(shown)
                        .arg(copy.rows)
                        .arg(QString::fromLatin1(copy.checksum))
                        .arg(source.rows)
                        .arg(QString::fromLatin1(source.checksum)));
    return {t.name, copy.rows, QString::fromLatin1(copy.checksum)};
}

} // namespace

std::vector<CopiedTable> copyStore(const std::optional<ServerAddress>& from,
                                   const std::optional<ServerAddress>& to) {
    if (from.has_value() == to.has_value() &&
        (!from ||
         (from->host == to->host && from->port == to->port && from->database == to->database)))
        throw Error(QStringLiteral("The books are copied from one database to another, not onto "
                                   "themselves."));
    const Source source(from);
    Target target(to);
    QSqlDatabase d = target.db();
    if (!d.transaction())
        throw Error(d.lastError().text());
    std::vector<CopiedTable> copied;
    try {
        target.createTables();
        std::vector<schema::Table> all = schema::tables();
        for (const schema::Table& t : source.projectTables()) {
            target.createProjectTable(t);
            all.push_back(t);
        }
        for (const schema::Table& t : all)
            copied.push_back(copyTable(source, target, t));
        // The triggers come after the rows, so that the copy adds no history of its own.
        target.recordChanges();
    } catch (...) {
        d.rollback();
        throw;
    }
    if (!d.commit())
        throw Error(d.lastError().text());
    target.finish();
    return copied;
}

} // namespace tw
