#include "core/rates/analysis.h"

#include "core/rates/slots.h"
#include "values/values.h"

#include <QCoreApplication>
#include <QSqlRecord>

namespace tw::rates {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Frm_RateAnalysis", text);
}

const QString costItemsTable = QStringLiteral("costitems");

std::optional<Row> findCategory(const ConClass& con, const QString& units,
                                const QString& category) {
    return con.find(analysisTable(units), QStringLiteral("tw_category_name=?"), {category});
}

} // namespace

QString analysisTable(const QString& units) {
    return units.trimmed() == QLatin1String("Feet") ? QStringLiteral("categorylist_feet")
                                                    : QStringLiteral("categorylist_meter");
}

QStringList categoryNames(const ConClass& con, const QString& units) {
    return con.texts(analysisTable(units), QStringLiteral("tw_category_name"));
}

QStringList costItems(const ConClass& con) {
    return con.texts(QStringLiteral("costitems"), QStringLiteral("tw_cost_item"));
}

std::optional<QString> costItemRate(const ConClass& con, const QString& item) {
    const auto found = con.find(costItemsTable, QStringLiteral("tw_cost_item=?"), {item});
    if (!found)
        return std::nullopt;
    return numberText(found->value(QStringLiteral("tw_unit_rate")));
}

std::optional<ItemCategory> itemCategory(const ConClass& con, const QString& contract,
                                         const QString& description) {
    const auto item = con.first(QStringLiteral("select tw_unit,tw_category_name from Sch_master "
                                               "where (tw_contract_num=?) and (tw_item_desc=?)"),
                                {contract, description});
    if (!item)
        return std::nullopt;
    return ItemCategory{item->text(0), item->text(1)};
}

std::optional<Analysis> categoryAnalysis(const ConClass& con, const QString& units,
                                         const QString& category) {
    const auto found = findCategory(con, units, category);
    if (!found)
        return std::nullopt;
    // The walk ends at the first slot with a Null material or an empty figure; an empty
    // material with figures does not end it and its cells move one column to the left.
    const Row& r = *found;
    Analysis analysis;
    for (int n = 0; n < catslot::count; ++n) {
        const int at = catslot::materialAt(n + 1);
        const QString qty = numberText(r.value(at + 1));
        const QString rate = numberText(r.value(at + 2));
        if (r.isNull(at) || qty.isEmpty() || rate.isEmpty()) {
            analysis.stopped = true;
            break;
        }
        QStringList cells{QString::number(n + 1)};
        if (!r.text(at).isEmpty())
            cells << r.text(at);
        const double amount = leadingNumber(rate) * leadingNumber(qty);
        cells << qty << rate << doubleText(amount);
        analysis.total += amount;
        analysis.rows.push_back(cells);
    }
    return analysis;
}

std::optional<Refusal> priceCostItem(const ConClass& con, const QString& item, const QString& qty,
                                     const QString& rate) {
    const QString details = tr("Details");
    if (!strictNumber(qty))
        return Refusal{QStringLiteral("TxtQty"), tr("Fill in numbers only"), Information, details};
    if (!strictNumber(rate))
        return Refusal{QStringLiteral("TxtRate"), tr("Fill in numbers only"), Information, details};
    if (item.isEmpty())
        return Refusal{QStringLiteral("CmbItems"),
                       tr("Please Fill all the details like Item/Quantity/Rate..."), Information,
                       details};
    const QString name = item.trimmed();
    if (name == QLatin1String("Add New"))
        return Refusal{QStringLiteral("CmbItems"),
                       tr("Please Enter Item Name other than 'Add New'...!"), Information,
                       tr("Item Name")};
    // A figure beyond the largest sum the books hold would break the total and the rate saved.
    const struct {
        const char* field;
        QString caption;
        const QString& text;
    } figures[] = {{"TxtQty", tr("Quantity"), qty}, {"TxtRate", tr("Rate"), rate}};
    for (const auto& f : figures) {
        const double figure = *strictNumber(f.text);
        if (!fitsMoney(figure))
            return Refusal{
                QString::fromLatin1(f.field), tooLargeText(f.caption, figure), Information, {}};
    }

    Transaction action(con);
    if (const auto found = con.find(costItemsTable, QStringLiteral("tw_cost_item=?"), {name}))
        con.update(costItemsTable, found->id(), {{QStringLiteral("tw_unit_rate"), rate}});
    else
        con.insert(costItemsTable, {{QStringLiteral("tw_cost_item"), item},
                                    {QStringLiteral("tw_unit_rate"), rate}});
    action.commit();
    return std::nullopt;
}

bool blankSlots(const ConClass& con, const QString& units, const QString& category,
                const QString& material, const QString& qty, const QString& rate) {
    Transaction action(con);
    const auto found = findCategory(con, units, category);
    if (!found)
        return false;
    const QSqlRecord columns = found->record();
    Values blanks;
    for (int n = 0; n < catslot::count; ++n) {
        const int at = catslot::materialAt(n + 1);
        if (found->text(at) == material && numberText(found->value(at + 1)) == qty &&
            numberText(found->value(at + 2)) == rate) {
            blanks.emplace_back(columns.fieldName(at), QStringLiteral(" "));
            blanks.emplace_back(columns.fieldName(at + 1), 0);
            blanks.emplace_back(columns.fieldName(at + 2), 0);
        }
    }
    con.update(analysisTable(units), found->id(), blanks);
    action.commit();
    return true;
}

std::optional<Refusal> saveAnalysis(const ConClass& con, const QString& units,
                                    const QString& category, const std::vector<AnalysisRow>& rows,
                                    const QString& unit, double total, const QString& description,
                                    const QString& schNum) {
    Transaction action(con);
    const auto found = findCategory(con, units, category);
    if (!found)
        return Refusal{QStringLiteral("CmbCatgry"),
                       tr("Category Name Does not Match with the Category Name in Category "
                          "List. Select Another Category Name"),
                       Information, tr("Category List")};
    if (!rows.empty()) {
        const QSqlRecord columns = found->record();
        Values values;
        for (size_t i = 0; i < rows.size() && i < size_t(catslot::count); ++i) {
            const int at = catslot::materialAt(int(i) + 1);
            values.emplace_back(columns.fieldName(at), rows[i].item);
            values.emplace_back(columns.fieldName(at + 1), rows[i].qty);
            values.emplace_back(columns.fieldName(at + 2), rows[i].rate);
        }
        values.emplace_back(QStringLiteral("tw_unit"), unit);
        values.emplace_back(QStringLiteral("tw_rate"), total);
        con.update(analysisTable(units), found->id(), values);
    }
    const QString schedule = QStringLiteral("Sch_master");
    const auto item = con.find(schedule, QStringLiteral("tw_item_desc=? and tw_sch_num=?"),
                               {description, schNum});
    if (item)
        con.update(schedule, item->id(),
                   {{QStringLiteral("tw_category_name"), category},
                    {QStringLiteral("tw_item_rate"), total}});
    action.commit();
    return std::nullopt;
}

} // namespace tw::rates
