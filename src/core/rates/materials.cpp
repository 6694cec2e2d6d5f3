#include "core/rates/materials.h"

#include "core/rates/reprice.h"
#include "values/values.h"

#include <QCoreApplication>

namespace tw::rates {

namespace {

const QString materials = QStringLiteral("materials");

QString tr(const char* text) {
    return QCoreApplication::translate("matls", text);
}

} // namespace

std::vector<QStringList> materialRows(const ConClass& con) {
    std::vector<QStringList> rows;
    int n = 0;
    for (const auto& r : con.keyed(materials)) {
        const QString unit = r.isNull(QStringLiteral("tw_unitlbl"))
                                 ? QStringLiteral("Nos")
                                 : r.text(QStringLiteral("tw_unitlbl"));
        rows.push_back({QString::number(++n), r.text(QStringLiteral("tw_mat_desc")), unit,
                        numberText(r.value(QStringLiteral("tw_rate")))});
    }
    return rows;
}

QStringList materialNames(const ConClass& con) {
    return con.texts(QStringLiteral("Materials"), QStringLiteral("tw_mat_desc"));
}

std::optional<Refusal> checkMaterial(const QString& material, const QString& rate) {
    if (material.isEmpty())
        return Refusal{
            QStringLiteral("cmb_matdesc"), tr("Material Description is blank"), Information, {}};
    if (rate.isEmpty())
        return Refusal{
            QStringLiteral("matrate"), tr("Material Description is blank"), Information, {}};
    // A price beyond the largest sum the books hold would break every category it prices.
    const double price = leadingNumber(rate);
    if (!fitsMoney(price))
        return Refusal{QStringLiteral("matrate"),
                       tooLargeText(tr("Material cost per unit"), price),
                       Information,
                       {}};
    return std::nullopt;
}

void deleteMaterial(const ConClass& con, const QString& material) {
    Transaction action(con);
    con.exec(QStringLiteral("delete from Materials where ") + MaterialKey(con), {material});
    action.commit();
}

std::optional<Price> LookupMaterial(const ConClass& con, const QString& material) {
    const auto m = con.find(materials, MaterialKey(con), {material});
    if (!m)
        return std::nullopt;
    return Price{formatFixed2(leadingNumber(numberText(m->value(1)))),
                 m->text(QStringLiteral("tw_unitlbl"))};
}

} // namespace tw::rates
