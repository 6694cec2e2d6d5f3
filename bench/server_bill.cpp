// Times the abstract bill of the large sample on a server database against the floor of its
// work there: one grouped scan of the measurement lines it sums, on the same server. The best of
// three of each; exits 1 when the bill takes more than three times the scan.
//
//   server_bill FOLDER    (FOLDER's twk.cfg names the server; the password as PGPASSWORD)

#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

#include <algorithm>

using namespace tw;
using namespace tw::reports;

namespace {
constexpr int repeats = 3;
constexpr double goal = 3;
volatile double sink; // what the scan sums, kept so that it cannot be left out

double msSince(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        QTextStream(stderr) << "usage: server_bill FOLDER" << Qt::endl;
        return 2;
    }
    AppFolder::set(QString::fromLocal8Bit(argv[1]));
    const auto server = Store::configured();
    if (!server) {
        QTextStream(stderr) << "server_bill: the folder's twk.cfg names no server" << Qt::endl;
        return 2;
    }
    Store::use(Store::withRole(*server));
    ConClass con(console);
    con.conopen();
    if (!con.isOpen())
        return 1;
    const auto project =
        con.first(QStringLiteral("select tw_contract_name, tw_contract_num from ContractMaster"));
    if (!project)
        return 1;
    const QString number = project->text(1);
    const auto bills = con.first(QStringLiteral("select max(tw_bill_num), count(*) from billmaster "
                                                "where tw_contract_num=?"),
                                 {number});
    // Every bill raised, so that the bill timed counts every earlier one.
    {
        Transaction tx(con);
        con.exec(QStringLiteral("delete from billsraised where tw_contract_num=?"), {number});
        con.exec(QStringLiteral("insert into billsraised (tw_contract_num, tw_bill_num, "
                                "tw_bill_dt, tw_bill_amount, tw_tds_amount) select distinct "
                                "tw_contract_num, tw_bill_num, '01-04-2026', 1000, 20 from "
                                "billmaster where tw_contract_num=?"),
                 {number});
        tx.commit();
    }
    const ReportType& type = *findByCommand(QStringLiteral("abstract-bill"));
    double billBest = 0, scanBest = 0;
    qsizetype rows = 0;
    for (int r = 0; r < repeats; ++r) {
        RunTables tables(type, console);
        ReportRun run;
        run.projectName = project->text(0);
        run.bill = bills->text(0);
        readProject(run, tables.con());
        LoadDeductions(run, tables.con());
        QElapsedTimer timer;
        timer.start();
        if (!fill(type, run, tables.con(), console))
            return 1;
        const double billMs = msSince(timer);
        rows = qsizetype(
            tables.con().first(QStringLiteral("select count(*) from abstractbillrep"))->number(0));

        timer.restart();
        double sum = 0;
        for (const Row& line : con.rows(QStringLiteral("select tw_bill_num, tw_sch_num, "
                                                       "sum(tw_cal_Area) from billmaster where "
                                                       "tw_contract_num=? group by tw_bill_num, "
                                                       "tw_sch_num"),
                                        {number}))
            sum += line.number(2);
        sink = sum;
        const double scanMs = msSince(timer);
        billBest = r == 0 ? billMs : std::min(billBest, billMs);
        scanBest = r == 0 ? scanMs : std::min(scanBest, scanMs);
    }
    const double ratio = billBest / scanBest;
    out << QStringLiteral("abstract bill %1 of %2 lines on %3: %4 rows in %5 ms; one grouped "
                          "scan %6 ms; ratio %7 (goal %8)")
               .arg(bills->text(0), bills->text(1), Store::shown())
               .arg(rows)
               .arg(billBest, 0, 'f', 0)
               .arg(scanBest, 0, 'f', 0)
               .arg(ratio, 0, 'f', 2)
               .arg(goal, 0, 'f', 0)
        << Qt::endl;
    return ratio <= goal ? 0 : 1;
}
