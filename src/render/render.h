#pragma once
// Report layouts: layouts/<name>.html, a Mustache template a user may edit, rendered over the
// working table its report run filled. Partials ({{> _style}}) are layouts/_style.html. An
// empty value is false, so {{#name}}...{{/name}} shows only what is there. The context:
//
//   param1, param2, ...   the catalogue's parameters of the report, in order
//   org, project, number, bill, ewp, wws, from, to, units, today
//   feet / metre          true for the project's measure system
//   whole_unit, part_unit "ft" and "in", or "m" and "cm"
//   rows                  every row of the working table, every column by its name; a figure
//                         column also as <name>_q (two decimals) and <name>_m (money,
//                         1,23,45,678.00); each row numbered as `serial`
//   totals                the sums of every figure column over all rows
//   row_count, has_rows
//
// and, by the context its catalogue entry names:
//   Estimate              each row also: line (within its item), narration, is_deduction,
//                         dim1..dim4 and dims (ft-in or m as measured), shape_name,
//                         signed_qty_q, is_first / is_last of its item, serial of the item,
//                         and on the item's last line net_qty (additions less deductions);
//                         groups (only for a layout that names it): one per item with the
//                         columns of its first row, its rows, its last row as `last` and its
//                         sums as `total`; item_count; items: the sums of the items' own
//                         figures (amount, electrical, plumbing, grand, each also _words)
//   Reinforcement         each row also: length (as entered), weight; diameters: the
//                         bars, length and weight by diameter; total_weight
//   RunningBill           items, deductions (each numbered as `serial`) and tds: the lines
//                         of the bill by kind; figures: gross, deductions, tax and net (each
//                         also _words); frozen: the bill is frozen; has_deductions;
//                         bill_date: the bill's date in billsraised
//   BillsRaised           bills: each bill row with its payments beneath and its standing
//                         (billed, deductions, tax, net = billed - deductions - tax, received,
//                         withheld and recoveries typed with the payments, balance = net -
//                         received, also _words); all: the standing of every bill together
//   Record                record: the project's own row, by the number in param1

#include "core/reports/report_run.h"

#include <QString>
#include <QVariantList>

#include <functional>

namespace tw::reports {

// The file of layout `name`. Throws tw::Error naming the file when neither folder holds it.
QString layoutFile(const QString& name);

// The data a layout is rendered over.
struct ReportInput {
    QString layout;       // layouts/<layout>.html
    QString workingTable; // "" for the project's own record
    QVariantList parameters;
    const ReportRun* run = nullptr;
    Context context = Context::Plain;
};

// A look at a long report's beginning while the whole is made. Its rows sections hold the first
// `rows` rows, and of the rest only the few that hold a column's widest figure or longest text,
// so that its columns come out as wide as the whole report's; every sum and count is still over
// all rows.
struct FirstLook {
    qsizetype rows = 300;
    std::function<void(const QString& html)> show;
};

// Thrown by renderHtml when `goOn` said to stop.
struct Cancelled {};

// Renders the layout over its working table. Throws tw::Error naming the file for a missing
// layout or one that is not a valid template. Given a first look, shows it first when the
// report's rows sections would write more rows than it holds (made from the rows read for the
// whole report, which is made next). `goOn` is asked now and then as the rows are written (a
// long report's take seconds); when it gives false, renderHtml throws Cancelled.
QString renderHtml(const ReportInput& in, const ConClass& con, const FirstLook* look = nullptr,
                   const std::function<bool()>& goOn = {});
// The same for a report type of the catalogue and its run.
QString renderHtml(const ReportType& type, const ReportRun& run, const ConClass& con,
                   const FirstLook* look = nullptr, const std::function<bool()>& goOn = {});

} // namespace tw::reports
