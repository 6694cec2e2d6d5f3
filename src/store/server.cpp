#include "store/server.h"

#include "store/history.h"
#include "store/schema.h"
#include "store/serverrows.h"
#include "store/store.h"

#include <QDir>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QUrlQuery>

#include <atomic>

#include <libpq-fe.h>
#include <unordered_map>

namespace tw {

// ---- the address --------------------------------------------------------------------------

std::optional<ServerAddress> ServerAddress::parse(const QString& text) {
    const QString t = text.trimmed();
    const bool scheme = t.startsWith(QLatin1String("postgresql://"), Qt::CaseInsensitive) ||
                        t.startsWith(QLatin1String("postgres://"), Qt::CaseInsensitive);
    if (!scheme && !t.contains(u'/'))
        return std::nullopt;
    const QUrl url(scheme ? t : QStringLiteral("postgresql://") + t, QUrl::StrictMode);
    const QString database = url.path().mid(1);
    const auto bad = [&](const QString& why) {
        return Error(QStringLiteral("The server address %1 %2: write "
                                    "postgresql://HOST[:PORT]/DATABASE.")
                         .arg(url.isValid() ? url.toString(QUrl::RemovePassword) : t, why));
    };
    if (!url.isValid() || url.host().isEmpty())
        throw bad(QStringLiteral("names no server"));
    if (database.isEmpty() || database.contains(u'/'))
        throw bad(QStringLiteral("names no database"));
    ServerAddress a;
    a.host = url.host();
    a.port = url.port(5432);
    a.database = database;
    a.user = url.userName();
    a.password = url.password();
    QStringList options;
    for (const auto& [key, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded))
        options << key + u'=' + value;
    a.options = options.join(u';');
    return a;
}

QString ServerAddress::url() const {
    QUrl u;
    u.setScheme(QStringLiteral("postgresql"));
    u.setHost(host);
    u.setPort(port);
    u.setPath(u'/' + database);
    return u.toString();
}

QString ServerAddress::shown() const {
    return QStringLiteral("database %1 on server %2:%3").arg(database, host).arg(port);
}

namespace {
std::optional<ServerAddress>& chosen() {
    static std::optional<ServerAddress> s;
    return s;
}
} // namespace

const std::optional<ServerAddress>& Store::server() {
    return chosen();
}

void Store::use(std::optional<ServerAddress> server) {
    chosen() = std::move(server);
}

QString Store::shown() {
    if (const auto& s = server())
        return s->shown();
    return QDir::toNativeSeparators(AppFolder::databasePath());
}

std::optional<ServerAddress> Store::configured() {
    const auto cfg = readLoginConfig(AppFolder::file(QStringLiteral("twk.cfg")));
    if (!cfg)
        return std::nullopt;
    auto address = ServerAddress::parse(cfg->servername);
    if (address && address->user.isEmpty())
        address->user = cfg->userid.trimmed().toLower();
    return address;
}

ServerAddress Store::withRole(ServerAddress address) {
    if (!address.user.isEmpty() || !qEnvironmentVariableIsEmpty("PGUSER"))
        return address;
    if (const auto cfg = readLoginConfig(AppFolder::file(QStringLiteral("twk.cfg"))))
        address.user = cfg->userid.trimmed().toLower();
    return address;
}

namespace server {

bool isServer(const QSqlDatabase& db) {
    return db.driverName() == QLatin1String("QPSQL");
}

bool atomically(const QSqlDatabase& db, const std::function<bool()>& step) {
    if (!isServer(db))
        return step();
    PGconn* conn = connectionOf(db);
    if (!conn || PQtransactionStatus(conn) != PQTRANS_INTRANS)
        return step();
    QSqlQuery mark(db);
    if (!mark.exec(QStringLiteral("savepoint tw_statement")))
        return step(); // the step meets the same failure and says what it is
    const bool ok = step();
    mark.exec(ok ? QStringLiteral("release savepoint tw_statement")
                 : QStringLiteral("rollback to savepoint tw_statement"));
    return ok;
}

QString lastError(const QSqlDatabase& db) {
    return db.lastError().text();
}

Refusal refusalOf(const QString& text) {
    const auto says = [&](std::initializer_list<const char*> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](const char* w) { return text.contains(QLatin1String(w)); });
    };
    // An unknown role and a wrong password read alike, on purpose, so that a guess at a name
    // learns nothing; the server names the role only when it turns it away whatever the
    // password: a role that may not log in (said once its password was right), or not from this
    // computer.
    if (says({"password authentication failed", "no password supplied"}))
        return Refusal::Password;
    if ((text.contains(QLatin1String("role \"")) &&
         says({"is not permitted to log in", "does not exist"})) ||
        says({"no pg_hba.conf entry", "pg_hba.conf rejects connection"}))
        return Refusal::UserName;
    if (says({"Connection refused", "could not translate host name", "timeout expired",
              "No route to host", "Network is unreachable", "Connection timed out",
              "could not connect to", "server closed the connection"}))
        return Refusal::Unreachable;
    return Refusal::Other;
}

namespace {
// The server's words without the driver's own line under them.
QString serverWords(const QSqlError& e) {
    QString t = e.databaseText().trimmed();
    return t.isEmpty() ? e.text().trimmed() : t;
}

QString quotedName(const QString& name) {
    return u'"' + QString(name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

// Each seat logs in as a role of its own; the books belong to the database's owner, and a seat
// whose role is a member of that owner works as the owner, so that a table one seat makes is
// every seat's, and a restore or a copy makes the tables the owner's.
void actAsOwner(const QSqlDatabase& db) {
    QSqlQuery q(db);
    if (!q.exec(QStringLiteral(
            "select r.rolname from pg_database d join pg_roles r on r.oid = d.datdba "
            "where d.datname = current_database() and r.rolname <> current_user "
            "and pg_has_role(d.datdba, 'MEMBER')")))
        throw Error(serverWords(q.lastError()));
    if (!q.next())
        return;
    const QString owner = q.value(0).toString();
    if (!q.exec(QStringLiteral("set role ") + quotedName(owner)))
        throw Error(serverWords(q.lastError()));
}
} // namespace

void open(QSqlDatabase& db, const ServerAddress& address) {
    db.setHostName(address.host);
    db.setPort(address.port);
    db.setDatabaseName(address.database);
    db.setUserName(address.user);
    db.setPassword(address.password);
    // A server that does not answer is told within seconds, not after the system's long wait.
    QString options = QStringLiteral("connect_timeout=10");
    // The history names the computer a change came from by the session's application name.
    QString computer = history::computer();
    computer.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
    if (!computer.isEmpty())
        options += QStringLiteral(";application_name=") + computer;
    if (!address.options.isEmpty())
        options += u';' + address.options;
    db.setConnectOptions(options);
    if (!db.open()) {
        const QString words = serverWords(db.lastError());
        const Refusal why = refusalOf(words);
        if (why == Refusal::Unreachable)
            throw Error(QStringLiteral("The server %1:%2 cannot be reached.\n%3")
                            .arg(address.host)
                            .arg(address.port)
                            .arg(words));
        throw Error(QStringLiteral("The %1 cannot be opened.\n%2").arg(address.shown(), words));
    }
    QSqlQuery q(db);
    // The server's notes on what it skipped (an extension already there) are not the user's
    // business.
    q.exec(QStringLiteral("set client_min_messages = warning"));
    try {
        actAsOwner(db);
    } catch (const Error& e) {
        db.close();
        throw Error(QStringLiteral("The %1 cannot be opened.\n%2").arg(address.shown(), e.text()));
    }
}

Session::Session(const ServerAddress& address) {
    static std::atomic<int> counter{0};
    name_ = QStringLiteral("tw-session%1").arg(++counter);
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name_);
    try {
        if (!db.isValid())
            throw Error(QStringLiteral("The %1 cannot be opened: Qt's driver for the server is "
                                       "not installed (package libqt6sql6-psql).")
                            .arg(address.shown()));
        open(db, address);
    } catch (const Error&) {
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
        throw;
    }
}

Session::~Session() {
    {
        QSqlDatabase db = QSqlDatabase::database(name_, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(name_);
}

QSqlDatabase Session::db() const {
    return QSqlDatabase::database(name_, false);
}

bool holdsTables(const ServerAddress& address) {
    Session session(address);
    return schema::inspectServer(session.db()).version != 0;
}

QString caseNote(const QSqlDatabase& db) {
    QSqlQuery q(db);
    if (!q.exec(QStringLiteral("select datctype from pg_database where datname = "
                               "current_database()")) ||
        !q.next())
        return {};
    const QString ctype = q.value(0).toString();
    if (ctype == QLatin1String("C") || ctype == QLatin1String("POSIX"))
        return {};
    return QStringLiteral("the database %1 has the character classes %2: text compares without "
                          "regard to the case of accented letters too, where the local file folds "
                          "only A to Z. A database made with --locale=C compares as the file does.")
        .arg(db.databaseName(), ctype);
}

LoginResult login(const ServerAddress& address, const QString& user, const QString& password) {
    ServerAddress a = address;
    a.user = user;
    a.password = password;
    try {
        Session session(a);
        return {};
    } catch (const Error& e) {
        return {refusalOf(e.text()), e.text()};
    }
}

// ---- statements ---------------------------------------------------------------------------

QString identity(const QString& table) {
    const schema::Table* t = schema::programTable(table);
    if (t && t->columns.front().type.contains(QLatin1String("PRIMARY KEY")))
        return t->columns.front().name.toLower();
    return hiddenIdentity;
}

namespace {
// Every table of the local file has its rowid; a table made on the server gets the identity
// column that stands in for it, unless it has an identity of its own.
QString withIdentity(const QString& sql) {
    static const QRegularExpression create(
        QStringLiteral(
            "^\\s*create\\s+(?:temp\\s+|temporary\\s+)?table\\s+[^(]+\\((.*)\\)\\s*;?\\s*$"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const auto m = create.match(sql);
    if (!m.hasMatch() || m.captured(1).contains(QLatin1String(" identity"), Qt::CaseInsensitive) ||
        m.captured(1).contains(hiddenIdentity, Qt::CaseInsensitive))
        return sql;
    const bool keyed = m.captured(1).contains(QLatin1String("primary key"), Qt::CaseInsensitive);
    QString out = sql;
    out.insert(m.capturedEnd(1),
               QStringLiteral(", %1 bigint generated by default as identity%2")
                   .arg(hiddenIdentity, keyed ? QString() : QStringLiteral(" primary key")));
    return out;
}
} // namespace

QString statement(const QString& sql) {
    QString out = withIdentity(sql);
    QChar open;
    for (qsizetype i = 0; i < out.size(); ++i) {
        const QChar c = out[i];
        if (open.isNull()) {
            if (c == u'"' || c == u'\'')
                open = c;
        } else if (c == open) {
            open = QChar(); // a doubled quote closes and opens again, which comes to the same
        } else if (open == u'"') {
            out[i] = c.toLower();
        }
    }
    return out;
}

QVariant parameter(const QVariant& v) {
    if (v.typeId() == QMetaType::Bool)
        return QVariant(v.toBool() ? 1 : 0);
    return v;
}

QString columnName(const QString& table, const QString& column) {
    static const auto names = [] {
        std::unordered_map<QString, QString> m;
        for (const schema::Table& t : schema::tables())
            for (const schema::Column& c : t.columns) {
                m.emplace(t.name.toLower() + u'.' + c.name.toLower(), c.name);
                m.emplace(c.name.toLower(), c.name);
            }
        return m;
    }();
    if (!table.isEmpty()) {
        const auto own = names.find(table.toLower() + u'.' + column);
        if (own != names.end())
            return own->second;
    }
    const auto any = names.find(column);
    return any != names.end() ? any->second : column;
}

} // namespace server
} // namespace tw
