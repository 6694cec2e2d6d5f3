#pragma once
// The book of standard category items: an item of one measure system is built from at most ten
// materials with a quantity per unit and a cost per unit, held in the ten slots of its row, and
// its unit rate is their sum. The measure system is one letter: "M" works on
// CategoryList_Meter, anything else on CategoryList_Feet.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tw::rates {

QString categoryTable(const QString& measureSystem);

// The rows of the list of category items, in store order: name, description, unit, the rate
// when it is filled, the measure type when it is not Null. An item with no rate thus shows its
// measure type in the rate column.
std::vector<QStringList> FillCategoryList(const ConClass& con, const QString& measureSystem);
// The units an item can be counted in.
QStringList unitNos(const ConClass& con);
// The kinds of measure of the items saved so far; a new kind is typed in.
QStringList measureTypes(const ConClass& con, const QString& measureSystem);

// The unit label of an item by its kind of measure: "S " for Area, "Cu " for Volume, "R " for
// Linear, "Nos " for Count, then "Mt" or "Ft" unless it counts; NA shows no label.
struct UnitLabel {
    QString text;
    bool shown = true;
};
UnitLabel ShowUnitLabel(const QString& measureType, bool metre);

// One material of an item as the screen lists it; a blanked row has an empty material.
struct Material {
    QString material;
    QString qty;
    QString cost;
};
struct Category {
    QString name;
    QString description;
    QString measureType;
    QString unit;
    QString rate; // the total as shown
    std::vector<Material> materials;
};

// The screen's save: its checks in their order, then the item is found by its name or added,
// and row i of the list goes into slot i (a blanked row as an empty slot); slots behind the
// last row keep what they hold. More than ten rows throw tw::Error, nothing written.
std::optional<Refusal> saveCategory(const ConClass& con, const QString& measureSystem,
                                    const Category& item);

// An item loaded for editing: its fields as stored (the rate as its text, empty when it has
// none) and the rows of its material list: number, material, quantity, unit, cost, amount.
// Blank slots are stepped over; the unit is the material's unit label when the price list has
// the material.
struct LoadedCategory {
    QString name;
    QString description;
    QString rate;
    QString measureType;
    QString unit;
    std::vector<QStringList> rows;
};
std::optional<LoadedCategory> loadCategory(const ConClass& con, const QString& measureSystem,
                                           const QString& name);

// Deletes the item of that name, if there is one. Schedule items that name it are not looked
// at.
void deleteCategory(const ConClass& con, const QString& measureSystem, const QString& name);

// The amount of a material: quantity by cost, each read by its leading number, as text.
QString amountOf(const QString& qty, const QString& cost);

} // namespace tw::rates
