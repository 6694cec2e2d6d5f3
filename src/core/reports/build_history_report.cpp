#include "core/reports/fill_support.h"
#include "store/history.h"

namespace tw::reports {

// The changes to a project (to one of its bills when the run names one), newest first, each as
// the report shows it: the figures in words with the names of their columns, so the layout needs
// to know no table.
void BuildHistoryReport(ReportRun& run, const ConClass& con, Messenger&) {
    emptyTable(con, history::reportTable);
    run.contract_num = projectByName(con, run.projectName).text(QStringLiteral("tw_contract_num"));
    QStringList columns;
    for (const schema::Column& c : history::reportColumns())
        columns << c.name;
    BulkInsert insert(con, history::reportTable, columns);
    for (const history::Entry& e : history::read(con, {run.contract_num, run.bill, {}, {}, {}})) {
        const QStringList shown = history::shown(con, e);
        insert.add(QVariantList(shown.begin(), shown.end()));
    }
}

} // namespace tw::reports
