#include "core/reports/fill_support.h"
#include "core/reports/running_bill.h"

#include <QFile>
#include <QTextStream>

namespace tw::reports {

void readProject(ReportRun& run, const ConClass& con) {
    if (run.projectName.isEmpty())
        return; // nothing chosen: the run works on what the last one left
    const Row project = projectByName(con, run.projectName);
    run.units_text = project.text(QStringLiteral("tw_units"));
    run.contract_num = project.text(QStringLiteral("tw_contract_num"));
    run.tax_rate = project.number(QStringLiteral("tw_tax_rate"));
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

namespace {
using Step = void (*)(ReportRun&, const ConClass&, Messenger&);

std::vector<Step> stepsOf(const QString& caption, bool forPeriod) {
    if (caption == QLatin1String("Detailed Estimate") || caption == QLatin1String("Detailed Bill"))
        return {BuildEstimateRows};
    if (caption == QLatin1String("Abstract Estimate"))
        return {BuildEstimateRows, AddServicePercentages};
    if (caption == QLatin1String("Tender Schedule"))
        return {BuildEstimateRows, ComputeNetAmounts};
    if (caption == QLatin1String("Final Bill - Detailed"))
        return {BuildFinalBill};
    if (caption == QLatin1String("Reinforcement Report"))
        return {BuildReinforcementReport};
    if (caption == QLatin1String("Contract / Schedule"))
        return {BuildScheduleReport};
    if (caption == QLatin1String("Abstract Bill"))
        return {BuildAbstractBill};
    if (caption == QLatin1String("Bills Raised Report"))
        return {forPeriod ? BuildBillsRaisedForPeriod : BuildBillsRaisedForProject};
    return {}; // "Project Info." shows the project's own record
}
} // namespace

bool fill(const ReportType& type, ReportRun& run, const ConClass& con, Messenger& messages) {
    if (run.ewp.isEmpty())
        run.ewp = QStringLiteral("0");
    if (run.wws.isEmpty())
        run.wws = QStringLiteral("0");
    // Group numbers only key the rows of this run: counting on from the last run would run a
    // large project past the 16-bit field after a few reports.
    run.group_counter = 0;
    try {
        Transaction tx(con);
        try {
            for (Step step : stepsOf(type.caption, run.forPeriod))
                step(run, con, messages);
        } catch (const Error&) {
            // A run that stops midway leaves what it wrote.
            tx.commit();
            throw;
        }
        tx.commit();
        return true;
    } catch (const Error& e) {
        messages.say(e.text(), Critical);
        return false;
    }
}

} // namespace tw::reports
