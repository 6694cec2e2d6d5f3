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
// are numbers.
constexpr int currentVersion = 2;

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

// Refuses a file this program does not take, throwing tw::Error naming the file: one written by a
// newer version, an SQLite file of another program, or one whose objects are not exactly those
// the program makes. Those are its tables with their columns, the per-project tables (Sch_<n>,
// Bl_<n>, Rnf_<n> and the bare key <n>) and the indexes SQLite makes for them; a trigger, a view,
// another table or index is refused, since a file from outside could hide a project or rewrite a
// bill with one. The file is opened read-only and immutable, so it stays byte for byte as it
// was. An empty file is refused too unless `emptyIsNew` (the application folder's database,
// which is then made).
void inspect(const QString& path, bool emptyIsNew = false);
// The same on a file open on `h` (one looked at, or a copy just made).
void inspect(const sqlite::Handle& h, bool emptyIsNew = false);

// Brings an open database to the current version: creates every table and the seed rows in a
// new file, upgrades an older one step by step. Throws tw::Error for a newer file.
void ensure(QSqlDatabase db);

} // namespace tw::schema
