#pragma once
// The schedule items of a project (Sch_master) as the schedule screen keeps them: the lists it
// offers, the lines it shows, the unit label a type of measure gives, and an item saved or
// deleted by its number. No widgets.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace tw::schedules {

// What the screen's lists offer: the types of measure, the units, and the categories of the
// measure system given (the metre categories for any other, an empty one too).
struct ItemLists {
    QStringList measureTypes;
    QStringList units;
    QStringList categories;
};
ItemLists itemLists(const ConClass& con, const QString& units);

// The items of a project in store order, number and description: the lists of the screens that
// pick an item (measurements, rate analysis).
std::vector<std::pair<QString, QString>> itemNames(const ConClass& con, const QString& contractNum);

// The items of a project in store order, a line each: Sl No, Sch. No, description, category,
// unit rate, unit label ("XXX" for none) and type of measure ("xxx" for none).
std::vector<QStringList> itemLines(const ConClass& con, const QString& contractNum);

// The rate of a category in the table of the measure system ("Feet", else metres); nullopt when
// that table has no such category.
std::optional<QString> categoryRate(const ConClass& con, const QString& units,
                                    const QString& category);

// The unit label a type of measure gives in a measure system: its front word and "ft" or "Mt"
// for an area, a volume or a length, the front word alone for a count, "Sets" and "Lumpsum";
// `current` for any other type, which leaves the label as it stands.
QString unitLabel(const ConClass& con, const QString& units, const QString& measureType,
                  const QString& current);

// An item as the screen holds it. A stored item's label and type of measure are nullopt when
// the store holds none; a typed one saves nullopt as an empty text.
struct Item {
    QString number;
    QString description;
    QString rate;
    QString unit;
    QString category;
    std::optional<QString> label;
    std::optional<QString> measureType;
};
std::optional<Item> findItem(const ConClass& con, const QString& contractNum,
                             const QString& number);

// Checks the item in the screen's order (number, description, rate given, a figure, in the
// money range) and writes it over the project's item of that number, or as a new one, in one
// transaction, with deduction 0. Gives the first check that failed, naming the screen's
// control; nothing is written then. Throws tw::Error when no project is picked.
std::optional<Refusal> saveItem(const ConClass& con, const QString& contractNum, const Item& item);
// Deletes the project's item of that number; the measurements of the item stay.
void deleteItem(const ConClass& con, const QString& contractNum, const QString& number);

} // namespace tw::schedules
