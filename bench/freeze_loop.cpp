// Generates and freezes one bill again and again until it is killed, thawing it between rounds,
// so that bench/kill_freeze.sh can kill it at any point of a freeze.
//
//   freeze_loop FOLDER PROJECT_NAME BILL

#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() != 4)
        return 2;
    tw::AppFolder::set(args[1]);
    tw::ConClass con(console);
    con.conopen();
    if (!con.isOpen())
        return 1;
    tw::reports::ReportRun run;
    run.projectName = args[2];
    run.bill = args[3];
    const auto* bill = tw::reports::findByCaption(QStringLiteral("Abstract Bill"));
    const auto thaw = [&] {
        tw::Transaction tx(con);
        con.exec(QStringLiteral("update billsraised set tw_froze=0 where tw_contract_num=? and "
                                "tw_bill_num=?"),
                 {run.contract_num, run.bill});
        con.exec(QStringLiteral("delete from abstractbills where tw_contract_num=? and "
                                "tw_bill_num=?"),
                 {run.contract_num, run.bill});
        tx.commit();
    };
    for (;;) {
        tw::reports::readProject(run, con);
        thaw(); // a round killed after its freeze left the bill frozen
        run.frozen_flag = false;
        if (!tw::reports::fill(*bill, run, con, console))
            return 1;
        tw::reports::FreezeBill(run, con);
        if (!run.frozen_flag)
            return 1; // the bill was not there to freeze
        QTextStream(stdout) << "frozen" << Qt::endl;
    }
}
