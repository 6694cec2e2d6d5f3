#include "core/reports/fill_support.h"

namespace tw::reports {

namespace {
// A share of the amount, as the abstract prints it: "##.##", or the number 0 when it is 0.
QVariant share(const Nullable& amount, double percent) {
    const Nullable v = amount * percent / Nullable(100);
    if (v.isNull() || v.value() == 0)
        return 0;
    return formatHash2(v.value());
}
} // namespace

// The electrical and the plumbing share of every row's amount.
void AddServicePercentages(ReportRun& run, const ConClass& con, Messenger& messages) {
    ComputeNetAmounts(run, con, messages);
    const double ewp = leadingNumber(run.ewp);
    const double wws = leadingNumber(run.wws);
    const QString table = QStringLiteral("dummy_estimation");
    for (const Row& row : con.keyed(table)) {
        const Nullable amount = row.nullable(QStringLiteral("net_amt"));
        con.update(table, row.id(),
                   {{QStringLiteral("ewp_amt"), share(amount, ewp)},
                    {QStringLiteral("wws_amt"), share(amount, wws)},
                    {QStringLiteral("ewp_pct"), ewp},
                    {QStringLiteral("wws_pct"), wws}});
    }
}

} // namespace tw::reports
