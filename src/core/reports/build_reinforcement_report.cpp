#include "core/reports/fill_support.h"

#include <map>

namespace tw::reports {

// The bars of one bill with their total length and their weight per unit of length.
void BuildReinforcementReport(ReportRun& run, const ConClass& con, Messenger&) {
    const QString units = projectByName(con, run.projectName).text(QStringLiteral("tw_units"));
    const bool feet = units == QLatin1String("Feet");
    const Rows bars = con.keyed(QStringLiteral("reinforcementmaster"),
                                QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?)"),
                                {run.contract_num, run.bill});
    const QString table = QStringLiteral("dummy_reinforcement_report");
    emptyTable(con, table);
    // Diameters meet by their numbers on both sides: the weights table may write "8 mm" where a
    // line holds 8. The first row the store gives for a number is the one taken.
    std::map<double, Row> weights;
    for (Row& w : con.keyed(QStringLiteral("rnfweights")))
        if (!w.isNull(QStringLiteral("tw_Diameter")))
            weights.try_emplace(leadingNumber(w.text(QStringLiteral("tw_Diameter"))), std::move(w));

    static const QStringList copied{
        QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num"),
        QStringLiteral("tw_narration"),    QStringLiteral("tw_diameter"),
        QStringLiteral("tw_length_ft"),    QStringLiteral("tw_length_inches"),
        QStringLiteral("tw_length_qty"),   QStringLiteral("tw_remarks")};
    BulkInsert insert(con, table,
                      copied + QStringList{QStringLiteral("tw_total_length"),
                                           QStringLiteral("tw_units"),
                                           QStringLiteral("tw_weight_per_unit")});
    // A length is whole feet and inches, or whole metres and centimetres.
    const double parts = feet ? 12 : 100;
    for (const Row& bar : bars) {
        QVariantList v;
        for (const QString& c : copied)
            v << bar.value(c);
        const Nullable total = (bar.nullable(QStringLiteral("tw_length_ft")) * parts +
                                bar.nullable(QStringLiteral("tw_length_inches"))) *
                               bar.nullable(QStringLiteral("tw_length_qty")) / parts;
        const QString diameter = bar.text(QStringLiteral("tw_diameter"));
        const auto weight = weights.find(leadingNumber(diameter));
        if (weight == weights.end())
            throw Error(QStringLiteral("No weight per unit of length is known for the diameter "
                                       "\"%1\" (bar \"%2\").")
                            .arg(diameter, bar.text(QStringLiteral("tw_narration"))));
        v << (total.isNull() ? QVariant() : QVariant(total.value())) << units
          << weight->second.value(feet ? QStringLiteral("tw_ft_wt") : QStringLiteral("tw_mt_wt"));
        insert.add(v);
    }
}

} // namespace tw::reports
