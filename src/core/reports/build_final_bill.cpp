#include "core/reports/fill_support.h"

namespace tw::reports {

// Every line of the project, across its bills, in the order the lines were entered; a group is
// a run of neighbouring lines of one item, so an item measured in two bills whose lines lie
// apart makes two groups. The net pass over the rows takes each row as it stands, so it runs as
// the rows are written: the rows come out as if the pass had run after them, without reading
// them back.
void BuildFinalBill(ReportRun& run, const ConClass& con, Messenger& messages) {
    const Row project = projectByNumber(con, run.contract_num);
    const QString number = project.text(QStringLiteral("tw_contract_num"));
    // The lines are read as they come: a project's final bill runs to hundreds of thousands.
    LineReader reader(con,
                      QStringLiteral("select * from billmaster where tw_contract_num=? order by "
                                     "tw_recordkey"),
                      {number});
    Line line;
    if (!reader.next(line))
        throw Error(
            QStringLiteral("The project \"%1\" has no measurement lines.").arg(run.contract_num));
    EstimateRows::Rules rules{QStringLiteral("Some or No Details Found"), false, true};
    EstimateRows rows(run, con, messages, rules, project.text(QStringLiteral("tw_units")), line);
    // The project's own schedule: its items are looked up with the project.
    const FirstRows items = firstRowsBy(
        con.keyed(QStringLiteral("Sch_master"), QStringLiteral("tw_contract_num=?"), {number}),
        QStringLiteral("tw_sch_num"));
    do {
        if (!rows.add(line, items.find(line.sch.toString())))
            break;
    } while (reader.next(line));
    rows.finish();
}

} // namespace tw::reports
