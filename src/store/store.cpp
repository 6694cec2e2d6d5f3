#include "store/store.h"

#include "store/schema.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QTextStream>

#include <atomic>

namespace tw {

// ---- application folder -------------------------------------------------------------------

namespace {
QString& folderOverride() {
    static QString dir;
    return dir;
}
MessageSink& sink() {
    static MessageSink s;
    return s;
}
} // namespace

QString AppFolder::path() {
    if (!folderOverride().isEmpty())
        return folderOverride();
    return QCoreApplication::applicationDirPath();
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

void setMessageSink(MessageSink s) {
    sink() = std::move(s);
}
void notify(const QString& text, const QString& title) {
    if (sink())
        sink()(text, title);
    else
        QTextStream(stderr) << text << Qt::endl;
}

// ---- rows ---------------------------------------------------------------------------------

QVariant Row::value(const QString& column) const {
    const int i = rec_.indexOf(column); // QSqlRecord compares names without regard to case
    if (i < 0)
        throw Error(QStringLiteral("Item cannot be found in the collection corresponding to "
                                   "the requested name or ordinal. (%1)")
                        .arg(column));
    return rec_.value(i);
}
QVariant Row::value(int position) const {
    if (position < 0 || position >= rec_.count())
        throw Error(QStringLiteral("Item cannot be found in the collection corresponding to "
                                   "the requested name or ordinal. (%1)")
                        .arg(position));
    return rec_.value(position);
}
Nullable Row::nullable(const QString& column) const {
    const QVariant v = value(column);
    if (v.isNull())
        return Nullable::null();
    return v.toDouble();
}

// ---- statements ---------------------------------------------------------------------------

QSqlQuery prepared(const QSqlDatabase& db, const QString& sql, const QVariantList& params) {
    if (!db.isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!q.prepare(sql))
        throw Error(q.lastError().text());
    for (const auto& p : params)
        q.addBindValue(p);
    if (!q.exec())
        throw Error(q.lastError().text());
    return q;
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

QString quoted(const QString& identifier) {
    return QLatin1Char('"') +
           QString(identifier).replace(QStringLiteral("\""), QStringLiteral("\"\"")) +
           QLatin1Char('"');
}
} // namespace

ConClass::ConClass() : name_(nextConnectionName()) {}

ConClass::~ConClass() {
    conclose();
    QSqlDatabase::removeDatabase(name_);
}

QSqlDatabase ConClass::db() const {
    return QSqlDatabase::database(name_, false);
}

void ConClass::conopen() {
    conclose();
    QSqlDatabase d = QSqlDatabase::contains(name_)
                         ? QSqlDatabase::database(name_, false)
                         : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name_);
    d.setDatabaseName(AppFolder::databasePath());
    d.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    try {
        if (!d.open())
            throw Error(d.lastError().text());
        // Every commit reaches the disk before the program goes on: a bill once saved stays.
        prepared(d, QStringLiteral("pragma journal_mode=WAL"), {});
        prepared(d, QStringLiteral("pragma synchronous=FULL"), {});
        schema::ensure(d);
    } catch (const Error& e) {
        d.close();
        notify(e.text());
    }
}

void ConClass::conclose() {
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
        for (const auto& r : rows(QStringLiteral("select tw_contract_num from ContractMaster")))
            list << r.text(0);
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
    Rows out;
    while (q.next())
        out.emplace_back(q.record());
    return out;
}

std::optional<Row> ConClass::first(const QString& sql, const QVariantList& params) const {
    QSqlQuery q = prepared(db(), sql, params);
    if (!q.next())
        return std::nullopt;
    return Row(q.record());
}

int ConClass::exec(const QString& sql, const QVariantList& params) const {
    return prepared(db(), sql, params).numRowsAffected();
}

qint64 ConClass::insert(const QString& table, const Values& values) const {
    QStringList names, marks;
    QVariantList params;
    for (const auto& [name, value] : values) {
        names << quoted(name);
        marks << QStringLiteral("?");
        params << value;
    }
    const QString sql = values.empty()
                            ? QStringLiteral("insert into %1 default values").arg(quoted(table))
                            : QStringLiteral("insert into %1 (%2) values (%3)")
                                  .arg(quoted(table), names.join(u','), marks.join(u','));
    return prepared(db(), sql, params).lastInsertId().toLongLong();
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
    prepared(db(),
             QStringLiteral("update %1 set %2 where rowid=?").arg(quoted(table), sets.join(u',')),
             params);
}

void ConClass::remove(const QString& table, qint64 rowid) const {
    prepared(db(), QStringLiteral("delete from %1 where rowid=?").arg(quoted(table)), {rowid});
}

// ---- transactions -------------------------------------------------------------------------

Transaction::Transaction(const ConClass& con) : db_(con.db()) {
    if (!db_.isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    if (!db_.transaction())
        throw Error(db_.lastError().text());
    open_ = true;
}

Transaction::~Transaction() {
    if (open_)
        db_.rollback();
}

void Transaction::commit() {
    if (!open_)
        return;
    if (!db_.commit())
        throw Error(db_.lastError().text());
    open_ = false;
}

// ---- program-wide state -------------------------------------------------------------------

bool Tallywrightmod::boardopen = false;
bool Tallywrightmod::importmode = false;
qint16 Tallywrightmod::analysis_row_index = 0;
QString Tallywrightmod::errnum;
QString Tallywrightmod::errdesc;
QString Tallywrightmod::tablename;

ConClass& Tallywrightmod::con() {
    static ConClass shared;
    return shared;
}

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

QString FindContractNo(const ConClass& con, const QString& pkey) {
    try {
        const auto r = con.first(
            QStringLiteral("select tw_contract_num from contractmaster where tw_pkey=?"), {pkey});
        return r ? r->text(0) : QString();
    } catch (const Error&) {
        return {};
    }
}

bool reporttableerror(const QString& errorNumber, const QString& errorText) {
    Tallywrightmod::errnum = errorNumber;
    Tallywrightmod::errdesc = errorText;
    ConClass& con = Tallywrightmod::con();
    con.conopen();
    // SQLite words a missing table as "no such table: Name"; only the three per-project
    // families are made again.
    static const QStringList families{QStringLiteral("no such table: Rnf_"),
                                      QStringLiteral("no such table: Sch_"),
                                      QStringLiteral("no such table: Bl_")};
    const bool missingProjectTable =
        std::any_of(families.begin(), families.end(),
                    [&](const QString& f) { return errorText.contains(f, Qt::CaseInsensitive); });
    if (!missingProjectTable)
        return false;
    // The name is the key digits the report run left behind: an integer, never user text.
    const QString name = Tallywrightmod::tablename;
    if (name.isEmpty() ||
        !std::all_of(name.begin(), name.end(), [](QChar c) { return c.isDigit(); }))
        throw Error(QStringLiteral("Syntax error in query. Incomplete query clause."));
    con.exec(QStringLiteral("create table \"%1\" as select * from Reinforcementmaster where 1=2")
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
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        throw Error(f.errorString());
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
        throw Error(QStringLiteral("Input past end of file"));
    return LoginConfig{values[0], values[1], values[2]};
}

void writeLoginConfig(const QString& path, const LoginConfig& cfg) {
    auto quote = [](const QString& v) { return QLatin1Char('"') + v + QLatin1Char('"'); };
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        throw Error(f.errorString());
    // The password is held in clear, so no one but the owner may read the file.
    f.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    QTextStream out(&f);
    out << quote(cfg.servername) << ',' << quote(cfg.userid) << ',' << quote(cfg.password) << '\n';
    out.flush();
    if (f.error() != QFileDevice::NoError)
        throw Error(f.errorString());
}

} // namespace tw
