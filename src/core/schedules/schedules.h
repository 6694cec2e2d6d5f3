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
#include <variant>
#include <vector>

namespace tw::schedules {

// ---- copying items between projects (sch_master) ---------------------------------------------
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

// The copy screen's rules. A destination that is the source (names compared trimmed) is told.
std::optional<Message> checkDestination(const QString& destination, const QString& source);
// The source's item of the number picked (nullopt when none is) for a single move, none when
// the source no longer has it: refused when none is picked or the grid holds that number
// already.
std::variant<std::vector<StagedItem>, Refusal> stageOne(const ConClass& con, const QString& source,
                                                        const std::vector<StagedItem>& staged,
                                                        const std::optional<QString>& picked);
// Every item of the source for a move of all, even those staged already; told when it has none.
std::variant<std::vector<StagedItem>, Message> stageAll(const ConClass& con, const QString& source);
// Writes every staged row into `destination`, top to bottom, adding the items it lacks and
// overwriting those it has (found by number); each written row gets an empty type of measure
// and deduction 0. One action: all rows or none. Refused when no source project is picked
// (`sourceName` blank) or nothing is staged.
std::optional<Refusal> saveStaged(const ConClass& con, const QString& sourceName,
                                  const QString& destination, const std::vector<StagedItem>& items);

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
// The import screen's checks before a file is read, in its order: a project picked, a file
// named, the file there.
std::optional<Refusal> checkImport(bool projectPicked, const QString& file);
// Told before each row of a workbook is written: the rows written so far, of how many. False
// cancels the import.
using Writing = std::function<bool(qsizetype written, qsizetype of)>;

// Reads Sheet1 of the workbook into the project's table; `whileReading` runs while the workbook
// is read (readSheet1), before anything is written, and `whileWriting` as its rows are written.
// Either may cancel the import: ImportCancelled is thrown and the books are as they were. Rows
// added before a failure stay; the failure is thrown as ImportError.
ImportCounts importSchedules(const ConClass& con, const Project& project, const QString& path,
                             const Waiting& whileReading = {}, const Writing& whileWriting = {});
// "New Schedules Added" with both counts.
Message importedMessage(const ImportCounts& counts);
// The message an import failure shows.
Message failureMessage(ImportFailure kind);
// The same as the import screen shows it: a sheet that is no schedule workbook sends the user
// back to the file's name (Txt_FileName); the others name no control.
Refusal failureRefusal(ImportFailure kind);

// The export's check: a project picked.
std::optional<Refusal> checkExport(bool projectPicked);
// Writes the project's table to <file stem>.xlsx in the application folder (or to `path` when
// given), replacing a file of that name once the workbook is whole (writeSheet1); gives the path
// written. A missing table fails with the store's text; the database in use is refused, by name.
QString exportSchedules(const ConClass& con, const Project& project, const QString& path = {});
// "Export Completed Successfully...!" with the file's name and folder.
Message exportedMessage(const QString& path);

} // namespace tw::schedules
