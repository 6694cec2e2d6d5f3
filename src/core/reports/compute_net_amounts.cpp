#include "core/reports/fill_support.h"

namespace tw::reports {

namespace {
// A row's amount: the quantity times the numeric value of its rate over that of its unit.
double amountOf(double quantity, const Row& row) {
    return (Nullable(quantity * numericValue(row.value(QStringLiteral("tw_itemrate")))) /
            Nullable(numericValue(row.value(QStringLiteral("tw_unit")))))
        .value();
}
} // namespace

// Each row takes the net quantity and amount of its group so far; the last row of a group also
// holds the group's total in prev_bill_qty1.
void ComputeNetAmounts(ReportRun& run, const ConClass& con, Messenger&) {
    const QString table = QStringLiteral("dummy_estimation");
    const QString key = QStringLiteral("tw_recordkey");
    const Rows rows = con.keyed(table);
    NetQuantity net;
    Currency running; // the amounts of the groups before the last
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        const Currency q =
            net.take(row.value(key), row.value(QStringLiteral("test")),
                     row.value(QStringLiteral("ndamt")), row.value(QStringLiteral("Damt")));
        Values v{{QStringLiteral("netqty"), q.toDouble()},
                 {QStringLiteral("net_amt"), amountOf(q.toDouble(), row)}};
        const bool groupEnds = i + 1 < rows.size() && rows[i + 1].value(key) != row.value(key);
        if (groupEnds) {
            running = Currency::fromDouble(running.toDouble() + amountOf(q.toDouble(), row));
            v.emplace_back(QStringLiteral("prev_bill_qty1"), q.toDouble());
        }
        con.update(table, row.id(), v);
    }
    // The last group is finished by its net quantity, and so is any row that shows the same.
    const double last = net.net().toDouble();
    con.exec(QStringLiteral("update dummy_estimation set prev_bill_qty1 = ? where netqty= ?"),
             {last, last});
    const Currency lastAmount =
        rows.empty() ? Currency() : Currency::fromDouble(amountOf(last, rows.back()));
    // The bill amount held for a run bill is 0 here; these rows are matched on the project's
    // name in the number's column, so they change only where a project is named by its number.
    const double billAmount = 0;
    con.exec(QStringLiteral("update BillsRaised set tw_bill_amount = ? where tw_contract_num=?"),
             {billAmount, run.projectName});
    const QString dedDet = QStringLiteral(
        "update dummy_ded_det set tw_bill_amount=? where tw_contract_num=? and tw_bill_num=?");
    con.exec(dedDet, {billAmount, run.projectName, run.bill});
    con.exec(dedDet, {(running + lastAmount).toDouble(), run.projectName, run.bill});
}

} // namespace tw::reports
