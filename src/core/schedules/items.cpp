#include "core/schedules/items.h"

#include "values/values.h"

#include <QCoreApplication>

namespace tw::schedules {
namespace {

const QString Items = QStringLiteral("sch_master");
const QString OneItem = QStringLiteral("tw_contract_num=? and tw_sch_num=?");

// The messages are the schedule screen's, and are translated with it.
QString tr(const char* text) {
    return QCoreApplication::translate("frm_schentry", text);
}

QString categoryTable(const QString& units) {
    return units == QLatin1String("Feet") ? QStringLiteral("categorylist_feet")
                                          : QStringLiteral("categorylist_meter");
}

// A list or caption as it is written: an item saved with nothing picked stores an empty text,
// never Null (a Null unit label or type of measure would list as "XXX" and "xxx").
QString storedText(const QString& text) {
    return text.isNull() ? QStringLiteral("") : text;
}

std::optional<QString> nullable(const Row& row, const char* column) {
    const QString c = QString::fromLatin1(column);
    return row.isNull(c) ? std::nullopt : std::optional<QString>(row.text(c));
}

} // namespace

ItemLists itemLists(const ConClass& con, const QString& units) {
    return {con.texts(QStringLiteral("volarea"), QStringLiteral("tw_volarea")),
            con.texts(QStringLiteral("units"), QStringLiteral("units")),
            con.texts(categoryTable(units), QStringLiteral("tw_category_name"))};
}

std::vector<std::pair<QString, QString>> itemNames(const ConClass& con,
                                                   const QString& contractNum) {
    std::vector<std::pair<QString, QString>> items;
    for (const Row& r :
         con.keyedColumns(Items, {QStringLiteral("tw_sch_num"), QStringLiteral("tw_item_desc")},
                          QStringLiteral("tw_contract_num=?"), {contractNum}))
        items.emplace_back(r.text(0), r.text(1));
    return items;
}

std::vector<QStringList> itemLines(const ConClass& con, const QString& contractNum) {
    std::vector<QStringList> lines;
    for (const Row& r : con.keyed(Items, QStringLiteral("tw_contract_num=?"), {contractNum}))
        lines.push_back({QString::number(lines.size() + 1), r.text(QStringLiteral("tw_sch_num")),
                         r.text(QStringLiteral("tw_item_desc")),
                         r.text(QStringLiteral("tw_category_name")),
                         numberText(r.value(QStringLiteral("tw_item_rate"))),
                         nullable(r, "tw_unit_lable").value_or(QStringLiteral("XXX")),
                         nullable(r, "tw_volarea").value_or(QStringLiteral("xxx"))});
    return lines;
}

std::optional<QString> categoryRate(const ConClass& con, const QString& units,
                                    const QString& category) {
    const auto row =
        con.find(categoryTable(units), QStringLiteral("tw_category_name=?"), {category});
    if (!row)
        return std::nullopt;
    return numberText(row->value(QStringLiteral("tw_rate")));
}

QString unitLabel(const ConClass& con, const QString& units, const QString& measureType,
                  const QString& current) {
    const auto row =
        con.find(QStringLiteral("volarea"), QStringLiteral("tw_volarea=?"), {measureType});
    if (!row)
        return current;
    const QString shortWord =
        units == QLatin1String("Metre") ? QStringLiteral("Mt") : QStringLiteral("ft");
    const QString type = row->text(QStringLiteral("tw_volarea"));
    const QString front = row->text(QStringLiteral("tw_label"));
    if (type == QLatin1String("Area") || type == QLatin1String("Volume") ||
        type == QLatin1String("Linear"))
        return front + shortWord;
    if (type == QLatin1String("Count"))
        return front;
    if (type == QLatin1String("Set"))
        return QStringLiteral("Sets");
    if (type == QLatin1String("Lumpsum"))
        return QStringLiteral("Lumpsum");
    return current;
}

std::optional<Item> findItem(const ConClass& con, const QString& contractNum,
                             const QString& number) {
    const auto row = con.find(Items, OneItem, {contractNum, number});
    if (!row)
        return std::nullopt;
    return Item{row->text(QStringLiteral("tw_sch_num")),
                row->text(QStringLiteral("tw_item_desc")),
                numberText(row->value(QStringLiteral("tw_item_rate"))),
                row->text(QStringLiteral("tw_unit")),
                row->text(QStringLiteral("tw_category_name")),
                nullable(*row, "tw_unit_lable"),
                nullable(*row, "tw_volarea")};
}

std::optional<Refusal> saveItem(const ConClass& con, const QString& contractNum, const Item& item) {
    const auto refusal = [](const char* field, const QString& text, int flags = Information) {
        return Refusal{QString::fromLatin1(field), text, flags, defaultTitle()};
    };
    // A field is missing only when it is empty: an item number of blanks is a number.
    if (item.number.isEmpty())
        return refusal("txt_schnum", tr("Schedule Item Number is not entered!"));
    if (item.description.isEmpty())
        return refusal("RtItmDsc", tr("Schedule Item Description is not entered!"));
    if (item.rate.isEmpty())
        return refusal("txtschitemrate", tr("Schedule Item Unit Rate is not entered!"));
    const auto rate = strictNumber(item.rate);
    if (!rate)
        return refusal("txtschitemrate", tr("The unit rate \"%1\" is not a number.").arg(item.rate),
                       Critical);
    // The bills sum rates in the money type: a rate it cannot hold would break every bill of
    // the item.
    if (!fitsMoney(*rate))
        return refusal("txtschitemrate", tooLargeText(tr("Unit Rate"), *rate), Critical);
    if (contractNum.isEmpty())
        throw Error(tr("No project is picked. Define a project first."));

    Values values{{QStringLiteral("tw_item_desc"), item.description},
                  {QStringLiteral("tw_item_rate"), *rate},
                  {QStringLiteral("tw_unit"), storedText(item.unit)},
                  {QStringLiteral("tw_category_name"), storedText(item.category)},
                  {QStringLiteral("tw_unit_lable"), storedText(item.label.value_or(QString()))},
                  {QStringLiteral("tw_volarea"), storedText(item.measureType.value_or(QString()))},
                  {QStringLiteral("tw_deduction"), 0}};
    Transaction tx(con);
    if (const auto found = con.find(Items, OneItem, {contractNum, item.number})) {
        con.update(Items, found->id(), values);
    } else {
        values.insert(values.begin(), {{QStringLiteral("tw_contract_num"), contractNum},
                                       {QStringLiteral("tw_sch_num"), item.number}});
        con.insert(Items, values);
    }
    tx.commit();
    return std::nullopt;
}

void deleteItem(const ConClass& con, const QString& contractNum, const QString& number) {
    Transaction tx(con);
    if (const auto found = con.find(Items, OneItem, {contractNum, number}))
        con.remove(Items, found->id());
    tx.commit();
}

} // namespace tw::schedules
