#include "store/store.h"

#include "store/filerows.h"
#include "store/files.h"
#include "store/history.h"
#include "store/schema.h"
#include "store/server.h"
#include "store/serverrows.h"
#include "store/sqlitefile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTextStream>

#include <atomic>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sodium.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tw {

// ---- application folder -------------------------------------------------------------------

namespace {
QString& folderOverride() {
    static QString dir;
    return dir;
}
} // namespace

QString AppFolder::choose(const QString& programDir, const Program& program,
                          const QString& userDataDir) {
    // The books stay where they are: a program folder that holds them is used even when it
    // cannot be written, and the lock then says so, rather than a new empty book elsewhere.
    if (program.holdsDatabase)
        return programDir;
    // An installed copy (its shared files under ../share/tallywright) keeps its data with the
    // user even when its folder could be written, as it can be by root.
    return program.writable && !program.installed ? programDir : userDataDir;
}

void AppFolder::secureDataFolder(const QString& dir) {
    const auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
    if (!QDir().mkpath(dir))
        return; // the lock names the folder and why
    // The books and the login are the user's alone, whoever made the folder looser.
    if ((QFile::permissions(dir) &
         ~(ownerOnly | QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser)) != 0)
        QFile::setPermissions(dir, ownerOnly);
}

QString AppFolder::unwritable(const QString& dir) {
    if (::access(QFile::encodeName(dir).constData(), W_OK) == 0)
        return {};
    return QStringLiteral("Tallywright cannot write in its folder %1: %2")
        .arg(QDir::toNativeSeparators(dir), systemErrorText(errno));
}

QString AppFolder::path() {
    if (!folderOverride().isEmpty())
        return folderOverride();
    static const QString chosen = [] {
        const QString program = QCoreApplication::applicationDirPath();
        const QString user =
            QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
                .filePath(QStringLiteral("Tallywright"));
        const Program here{
            QFileInfo::exists(QDir(program).filePath(QStringLiteral("Tallywright.db"))),
            QFileInfo(program).isWritable(),
            QFileInfo::exists(QDir(program).filePath(QStringLiteral("../share/tallywright")))};
        const QString dir = choose(program, here, user);
        if (dir == user)
            secureDataFolder(user);
        return dir;
    }();
    return chosen;
}

QString AppFolder::resource(const QString& relative) {
    const QDir program(QCoreApplication::applicationDirPath());
    for (const QString& candidate :
         {program.filePath(relative),
          program.filePath(QStringLiteral("../share/tallywright/") + relative)}) {
        if (QFileInfo::exists(candidate))
            return QDir::cleanPath(candidate);
    }
    return {};
}
void AppFolder::set(const QString& dir) {
    folderOverride() = QDir(dir).absolutePath();
}
QString AppFolder::file(const QString& name) {
    return QDir(path()).filePath(name);
}
QString AppFolder::databasePath() {
    return file(QStringLiteral("Tallywright.db"));
}

// ---- messages -----------------------------------------------------------------------------

const QString& defaultTitle() {
    static const QString title = QStringLiteral("Tallywright");
    return title;
}

Answer Messenger::say(const QString& text, int flags, const QString& title) {
    return show({text, flags, title.isEmpty() ? defaultTitle() : title});
}

void HeldMessages::release() {
    for (const Message& m : std::exchange(held_, {}))
        to_.say(m.text, m.flags, m.title);
}

Answer HeldMessages::show(const Message& m) {
    if (buttonsOf(m.flags) != Ok)
        throw Error(QStringLiteral("A report run cannot ask \"%1\" while it fills.").arg(m.text));
    held_.push_back(m);
    return Answer::Ok;
}

Answer ConsoleMessenger::show(const Message& m) {
    QTextStream(stderr) << m.title << ": " << m.text << Qt::endl;
    return buttonsOf(m.flags) == YesNo ? Answer::Yes : Answer::Ok;
}

// ---- rows ---------------------------------------------------------------------------------

namespace {
[[noreturn]] void noSuchItem(const QString& which) {
    throw Error(QStringLiteral("Item cannot be found in the collection corresponding to "
                               "the requested name or ordinal. (%1)")
                    .arg(which));
}

// The columns of a query's rows without their values, shared by all its rows, and where each
// comes from in the query. The first `skip` columns (a row's identity) and the server's hidden
// identity are left out; the server's lower-case names take the program's spelling.
struct Shape {
    std::shared_ptr<const QSqlRecord> columns;
    std::vector<int> from;
};
Shape describe(const QSqlRecord& rec, bool onServer, int skip = 0) {
    QSqlRecord out;
    std::vector<int> from;
    for (int i = skip; i < rec.count(); ++i) {
        QSqlField f = rec.field(i);
        if (f.name() == server::hiddenIdentity)
            continue;
        if (onServer)
            f.setName(server::columnName(f.tableName(), f.name()));
        f.clear();
        out.append(f);
        from.push_back(i);
    }
    return {std::make_shared<const QSqlRecord>(std::move(out)), std::move(from)};
}

QVariantList valuesOf(const QSqlQuery& q, const std::vector<int>& from) {
    QVariantList values;
    values.reserve(qsizetype(from.size()));
    for (int i : from)
        values.append(q.value(i));
    return values;
}
} // namespace

Row::Row(const QSqlRecord& rec, qint64 id) : id_(id) {
    Shape shape = describe(rec, false);
    columns_ = std::move(shape.columns);
    for (int i : shape.from)
        values_.append(rec.value(i));
}

const QVariant& Row::value(const QString& column) const {
    const int i = indexOf(column); // QSqlRecord compares names without regard to case
    if (i < 0)
        noSuchItem(column);
    return values_[i];
}
const QVariant& Row::value(int position) const {
    if (position < 0 || position >= values_.size())
        noSuchItem(QString::number(position));
    return values_[position];
}
QSqlRecord Row::record() const {
    QSqlRecord rec = columns_ ? *columns_ : QSqlRecord();
    for (int i = 0; i < values_.size(); ++i)
        rec.setValue(i, values_[i]);
    return rec;
}
Nullable Row::nullable(const QString& column) const {
    const QVariant v = value(column);
    if (v.isNull())
        return Nullable::null();
    return v.toDouble();
}

// ---- statements ---------------------------------------------------------------------------

namespace {
// The store's words for a failed statement. The server's come with the statement's line and
// its code: the first line says what went wrong.
QString failureText(const QSqlError& e, bool onServer) {
    if (!onServer)
        return e.text();
    QString t = e.databaseText().section(u'\n', 0, 0).trimmed();
    for (const char* level : {"ERROR:", "FATAL:"})
        if (t.startsWith(QLatin1String(level)))
            t = t.mid(qstrlen(level)).trimmed();
    return t.isEmpty() ? e.text() : t;
}
} // namespace

StoreFailure failureKind(const QString& text) {
    const auto says = [&](std::initializer_list<const char*> words) {
        return std::any_of(words.begin(), words.end(), [&](const char* w) {
            return text.contains(QLatin1String(w), Qt::CaseInsensitive);
        });
    };
    // The server gives up one of two actions that wait on each other, or one whose reads
    // another's writes made stale; run again from its start, it does what it would have done.
    if (says({"deadlock detected", "could not serialize access"}))
        return StoreFailure::Conflict;
    if (says({"NOT NULL constraint", "violates not-null constraint"}))
        return StoreFailure::NotNull;
    if (says({"datatype mismatch", "cannot store", "invalid input syntax for type",
              "out of range for type"}))
        return StoreFailure::WrongType;
    static const QRegularExpression missing(
        QStringLiteral("no such table|relation \"[^\"]*\" does not exist"));
    if (missing.match(text).hasMatch())
        return StoreFailure::MissingTable;
    return StoreFailure::Other;
}

QSqlQuery prepared(const QSqlDatabase& db, const QString& sql, const QVariantList& params) {
    if (!db.isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    QSqlQuery q(db);
    const bool onServer = server::isServer(db);
    // The file's rows are read as they come; the server's come whole with the answer, since a
    // connection reading a result row by row cannot run another statement meanwhile, as a fill
    // writing rows while it reads lines does.
    q.setForwardOnly(!onServer);
    if (onServer && params.isEmpty()) {
        // The server prepares only queries and writes of rows; a statement that makes a table
        // or sets an option runs as it is.
        if (!server::atomically(db, [&] { return q.exec(server::statement(sql)); }))
            throw Error(failureText(q.lastError(), true));
        return q;
    }
    if (!server::atomically(db, [&] { return q.prepare(onServer ? server::statement(sql) : sql); }))
        throw Error(failureText(q.lastError(), onServer));
    for (const auto& p : params)
        q.addBindValue(onServer ? server::parameter(p) : p);
    if (!server::atomically(db, [&] { return q.exec(); }))
        throw Error(failureText(q.lastError(), onServer));
    return q;
}

Statement::Statement(const ConClass& con, const QString& sql) : Statement(con.db(), sql) {}

Statement::Statement(const QSqlDatabase& db, const QString& sql)
    : db_(db), query_(db_), onServer_(server::isServer(db)) {
    if (!db_.isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    query_.setForwardOnly(!onServer_); // as prepared() does
    if (!server::atomically(
            db_, [&] { return query_.prepare(onServer_ ? server::statement(sql) : sql); }))
        throw Error(failureText(query_.lastError(), onServer_));
}

QSqlQuery& Statement::run(const QVariantList& params) {
    for (qsizetype i = 0; i < params.size(); ++i)
        query_.bindValue(int(i), onServer_ ? server::parameter(params[i]) : params[i]);
    if (!server::atomically(db_, [&] { return query_.exec(); }))
        throw Error(failureText(query_.lastError(), onServer_));
    return query_;
}

QString numberText(const QVariant& v) {
    if (v.isNull())
        return {};
    bool isNumber = false;
    const double d = v.toDouble(&isNumber);
    return isNumber ? doubleText(d) : v.toString();
}

// ---- connection ---------------------------------------------------------------------------

namespace {
QString nextConnectionName() {
    static std::atomic<int> counter{0};
    return QStringLiteral("tw%1").arg(++counter);
}

// The connection `name` on `driver`, made anew when it was made for the other store.
QSqlDatabase connection(const QString& name, const QString& driver) {
    if (QSqlDatabase::contains(name)) {
        if (QSqlDatabase::database(name, false).driverName() == driver)
            return QSqlDatabase::database(name, false);
        QSqlDatabase::removeDatabase(name);
    }
    return QSqlDatabase::addDatabase(driver, name);
}

QString quoted(const QString& identifier) {
    return QLatin1Char('"') +
           QString(identifier).replace(QStringLiteral("\""), QStringLiteral("\"\"")) +
           QLatin1Char('"');
}

// A missing database file is made owner-only before SQLite writes a byte to it (SQLite gives its
// journal the same permissions), and never through a symbolic link: SQLite would make the
// target of a link to nowhere.
void makeDatabaseFile(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    struct stat st {};
    if (::lstat(native.constData(), &st) == 0) {
        if (S_ISLNK(st.st_mode) && ::stat(native.constData(), &st) != 0)
            throw Error(QStringLiteral("%1 is a symbolic link to a file that does not exist.")
                            .arg(QDir::toNativeSeparators(path)));
        return;
    }
    const int fd =
        ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        throw Error(
            QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), systemErrorText(errno)));
    ::close(fd);
}
} // namespace

ConClass::ConClass(Messenger& out) : name_(nextConnectionName()), out_(&out) {}

ConClass::~ConClass() {
    depth_ = 0; // a guard never outlives its connection; close for real
    conclose();
    QSqlDatabase::removeDatabase(name_);
}

QSqlDatabase ConClass::db() const {
    return QSqlDatabase::database(name_, false);
}

void ConClass::conopen() {
    if (depth_ > 0 && isOpen()) {
        closeWhenDone_ = false;
        return;
    }
    conclose();
    if (const auto& address = Store::server()) {
        openServer(*address);
        return;
    }
    QSqlDatabase d = connection(name_, QStringLiteral("QSQLITE"));
    const QString path = AppFolder::databasePath();
    d.setDatabaseName(path);
    d.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    try {
        // A folder that holds the books but takes no file (for the journal of the first write)
        // is told by name and why, before the program works on it.
        if (const QString why = AppFolder::unwritable(AppFolder::path()); !why.isEmpty())
            throw Error(why);
        makeDatabaseFile(path);
        // A file this program does not take is looked at before anything could change it.
        sqlite::settle(path);
        schema::inspect(path, true);
        if (!d.open())
            throw Error(d.lastError().text());
        sqlite::harden(d);
        // Users copy Tallywright.db as it is, so it must hold every committed row by itself (no
        // write-ahead file beside it), and every commit reaches the disk before the program
        // goes on: a bill once saved stays.
        prepared(d, QStringLiteral("pragma journal_mode=DELETE"), {});
        prepared(d, QStringLiteral("pragma synchronous=FULL"), {});
        schema::ensure(d);
        history::watchLocal(d);
    } catch (const Error& e) {
        d.close();
        QString text = e.text();
        if (!text.contains(QDir::toNativeSeparators(path)))
            text = QStringLiteral("%1\n%2").arg(QDir::toNativeSeparators(path), text);
        out_->say(text);
    }
}

void ConClass::openServer(const ServerAddress& address) {
    QSqlDatabase d = connection(name_, QStringLiteral("QPSQL"));
    try {
        if (!d.isValid())
            throw Error(QStringLiteral("The %1 cannot be opened: Qt's driver for the server is "
                                       "not installed (package libqt6sql6-psql).")
                            .arg(address.shown()));
        server::open(d, address);
        schema::ensureServer(d);
    } catch (const Error& e) {
        d.close();
        out_->say(e.text());
    }
}

void ConClass::conclose() {
    if (depth_ > 0) {
        closeWhenDone_ = true;
        return;
    }
    closeConnection();
}

void ConClass::closeConnection() const {
    writes_.clear(); // a prepared statement must not outlive its connection
    if (QSqlDatabase::contains(name_)) {
        QSqlDatabase d = QSqlDatabase::database(name_, false);
        if (d.isOpen())
            d.close();
    }
}

bool ConClass::isOpen() const {
    return QSqlDatabase::contains(name_) && db().isOpen();
}

void ConClass::contractno(QStringList& list, const QString& mode) const {
    list.clear();
    if (mode.isEmpty())
        list << QStringLiteral("Add New");
    try {
        list << texts(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_num"));
    } catch (const Error&) {
        // The list keeps what it got; a failure here is not worth a message.
    }
}

void ConClass::serverinfo() {
    const auto cfg = readLoginConfig(AppFolder::file(QStringLiteral("twk.cfg")));
    if (!cfg)
        throw Error(QStringLiteral("File not found"));
    servername = cfg->servername;
    userid = cfg->userid;
    password = cfg->password;
}

Rows ConClass::rows(const QString& sql, const QVariantList& params) const {
    QSqlQuery q = prepared(db(), sql, params);
    const Shape shape = describe(q.record(), onServer());
    Rows out;
    while (q.next())
        out.emplace_back(shape.columns, valuesOf(q, shape.from), -1);
    return out;
}

bool ConClass::onServer() const {
    return server::isServer(db());
}

namespace {
// The column that carries a row's identity: the file's rowid, or the server's identity column.
QString identityOf(const QSqlDatabase& db, const QString& table) {
    return server::isServer(db) ? server::identity(table) : QStringLiteral("rowid");
}

// The rows of `table` meeting `condition` in store order, each with its identity and the
// values of `columns` (a select list).
Rows keyedRows(const QSqlDatabase& db, const QString& table, const QString& columns,
               const QString& condition, const QVariantList& params, int limit) {
    const QString id = identityOf(db, table);
    QString sql = QStringLiteral("select %1, %2 from %3").arg(id, columns, quoted(table));
    if (!condition.isEmpty())
        sql += QStringLiteral(" where ") + condition;
    sql += QStringLiteral(" order by ") + id;
    if (limit > 0)
        sql += QStringLiteral(" limit %1").arg(limit);
    QSqlQuery q = prepared(db, sql, params);
    // The identity stands before the columns.
    const Shape shape = describe(q.record(), server::isServer(db), 1);
    Rows out;
    while (q.next())
        out.emplace_back(shape.columns, valuesOf(q, shape.from), q.value(0).toLongLong());
    return out;
}
} // namespace

Rows ConClass::keyed(const QString& table, const QString& condition, const QVariantList& params,
                     int limit) const {
    return keyedRows(db(), table, QStringLiteral("*"), condition, params, limit);
}

Rows ConClass::keyedColumns(const QString& table, const QStringList& columns,
                            const QString& condition, const QVariantList& params) const {
    return keyedRows(db(), table, columns.join(QStringLiteral(", ")), condition, params, 0);
}

Rows ConClass::compactColumns(const QString& table, const QStringList& columns) const {
    const QSqlDatabase handle = db();
    const QString id = identityOf(handle, table);
    Rows out;
    sqlite3* file = server::isServer(handle) ? nullptr : sqlite::handleOf(handle);
    const QString sql = QStringLiteral("select %1, %2 from %3 order by %1")
                            .arg(id, columns.join(QStringLiteral(", ")), quoted(table));
    // The columns as Qt describes them: their names and declared types, or for a column of no
    // declared type the type of its first value.
    QSqlQuery firstRow = prepared(handle, sql + QStringLiteral(" limit 1"), {});
    firstRow.next();
    const Shape shape = describe(firstRow.record(), !file, 1);
    firstRow.finish();
    if (!file) {
        if (auto rows = server::copiedRows(handle, sql, shape.columns))
            return std::move(*rows);
        // A slice of identities at a time: the server's driver holds every row of a statement.
        const std::optional<Row> span =
            first(QStringLiteral("select min(%1), max(%1) from %2").arg(id, quoted(table)));
        if (!span || span->isNull(0))
            return out;
        constexpr qint64 slice = 4096;
        QVariantList above(shape.columns->count());
        for (qint64 from = span->value(0).toLongLong(), last = span->value(1).toLongLong();
             from <= last; from += slice) {
            for (const Row& r :
                 keyedColumns(table, columns, QStringLiteral("%1 >= ? and %1 < ?").arg(id),
                              {from, from + slice})) {
                QVariantList values;
                values.reserve(r.count());
                for (int i = 0; i < r.count(); ++i) {
                    // A text equal to the last one is that one again; a Null is no text.
                    const QVariant& v = r.value(i);
                    const bool text = v.typeId() == QMetaType::QString && !v.isNull();
                    if (text && !above[i].isNull() && v.toString() == above[i].toString()) {
                        values.append(above[i]);
                        continue;
                    }
                    if (text)
                        above[i] = v;
                    values.append(v);
                }
                out.emplace_back(shape.columns, std::move(values), r.id());
            }
        }
        return out;
    }
    return sqlite::readRows(file, sql, shape.columns);
}

QStringList ConClass::texts(const QString& table, const QString& column, const QString& condition,
                            const QVariantList& params) const {
    QStringList out;
    for (const Row& r : keyedRows(db(), table, column, condition, params, 0))
        out << r.text(0);
    return out;
}

QStringList ConClass::distinctInOrder(const QString& table, const QString& column,
                                      const QString& condition, const QVariantList& params) const {
    const QString id = identityOf(db(), table);
    // The bare column beside min() is taken from the row of the smallest identity.
    QSqlQuery q = prepared(db(),
                           QStringLiteral("select %1, min(%2) from %3 where %4 group by %1 order "
                                          "by min(%2)")
                               .arg(column, id, quoted(table), condition),
                           params);
    QStringList values;
    while (q.next())
        values << q.value(0).toString();
    return values;
}

std::optional<Row> ConClass::find(const QString& table, const QString& condition,
                                  const QVariantList& params) const {
    Rows r = keyed(table, condition, params, 1);
    if (r.empty())
        return std::nullopt;
    return std::move(r.front());
}

std::optional<Row> ConClass::first(const QString& sql, const QVariantList& params) const {
    QSqlQuery q = prepared(db(), sql, params);
    if (!q.next())
        return std::nullopt;
    const Shape shape = describe(q.record(), onServer());
    return Row(shape.columns, valuesOf(q, shape.from), -1);
}

int ConClass::exec(const QString& sql, const QVariantList& params) const {
    return int(named([&] { return prepared(db(), sql, params).numRowsAffected(); }));
}

qint64 ConClass::insert(const QString& table, const Values& values) const {
    QStringList names, marks;
    QVariantList params;
    for (const auto& [name, value] : values) {
        names << quoted(name);
        marks << QStringLiteral("?");
        params << value;
    }
    QString sql = values.empty()
                      ? QStringLiteral("insert into %1 default values").arg(quoted(table))
                      : QStringLiteral("insert into %1 (%2) values (%3)")
                            .arg(quoted(table), names.join(u','), marks.join(u','));
    // The server tells a new row's identity only when asked for it.
    if (onServer())
        sql += QStringLiteral(" returning ") + server::identity(table);
    return write(sql, params);
}

void ConClass::update(const QString& table, qint64 rowid, const Values& values) const {
    if (values.empty())
        return;
    QStringList sets;
    QVariantList params;
    for (const auto& [name, value] : values) {
        sets << quoted(name) + QStringLiteral("=?");
        params << value;
    }
    params << rowid;
    write(QStringLiteral("update %1 set %2 where %3=?")
              .arg(quoted(table), sets.join(u','), identityOf(db(), table)),
          params);
}

void ConClass::remove(const QString& table, qint64 rowid) const {
    write(QStringLiteral("delete from %1 where %2=?").arg(quoted(table), identityOf(db(), table)),
          {rowid});
}

QStringList ConClass::columns(const QString& table) const {
    const bool remote = onServer();
    const QSqlRecord rec = db().record(remote ? table.toLower() : table);
    QStringList names;
    for (int i = 0; i < rec.count(); ++i)
        if (rec.fieldName(i) != server::hiddenIdentity)
            names << (remote ? server::columnName(table, rec.fieldName(i)) : rec.fieldName(i));
    return names;
}

QString ConClass::sameText(const QString& column) const {
    // The server's text columns fold case in every comparison; as plain text they compare
    // exactly.
    return onServer() ? QStringLiteral("cast(%1 as text) = cast(? as text)").arg(column)
                      : QStringLiteral("%1 = ? collate binary").arg(column);
}

void ConClass::makeTemporaryCopy(const QString& table) const {
    const auto known =
        std::find_if(schema::tables().begin(), schema::tables().end(), [&](const schema::Table& t) {
            return t.name.compare(table, Qt::CaseInsensitive) == 0;
        });
    if (known == schema::tables().end())
        throw Error(QStringLiteral("%1 is no table of Tallywright's.").arg(table));
    const QSqlDatabase d = db();
    if (onServer()) {
        prepared(d, QStringLiteral("drop table if exists pg_temp.%1").arg(quoted(table)), {});
        prepared(d, schema::serverCreateStatement(known->name, known->columns, true), {});
    } else {
        prepared(d, QStringLiteral("drop table if exists temp.%1").arg(quoted(table)), {});
        prepared(d, schema::createStatement(known->name, known->columns, true), {});
    }
}

qint64 ConClass::named(const std::function<qint64()>& step) const {
    // A write outside an action's transaction gets one of its own, so that the history names
    // its writer as well.
    if (depth_ > 0 || onServer())
        return step();
    Transaction t(*this);
    const qint64 result = step();
    t.commit();
    return result;
}

qint64 ConClass::write(const QString& sql, const QVariantList& params) const {
    if (depth_ == 0 && !onServer())
        return named([&] { return write(sql, params); });
    auto known = writes_.find(sql);
    if (known == writes_.end())
        known = writes_.emplace(sql, Statement(*this, sql)).first;
    try {
        QSqlQuery& q = known->second.run(params);
        // An insert on the server gives its row's identity as its one result; the file tells
        // it while the query is active.
        const qint64 id =
            onServer() ? (q.next() ? q.value(0).toLongLong() : 0) : q.lastInsertId().toLongLong();
        q.finish();
        return id;
    } catch (const Error&) {
        writes_.erase(known); // prepared afresh next time, against the store as it is then
        throw;
    }
}

// ---- transactions -------------------------------------------------------------------------

namespace {
// Sets, releases or returns to a savepoint of a nested guard: a statement of the transaction
// itself, never one of its own savepoints.
void mark(const QSqlDatabase& db, const QString& sql) {
    QSqlQuery q(db);
    if (!q.exec(sql))
        throw Error(failureText(q.lastError(), server::isServer(db)));
}
} // namespace

namespace {
// What a transaction has changed so far: rows written (the writer's own row among them) and the
// schemas of the file and of the connection's temporary tables.
QStringList footprint(const QSqlDatabase& db) {
    QStringList out;
    for (const char* sql :
         {"select total_changes()", "pragma schema_version", "pragma temp.schema_version"}) {
        QSqlQuery q = prepared(db, QString::fromLatin1(sql), {});
        out << (q.next() ? q.value(0).toString() : QString());
    }
    return out;
}
} // namespace

Transaction::Transaction(const ConClass& con) : con_(con) {
    QSqlDatabase db = con.db();
    if (!db.isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    level_ = con.depth_ + 1;
    if (level_ == 1) {
        if (!db.transaction())
            throw Error(db.lastError().text());
        if (!con.onServer()) {
            try {
                history::nameWriter(db);
                begun_ = footprint(db);
            } catch (const Error&) {
                db.rollback();
                throw;
            }
        }
    } else {
        mark(db, QStringLiteral("savepoint tw%1").arg(level_));
    }
    con.depth_ = level_;
    open_ = true;
}

Transaction::~Transaction() {
    if (!open_)
        return;
    try {
        end(false);
    } catch (const Error&) {
        // Rolling back gives up the writes; there is nothing more to undo.
    }
}

void Transaction::commit() {
    if (open_)
        end(true);
}

void Transaction::end(bool commit) {
    QSqlDatabase db = con_.db();
    open_ = false;
    con_.depth_ = level_ - 1;
    if (level_ > 1) {
        if (!commit)
            mark(db, QStringLiteral("rollback to tw%1").arg(level_));
        mark(db, QStringLiteral("release tw%1").arg(level_));
        return;
    }
    bool ok = true;
    QString failure;
    if (commit && !con_.onServer()) {
        try {
            history::clearWriter(db);
            // An action that only read has nothing to keep.
            const QStringList now = footprint(db);
            if (now == begun_)
                commit = false;
            // A project's schedule table made by the action is recorded from its first row on.
            if (now[1] != begun_[1]) {
                history::ensureLocal(db);
                history::watchLocal(db);
            }
        } catch (const Error& e) {
            ok = false;
            failure = e.text();
        }
    }
    if (ok) {
        ok = commit ? db.commit() : db.rollback();
        failure = db.lastError().text();
    } else {
        db.rollback();
    }
    if (con_.closeWhenDone_) {
        con_.closeWhenDone_ = false;
        con_.closeConnection();
    }
    if (!ok)
        throw Error(failure);
}

// ---- projects -----------------------------------------------------------------------------

QString FindTableName(const ConClass& con, const QString& contractNum, bool trimNumber) {
    try {
        const auto r =
            con.first(QStringLiteral("select tw_pkey from contractmaster where tw_contract_num=?"),
                      {trimNumber ? contractNum.trimmed() : contractNum});
        return r ? r->text(0) : QString();
    } catch (const Error&) {
        return {};
    }
}

QStringList projectNames(const ConClass& con) {
    return con.texts(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_name"));
}

QString FindContractNo(const ConClass& con, const QString& pkey) {
    try {
        const auto r = con.first(
            QStringLiteral("select tw_contract_num from contractmaster where tw_pkey=?"), {pkey});
        return r ? r->text(0) : QString();
    } catch (const Error&) {
        return {};
    }
}

bool reporttableerror(Messenger& out, const QString& errorText, const QString& tablename) {
    ConClass con(out);
    con.conopen();
    // The file words a missing table as "no such table: Name", the server as 'relation "name"
    // does not exist'; only the three per-project families are made again.
    static const QRegularExpression missing(
        QStringLiteral("(?:no such table: |relation \"(?:[a-z_]+\\.)?)(rnf_|sch_|bl_)"),
        QRegularExpression::CaseInsensitiveOption);
    if (!missing.match(errorText).hasMatch())
        return false;
    // The name is the key digits the report run left behind: an integer, never user text.
    const QString& name = tablename;
    if (name.isEmpty() ||
        !std::all_of(name.begin(), name.end(), [](QChar c) { return c.isDigit(); }))
        throw Error(QStringLiteral("Syntax error in query. Incomplete query clause."));
    const auto reinforcement =
        std::find_if(schema::tables().begin(), schema::tables().end(), [](const schema::Table& t) {
            return t.name == QLatin1String("Reinforcementmaster");
        });
    if (con.onServer())
        con.exec(schema::serverCreateStatement(name, reinforcement->columns));
    else
        con.exec(
            QStringLiteral("create table \"%1\" as select * from Reinforcementmaster where 1=2")
                .arg(name));
    return true;
}

// ---- twk.cfg ------------------------------------------------------------------------------

QStringList splitFreeFormat(QStringView line) {
    QStringList out;
    qsizetype i = 0;
    const qsizetype n = line.size();
    while (i <= n) {
        while (i < n && (line[i] == u' ' || line[i] == u'\t'))
            ++i;
        QString value;
        if (i < n && line[i] == u'"') {
            ++i;
            while (i < n && line[i] != u'"')
                value += line[i++];
            if (i < n)
                ++i; // closing quote
            while (i < n && line[i] != u',')
                ++i; // anything after the quote up to the delimiter is dropped
        } else {
            while (i < n && line[i] != u',')
                value += line[i++];
            value = value.trimmed();
        }
        out << value;
        if (i >= n)
            break;
        ++i; // the comma
    }
    return out;
}

std::optional<LoginConfig> readLoginConfig(const QString& path) {
    QFile f(path);
    if (!f.exists())
        return std::nullopt;
    const QString name = QDir::toNativeSeparators(path);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        throw Error(QStringLiteral("%1 cannot be read: %2").arg(name, f.errorString()));
    // Free-format input reads values across lines until it has the three it asks for.
    QStringList values;
    QTextStream in(&f);
    while (values.size() < 3 && !in.atEnd()) {
        const QString line = in.readLine();
        if (line.trimmed().isEmpty())
            continue;
        values << splitFreeFormat(line);
    }
    if (values.size() < 3)
        throw Error(QStringLiteral("%1 does not hold a server name, a user id and a password "
                                   "(Input past end of file).")
                        .arg(name));
    return LoginConfig{values[0], values[1], values[2]};
}

void writeLoginConfig(const QString& path, const LoginConfig& cfg) {
    auto quote = [](const QString& v) { return QLatin1Char('"') + v + QLatin1Char('"'); };
    // Written whole beside the old file and owner-only from its first byte; a link in its place
    // is refused, never written through.
    writeFileAtomically(
        path,
        (quote(cfg.servername) + u',' + quote(cfg.userid) + u',' + quote(cfg.password) + u'\n')
            .toUtf8(),
        AtomicFile::Kind::OwnerOnly);
}

namespace {
const char* const hashPrefix = "$argon2";
bool sodiumReady() {
    static const bool ready = sodium_init() >= 0;
    return ready;
}
} // namespace

QString hashPassword(const QString& password) {
    const QByteArray clear = password.toUtf8();
    char hash[crypto_pwhash_STRBYTES];
    if (!sodiumReady() || crypto_pwhash_str(hash, clear.constData(), quint64(clear.size()),
                                            crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                            crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        throw Error(QStringLiteral("The password could not be kept: out of memory."));
    return QString::fromLatin1(hash);
}

bool isClearPassword(const QString& stored) {
    return !stored.startsWith(QLatin1String(hashPrefix));
}

bool passwordMatches(const QString& stored, const QString& typed) {
    if (isClearPassword(stored))
        return stored.trimmed() == typed;
    const QByteArray hash = stored.toLatin1();
    const QByteArray clear = typed.toUtf8();
    return sodiumReady() && crypto_pwhash_str_verify(hash.constData(), clear.constData(),
                                                     quint64(clear.size())) == 0;
}

} // namespace tw
