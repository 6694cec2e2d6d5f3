// Times each report fill on the sample in an application folder against the floor of its work,
// measured in the same run: one grouped scan of the lines the fill reads, plus one prepared
// insert of as many rows as the fill wrote into a scratch table like its working table. Prints
// the ratios and the peak memory, and exits 1 when a goal is missed.
//
//   fill_bench FOLDER

#include "core/reports/bulk_insert.h"
#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "peak_memory.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlRecord>
#include <QTextStream>

#include <algorithm>

using namespace tw;
using namespace tw::reports;

namespace {

constexpr int repeats = 3; // the best of three, on a machine others share
constexpr double memoryGoalMb = 150;
volatile double sink; // what the floor's scan sums, kept so the scan cannot be left out

// The scan that reads what a fill reads, summed by group.
struct Floor {
    QString scan;
    QVariantList params;
};

Floor floorOf(const ReportType& type, const ReportRun& run) {
    if (type.command == QLatin1String("final-bill"))
        return {QStringLiteral("select tw_sch_num, sum(tw_cal_Area) from billmaster where "
                               "tw_contract_num=? group by tw_sch_num"),
                {run.contract_num}};
    if (type.command == QLatin1String("reinforcement"))
        return {QStringLiteral("select tw_diameter, sum(tw_length_qty) from reinforcementmaster "
                               "where tw_contract_num=? and tw_bill_num=? group by tw_diameter"),
                {run.contract_num, run.bill}};
    // The abstract bill reads the lines of every bill of the project; the bills raised report
    // reads the bills with their payments.
    if (type.command == QLatin1String("abstract-bill"))
        return {QStringLiteral("select tw_bill_num, tw_sch_num, sum(tw_cal_Area) from billmaster "
                               "where tw_contract_num=? group by tw_bill_num, tw_sch_num"),
                {run.contract_num}};
    if (type.command == QLatin1String("bills-raised"))
        return {QStringLiteral("select b.tw_bill_num, sum(p.tw_netamt) from billsraised b left "
                               "join payment_rec p on p.tw_contract_num=b.tw_contract_num and "
                               "p.tw_bill_num=b.tw_bill_num where b.tw_contract_num=? group by "
                               "b.tw_bill_num"),
                {run.contract_num}};
    if (type.command == QLatin1String("schedule"))
        return {QStringLiteral("select tw_category_name, sum(tw_item_rate) from sch_master where "
                               "tw_contract_num=? group by tw_category_name"),
                {run.contract_num}};
    return {QStringLiteral("select tw_sch_num, sum(tw_cal_Area) from billmaster where "
                           "tw_contract_num=? and tw_bill_num=? group by tw_sch_num"),
            {run.contract_num, run.bill}};
}

// The goal a fill is held to, as a ratio to its floor; 0 where there is none.
double goalOf(const ReportType& type) {
    return type.command == QLatin1String("detailed-estimate") ||
                   type.command == QLatin1String("final-bill") ||
                   type.command == QLatin1String("abstract-bill") ||
                   type.command == QLatin1String("bills-raised")
               ? 3
               : 0;
}

double floorMs(const ConClass& con, const Floor& floor, const Row& sample, qsizetype rows) {
    QStringList columns;
    QVariantList values;
    for (int i = 0; i < sample.count(); ++i) {
        columns << sample.columnName(i);
        values << sample.value(i);
    }
    con.exec(QStringLiteral("drop table if exists bench_scratch"));
    QString definition;
    for (const QString& c : columns)
        definition += (definition.isEmpty() ? QString() : QStringLiteral(", ")) + u'"' + c + u'"';
    con.exec(QStringLiteral("create table bench_scratch (%1)").arg(definition));

    QElapsedTimer timer;
    timer.start();
    double sum = 0;
    {
        QSqlQuery q = prepared(con.db(), floor.scan, floor.params);
        while (q.next())
            sum += q.value(1).toDouble();
    }
    {
        Transaction tx(con);
        BulkInsert insert(con, QStringLiteral("bench_scratch"), columns);
        for (qsizetype i = 0; i < rows; ++i)
            insert.add(values);
        tx.commit();
    }
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    sink = sum;
    con.exec(QStringLiteral("drop table bench_scratch"));
    return ms;
}

} // namespace

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        QTextStream(stderr) << "usage: fill_bench FOLDER (an application folder made by "
                               "tallywright-cli demo --items ...)"
                            << Qt::endl;
        return 2;
    }
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
    out << QStringLiteral("%1 %2 %3 %4 %5 %6  %7")
               .arg(QStringLiteral("report"), -18)
               .arg(QStringLiteral("rows"), 7)
               .arg(QStringLiteral("fill ms"), 9)
               .arg(QStringLiteral("floor ms"), 9)
               .arg(QStringLiteral("ratio"), 6)
               .arg(QStringLiteral("peak MB"), 8)
               .arg(QStringLiteral("goal"))
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
        if (type.workingTable.isEmpty())
            continue;
        double fillBest = 0, floorBest = 0;
        qsizetype rows = 0;
        for (int r = 0; r < repeats; ++r) {
            ReportRun run;
            run.projectName = project->text(0);
            run.bill = bill->text(0);
            readProject(run, con);
            if (type.command == QLatin1String("abstract-bill"))
                LoadDeductions(run, con); // the bill opening: open, not frozen
            QElapsedTimer timer;
            timer.start();
            if (!fill(type, run, con, console))
                return 1;
            const double fillMs = double(timer.nsecsElapsed()) / 1e6;
            const auto count =
                con.first(QStringLiteral("select count(*) from %1").arg(type.workingTable));
            rows = qsizetype(count->number(0));
            const auto sample =
                con.first(QStringLiteral("select * from %1 limit 1").arg(type.workingTable));
            if (!sample) {
                QTextStream(stderr)
                    << "fill_bench: " << type.command << " wrote no rows" << Qt::endl;
                return 1;
            }
            const double floor = floorMs(con, floorOf(type, run), *sample, rows);
            fillBest = r == 0 ? fillMs : std::min(fillBest, fillMs);
            floorBest = r == 0 ? floor : std::min(floorBest, floor);
        }
        const double ratio = fillBest / floorBest;
        const double goal = goalOf(type);
        QString verdict;
        if (goal > 0) {
            verdict = QStringLiteral("<= %1  %2")
                          .arg(goal)
                          .arg(ratio <= goal ? QStringLiteral("met") : QStringLiteral("MISSED"));
            met = met && ratio <= goal;
        }
        out << QStringLiteral("%1 %2 %3 %4 %5 %6  %7")
                   .arg(type.command, -18)
                   .arg(rows, 7)
                   .arg(fillBest, 9, 'f', 1)
                   .arg(floorBest, 9, 'f', 1)
                   .arg(ratio, 6, 'f', 2)
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
