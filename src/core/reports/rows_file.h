#pragma once
// The rows a layout reads, written for a spreadsheet or a script: an office pastes bills into
// its own sheets, and a script checks them.

#include "core/reports/report_run.h"

#include <QString>

namespace tw::reports {

// Writes the column names, then one line a row in order: `path` ending .csv (RFC 4180: a field
// holding a comma, a double quote or a line break stands in double quotes, its quotes doubled;
// lines end in CR LF) or .xlsx (Sheet1, numbers as numbers and texts as texts). A number is
// written as the store holds it, an empty value as nothing. The file is written beside its
// target and takes its name only when complete. Throws tw::Error naming the file.
void writeRows(const LayoutRows& rows, const QString& path);

// A field of a CSV line as writeRows writes it.
QString csvField(QString text);

} // namespace tw::reports
