#pragma once
// Measurement lines kept in a spreadsheet on site, brought into a bill: one row a line, columns
// A to M: item number, narration, shape, dim1 with its inches or centimetres, dim2 with its
// part, dim3 with its part, dim4 with its part, quantity, deduction. Each row is saved as the
// measurement screen saves a line, and the whole file is one action.

#include "core/measurements/measurements.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace tw::measurements {

constexpr int FileColumns = 13;

// One row of a file: its number as a spreadsheet shows it (from 1) and its first FileColumns
// cells as text, empty ones where the row ends sooner.
struct FileRow {
    int number = 0;
    QStringList cells;
};

// The records of a CSV text (RFC 4180): cells apart by commas, records by CRLF or LF; a cell in
// double quotes may hold commas, line breaks and doubled quotes. A quoted cell that is not
// closed, or is followed by anything but a comma or the end of its record, throws tw::Error
// naming the record.
std::vector<QStringList> readCsv(const QString& text);

// The rows of a .csv file (UTF-8) or of Sheet1 of a workbook (.xls, .xlsx, .ods), empty rows
// left out. Throws tw::Error when the file cannot be read.
std::vector<FileRow> readMeasurementFile(const QString& path);

struct Imported {
    int lines = 0;
    int headingRow = 0; // the number of the row skipped as column names, 0 when none was
};

// Saves every row into `bill` of the project, in file order, as the measurement screen saves a
// line; a later row with the key of an earlier one overwrites it, as on the screen. The first
// row that holds anything is taken for column names, and skipped, when its shape cell names no
// shape and its quantity cell holds no number. The dimensions a shape doesn't ask for are
// stored as 0, whatever their cells hold. A row that fails throws tw::Error with its number,
// its column (a letter, or "--bill") and the message ("row 3, column E: Inches can not be
// ..."), and nothing of the file is stored; nor is anything when the store fails.
Imported importLines(const ConClass& con, const Project& project, const QString& bill,
                     const std::vector<FileRow>& rows);

} // namespace tw::measurements
