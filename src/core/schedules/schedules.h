#pragma once
// Schedule items between projects: copying the items of one project into another, and a
// project's own schedule table Sch_<key> written to and read from a workbook. No widgets: the
// screens and the command line run the same rules.

#include "core/schedules/workbook.h"
#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>
#include <vector>

namespace tw::schedules {

// ---- copying items between projects (sch_master) ---------------------------------------------
// The number of the first project of that name; empty when there is none.
QString projectNumber(const ConClass& con, const QString& name);

// One row of the staging grid, as copied from a project's items.
struct StagedItem {
    QString number;
    QString description;
    QString unit;
    QString unitLabel; // two blanks when the item has none
    QVariant rate;     // as stored, so a copy keeps the figure exactly
    QString category;
    QString measureType; // never filled: a copy does not carry the type of measure
};
std::vector<StagedItem> scheduleItems(const ConClass& con, const QString& contractNum);
// Writes every staged row into `destination`, top to bottom, adding the items it lacks and
// overwriting those it has (found by number); each written row gets an empty type of measure
// and deduction 0. One action: all rows or none.
void saveStaged(const ConClass& con, const QString& destination,
                const std::vector<StagedItem>& items);

// ---- the project's own schedule table and workbooks ------------------------------------------

struct Project {
    QString number;
    QString tableKey; // the project's key, the digits behind Sch_
    QString units;    // its measure system
};
std::optional<Project> findProject(const ConClass& con, const QString& number);

// The workbook name of a project: its number trimmed, with each ".", "\", "/" and blank made
// "-", so 12/A and 12-A share one file.
QString fileStem(const QString& number);

struct ImportCounts {
    qint16 added = 0;   // rows truly added
    qint16 toCheck = 0; // rows given a made-up number, added or not
};
// Reads Sheet1 of the workbook into the project's table. Rows added before a failure stay; the
// failure is thrown as ImportError.
ImportCounts importSchedules(const ConClass& con, const Project& project, const QString& path);
// "New Schedules Added" with both counts.
Message importedMessage(const ImportCounts& counts);
// The message an import failure shows.
Message failureMessage(ImportFailure kind);

// Writes the project's table to <file stem>.xlsx in the application folder (or to `path` when
// given), replacing a file of that name; gives the path written. A missing table fails with the
// store's text.
QString exportSchedules(const ConClass& con, const Project& project, const QString& path = {});
// "Export Completed Successfully...!" with the file's name and folder.
Message exportedMessage(const QString& path);

} // namespace tw::schedules
