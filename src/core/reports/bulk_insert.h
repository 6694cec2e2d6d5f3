#pragma once
// Writing many rows at once: one prepared insert, bound again for every row.

#include "store/store.h"

#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace tw::reports {

// One prepared insert into `table`, bound again for every row: a run writes thousands of rows
// and prepares the statement once.
class BulkInsert {
public:
    BulkInsert(const ConClass& con, const QString& table, const QStringList& columns);
    // Writes one row; `values` are in the order of the columns. Throws tw::Error.
    void add(const QVariantList& values);

private:
    QSqlQuery query_;
    qsizetype columns_;
};

// Empties a working table: its rows belong to the last run.
void emptyTable(const ConClass& con, const QString& table);

} // namespace tw::reports
