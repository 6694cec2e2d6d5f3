#include "core/rates/categories.h"

#include "core/rates/reprice.h"
#include "core/rates/slots.h"
#include "values/values.h"

#include <QCoreApplication>
#include <QSqlRecord>

#include <utility>

namespace tw::rates {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("catrateanal", text);
}

std::optional<Row> findCategory(const ConClass& con, const QString& table, const QString& name) {
    return con.find(table, QStringLiteral("tw_category_name=?"), {name});
}

} // namespace

QString categoryTable(const QString& measureSystem) {
    return measureSystem == QLatin1String("M") ? QStringLiteral("CategoryList_Meter")
                                               : QStringLiteral("CategoryList_Feet");
}

QString amountOf(const QString& qty, const QString& cost) {
    return doubleText(leadingNumber(cost) * leadingNumber(qty));
}

std::vector<QStringList> FillCategoryList(const ConClass& con, const QString& measureSystem) {
    std::vector<QStringList> rows;
    for (const auto& r : con.keyed(categoryTable(measureSystem))) {
        QStringList cells{r.text(0), r.text(QStringLiteral("tw_description")),
                          r.text(QStringLiteral("tw_unit"))};
        const QString rate = numberText(r.value(QStringLiteral("tw_rate")));
        if (!rate.isEmpty())
            cells << rate;
        if (!r.isNull(QStringLiteral("tw_measure_type")))
            cells << r.text(QStringLiteral("tw_measure_type"));
        rows.push_back(cells);
    }
    return rows;
}

QStringList unitNos(const ConClass& con) {
    return con.texts(QStringLiteral("units"), QStringLiteral("units"));
}

QStringList measureTypes(const ConClass& con, const QString& measureSystem) {
    return con.distinctInOrder(categoryTable(measureSystem), QStringLiteral("tw_measure_type"),
                               QStringLiteral("tw_measure_type is not null"), {});
}

UnitLabel ShowUnitLabel(const QString& measureType, bool metre) {
    UnitLabel label;
    static const std::pair<const char*, const char*> prefixes[] = {
        {"Area", "S "}, {"Volume", "Cu "}, {"Count", "Nos "}, {"Linear", "R "}};
    for (const auto& [measure, prefix] : prefixes) {
        if (measureType == QLatin1String(measure))
            label.text = QLatin1String(prefix);
    }
    label.shown = measureType != QLatin1String("NA");
    if (measureType != QLatin1String("Count"))
        label.text += metre ? QStringLiteral("Mt") : QStringLiteral("Ft");
    return label;
}

std::optional<Refusal> saveCategory(const ConClass& con, const QString& measureSystem,
                                    const Category& item) {
    const auto refusal = [](const char* field, const char* text) {
        return Refusal{QString::fromLatin1(field), tr(text), Information, {}};
    };
    if (item.name.isEmpty())
        return refusal("txtcatname", "Category name is blank");
    if (item.description.isEmpty())
        return refusal("txtcatdesc", "Category description is blank");
    if (item.measureType.isEmpty())
        return refusal("cmb_volarea", "Measure type is not selected");
    if (item.unit.isEmpty())
        return refusal("cmbunitnos", "Units is blank");
    const auto rows = qsizetype(item.materials.size());
    if (rows > catslot::count)
        throw Error(tr("A category item holds at most ten materials; this one has %1. "
                       "Delete a material and save again. The item was not saved.")
                        .arg(rows));

    const QString t = categoryTable(measureSystem);
    const QSqlRecord columns = con.db().record(t);
    Values values{{QStringLiteral("tw_measure_type"), item.measureType},
                  {QStringLiteral("tw_description"), item.description},
                  {QStringLiteral("tw_rate"), item.rate},
                  {QStringLiteral("tw_unit"), item.unit}};
    // Row i of the list is slot i; slots behind the last row keep what they hold.
    for (qsizetype i = 0; i < rows; ++i) {
        const Material& m = item.materials[size_t(i)];
        const int at = catslot::materialAt(int(i) + 1);
        const bool filled = !m.material.trimmed().isEmpty();
        values.emplace_back(columns.fieldName(at), filled ? m.material : QStringLiteral(""));
        values.emplace_back(columns.fieldName(at + 1),
                            filled ? QVariant(leadingNumber(m.qty)) : QVariant(0));
        values.emplace_back(columns.fieldName(at + 2),
                            filled ? QVariant(leadingNumber(m.cost)) : QVariant(0));
    }
    values.emplace_back(QStringLiteral("tw_deductions"), 1);

    Transaction action(con);
    if (const auto found = findCategory(con, t, item.name)) {
        con.update(t, found->id(), values);
    } else {
        values.emplace(values.begin(), QStringLiteral("tw_category_name"), item.name);
        con.insert(t, values);
    }
    action.commit();
    return std::nullopt;
}

std::optional<LoadedCategory> loadCategory(const ConClass& con, const QString& measureSystem,
                                           const QString& name) {
    const auto found = findCategory(con, categoryTable(measureSystem), name);
    if (!found)
        return std::nullopt;
    const Row& r = *found;
    LoadedCategory item{r.text(QStringLiteral("tw_category_name")),
                        r.text(QStringLiteral("tw_description")),
                        numberText(r.value(QStringLiteral("tw_rate"))),
                        r.text(QStringLiteral("tw_measure_type")),
                        r.text(QStringLiteral("tw_unit")),
                        {}};
    // A slot is present when its value is filled and not 0; a blank slot (empty, 0, 0) is
    // thus stepped over one column at a time.
    const auto filled = [&r](int at) {
        const QString text = numberText(r.value(at));
        return !r.isNull(at) && !text.trimmed().isEmpty() && text != QLatin1String("0");
    };
    int counter = 1;
    for (int at = catslot::first; at <= catslot::materialAt(catslot::count);) {
        if (!filled(at)) {
            ++at;
            continue;
        }
        const QString material = r.text(at);
        const QString qty = numberText(r.value(at + 1));
        const QString cost = numberText(r.value(at + 2));
        QString unit = r.isNull(at + 2) ? QStringLiteral("Nos") : cost;
        // The unit of a material still in the price list is its label there; one that has
        // left the list shows its rate.
        if (const auto m = con.find(QStringLiteral("materials"), MaterialKey(con), {material});
            m && !material.trimmed().isEmpty())
            unit = m->text(QStringLiteral("tw_unitlbl"));
        const QString amount = qty.isEmpty() || cost.isEmpty() ? QString() : amountOf(qty, cost);
        item.rows.push_back({QString::number(counter++), material, qty, unit, cost, amount});
        at += 3;
    }
    return item;
}

void deleteCategory(const ConClass& con, const QString& measureSystem, const QString& name) {
    const QString t = categoryTable(measureSystem);
    Transaction action(con);
    if (const auto found = findCategory(con, t, name))
        con.remove(t, found->id());
    action.commit();
}

} // namespace tw::rates
