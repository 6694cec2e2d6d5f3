#include "core/reports/fill_support.h"

#include <QSet>

namespace tw::reports {

namespace {
// The schedule items of the lines' numbers, of any project: the first row the store gives for
// a number is the one a line takes, so a number used by several projects shows the earliest.
FirstRows itemsOf(const ConClass& con, const std::vector<Line>& lines) {
    QStringList numbers;
    QSet<QString> seen;
    for (const Line& l : lines) {
        const QString n = l.sch.toString();
        if (!seen.contains(nocaseKey(n))) {
            seen.insert(nocaseKey(n));
            numbers << n;
        }
    }
    // A few hundred numbers a statement keeps each statement well within the store's limit on
    // bound values, and the whole schedule is read once per batch.
    constexpr qsizetype batch = 500;
    FirstRows items;
    for (qsizetype i = 0; i < numbers.size(); i += batch) {
        const QStringList part = numbers.mid(i, batch);
        QStringList marks;
        QVariantList params;
        for (const QString& n : part) {
            marks << QStringLiteral("?");
            params << n;
        }
        for (Row& r :
             con.keyed(QStringLiteral("Sch_master"),
                       QStringLiteral("tw_sch_num in (%1)").arg(marks.join(u',')), params)) {
            const QString number = r.text(QStringLiteral("tw_sch_num")); // read before the move
            items.add(number, std::move(r));
        }
    }
    return items;
}
} // namespace

void BuildEstimateRows(ReportRun& run, const ConClass& con, Messenger& messages) {
    std::vector<Line> lines;
    {
        LineReader reader(con,
                          QStringLiteral("select * from billmaster where (tw_contract_num=?) and "
                                         "(tw_bill_num=?) order by tw_bill_num,tw_sch_num,"
                                         "tw_deduction,tw_recordkey"),
                          {run.contract_num, run.bill});
        Line line;
        while (reader.next(line))
            lines.push_back(line);
    }
    const QString units = projectByName(con, run.projectName).text(QStringLiteral("tw_units"));
    if (lines.empty())
        throw Error(QStringLiteral("The bill \"%1\" of project \"%2\" has no measurement lines.")
                        .arg(run.bill, run.contract_num));
    EstimateRows rows(run, con, messages, {QStringLiteral("No Details Found")}, units,
                      lines.front());
    const FirstRows items = itemsOf(con, lines);
    for (const Line& line : lines)
        if (!rows.add(line, items.find(line.sch.toString())))
            break;
    rows.finish();
}

} // namespace tw::reports
