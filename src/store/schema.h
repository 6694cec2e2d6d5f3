#pragma once
// The tables of the store, their column order and the seed rows.

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <vector>

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

// Refuses, without changing a byte, a file this program does not take: one written by a newer
// version, or an SQLite file of another program. Throws tw::Error naming the file.
void check(QSqlDatabase db);

// Brings an open database to the current version: creates every table and the seed rows in a
// new file, upgrades an older one step by step. Throws tw::Error for a newer file.
void ensure(QSqlDatabase db);

} // namespace tw::schema
