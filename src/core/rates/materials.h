#pragma once
// The price list of building materials: one row a material, found by its description exactly.
// Saving one prices the category items again (reprice.h).

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tw::rates {

// The rows of the list of materials, in store order: running number from 1, description, unit
// label ("Nos" for a material without one), and the rate as stored.
std::vector<QStringList> materialRows(const ConClass& con);
// The descriptions of the materials, in store order.
QStringList materialNames(const ConClass& con);

// The checks of a save, in their order: a description, a rate, and a rate the books can hold.
// Both empty fields are refused with the same words, which users know.
std::optional<Refusal> checkMaterial(const QString& material, const QString& rate);

// Deletes the material. Category slots that name it keep it, with its quantity and rate: they
// are priced again only when a material is saved.
void deleteMaterial(const ConClass& con, const QString& material);

// A material's price as the category screen shows it ("#####.00") and its unit label.
struct Price {
    QString rate;
    QString unitLabel;
};
std::optional<Price> LookupMaterial(const ConClass& con, const QString& material);

} // namespace tw::rates
