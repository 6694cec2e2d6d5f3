// The export of a schedule table of 1,000,000 rows to a workbook, and the peak memory it takes.
// Goal: the export adds less than 50 MB to what the process held before it, whatever the
// length of the table.
//
//   export_bench [ROWS]   (prints the time and the memory; exits 1 when the goal is missed)

#include "core/schedules/schedules.h"
#include "peak_memory.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>

using namespace tw::schedules;

namespace {

constexpr double goalMegabytes = 50;

} // namespace

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    const int rows = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 1000000;
    QTemporaryDir dir;
    tw::AppFolder::set(dir.path());
    tw::ConClass con(console);
    con.conopen();
    const qint64 key = con.insert(QStringLiteral("contractmaster"),
                                  {{QStringLiteral("tw_contract_num"), QStringLiteral("E-1")},
                                   {QStringLiteral("tw_contract_name"), QStringLiteral("Export")},
                                   {QStringLiteral("tw_units"), QStringLiteral("Metre")}});
    const QString table = QStringLiteral("Sch_%1").arg(key);
    con.exec(QStringLiteral("create table %1 (tw_sch_num text, tw_item_desc text, tw_unit text, "
                            "tw_item_rate real, tw_deduction integer, tw_category_name text)")
                 .arg(table));
    {
        tw::Transaction fill(con);
        for (int i = 0; i < rows; ++i)
            con.insert(
                table,
                {{QStringLiteral("tw_sch_num"), QStringLiteral("%1.%2").arg(i / 50).arg(i)},
                 {QStringLiteral("tw_item_desc"),
                  QStringLiteral("Item %1: providing and laying cement concrete "
                                 "1:2:4 in foundations and plinth, including curing")
                      .arg(i)},
                 {QStringLiteral("tw_unit"), QStringLiteral("Cum")},
                 {QStringLiteral("tw_item_rate"), 100.0 + i * 0.25},
                 {QStringLiteral("tw_deduction"), i % 2},
                 {QStringLiteral("tw_category_name"), QStringLiteral("Category %1").arg(i % 25)}});
        fill.commit();
    }
    const Project project = *findProject(con, QStringLiteral("E-1"));

    const double before = peakMb();
    QElapsedTimer t;
    t.start();
    const QString file = exportSchedules(con, project);
    const double seconds = double(t.nsecsElapsed()) / 1e9;
    const double added = peakMb() - before;
    std::printf("workbook export of %d rows: %.1f s, %.1f MB file; peak memory %.0f MB, %.0f MB "
                "of it for the export (goal < %.0f MB)\n",
                rows, seconds, double(QFileInfo(file).size()) / 1e6, peakMb(), added,
                goalMegabytes);
    return added < goalMegabytes ? 0 : 1;
}
