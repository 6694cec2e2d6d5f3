#include "core/reports/report_run.h"

namespace tw::reports {

const std::vector<ReportType>& catalogue() {
    static const std::vector<ReportType> types{
        {QStringLiteral("Project Info."), QStringLiteral("project-info"),
         QStringLiteral("Contractor_info"), QString(), false},
        {QStringLiteral("Detailed Estimate"), QStringLiteral("detailed-estimate"),
         QStringLiteral("det_estimation"), QStringLiteral("dummy_estimation"), true},
        {QStringLiteral("Abstract Estimate"), QStringLiteral("abstract-estimate"),
         QStringLiteral("Abstract_estimation"), QStringLiteral("dummy_estimation"), true},
        {QStringLiteral("Detailed Bill"), QStringLiteral("detailed-bill"),
         QStringLiteral("Interimbill_Detailed"), QStringLiteral("dummy_estimation"), true},
        {QStringLiteral("Abstract Bill"), QStringLiteral("abstract-bill"),
         QStringLiteral("Abstract_Report"), QStringLiteral("abstractbillrep"), true},
        {QStringLiteral("Final Bill - Detailed"), QStringLiteral("final-bill"),
         QStringLiteral("FinalBill_Det"), QStringLiteral("dummy_estimation"), false},
        {QStringLiteral("Reinforcement Report"), QStringLiteral("reinforcement"),
         QStringLiteral("reinforcement_report"), QStringLiteral("dummy_reinforcement_report"),
         true},
        {QStringLiteral("Tender Schedule"), QStringLiteral("tender-schedule"),
         QStringLiteral("Tender_Schedule"), QStringLiteral("dummy_estimation"), true},
        {QStringLiteral("Contract / Schedule"), QStringLiteral("schedule"),
         QStringLiteral("Schedule_Details"), QStringLiteral("dummy_sch_report"), false},
        {QStringLiteral("Bills Raised Report"), QStringLiteral("bills-raised"),
         QStringLiteral("Bill_report_param"), QStringLiteral("billsraisedreport"), false},
    };
    return types;
}

const ReportType* findByCaption(const QString& caption) {
    for (const ReportType& t : catalogue())
        if (t.caption == caption)
            return &t;
    return nullptr;
}

const ReportType* findByCommand(const QString& command) {
    for (const ReportType& t : catalogue())
        if (t.command == command)
            return &t;
    return nullptr;
}

QString periodLayout() {
    return QStringLiteral("Bill_report_param_date");
}

QVariantList parameters(const ReportType& type, const ReportRun& run) {
    const QString& c = type.caption;
    if (c == QLatin1String("Project Info."))
        return {run.contract_num, run.ReportOrgName};
    if (c == QLatin1String("Abstract Estimate"))
        return {run.ReportOrgName, run.projectName, leadingNumber(run.ewp), leadingNumber(run.wws)};
    if (c == QLatin1String("Abstract Bill"))
        return {run.ReportOrgName, run.projectName, run.bill};
    if (c == QLatin1String("Contract / Schedule"))
        return {run.projectName, run.ReportOrgName};
    if (c == QLatin1String("Bills Raised Report") && run.forPeriod)
        return {dateText(run.fromDate), dateText(run.toDate), run.ReportOrgName};
    return {run.ReportOrgName};
}

} // namespace tw::reports
