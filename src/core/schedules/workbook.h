#pragma once
// Schedule workbooks: the first six columns of the sheet named Sheet1, read from an Excel 97-2003
// workbook (.xls), an Office Open XML workbook (.xlsx) or an OpenDocument spreadsheet (.ods),
// and written as .xlsx. No widgets.

#include "values/values.h"

#include <QString>
#include <QVariant>

#include <array>
#include <functional>
#include <map>
#include <vector>

namespace tw::schedules {

// What an import tells the user when it cannot go on; each kind has its own message.
enum class ImportFailure {
    FewColumns, // the sheet has fewer than six columns: not a schedule workbook
    NullValue,  // a column the schedule table requires got an empty cell
    WrongData,  // a cell holds a value of the wrong kind for its column
    BadFormat,  // anything else: no Sheet1, not a workbook, damaged, protected, no table
};

class ImportError : public Error {
public:
    ImportError(ImportFailure kind, const QString& text) : Error(text), kind_(kind) {}
    ImportFailure kind() const { return kind_; }

private:
    ImportFailure kind_;
};

// One cell: invalid when empty, else a QString, a double or a bool.
using Cell = QVariant;
// A schedule workbook's columns, A to F.
constexpr int ScheduleColumns = 6;
// Cells past this column are not read: no sheet this program takes in is wider.
constexpr int ReadColumns = 32;
// One row's cells from column A, as far as its last cell read (a written row: as far as it
// goes).
using SheetRow = std::vector<Cell>;
// The first `width` cells of a row, empty ones where the row ends sooner.
SheetRow firstCells(const SheetRow& row, int width);

struct Sheet {
    // Columns the sheet uses, counted from A: a value in column H makes eight.
    int columns = 0;
    // The rows holding something in the columns read, by row index from 0; rows missing here
    // are empty.
    std::map<int, SheetRow> rows;

    // Takes the value of one cell, counted from 0; cells past ReadColumns are not kept.
    void put(int row, int col, Cell value);
};

// Called again and again, about every twentieth of a second, while a workbook is being read;
// false when the reading is no longer wanted (the user cancelled it).
using Waiting = std::function<bool()>;

// Thrown when an import was cancelled (by readSheet1 when `whileReading` gave false): nothing of
// the workbook was kept.
struct ImportCancelled {};

// Reads Sheet1. The kind of workbook is told by the file's content, not its name, so a renamed
// file is still read or refused for what it is. Throws ImportError (BadFormat) when the file is
// no workbook this reader knows, is damaged or protected, or has no sheet named Sheet1 that can
// be read: an import never reports success on a sheet it did not find. The reading is done by
// a child process that ends with the program; `whileReading`, when given, runs meanwhile (a
// desktop draws and shows progress there) and may stop it.
Sheet readSheet1(const QString& path, const Waiting& whileReading = {});

// Gives the next row to write in `row` and true, or false when there are no more.
using RowSource = std::function<bool(SheetRow& row)>;
// Writes the rows of `next` into Sheet1 of a new .xlsx at `path`, replacing any file there only
// once the workbook is whole: texts as texts, numbers as numbers, truth values as TRUE/FALSE,
// empty cells left out. Each row goes to the file as it comes and is not kept, so a table of
// any length is written in little memory. Throws tw::Error naming the file (also when `next`
// throws); `path` is then as it was. The database in use and a symbolic link are refused.
void writeSheet1(const QString& path, const RowSource& next);
void writeSheet1(const QString& path, const std::vector<SheetRow>& rows);

} // namespace tw::schedules
