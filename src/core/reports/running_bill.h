#pragma once
// The running bill: the abstract bill of one bill of a project, the deductions typed against it,
// freezing it, and the bills raised report that sets the bills against what was paid on them.
// Every routine that writes is one action: all of it is written or none.

#include "core/reports/report_run.h"
#include "store/store.h"

#include <QString>

#include <vector>

namespace tw::reports {

// One deduction of a bill as the deductions grid shows it.
struct Deduction {
    QString description;
    double quantity = 0;
    QString unit; // the unit label; blank when none was given
    double rate = 0;
    double amount = 0;
    qint64 id = -1; // the row in absbl_dedns
};

// Computes the abstract bill of run.bill into abstractbillrep and creates or rewrites the bill's
// row in billsraised, dated today. A frozen bill (run.frozen_flag) is reprinted from its copy.
void BuildAbstractBill(ReportRun& run, const ConClass& con, Messenger& messages);

// The bill opening: run.contract_num from run.projectName, run.frozen_flag from the bill's row
// in billsraised (false when it has none), and the deductions saved for the bill, in store order.
std::vector<Deduction> LoadDeductions(ReportRun& run, const ConClass& con);

// The unit labels offered for a deduction, in store order.
QStringList UnitLabels(const ConClass& con);

// Writes the whole grid for run.bill as one action (the "&Save " of the deductions frame): the
// row of each description is changed, or added when there is none; the amount is rate times
// quantity.
void SaveDeductions(const ReportRun& run, const ConClass& con,
                    const std::vector<Deduction>& deductions);
// Learns a unit label typed for a deduction, when the store does not know it yet.
void LearnUnitLabel(const ConClass& con, const QString& label);
// Deletes the stored deduction of that description of run.bill at once, if there is one.
void DeleteDeduction(const ReportRun& run, const ConClass& con, const QString& description);
// The summary of run.bill's deductions (dummy_ded_det) after one was taken off the grid: its
// total becomes `rates` (the rates left in the grid) and the first of its five places that holds
// the description is blanked. Nothing happens when the bill has no summary.
void ForgetDeduction(const ReportRun& run, const ConClass& con, const QString& description,
                     double rates);

// Marks run.bill frozen and copies the lines of abstractbillrep into abstractbills, as one
// action. Does nothing when the bill has no row in billsraised or is frozen already. `con` is
// the run's own (RunTables): the lines copied are those the run computed and showed.
void FreezeBill(ReportRun& run, const ConClass& con);

// The bills raised report into billsraisedreport: the bills of run.contract_num, or those whose
// date, as text, lies between run.fromDate and run.toDate as text.
void BuildBillsRaisedForProject(ReportRun& run, const ConClass& con, Messenger& messages);
void BuildBillsRaisedForPeriod(ReportRun& run, const ConClass& con, Messenger& messages);

} // namespace tw::reports
