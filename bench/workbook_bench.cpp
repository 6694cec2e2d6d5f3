// Times a schedule workbook of 2,100 rows (the room an exported schedule has always had) going
// into a project's table, and the table going out again. Goal: the import under 0.5 s.
//
//   workbook_bench        (prints the times; exits 1 when the import misses the goal)

#include "core/schedules/schedules.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

using namespace tw::schedules;

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    tw::AppFolder::set(dir.path());
    tw::ConClass con(console);
    con.conopen();
    const qint64 key = con.insert(QStringLiteral("contractmaster"),
                                  {{QStringLiteral("tw_contract_num"), QStringLiteral("B-1")},
                                   {QStringLiteral("tw_contract_name"), QStringLiteral("Bench")},
                                   {QStringLiteral("tw_units"), QStringLiteral("Metre")}});
    con.exec(QStringLiteral("create table Sch_%1 (tw_sch_num text, tw_item_desc text, tw_unit "
                            "text, tw_item_rate real, tw_deduction integer, tw_category_name text)")
                 .arg(key));
    for (int i = 0; i < 20; ++i)
        con.insert(QStringLiteral("CategoryList_Meter"),
                   {{QStringLiteral("tw_category_name"), QStringLiteral("Category %1").arg(i)}});

    constexpr int Rows = 2100;
    std::vector<SheetRow> rows;
    for (int i = 0; i < Rows; ++i) {
        // Every tenth row lacks its number, as hand-made schedules often do.
        const Cell number = i % 10 == 9 ? Cell() : Cell(QStringLiteral("%1.%2").arg(i / 50).arg(i));
        rows.push_back({number,
                        QStringLiteral("Item %1: providing and laying cement concrete 1:2:4 in "
                                       "foundations and plinth, including curing")
                            .arg(i),
                        QStringLiteral("Cum"), 100.0 + i * 0.25, double(i % 2),
                        QStringLiteral("Category %1").arg(i % 25)});
    }
    const QString file = dir.filePath(QStringLiteral("bench.xlsx"));
    writeSheet1(file, rows);
    const Project project = *findProject(con, QStringLiteral("B-1"));

    QElapsedTimer t;
    t.start();
    const ImportCounts counts = importSchedules(con, project, file);
    const double importSeconds = double(t.nsecsElapsed()) / 1e9;
    t.restart();
    exportSchedules(con, project);
    const double exportSeconds = double(t.nsecsElapsed()) / 1e9;

    std::printf("workbook import of %d rows: %.3f s (%d added, %d to check; goal < 0.5 s)\n", Rows,
                importSeconds, counts.added, counts.toCheck);
    std::printf("workbook export of %d rows: %.3f s\n", counts.added, exportSeconds);
    return importSeconds < 0.5 && counts.added == Rows ? 0 : 1;
}
