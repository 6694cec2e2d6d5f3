#pragma once
// The history of changes: one row for every row added, changed or removed in the tables a bill's
// figures come from, written by triggers of the store itself, so that no screen, command or
// outside tool that writes those tables can skip it. Nothing updates or deletes a history row.

#include "store/schema.h"

#include <QDateTime>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <map>

namespace tw {
class ConClass;
}

namespace tw::history {

// The table that holds the history, and its columns in order.
inline const QString table = QStringLiteral("history");
std::vector<schema::Column> columns();
// The working table of the history's report, one line a change as shown() gives it.
inline const QString reportTable = QStringLiteral("history_report");
std::vector<schema::Column> reportColumns();
// Whether `name` is one of the tables the history brought: books of an older format lack them
// until they are upgraded.
bool cameWithHistory(const QString& name);

// The program's tables whose rows are recorded; the per-project schedule tables (Sch_<n>) are
// recorded too.
const QStringList& recordedTables();
// Whether changes to `name` (a table of the file) are recorded.
bool isRecorded(const QString& name);

// Who writes: the user id of the login, or the system's account name when nobody logged in (the
// command line on the local file). On a server the server's role is recorded instead.
void setUser(const QString& user);
QString user();
// The computer's name, as the history records it.
QString computer();

// One recorded change.
struct Entry {
    qint64 id = 0;  // in the order the changes were made
    QDateTime when; // UTC
    QString who;    // empty: written by another program
    QString computer, table;
    qint64 row = 0;
    QString action; // added, changed, removed
    QString project, bill;
    bool frozen = false;   // a bill's line changed while the bill stood frozen
    QString before, after; // JSON arrays of the row's values in the table's column order
};
struct Filter {
    QString project, bill, table;
    QString since, until; // YYYY-MM-DD, both days included; empty: no bound
};
// The changes `filter` lets through, newest first.
std::vector<Entry> read(const ConClass& con, const Filter& filter = {});

// The figures of a change in words, with the names of the columns of its table: for a change,
// each value that changed ("tw_netamt: 1500.25 -> 1499.75"); for a row added or removed, each
// value it held that was not empty ("tw_recpt_num=R1"). Texts stand as they were typed.
QString figures(const ConClass& con, const Entry& e);
// A change as the history's listings show it, in the order of `shownColumns`: the time as
// DD-MM-YYYY HH:MM:SS, who ("(another program)" for none), "yes" for a change to a frozen bill,
// and the figures in words.
inline const QStringList shownColumns{"When (UTC)", "Who",     "Computer", "Table",  "Row",
                                      "Action",     "Project", "Bill",     "Frozen", "Figures"};
QStringList shown(const ConClass& con, const Entry& e);

// The lines of a frozen bill (measurements and deductions) changed since it was frozen, and
// when the last of those changes was made.
struct FrozenChanges {
    int lines = 0;
    QDateTime last; // UTC; invalid when no line changed
};
FrozenChanges frozenChanges(const ConClass& con, const QString& project, const QString& bill);

// ---- the local file ----

// Every object of the history in a file whose per-project schedule tables are `schedules`
// (name and columns), by name: the statement that makes it, as the file keeps it.
std::map<QString, QString> localObjects(const std::vector<schema::Table>& schedules);
// The name of the table an object of localObjects() stands on, for the check of a file.
QString ownerOf(const QString& object);
// Makes whatever of the history the file open on `db` lacks: the table, the one-row table that
// names the writer, the triggers that keep the history as written and those of every recorded
// table (a schedule table an outside tool made gets its triggers the next time the program
// opens the file).
void ensureLocal(QSqlDatabase db);
// Names the program's user and computer as the writer of the transaction that has begun on
// `db`, and clears the name again before it commits: triggers cannot call into the program,
// and writes are serialised, so the file's one-row table names the one writer of the moment. A
// write by another program finds it empty and is recorded with no user. The name reaches that
// table only with the transaction's first write to a recorded table, through triggers of the
// connection's own (watchLocal), so that an action that writes nothing but its own temporary
// tables (a report's working rows) leaves the file byte for byte as it was.
void nameWriter(const QSqlDatabase& db);
void clearWriter(const QSqlDatabase& db);
// Makes the connection's own triggers that name the writer on every recorded table of the file
// open on `db` that lacks them.
void watchLocal(const QSqlDatabase& db);
// Many rows added at once to a recorded table of the program: the statement that records the
// rows of `name` after the row identity bound to it, as its triggers would one at a time (empty
// for a table whose rows are recorded only by its triggers), and the statement that names the
// action's writer first, as the connection's own triggers would at the first write. The values
// of the columns `plain` are known to be written by json_array() as the triggers write them (a
// finite number or a Null, or in a column not numeric a text with no control character but a
// tab or a line end) and are not looked at again: for the rest the statement looks at each.
QString addedRowsStatement(const QString& name, const QStringList& plain = {});
// Whether a column declared `declared` holds numbers: a text kept there is recorded by its bytes.
bool numericType(const QString& declared);
QString claimActorStatement();

// ---- the server ----

// Makes the functions and triggers of the history in the server database open on `db` (its
// tables made, in the running transaction): one function records a row of any recorded table,
// with the session's role as who and its application name as the computer, and runs with its
// owner's rights, so that a role that may not write the history is recorded all the same;
// another refuses every change to the history, whoever asks.
void ensureServer(const QSqlDatabase& db);
// Why the server object `kind` `name` on `table` is not the history's as the program makes it;
// empty when it is. `definition` is the trigger's definition or the function's source.
QString serverObjectDiffers(const QString& kind, const QString& name, const QString& table,
                            const QString& definition);
// Whether `name` is an object the history makes on the server.
bool isServerObject(const QString& kind, const QString& name);

} // namespace tw::history
