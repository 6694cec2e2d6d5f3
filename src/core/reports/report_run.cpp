#include "core/projects/projects.h"
#include "core/reports/fill_support.h"
#include "store/worktables.h"

#include <QFile>
#include <QTextStream>

#include <utility>

namespace tw::reports {

QStringList BillNumbers(ReportRun& run, const ConClass& con, const QString& projectName,
                        const QString& table) {
    if (const auto p = projects::findByName(con, projectName))
        run.contract_num = p->text(QStringLiteral("tw_contract_num"));
    return con.distinctInOrder(table, QStringLiteral("tw_bill_num"),
                               QStringLiteral("tw_contract_num=?"), {run.contract_num});
}

void readProject(ReportRun& run, const ConClass& con) {
    if (run.projectName.isEmpty())
        return; // nothing chosen: the run works on what the last one left
    const Row project = projectByName(con, run.projectName);
    run.units_text = project.text(QStringLiteral("tw_units"));
    run.contract_num = project.text(QStringLiteral("tw_contract_num"));
    run.tax_rate = project.number(QStringLiteral("tw_tax_rate"));
}

QStringList billKey(const ReportRun& run) {
    return billHold(run.contract_num, run.bill);
}

void readReportOrgName(ReportRun& run) {
    QFile file(AppFolder::file(QStringLiteral("Tallywright.cfg")));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    QTextStream in(&file);
    QString line;
    while (in.readLineInto(&line)) {
        if (line.isEmpty())
            continue;
        const qsizetype eq = line.indexOf(u'=');
        run.ReportOrgName = (eq < 0 ? line : line.mid(eq + 1)).trimmed();
        return;
    }
}

bool fill(const ReportType& type, ReportRun& run, const ConClass& con, Messenger& messages,
          const GoOn& goOn) {
    if (run.ewp.isEmpty())
        run.ewp = QStringLiteral("0");
    if (run.wws.isEmpty())
        run.wws = QStringLiteral("0");
    // Group numbers only key the rows of this run: counting on from the last run would run a
    // large project past the 16-bit field after a few reports.
    run.group_counter = 0;
    // What the steps tell the user waits for the end of the action: a box waiting for its
    // answer then holds no lock on the file, and another program (or screen) goes on writing.
    HeldMessages held(messages);
    try {
        Transaction tx(con);
        try {
            // Two seats running one bill at once: the second finds the bill's row the first
            // wrote, and waits for a freeze of it to end.
            if (type.writesFile)
                holdFor(con, billKey(run));
            const auto& steps = type.formOf(run).steps;
            for (size_t i = 0; i <= steps.size(); ++i) {
                if (goOn && !goOn(static_cast<int>(i)))
                    return false; // the transaction's end rolls back, the held messages go
                if (i < steps.size())
                    steps[i](run, con, held);
            }
        } catch (const Error&) {
            // A run that stops midway leaves what it wrote.
            tx.commit();
            throw;
        }
        tx.commit();
        held.release();
        return true;
    } catch (const Error& e) {
        held.release();
        messages.say(e.text(), Critical);
        return false;
    }
}

LayoutRows layoutRows(const QString& workingTable, const QVariantList& parameters,
                      const ReportRun& run, const ConClass& con) {
    LayoutRows out;
    if (workingTable.isEmpty()) {
        const QString number =
            parameters.isEmpty() ? run.contract_num : parameters.front().toString();
        out.table = QStringLiteral("ContractMaster");
        out.rows = con.keyed(out.table, QStringLiteral("tw_contract_num=?"), {number});
    } else {
        out.table = workingTable;
        out.rows = con.keyed(out.table);
    }
    // The names come from the table, so a table without rows still has them.
    out.columns = con.columns(out.table);
    return out;
}

RunTables::RunTables(const ReportType& type, Messenger& messages) : con_(messages) {
    con_.conopen();
    if (!con_.isOpen())
        return;
    if (!type.workingTable.isEmpty())
        makeWorkingTables(con_, {type.workingTable});
    open_ = true;
}

} // namespace tw::reports
