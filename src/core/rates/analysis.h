#pragma once
// The analysis of one schedule item of a project: the slots of its category item, changed row
// by row with cost items (a second price list, kept by name). Saving rewrites the shared
// category row and sets the schedule item's rate to the total. The category table goes by the
// project's measure system: "Feet" (blanks around it aside) or else Metre.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace tw::rates {

QString analysisTable(const QString& units);

// The names of the category items of the measure system, in store order.
QStringList categoryNames(const ConClass& con, const QString& units);
// The cost items, in store order.
QStringList costItems(const ConClass& con);
// The last rate entered for a cost item, as stored.
std::optional<QString> costItemRate(const ConClass& con, const QString& item);

// The schedule item of the project with that description: its unit and category name.
struct ItemCategory {
    QString unit;
    QString category;
};
std::optional<ItemCategory> itemCategory(const ConClass& con, const QString& contract,
                                         const QString& description);

// The rows of a category's analysis: number, material (left out when empty, so the other
// cells move one column to the left), quantity, rate, amount. The walk stops at the first slot
// with a Null material or an empty figure; `stopped` tells whether it did before the tenth.
struct Analysis {
    std::vector<QStringList> rows;
    double total = 0;
    bool stopped = false;
};
std::optional<Analysis> categoryAnalysis(const ConClass& con, const QString& units,
                                         const QString& category);

// The screen's add: its checks in their order; then the cost item keeps the rate (added under
// the name as typed when it is new), also when the row is then refused for the count.
std::optional<Refusal> priceCostItem(const ConClass& con, const QString& item, const QString& qty,
                                     const QString& rate);

// Blanks at once every slot of the category that holds the row as the list shows it (material,
// quantity and rate as text); the item's unit rate stays until it is saved. False when there is
// no such category.
bool blankSlots(const ConClass& con, const QString& units, const QString& category,
                const QString& material, const QString& qty, const QString& rate);

// One row of the analysis as the list holds it.
struct AnalysisRow {
    QString item;
    QString qty;
    QString rate;
};
// The screen's save: row i goes into slot i of the category (slots behind the last row keep
// what they hold), with the schedule item's unit and the total as the category's rate; the
// schedule item found by its description and number alone (the first such item of any project)
// takes the category and the total as its rate. Refused, with nothing written, when the category
// is not in the list.
std::optional<Refusal> saveAnalysis(const ConClass& con, const QString& units,
                                    const QString& category, const std::vector<AnalysisRow>& rows,
                                    const QString& unit, double total, const QString& description,
                                    const QString& schNum);

} // namespace tw::rates
