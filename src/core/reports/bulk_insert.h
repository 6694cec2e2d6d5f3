#pragma once
// Writing many rows at once.

#include "store/rowwriter.h"
#include "store/store.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

namespace tw::reports {

// The rows of a working table, written as tw::RowWriter writes them: a run writes thousands of
// rows and prepares its statement once.
using BulkInsert = RowWriter;

// Empties a working table: its rows belong to the last run.
void emptyTable(const ConClass& con, const QString& table);

} // namespace tw::reports
