#pragma once
// Writing many rows at once: one prepared insert, bound again for every row.

#include "store/rowwriter.h"
#include "store/store.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

namespace tw::reports {

// One prepared insert into `table`, bound again for every row: a run writes thousands of rows
// and prepares the statement once.
using BulkInsert = RowWriter;

// Empties a working table: its rows belong to the last run.
void emptyTable(const ConClass& con, const QString& table);

} // namespace tw::reports
