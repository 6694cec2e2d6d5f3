#include "core/reports/report_run.h"
#include "core/reports/running_bill.h"

namespace tw::reports {

namespace {
using P = Parameter;

ReportType type(const char* caption, const char* command, const char* workingTable, Context context,
                Form form) {
    ReportType t;
    t.caption = QString::fromLatin1(caption);
    t.command = QString::fromLatin1(command);
    t.workingTable = QString::fromLatin1(workingTable);
    t.context = context;
    t.form = std::move(form);
    return t;
}

std::vector<ReportType> makeCatalogue() {
    const QString measured = QStringLiteral("billmaster");
    std::vector<ReportType> all;

    ReportType& info =
        all.emplace_back(type("Project Info.", "project-info", "", Context::Record,
                              {"Contractor_info", {}, {P::ProjectNumber, P::Organisation}}));
    info.habits.hidesBills = true;
    info.habits.hidesProjects = true;

    all.emplace_back(type("Detailed Estimate", "detailed-estimate", "dummy_estimation",
                          Context::Estimate,
                          {"det_estimation", {BuildEstimateRows}, {P::Organisation}}))
        .billsFrom = measured;

    ReportType& abstract = all.emplace_back(
        type("Abstract Estimate", "abstract-estimate", "dummy_estimation", Context::Estimate,
             {"Abstract_estimation",
              {BuildEstimateRows, AddServicePercentages},
              {P::Organisation, P::ProjectName, P::Electrical, P::Plumbing}}));
    abstract.billsFrom = measured;
    abstract.percentages = true;
    abstract.writesFile = true;

    ReportType& detailedBill = all.emplace_back(
        type("Detailed Bill", "detailed-bill", "dummy_estimation", Context::Estimate,
             {"Interimbill_Detailed", {BuildEstimateRows}, {P::Organisation}}));
    detailedBill.billsFrom = measured;
    detailedBill.habits.clearsBill = true;

    ReportType& bill = all.emplace_back(
        type("Abstract Bill", "abstract-bill", "abstractbillrep", Context::RunningBill,
             {"Abstract_Report", {BuildAbstractBill}, {P::Organisation, P::ProjectName, P::Bill}}));
    bill.billsFrom = measured;
    bill.runningBill = true;
    bill.writesFile = true;

    all.emplace_back(type("Final Bill - Detailed", "final-bill", "dummy_estimation",
                          Context::Estimate,
                          {"FinalBill_Det", {BuildFinalBill}, {P::Organisation}}))
        .habits.keepsFrames = true;

    all.emplace_back(type("Reinforcement Report", "reinforcement", "dummy_reinforcement_report",
                          Context::Reinforcement,
                          {"reinforcement_report", {BuildReinforcementReport}, {P::Organisation}}))
        .billsFrom = QStringLiteral("reinforcementmaster");

    ReportType& tender = all.emplace_back(
        type("Tender Schedule", "tender-schedule", "dummy_estimation", Context::Estimate,
             {"Tender_Schedule", {BuildEstimateRows, ComputeNetAmounts}, {P::Organisation}}));
    tender.billsFrom = measured;
    tender.writesFile = true;

    ReportType& schedule = all.emplace_back(
        type("Contract / Schedule", "schedule", "dummy_sch_report", Context::Plain,
             {"Schedule_Details", {BuildScheduleReport}, {P::ProjectName, P::Organisation}}));
    schedule.habits.readyAtOnce = true;
    schedule.habits.clearsBill = true;

    ReportType& raised = all.emplace_back(
        type("Bills Raised Report", "bills-raised", "billsraisedreport", Context::BillsRaised,
             {"Bill_report_param", {BuildBillsRaisedForProject}, {P::Organisation}}));
    raised.period = Form{QStringLiteral("Bill_report_param_date"),
                         {BuildBillsRaisedForPeriod},
                         {P::FromDate, P::ToDate, P::Organisation}};
    raised.habits.clearsBill = true;

    all.emplace_back(type("History of Changes", "history", "history_report", Context::Plain,
                          {"History", {BuildHistoryReport}, {P::ProjectName, P::Organisation}}))
        .habits.readyAtOnce = true;
    return all;
}
} // namespace

const std::vector<ReportType>& catalogue() {
    static const std::vector<ReportType> types = makeCatalogue();
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

QVariantList parameters(const ReportType& type, const ReportRun& run) {
    QVariantList values;
    for (const Parameter p : type.formOf(run).parameters) {
        switch (p) {
        case Parameter::Organisation:
            values << run.ReportOrgName;
            break;
        case Parameter::ProjectName:
            values << run.projectName;
            break;
        case Parameter::ProjectNumber:
            values << run.contract_num;
            break;
        case Parameter::Bill:
            values << run.bill;
            break;
        case Parameter::Electrical:
            values << leadingNumber(run.ewp);
            break;
        case Parameter::Plumbing:
            values << leadingNumber(run.wws);
            break;
        case Parameter::FromDate:
            values << dateText(run.fromDate);
            break;
        case Parameter::ToDate:
            values << dateText(run.toDate);
            break;
        }
    }
    return values;
}

} // namespace tw::reports
