// Generates and freezes one bill again and again, thawing it between rounds, so that
// bench/kill_freeze.sh can kill it at any statement of a freeze; with "fill" it only generates
// the bill, for bench/kill_running_bill.sh. Prints the number of statements run when it ends by
// itself; TW_KILL_AFTER=N kills it as the Nth statement begins (kill_hook.h).
//
//   freeze_loop FOLDER PROJECT_NAME BILL [ROUNDS [fill]]    (ROUNDS 0 or none: until killed)

#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"
#include "kill_hook.h"
#include "store/store.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    tw::ConsoleMessenger console;
    killhook::install();
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 4 || args.size() > 6)
        return 2;
    const long rounds = args.size() > 4 ? args[4].toLong() : 0;
    const bool freeze = args.size() < 6 || args[5] != QLatin1String("fill");
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
    for (long round = 0; rounds == 0 || round < rounds; ++round) {
        tw::reports::readProject(run, con);
        if (freeze)
            thaw(); // a round killed after its freeze left the bill frozen
        else
            tw::reports::LoadDeductions(run, con);
        run.frozen_flag = false;
        if (!tw::reports::fill(*bill, run, con, console))
            return 1;
        if (!freeze)
            continue;
        tw::reports::FreezeBill(run, con);
        if (!run.frozen_flag)
            return 1; // the bill was not there to freeze
    }
    QTextStream(stdout) << killhook::statements << Qt::endl;
    return 0;
}
