#pragma once
// The tables of the store, their column order and the seed rows.

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <vector>

namespace tw::sqlite {
class Handle;
}

namespace tw::schema {

// The version this program writes in PRAGMA user_version.
// 1: the first format; 2: text columns compare without regard to case, and lengths in inches
// are numbers; 3: the history of changes and its triggers.
constexpr int currentVersion = 3;

struct Column {
    QString name;
    QString type; // SQLite declared type
};
struct Table {
    QString name;
    std::vector<Column> columns;
};

// Every table in the order it is created, each with its columns in their given order.
const std::vector<Table>& tables();
// The table of the program named `name` (without regard to case), or nullptr.
const Table* programTable(const QString& name);
// A project's own tables: Sch_, Bl_ or Rnf_ and the digits of its key, or the bare key that the
// recovery statement makes.
bool isProjectTable(const QString& name);
// The refusal of a database written by a newer version, naming it.
QString newerVersion(const QString& database, int version);
// An index the reads of bills and schedules need: a bill's lines are read by project and bill
// from every screen and report, and a whole file would otherwise be scanned for each.
struct Index {
    QString name;
    QString table;
    QStringList columns;
};
const std::vector<Index>& indexes();
// The statement that makes an index, as the file keeps it.
QString indexStatement(const Index& index);

// The statement that makes a table with `columns` in the local file.
QString createStatement(const QString& name, const std::vector<Column>& columns,
                        bool temporary = false);

// Refuses a file this program does not take, throwing tw::Error naming the file: one written by a
// newer version, an SQLite file of another program, or one whose objects are not exactly those
// the program makes. Those are its tables with their columns, the per-project tables (Sch_<n>,
// Bl_<n>, Rnf_<n> and the bare key <n>), the program's indexes and the indexes SQLite makes for
// them; a trigger, a view,
// another table or index is refused, since a file from outside could hide a project or rewrite a
// bill with one. The file is opened read-only and immutable, so it stays byte for byte as it
// was. An empty file is refused too unless `emptyIsNew` (the application folder's database,
// which is then made).
void inspect(const QString& path, bool emptyIsNew = false);
// The same on a file open on `h` (one looked at, or a copy just made).
void inspect(const sqlite::Handle& h, bool emptyIsNew = false);

// Brings an open database to the current version: creates every table, index and the seed rows
// in a new file, upgrades an older one step by step, and makes an index a file lacks. Throws
// tw::Error for a newer file.
void ensure(QSqlDatabase db);

// The seed rows, into tables just made.
void seed(QSqlDatabase db);

// ---- the server store ----

// The create statement on the server of a table with `columns` (declared as the local store
// declares them): names in lower case, text compared by the store's case rule, the table's key
// as an identity; a table with no key of its own gets the identity column tw_row_id last, where
// no position the program reads can meet it.
QString serverCreateStatement(const QString& name, const std::vector<Column>& columns,
                              bool temporary = false);
// What the server database open on `db` holds, after checking that its objects are exactly
// the program's: its tables with their columns in order, the per-project tables, the keys and
// sequences of their identities, and the case rule's extension. Throws tw::Error naming the
// database for anything else, or for a newer format.
struct ServerState {
    int version = 0; // 0: the database holds no table at all
    QStringList projectTables;
};
ServerState inspectServer(const QSqlDatabase& db);
// Brings the server database open on `db` to the current format: an empty one gets every table
// and the seed rows (all or nothing); an existing one is checked as inspectServer does. The
// check runs once for each database in a program's life.
void ensureServer(QSqlDatabase db);
// The columns of the server table `table`, with the types the local file declares for them, and
// without the identity column that stands in for the file's rowid.
std::vector<Column> serverColumns(const QSqlDatabase& db, const QString& table);
// Makes every table of the program in the empty server database open on `db`, in the running
// transaction, and marks the format; the seed rows only when `withSeed`.
void createServerTables(QSqlDatabase db, bool withSeed);
// Text columns compare on the server through this extension; made in the database, when not
// there, by a role that may.
inline const QString caseExtension = QStringLiteral("citext");

} // namespace tw::schema
