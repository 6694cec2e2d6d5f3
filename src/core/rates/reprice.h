#pragma once
// A material's price and what follows from it: every category item of both measure systems
// is priced again from its ten slots whenever a material is saved. Schedule items of projects
// are not touched; they meet the new figures when a category is picked for them.

#include "store/messages.h"
#include "store/store.h"

#include <QString>

#include <optional>

namespace tw {

// The condition that finds a material by its description (one parameter). The description is
// compared exactly, case and blanks included: "cement" and "Cement" are two materials, as the
// slots that name them are priced apart.
QString MaterialKey(const ConClass& con);

// What a re-pricing pass came to: when a row with the material in its eighth slot stopped it,
// the text of that failure (the rows before it stay written, that row and every row after it
// keep their old rates).
struct RepriceResult {
    std::optional<QString> failure;
};

// Walks CategoryList_Meter, then CategoryList_Feet, in store order and prices every row again:
// the price `rate` (the text as typed) goes into each slot naming `material` exactly, and
// tw_rate becomes the single-precision sum of quantity x rate over the slots that count (a row
// whose figures come out as they stand is not written).
// Runs inside the caller's transaction; a failure of the store throws tw::Error.
RepriceResult RepriceCategoryLists(const ConClass& con, const QString& material,
                                   const QString& rate);

// The save of a material as one action: finds the material by its description or adds it,
// writes its rate and unit label, and re-prices the category lists. A store failure leaves the
// material and both lists as they were and throws; a stop on the eighth slot keeps what was
// written before it and is shown through `out` as a critical message. Gives false on that stop.
bool SaveMaterial(const ConClass& con, Messenger& out, const QString& material, const QString& rate,
                  const QString& unitLabel);

} // namespace tw
