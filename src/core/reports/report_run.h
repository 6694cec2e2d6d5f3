#pragma once
// What a report run knows (the report screen's members that the fill routines read and write),
// the catalogue that describes each type of report once, and a run's own working rows.
// The screen keeps one ReportRun for as long as it is open; the command-line companion makes
// one per run.

#include "store/store.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>
#include <optional>
#include <vector>

namespace tw::reports {

struct ReportRun {
    QString projectName; // the project as the report screen lists it (by name)
    QString contract_num;
    QString units_text; // "Feet" or "Metre"
    double tax_rate = 0;
    QString ReportOrgName;
    bool frozen_flag = false;
    qint16 group_counter = 0; // the item group of the row being written; 0 at each run's start
    QString bill;             // the estimate or bill
    QString ewp = QStringLiteral("15"); // electrical works percentage, as typed
    QString wws = QStringLiteral("15"); // plumbing and sanitary percentage, as typed
    bool forPeriod = false;             // bills raised: for a period instead of a project
    QDate fromDate, toDate;
};

// One step that fills a working table; it writes through `con` and tells the user through
// `messages`.
using FillStep = void (*)(ReportRun& run, const ConClass& con, Messenger& messages);

// A value a layout is handed, by what it is.
enum class Parameter {
    Organisation,  // ReportOrgName
    ProjectName,   // as picked
    ProjectNumber, // contract_num
    Bill,
    Electrical, // the numeric value of the electrical works percentage
    Plumbing,   // and of the plumbing one
    FromDate,   // the period's dates
    ToDate,
};

// What the renderer builds over the rows for the layout beside the rows themselves (render.h).
enum class Context { Record, Plain, Estimate, Reinforcement, RunningBill, BillsRaised };

// How a layout is filled and shown: its file, the steps that fill its working table, and the
// values it is handed, in order.
struct Form {
    QString layout; // layouts/<layout>.html
    std::vector<FillStep> steps;
    std::vector<Parameter> parameters;
};

// One type of report, all of it: the report screen, the command line and the renderer read this
// and nothing else.
struct ReportType {
    QString caption;      // as the report screen lists it: "Detailed Estimate"
    QString command;      // as tallywright-cli names it: "detailed-estimate"
    QString workingTable; // the table the layout reads ("" when it reads the project's own row)
    Context context = Context::Plain;
    Form form;
    std::optional<Form> period; // its form for a period of all projects instead of a project
    // The table whose bills of the picked project the bill list offers; "" when the type takes
    // no bill.
    QString billsFrom;
    bool percentages = false; // the electrical and plumbing shares are asked for with the bill
    // A running bill: the picked bill opens with its deductions and whether it is frozen; a
    // frozen one is reprinted, and leaving an open one's report offers to freeze it.
    bool runningBill = false;
    // The fill writes the file beside its working rows (billsraised), so its action takes the
    // file's write lock first.
    bool writesFile = false;
    // Habits of the report screen: picking the type leaves the frames and the project list as
    // they stand, hides the bill list, or makes Generate ready; showing the report clears the
    // bill picked, or hides the project list.
    struct Habits {
        bool keepsFrames = false, hidesBills = false, readyAtOnce = false;
        bool clearsBill = false, hidesProjects = false;
    } habits;

    bool needsBill() const { return !billsFrom.isEmpty(); }
    // The form a run takes: the period's when the run is for a period and the type has one.
    const Form& formOf(const ReportRun& run) const {
        return run.forPeriod && period ? *period : form;
    }
};

// The types, in the order the report screen lists them.
const std::vector<ReportType>& catalogue();
const ReportType* findByCaption(const QString& caption);
const ReportType* findByCommand(const QString& command);

// Step 1 of a run: the units, number and tax rate of the project named in run.projectName.
void readProject(ReportRun& run, const ConClass& con);
// What an action that writes the run's bill holds (see tw::holdFor): its project and bill.
QStringList billKey(const ReportRun& run);
// The bills a report may be run for: run.contract_num from the project named `projectName`
// (kept as it was when no project has that name), then the distinct bill numbers of that
// project in `table` (a table the catalogue names), in store order.
QStringList BillNumbers(ReportRun& run, const ConClass& con, const QString& projectName,
                        const QString& table);
// The organisation name from Tallywright.cfg in the application folder: the first non-empty
// line's text after its first "=", trimmed; kept as it was when the file is missing or empty.
void readReportOrgName(ReportRun& run);

// Fills the working table of `type` as the report screen does, as one action on `con`. What a
// step tells the user is shown once the action has ended, so no box waits while the file is
// locked. A failure that ends the run shows its text in a critical box through `messages`; what
// the run wrote up to then stays, as a run that stops midway leaves it. Gives false when the
// run failed.
// `goOn`, when given, is asked before each step (counted from 0) and once more before the
// writes are kept (with the number of steps); when it says no, the run is cancelled: everything
// it wrote is rolled back, nothing is told, and fill gives false.
using GoOn = std::function<bool(int step)>;
bool fill(const ReportType& type, ReportRun& run, const ConClass& con, Messenger& messages,
          const GoOn& goOn = {});

// The layout's parameters, in order, for `type` and `run`.
QVariantList parameters(const ReportType& type, const ReportRun& run);

// The rows a layout reads, in order, and the table they are read from with its column names:
// the working table, or for a type without one the project's own row in ContractMaster, by the
// number the layout is handed first (the run's project when it is handed none).
struct LayoutRows {
    QString table;
    QStringList columns;
    Rows rows;
};
LayoutRows layoutRows(const QString& workingTable, const QVariantList& parameters,
                      const ReportRun& run, const ConClass& con);

// A report run's own working rows: a connection of its own to the file, on which the type's
// working table is made anew as a temporary table of the same name and columns. The fill, the
// renderer and freezing work on con() with their statements as they are and find the run's
// table first, so two runs at once never see each other's rows and the file's working tables
// stay empty. The rows last as long as the object: keep it while the report is viewed, printed,
// saved or frozen.
class RunTables {
public:
    // Opens the connection; `messages` is told when the file cannot be opened (see isOpen).
    RunTables(const ReportType& type, Messenger& messages);
    bool isOpen() const { return open_; }
    const ConClass& con() const { return con_; }

private:
    ConClass con_;
    bool open_ = false;
};

// The fill routines, each in a file of its own.
void BuildEstimateRows(ReportRun& run, const ConClass& con, Messenger& messages);
void ComputeNetAmounts(ReportRun& run, const ConClass& con, Messenger& messages);
void AddServicePercentages(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildFinalBill(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildReinforcementReport(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildScheduleReport(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildHistoryReport(ReportRun& run, const ConClass& con, Messenger& messages);

} // namespace tw::reports
