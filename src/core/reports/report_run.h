#pragma once
// What a report run knows: the report screen's members that the fill routines read and write.
// The screen keeps one ReportRun for as long as it is open; the command-line companion makes
// one per run.

#include "store/store.h"

#include <QDate>
#include <QString>
#include <QVariantList>

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

// One type of report of the catalogue.
struct ReportType {
    QString caption;      // as the report screen lists it: "Detailed Estimate"
    QString command;      // as tallywright-cli names it: "detailed-estimate"
    QString layout;       // layouts/<layout>.html
    QString workingTable; // the table the layout reads ("" when it reads the project tables)
    bool needsBill = false;
};

// The ten types, in the order the report screen lists them. "Bills Raised Report" stands once;
// its period form uses the layout periodLayout().
const std::vector<ReportType>& catalogue();
const ReportType* findByCaption(const QString& caption);
const ReportType* findByCommand(const QString& command);
QString periodLayout(); // "Bill_report_param_date"

// Step 1 of a run: the units, number and tax rate of the project named in run.projectName.
void readProject(ReportRun& run, const ConClass& con);
// The organisation name from Tallywright.cfg in the application folder: the first non-empty
// line's text after its first "=", trimmed; kept as it was when the file is missing or empty.
void readReportOrgName(ReportRun& run);

// Fills the working table of `type` as the report screen does, as one action. A failure that
// ends the run shows its text in a critical box through `messages`; what the run wrote up to
// then stays, as a run that stops midway leaves it. Gives false when the run failed.
bool fill(const ReportType& type, ReportRun& run, const ConClass& con, Messenger& messages);

// The layout's parameters, in order, for `type` and `run`.
QVariantList parameters(const ReportType& type, const ReportRun& run);

// The fill routines, each in a file of its own.
void BuildEstimateRows(ReportRun& run, const ConClass& con, Messenger& messages);
void ComputeNetAmounts(ReportRun& run, const ConClass& con, Messenger& messages);
void AddServicePercentages(ReportRun& run, const ConClass& con, Messenger& messages);
void FinalBill(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildFinalBill(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildReinforcementReport(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildScheduleReport(ReportRun& run, const ConClass& con, Messenger& messages);

} // namespace tw::reports
