#include "core/reports/fill_support.h"

namespace tw::reports {

// The schedule of a project with the unit label of each item's category, from the category
// list of the project's measure system.
void BuildScheduleReport(ReportRun& run, const ConClass& con, Messenger&) {
    const QString table = QStringLiteral("dummy_sch_report");
    emptyTable(con, table);
    const Row project = projectByName(con, run.projectName);
    const QString units = project.text(QStringLiteral("tw_units"));
    run.contract_num = project.text(QStringLiteral("tw_contract_num"));
    const FirstRows categories = firstRowsBy(con.keyed(units == QLatin1String("Feet")
                                                           ? QStringLiteral("categorylist_feet")
                                                           : QStringLiteral("categorylist_Meter")),
                                             QStringLiteral("tw_category_name"));
    BulkInsert insert(con, table,
                      {QStringLiteral("tw_contract_num"), QStringLiteral("tw_sch_num"),
                       QStringLiteral("tw_item_desc"), QStringLiteral("tw_item_rate"),
                       QStringLiteral("tw_units"), QStringLiteral("tw_unit_lable")});
    for (const Row& item : con.keyed(QStringLiteral("sch_master"),
                                     QStringLiteral("tw_contract_num=?"), {run.contract_num})) {
        // The schedule's first four columns, by position, then the system and the label.
        const QString category = item.text(5);
        const Row* found = categories.find(category);
        if (!found)
            throw Error(QStringLiteral("The category \"%1\" of item %2 is not in the list of "
                                       "categories in %3.")
                            .arg(category, item.text(QStringLiteral("tw_sch_num")), units));
        insert.add({item.value(0), item.value(1), item.value(2), item.value(3), units,
                    found->value(QStringLiteral("tw_unit_lable"))});
    }
}

} // namespace tw::reports
