#pragma once
// The store: one SQLite file, Tallywright.db, in the application folder, or a server database
// (store/server.h). Every value reaches SQL as a bound parameter; the only identifiers built at run
// time are the per-project table names made from an integer key.

#include "store/messages.h"
#include "store/server.h"
#include "values/values.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

#include <functional>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tw {

// The application folder: where Tallywright.db, twk.cfg, Tallywright.cfg and backups/ live.
// It is the folder of the running program when that folder holds Tallywright.db or can be
// written (a build folder, a copied folder); an installed copy (one with ../share/tallywright
// beside its folder) keeps its data in the user's data folder (~/.local/share/Tallywright),
// owner-only. The CLI's --folder and tests set it.
class AppFolder {
public:
    static QString path();
    static void set(const QString& dir);
    static QString file(const QString& name); // path() + "/" + name
    static QString databasePath();            // the Tallywright.db there
    // The rule itself, over what is true of the program's folder.
    struct Program {
        bool holdsDatabase = false;
        bool writable = false;
        bool installed = false;
    };
    static QString choose(const QString& programDir, const Program& program,
                          const QString& userDataDir);
    // Makes the user's data folder, owner-only, or makes an existing looser one owner-only.
    static void secureDataFolder(const QString& dir);
    // Why `dir` takes no new file (the database's journal, a backup), naming it; empty when it
    // does.
    static QString unwritable(const QString& dir);
    // A file shipped with the program (layouts/..., docs/...): beside the program first, then
    // in ../share/tallywright/ of an installed copy. Empty when neither holds it.
    static QString resource(const QString& relative);
};

// One row of a result. Columns are found by name without regard to case, or by position:
// position N is column N of the statement (of the table, for a select *). A row read through
// ConClass::keyed or ConClass::find also carries its identity, apart from its columns.
class Row {
public:
    Row() = default;
    explicit Row(const QSqlRecord& rec, qint64 id = -1);
    // A row of a query whose columns were described once: the rows of one query share it.
    Row(std::shared_ptr<const QSqlRecord> columns, QVariantList values, qint64 id)
        : columns_(std::move(columns)), values_(std::move(values)), id_(id) {}
    // The row's identity for update and remove; -1 for a row of a plain query.
    qint64 id() const { return id_; }
    const QVariant& value(const QString& column) const;
    const QVariant& value(int position) const;
    QVariant operator[](const QString& column) const { return value(column); }
    QVariant operator[](int position) const { return value(position); }
    bool isNull(const QString& column) const { return value(column).isNull(); }
    bool isNull(int position) const { return value(position).isNull(); }
    // The column as text; a Null gives the empty text (use isNull to tell them apart).
    QString text(const QString& column) const { return value(column).toString(); }
    QString text(int position) const { return value(position).toString(); }
    double number(const QString& column) const { return value(column).toDouble(); }
    double number(int position) const { return value(position).toDouble(); }
    Nullable nullable(const QString& column) const;
    int count() const { return static_cast<int>(values_.size()); }
    QString columnName(int position) const {
        return columns_ ? columns_->fieldName(position) : QString();
    }
    // The position of a column, compared without regard to case; -1 when the row has none.
    int indexOf(const QString& column) const { return columns_ ? columns_->indexOf(column) : -1; }
    // The row as a record of its columns and values, made afresh on each call.
    QSqlRecord record() const;

private:
    std::shared_ptr<const QSqlRecord> columns_; // names and types only
    QVariantList values_;
    qint64 id_ = -1;
};
using Rows = std::vector<Row>;

// A stored number as the lists show it: printed with no format (12.5 reads "12.5" whether the
// store gave back a double or an integer); a Null shows nothing, a text that is no number as
// it stands.
QString numberText(const QVariant& v);

// Column values for insert and update, in the order they are given.
using Values = std::vector<std::pair<QString, QVariant>>;

class ConClass;

// A statement prepared once on a connection and run again with new values: a run writing
// thousands of rows prepares its insert once. Statements reach the store only through it,
// prepared(), or ConClass, which give each store the statement as it takes it.
class Statement {
public:
    // Throws tw::Error with the store's text when the statement cannot be prepared.
    Statement(const ConClass& con, const QString& sql);
    Statement(const QSqlDatabase& db, const QString& sql);
    // Binds `params` in order to the statement's ? and runs it; its rows, if any, are then read
    // from the query. Throws tw::Error with the store's text.
    QSqlQuery& run(const QVariantList& params);

private:
    QSqlDatabase db_;
    QSqlQuery query_;
    bool onServer_;
};

// The connection a screen owns. Each owner has its own named QSqlDatabase connection to the one
// file; a statement that fails throws tw::Error with the store's text.
class ConClass {
public:
    // `out` shows what the connection has to tell the user (a database it could not open).
    explicit ConClass(Messenger& out);
    ~ConClass();
    ConClass(const ConClass&) = delete;
    ConClass& operator=(const ConClass&) = delete;

    // Opens (re-opening if open) the application folder's database, creating it with every
    // table and the seed rows when it is missing. On failure the text, naming the file, is shown
    // through the messenger and the object stays closed; the caller is not told. While an action
    // holds a Transaction on this connection, re-opening keeps the connection as it is and
    // closing waits for the action's end, so the action's writes stay one.
    void conopen();
    void conclose();
    void setMessenger(Messenger& out) { out_ = &out; }
    Messenger& messenger() const { return *out_; }
    bool isOpen() const;
    // Fills `list` with the project numbers in store order, "Add New" first when mode is empty.
    // Errors leave the list as far as it got.
    void contractno(QStringList& list, const QString& mode) const;
    // Reads twk.cfg into servername, userid and password; a missing file throws.
    void serverinfo();

    QString servername, userid, password;

    // Queries. `params` are bound in order to the ? of the statement.
    Rows rows(const QString& sql, const QVariantList& params = {}) const;
    // The rows of `table` that meet `condition` (all rows when it is empty), in store order, each
    // with its identity (Row::id) and exactly the table's columns; at most `limit` rows when it
    // is above 0.
    Rows keyed(const QString& table, const QString& condition = {}, const QVariantList& params = {},
               int limit = 0) const;
    // The same rows with only the values of `columns` (names, or expressions over the row whose
    // own ? are bound before those of `condition`), in that order: a pass over thousands of
    // rows reads just what it needs.
    Rows keyedColumns(const QString& table, const QStringList& columns, const QString& condition,
                      const QVariantList& params) const;
    // Every row of `table` with only `columns` (names), in store order, each value equal to the
    // text above it in its column held once: the rows of a long report, whose lines repeat their
    // item's texts. Read below Qt on a file: Qt's reader took most of a report's time.
    Rows compactColumns(const QString& table, const QStringList& columns) const;
    // The texts of `column` in the rows of `table` that meet `condition`, in store order: the
    // lists the screens offer.
    QStringList texts(const QString& table, const QString& column, const QString& condition = {},
                      const QVariantList& params = {}) const;
    // The distinct values of `column` in the rows of `table` that meet `condition`, each as it
    // was first written, in the order they were first written: an index over the column does
    // not turn the order of a list into the order of the index.
    QStringList distinctInOrder(const QString& table, const QString& column,
                                const QString& condition, const QVariantList& params) const;
    // The first of those rows, or nullopt.
    std::optional<Row> find(const QString& table, const QString& condition,
                            const QVariantList& params = {}) const;
    // The first row, or nullopt when there is none.
    std::optional<Row> first(const QString& sql, const QVariantList& params = {}) const;
    // A statement without result rows; gives the number of rows it touched.
    int exec(const QString& sql, const QVariantList& params = {}) const;
    // insert into table (columns) values (?...); gives the new row's identity.
    qint64 insert(const QString& table, const Values& values) const;
    // update table set ... where the row's identity is `rowid`
    void update(const QString& table, qint64 rowid, const Values& values) const;
    // delete from table where the row's identity is `rowid`
    void remove(const QString& table, qint64 rowid) const;

    // The columns of `table` in their order, as a select * gives them; empty when there is no
    // such table.
    QStringList columns(const QString& table) const;
    // A condition true where `column` holds exactly the text bound to its ?, case included,
    // where the store otherwise compares text without regard to case.
    QString sameText(const QString& column) const;
    // Makes `table` (a table of the program) anew as a temporary table of this connection, empty,
    // with the same columns and identity: until the connection closes, every statement on it
    // that names the table finds this one, and no other connection sees its rows.
    void makeTemporaryCopy(const QString& table) const;
    // True when this connection is open on a server database.
    bool onServer() const;
    // True while an action holds a Transaction on this connection.
    bool inAction() const { return depth_ > 0; }

    QSqlDatabase db() const;
    const QString& connectionName() const { return name_; }

private:
    friend class Transaction;
    void openServer(const ServerAddress& address);
    void closeConnection() const;
    // Runs a write through a statement prepared once per connection: an action rewriting
    // thousands of rows prepares its update once, not once a row. Gives the rowid an insert
    // made.
    qint64 write(const QString& sql, const QVariantList& params) const;
    // Runs `step` in a transaction of its own when no action holds one on the local file.
    qint64 named(const std::function<qint64()>& step) const;
    QString name_;
    mutable std::unordered_map<QString, Statement> writes_;
    Messenger* out_;
    // Transactions open on this connection, outermost first, and a close asked for meanwhile.
    mutable int depth_ = 0;
    mutable bool closeWhenDone_ = false;
};

// An action's writes: rolled back on destruction unless commit() was called. Guards nest: a
// routine with its own guard may run inside an action's, and its writes then stand or fall
// with the action's.
class Transaction {
public:
    explicit Transaction(const ConClass& con);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    void end(bool commit);
    const ConClass& con_;
    int level_ = 0; // 1 for the outermost guard
    QStringList begun_;
    bool open_ = false;
};

// What a failed statement's text tells, in the words of either store.
enum class StoreFailure {
    NotNull,      // a column that takes no Null was given one
    WrongType,    // a value the column's type does not take
    MissingTable, // the statement names a table that does not exist
    Conflict,     // the server gave the action up for another one at work at the same time
    Other,
};
StoreFailure failureKind(const QString& text);

// Runs one statement on an open database with `params` bound in order to its ?; throws
// tw::Error with the store's text on failure.
QSqlQuery prepared(const QSqlDatabase& db, const QString& sql, const QVariantList& params);

// The tw_pkey of a project (trimmed or not, as the caller says); empty when unknown or on error.
QString FindTableName(const ConClass& con, const QString& contractNum, bool trimNumber = true);
// The names of the projects in store order, as the project lists show them.
QStringList projectNames(const ConClass& con);
// The project number of a tw_pkey; empty when unknown.
QString FindContractNo(const ConClass& con, const QString& pkey);

// After a statement failed (or on a normal way out, with an empty text): opens a fresh
// connection (which tells `out` when it cannot) and, when the store said a table whose name
// begins Rnf_, Sch_ or Bl_ is missing, runs the recovery statement that makes `tablename` (the
// bare key digits of the project, as the report run that read Bl_<key> left it) with the columns
// of Reinforcementmaster. Gives true when that statement ran.
bool reporttableerror(Messenger& out, const QString& errorText, const QString& tablename = {});

// twk.cfg: server name, user id and password, comma-delimited free-format input.
struct LoginConfig {
    QString servername, userid, password;
};
// nullopt when the file is missing; throws tw::Error naming the file when it cannot be read or
// holds fewer than three values.
std::optional<LoginConfig> readLoginConfig(const QString& path);
// Writes the file, owner-only, as it is given: `password` is what the file keeps (a hash).
void writeLoginConfig(const QString& path, const LoginConfig& cfg);
// What twk.cfg keeps of a password: a salted slow hash (argon2id), never the password itself.
QString hashPassword(const QString& password);
// Whether `typed` (trimmed, as the login takes it) is the password `stored` keeps: a hash is
// verified; a password in clear, from a file written before the hash, is trimmed and compared
// exactly, upper and lower case differing.
bool passwordMatches(const QString& stored, const QString& typed);
// Whether `stored` is a password in clear rather than a hash.
bool isClearPassword(const QString& stored);
// Splits one line of free-format input into its values: a value in double quotes may hold
// commas and leading blanks, an unquoted one is trimmed.
QStringList splitFreeFormat(QStringView line);

} // namespace tw
