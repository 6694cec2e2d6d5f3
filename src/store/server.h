#pragma once
// Where the books are kept. By default the file Tallywright.db of the application folder; an
// office with several seats keeps them in a PostgreSQL database instead, named by twk.cfg's
// first value (or the command line's --server) and reached through Qt's QPSQL driver. What
// differs between the two lives in src/store: opening and login, the identity of a row, the case
// rule, temporary tables and backups.

#include <QSqlDatabase>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

namespace tw {

// A server database: postgresql://[USER[:PASSWORD]@]HOST[:PORT]/DATABASE[?OPTION=VALUE...].
struct ServerAddress {
    QString host;
    int port = 5432;
    QString database;
    // The role and its password: from the address (the command line) or the login. An empty
    // password leaves it to PGPASSWORD or ~/.pgpass.
    QString user, password;
    // libpq's own settings (sslmode=require ...), as key=value;key=value.
    QString options;

    // Reads twk.cfg's first value or --server. nullopt for the local file: an empty value,
    // "local", or a bare name with no database (the server name older installations carry and
    // the program never used). Throws tw::Error naming the value when it reads as a server
    // address but names no database or a bad port.
    static std::optional<ServerAddress> parse(const QString& text);
    // postgresql://HOST:PORT/DATABASE, without the role or its password: what twk.cfg keeps.
    QString url() const;
    // "database DATABASE on server HOST:PORT", as messages and the status line name it.
    QString shown() const;
};

// The store this program's connections open: the file of the application folder unless a
// server was chosen (by the login from twk.cfg, by the command line, or by a test).
class Store {
public:
    static const std::optional<ServerAddress>& server();
    static void use(std::optional<ServerAddress> server);
    // Where the books are, for the frame's status line: the folder of the file, or the server
    // database.
    static QString shown();
    // The server twk.cfg of the application folder names, or nullopt for the local file (and
    // when there is no twk.cfg). Throws tw::Error for a damaged file or a server address it
    // cannot read.
    static std::optional<ServerAddress> configured();
    // `address` with the role a command logs in as when the address names none: PGUSER, else
    // twk.cfg's user id. Server roles are named in lower case, as the server folds a name.
    static ServerAddress withRole(ServerAddress address);
};

namespace server {

// True for a connection to a server database.
bool isServer(const QSqlDatabase& db);

// Opens `db` (made with the QPSQL driver) on `address`. A refusal throws tw::Error with the
// text the user sees, which names the server: the server refuses the role or its password, the
// server cannot be reached, the database does not exist.
void open(QSqlDatabase& db, const ServerAddress& address);

// A connection of its own to a server database for one task (a login, a copy, a restore),
// closed and let go with the object.
class Session {
public:
    // Throws tw::Error as open() does.
    explicit Session(const ServerAddress& address);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    QSqlDatabase db() const;

private:
    QString name_;
};

// Whether the database at `address` holds any table (checking that they are the program's).
bool holdsTables(const ServerAddress& address);
// A note when the database open on `db` folds more than ASCII letters (its character classes are
// not C), so that "É" and "é" compare alike there and not in the local file; empty otherwise.
QString caseNote(const QSqlDatabase& db);

// Why a server turned a login away.
enum class Refusal {
    None,
    UserName,    // the server named the role as the one it does not let in
    Password,    // the password was wrong, or the role is unknown: the server does not tell
    Unreachable, // no server answered at the address
    Other,       // anything else (no such database, no driver): `text` says what
};
struct LoginResult {
    Refusal refusal = Refusal::None;
    QString text; // the server's or the driver's own words
};
// Logs in to `address` as `user` with `password` on a connection of its own, closed again.
LoginResult login(const ServerAddress& address, const QString& user, const QString& password);
// Sorts the text of a failed connection into a refusal.
Refusal refusalOf(const QString& text);

// The column that carries a row's identity in `table` on the server: the table's own key where
// it has one (tw_pkey, tw_recordkey), else the column tw_row_id, which stands last in the table
// and which no result read by a screen or a fill shows.
QString identity(const QString& table);
inline const QString hiddenIdentity = QStringLiteral("tw_row_id");

// A statement as the server takes it. Every table and column is made there in lower case, as
// the server folds a name written without quotes, so a name written in quotes is folded the same
// way and "tw_cal_Area" finds tw_cal_area. A table made with a list of columns gets the identity
// column tw_row_id, as every table of the local file has its rowid.
QString statement(const QString& sql);
// A value bound to a statement: a truth value goes as 1 or 0, as the local store keeps it.
QVariant parameter(const QVariant& v);
// The spelling the program gives a column that the server names in lower case, for a column of
// `table` (or of any table of the program when the table is not known); the name itself when it
// is no column of the program's.
QString columnName(const QString& table, const QString& column);

// Runs `step` (one statement's prepare or run, giving whether it went through) so that its
// failure undoes only itself: the server otherwise gives up the whole transaction at a failed
// statement, where the file keeps what the action wrote before it. Outside a transaction, and on
// the file, `step` just runs.
bool atomically(const QSqlDatabase& db, const std::function<bool()>& step);

// The full text of the server's last failure on `db`.
QString lastError(const QSqlDatabase& db);

} // namespace server
} // namespace tw
