// Times each report fill on the sample in an application folder against a floor: one plain SQL
// statement (insert ... select) that writes the very rows the fill wrote, compared with them cell
// by cell, in the same run. A floor never goes through the program's write path. Prints the
// ratios and the peak memory, and exits 1 when a goal is missed or a floor's rows differ.
//
//   fill_bench FOLDER [REPORT...]
//
// REPORT names the reports timed (their command names); all of them when none is given.

#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "peak_memory.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlRecord>
#include <QTextStream>

#include <algorithm>
#include <optional>

#include <sqlite3.h>

using namespace tw;
using namespace tw::reports;

namespace {

constexpr int repeats = 3; // the best of three, on a machine others share
constexpr double memoryGoalMb = 150;
constexpr double goal = 1.5;

// The columns of dummy_estimation a fill writes, in the order of the floor's select.
const char* const estimateColumns =
    "tw_recordkey,tw_bill_num,tw_sch_num,tw_contract_num,tw_item_desc,tw_unit,tw_itemrate,"
    "tw_dim1,tw_dim1_inches,tw_dim2,tw_dim2_inches,tw_dim3,tw_dim3_inches,tw_dim4,"
    "tw_dim4_inches,tw_deduction,tw_quantity,tw_cal_Area,tw_units,Shape,units_label,test,Damt,"
    "ndamt,tw_item_narration,inr,tw_item_narration_d,inr_d,netqty,net_amt";

// The rows of dummy_estimation from measurement lines in plain SQL: a group is a run of lines of
// one item number (trimmed, case and all), numbered on from the run's counter; an item is the
// first row of its number (of the project, or of any project); the final bill keeps the net
// quantity of the group so far in ten-thousandths, and its amount.
QString estimateFloor(const QString& lines, const QString& order, bool label, bool net) {
    const QString net_ =
        QStringLiteral("sum(case when g.tw_deduction+0<>0 then -round(g.tw_cal_Area*10000) else "
                       "round(coalesce(g.tw_cal_Area,0)*10000) end) over (partition by g.grp "
                       "order by g.n rows unbounded preceding)/10000.0");
    return QStringLiteral(
               "insert into bench_floor (%1) "
               "with h as materialized (select s.* from shapes s join (select min(rowid) r from "
               "shapes group by tw_shape) f on s.rowid=f.r), "
               "l as (select b.*, row_number() over w as n, case when row_number() over w=1 "
               "or trim(b.tw_sch_num) is lag(trim(b.tw_sch_num)) over w then 0 else 1 end as "
               "step from billmaster b where %2 window w as (order by %3)), "
               "g as (select l.*, ?1+sum(step) over (order by n rows unbounded preceding) as grp "
               "from l) "
               "select g.grp, g.tw_bill_num, g.tw_sch_num, g.tw_contract_num, i.tw_item_desc, "
               "i.tw_unit, i.tw_item_rate, g.tw_dim1, g.tw_dim1_inches, g.tw_dim2, "
               "g.tw_dim2_inches, g.tw_dim3, g.tw_dim3_inches, g.tw_dim4, g.tw_dim4_inches, "
               "g.tw_deduction, g.tw_quantity, g.tw_cal_Area, ?3, g.tw_Shape, %4, "
               "case when g.tw_deduction+0<>0 then 'Deduction' else 'NoDeduction' end, "
               "case when g.tw_deduction+0<>0 then g.tw_cal_Area end, "
               "case when g.tw_deduction+0<>0 then null else g.tw_cal_Area end, "
               "case when g.tw_deduction+0<>0 then null else g.tw_item_narration end, "
               "case when g.tw_deduction+0<>0 then null else g.grp end, "
               "case when g.tw_deduction+0<>0 then g.tw_item_narration end, "
               "case when g.tw_deduction+0<>0 then g.grp end, %5, %6 "
               "from g left join bench_items i on g.tw_sch_num=i.tw_sch_num collate nocase %7 "
               "order by "
               "g.n")
        .arg(QLatin1String(estimateColumns), lines, order,
             label ? QStringLiteral("h.tw_bill_label") : QStringLiteral("null"),
             net ? net_ : QStringLiteral("null"),
             net ? QStringLiteral("i.tw_item_rate*(%1)/i.tw_unit").arg(net_)
                 : QStringLiteral("null"),
             label ? QStringLiteral("left join h on h.tw_shape=g.tw_Shape") : QString());
}

// The abstract bill in plain SQL: each bill's quantity of an item is its lines' areas added in
// the order of entry in single precision (bench_single_sum); an item gets a line when this bill
// or an earlier raised bill measured it, in the order of the first such bill and then of the
// schedule; the earlier quantity is the last raised bill's; the tax line closes the bill with the
// sum of the amounts in line order. Parameters: ?2 the project, ?4 the bill, ?5 the tax rate,
// ?6 the tax line's text.
QString abstractBillFloor() {
    return QStringLiteral(
        "insert into bench_floor (tw_schno, tw_sch_desc, tw_unit, tw_unit_desc, tw_rate, "
        "tw_prev_qty, tw_now_qty, tw_tot_qty, tw_prev_amt, tw_now_amt, tw_tot_amt, tw_dedn, "
        "tw_dedn_desc) "
        "with m as materialized (select bill, item, q from (select b.tw_bill_num bill, "
        "b.tw_sch_num item, "
        "bench_single_sum(b.tw_cal_Area) over (partition by b.tw_bill_num, b.tw_sch_num order by "
        "b.tw_recordkey rows unbounded preceding) q, row_number() over (partition by "
        "b.tw_bill_num, b.tw_sch_num order by b.tw_recordkey desc) back from billmaster b where "
        "b.tw_contract_num=?2) where back=1), "
        "mq as materialized (select it.pos, bills.place, m.q from m join bench_bills bills on "
        "m.bill="
        "bills.bill collate nocase join bench_items it on m.item=it.tw_sch_num collate nocase "
        "where "
        "m.q>0), "
        "agg as (select pos, min(place) first, max(case when place=0 then q end) now, max(place) "
        "lastplace from mq group by pos), "
        "l as (select it.*, agg.first, agg.now, p.q prev from agg join bench_items it on "
        "it.pos=agg.pos left "
        "join mq p on p.pos=agg.pos and p.place=agg.lastplace and agg.lastplace>0), "
        "a as (select l.*, prev*tw_item_rate/tw_unit pamt, now*tw_item_rate/tw_unit namt from l), "
        "r as (select tw_sch_num, tw_item_desc, tw_unit, tw_unit_lable, tw_item_rate, prev, now, "
        "prev+now tq, pamt, coalesce(namt,0) namt, pamt+namt tamt, first, pos, "
        "sum(coalesce(namt,0)) over (order by first, pos rows unbounded preceding) total, "
        "row_number() over (order by first desc, pos desc) back from a), "
        "prevtds as (select tw_tds_amount t from billsraised where tw_contract_num=?2 and "
        "tw_bill_num<>?4 and tw_tds_amount is not null order by rowid desc limit 1) "
        "select s, d, u, ud, rate, prev, now, tq, pamt, namt, tamt, dedn, null from (select "
        "tw_sch_num s, tw_item_desc d, tw_unit u, tw_unit_lable ud, tw_item_rate rate, prev, now, "
        "tq, pamt, namt, tamt, 'NO' dedn, 0 k, first, pos from r union all select '1', ?6, null, "
        "null, null, null, null, null, coalesce((select t from prevtds), 0), total*?5/100, "
        "total*?5/100+coalesce((select t from prevtds), 0), 'YES', 1, null, null from r where "
        "back=1) order by k, first, pos");
}

// bench_single_sum(x): the running sum of x in single precision, rounded after every addition,
// over a window that only grows.
void singleStep(sqlite3_context* context, int, sqlite3_value** args) {
    auto* sum = static_cast<float*>(sqlite3_aggregate_context(context, sizeof(float)));
    *sum = static_cast<float>(static_cast<double>(*sum) + sqlite3_value_double(args[0]));
}
void singleValue(sqlite3_context* context) {
    auto* sum = static_cast<float*>(sqlite3_aggregate_context(context, sizeof(float)));
    sqlite3_result_double(context, sum ? static_cast<double>(*sum) : 0.0);
}
void singleInverse(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_error(context, "bench_single_sum takes a window that only grows", -1);
}
void addSingleSum(const ConClass& con) {
    const QVariant handle = con.db().driver()->handle();
    sqlite3* db = *static_cast<sqlite3* const*>(handle.constData());
    sqlite3_create_window_function(db, "bench_single_sum", 1, SQLITE_UTF8, nullptr, singleStep,
                                   singleValue, singleValue, singleInverse, nullptr);
}

// The project's items in store order and the bills it sums, this one first, then those raised,
// each with its place, indexed by item number and bill as the store compares texts.
QStringList abstractBillBefore() {
    return {QStringLiteral("create temp table bench_items as select row_number() over (order by "
                           "rowid) pos, * from sch_master where tw_contract_num=?2"),
            QStringLiteral("create index bench_items_number on bench_items (tw_sch_num collate "
                           "nocase)"),
            QStringLiteral("create temp table bench_bills as select ?4 bill, 0 place union all "
                           "select tw_bill_num, row_number() over (order by rowid) from "
                           "billsraised where tw_contract_num=?2 and tw_bill_num<>?4"),
            QStringLiteral("create index bench_bills_number on bench_bills (bill collate nocase)")};
}

// The first schedule row of each item number, of the project or of any project, with an index on
// the number as the store compares texts.
QStringList itemsFirst(bool ownItems) {
    return {QStringLiteral("create temp table bench_items as select s.* from sch_master s join "
                           "(select min(rowid) r from sch_master %1 group by tw_sch_num) f on "
                           "s.rowid=f.r")
                .arg(ownItems ? QStringLiteral("where tw_contract_num=?2") : QString()),
            QStringLiteral("create index bench_items_number on bench_items (tw_sch_num collate "
                           "nocase)")};
}

// The floor of a report: its statement (parameters: the run's group counter at its start, the
// project, the measure system, the bill) and the columns it writes; nullopt where there is none.
struct Floor {
    QString sql;
    QString columns;
    QStringList before; // statements that make what the statement reads; dropped after it
};

std::optional<Floor> floorOf(const ReportType& type) {
    const QString columns = QLatin1String(estimateColumns);
    if (type.command == QLatin1String("abstract-bill"))
        return Floor{abstractBillFloor(),
                     QStringLiteral("tw_schno,tw_sch_desc,tw_unit,tw_unit_desc,tw_rate,"
                                    "tw_prev_qty,tw_now_qty,tw_tot_qty,tw_prev_amt,tw_now_amt,"
                                    "tw_tot_amt,tw_dedn,tw_dedn_desc"),
                     abstractBillBefore()};
    if (type.command == QLatin1String("final-bill"))
        return Floor{estimateFloor(QStringLiteral("b.tw_contract_num=?2"),
                                   QStringLiteral("b.tw_recordkey"), false, true),
                     columns, itemsFirst(true)};
    if (type.command == QLatin1String("detailed-estimate") ||
        type.command == QLatin1String("detailed-bill"))
        return Floor{estimateFloor(QStringLiteral("b.tw_contract_num=?2 and b.tw_bill_num=?4"),
                                   QStringLiteral("b.tw_bill_num,b.tw_sch_num,b.tw_deduction,"
                                                  "b.tw_recordkey"),
                                   true, false),
                     columns, itemsFirst(false)};
    return std::nullopt;
}

// The statement with its ?1 ... ?4 as plain ? and the values bound to them in their order: the
// store takes only plain ones.
std::pair<QString, QVariantList> plain(const QString& sql, const QVariantList& values) {
    static const QRegularExpression mark(QStringLiteral("\\?(\\d)"));
    QVariantList bound;
    for (const auto& m : mark.globalMatch(sql))
        bound << values.at(m.captured(1).toInt() - 1);
    return {QString(sql).replace(mark, QStringLiteral("?")), bound};
}

// Writes the floor's rows into bench_floor, a table made as the working table is, and gives the
// time it took; throws when its rows are not the fill's, cell by cell.
double floorMs(const ConClass& con, const ReportType& type, const Floor& floor,
               const QVariantList& params) {
    const auto made = con.first(QStringLiteral("select sql from sqlite_temp_master where "
                                               "type='table' and name=? collate nocase union all "
                                               "select sql from main.sqlite_master where "
                                               "type='table' and name=? collate nocase"),
                                {type.workingTable, type.workingTable});
    QString create = made->text(0);
    create.replace(QRegularExpression(QStringLiteral("^CREATE (TEMP )?TABLE \"?\\w+\"?"),
                                      QRegularExpression::CaseInsensitiveOption),
                   QStringLiteral("create temp table bench_floor"));
    con.exec(QStringLiteral("drop table if exists bench_floor"));
    con.exec(create);
    QElapsedTimer timer;
    timer.start();
    {
        Transaction tx(con);
        for (const QString& statement : floor.before) {
            const auto [sql, bound] = plain(statement, params);
            con.exec(sql, bound);
        }
        const auto [sql, bound] = plain(floor.sql, params);
        con.exec(sql, bound);
        con.exec(QStringLiteral("drop table if exists bench_items"));
        con.exec(QStringLiteral("drop table if exists bench_bills"));
        tx.commit();
    }
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    // Row n of the floor against row n of the working table, every column, type and value.
    QStringList same;
    for (const QString& c : floor.columns.split(u','))
        same << QStringLiteral("a.%1 is b.%1 collate binary and typeof(a.%1)=typeof(b.%1)").arg(c);
    const QString compare =
        QStringLiteral("select (select count(*) from %1), (select count(*) from bench_floor), "
                       "(select count(*) from (select row_number() over (order by rowid) n, * "
                       "from %1) a join (select row_number() over (order by rowid) n, * from "
                       "bench_floor) b on a.n=b.n where not (%2))")
            .arg(type.workingTable, same.join(QStringLiteral(" and ")));
    const auto diff = con.first(compare);
    if (diff->text(0) != diff->text(1) || diff->number(2) != 0)
        throw Error(QStringLiteral("the floor of %1 wrote %2 rows against %3, %4 of them unlike")
                        .arg(type.command, diff->text(1), diff->text(0), diff->text(2)));
    con.exec(QStringLiteral("drop table bench_floor"));
    return ms;
}

} // namespace

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    if (argc < 2) {
        QTextStream(stderr) << "usage: fill_bench FOLDER [REPORT...] (an application folder "
                               "made by tallywright-cli demo --items ...)"
                            << Qt::endl;
        return 2;
    }
    QStringList only;
    for (int i = 2; i < argc; ++i)
        only << QString::fromLocal8Bit(argv[i]);
    AppFolder::set(QString::fromLocal8Bit(argv[1]));
    ConClass con(console);
    con.conopen();
    if (!con.isOpen())
        return 1;
    const auto project =
        con.first(QStringLiteral("select tw_contract_name, tw_contract_num from ContractMaster"));
    if (!project) {
        QTextStream(stderr) << "fill_bench: the folder holds no project" << Qt::endl;
        return 1;
    }
    const auto bill = con.first(QStringLiteral("select min(tw_bill_num), count(*) from billmaster "
                                               "where tw_contract_num=?"),
                                {project->text(1)});
    out << "Project " << project->text(1) << ", " << bill->text(1) << " measurement lines; "
        << "the bill timed is " << bill->text(0) << Qt::endl
        << Qt::endl;
    out << QStringLiteral("%1 %2 %3 %4 %5  %6")
               .arg(QStringLiteral("report"), -18)
               .arg(QStringLiteral("rows"), 7)
               .arg(QStringLiteral("fill ms"), 9)
               .arg(QStringLiteral("floor ms"), 9)
               .arg(QStringLiteral("peak MB"), 8)
               .arg(QStringLiteral(" ratio  goal"))
        << Qt::endl;

    // Every bill of the project raised, with two payments each, so that the abstract bill
    // counts 99 earlier bills and the bills raised report has payments to list.
    {
        Transaction tx(con);
        con.exec(QStringLiteral("delete from billsraised where tw_contract_num=?"),
                 {project->text(1)});
        con.exec(QStringLiteral("delete from payment_rec where tw_contract_num=?"),
                 {project->text(1)});
        con.exec(QStringLiteral("insert into billsraised (tw_contract_num, tw_bill_num, "
                                "tw_bill_dt, tw_bill_amount, tw_tds_amount) select distinct "
                                "tw_contract_num, tw_bill_num, '01-04-2026', 1000, 20 from "
                                "billmaster where tw_contract_num=?"),
                 {project->text(1)});
        for (const char* receipt : {"R-1", "R-2"})
            con.exec(QStringLiteral("insert into payment_rec (tw_contract_num, tw_bill_num, "
                                    "tw_recpt_num, tw_netamt, tw_recamt, tw_tdsamt) select "
                                    "tw_contract_num, tw_bill_num, ?, 400, 5, 10 from "
                                    "billsraised where tw_contract_num=?"),
                     {QString::fromLatin1(receipt), project->text(1)});
        tx.commit();
    }

    bool met = true;
    for (const ReportType& type : catalogue()) {
        if (type.workingTable.isEmpty() || (!only.isEmpty() && !only.contains(type.command)))
            continue;
        const std::optional<Floor> floor = floorOf(type);
        double fillBest = 0, floorBest = 0;
        qsizetype rows = 0;
        for (int r = 0; r < repeats; ++r) {
            ReportRun run;
            run.projectName = project->text(0);
            run.bill = bill->text(0);
            readProject(run, con);
            if (type.command == QLatin1String("abstract-bill"))
                LoadDeductions(run, con); // the bill opening: open, not frozen
            const QVariantList params{
                run.group_counter,
                run.contract_num,
                run.units_text,
                run.bill,
                run.tax_rate,
                QStringLiteral("TDS Recovered @ ") + doubleText(run.tax_rate) + u'%'};
            QElapsedTimer timer;
            timer.start();
            // A run fills its own temporary working table on a connection of its own, as the
            // report screen's and the command line's runs do.
            const RunTables tables(type, console);
            if (!tables.isOpen())
                return 1;
            const ConClass& own = tables.con();
            addSingleSum(own);
            if (!fill(type, run, own, console))
                return 1;
            const double fillMs = double(timer.nsecsElapsed()) / 1e6;
            const auto count =
                own.first(QStringLiteral("select count(*) from %1").arg(type.workingTable));
            rows = qsizetype(count->number(0));
            double floorTime = 0;
            if (floor) {
                try {
                    floorTime = floorMs(own, type, *floor, params);
                } catch (const Error& e) {
                    QTextStream(stderr) << "fill_bench: " << e.text() << Qt::endl;
                    return 1;
                }
            }
            fillBest = r == 0 ? fillMs : std::min(fillBest, fillMs);
            floorBest = r == 0 ? floorTime : std::min(floorBest, floorTime);
        }
        QString verdict;
        if (floor) {
            const double ratio = fillBest / floorBest;
            verdict = QStringLiteral("%1  <= %2  %3")
                          .arg(ratio, 6, 'f', 2)
                          .arg(goal)
                          .arg(ratio <= goal ? QStringLiteral("met") : QStringLiteral("MISSED"));
            met = met && ratio <= goal;
        }
        out << QStringLiteral("%1 %2 %3 %4 %5  %6")
                   .arg(type.command, -18)
                   .arg(rows, 7)
                   .arg(fillBest, 9, 'f', 1)
                   .arg(floor ? QString::number(floorBest, 'f', 1) : QStringLiteral("-"), 9)
                   .arg(peakMb(), 8, 'f', 1)
                   .arg(verdict)
            << Qt::endl;
    }
    const double peak = peakMb();
    out << Qt::endl
        << QStringLiteral("peak memory %1 MB (goal < %2 MB)  %3")
               .arg(peak, 0, 'f', 1)
               .arg(memoryGoalMb)
               .arg(peak < memoryGoalMb ? QStringLiteral("met") : QStringLiteral("MISSED"))
        << Qt::endl;
    return met && peak < memoryGoalMb ? 0 : 1;
}
