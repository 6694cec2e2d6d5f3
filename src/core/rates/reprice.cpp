#include "core/rates/reprice.h"

#include "core/rates/slots.h"
#include "store/worktables.h"
#include "values/values.h"

#include <QCoreApplication>
#include <QStringList>

#include <unordered_map>

namespace tw {

namespace {

// The slot whose price copy cannot be made: a material standing there stops the pass.
constexpr int kFailingSlot = 8;
// The slot whose rate is taken but never counted in the item's unit rate.
constexpr int kUncountedSlot = 10;

// A stored figure as the sum reads it: the leading number of its text, 0 for none. The same
// few quantities and prices fill thousands of slots, so each stored number is read once.
class Figures {
public:
    double operator()(const QVariant& v) {
        if (v.typeId() != QMetaType::Double)
            return leadingNumber(numberText(v));
        const double stored = v.toDouble();
        const auto known = read_.find(stored);
        if (known != read_.end())
            return known->second;
        const double value = leadingNumber(numberText(v));
        read_.emplace(stored, value);
        return value;
    }

private:
    std::unordered_map<double, double> read_;
};

QString tr(const char* text) {
    return QCoreApplication::translate("RepriceCategoryLists", text);
}

// Rewrites every row of one category table; gives false when the eighth slot stopped it.
bool repriceTable(const ConClass& con, const QString& table, const QString& material,
                  const QString& rate, RepriceResult& result) {
    const QString rateColumn = QStringLiteral("tw_rate");
    // Each slot is read as whether it names the material (compared by the store, exactly, case
    // included), its quantity and its rate: the names themselves are never carried over.
    QStringList columns{QStringLiteral("tw_category_name"), rateColumn};
    QStringList rateColumns;
    QVariantList params;
    for (int n = 1; n <= catslot::count; ++n) {
        columns << con.sameText(QStringLiteral("tw_matl%1").arg(n))
                << QStringLiteral("tw_matl%1_qty").arg(n)
                << QStringLiteral("tw_matl%1_rate").arg(n);
        rateColumns << QStringLiteral("tw_matl%1_rate").arg(n);
        params << material;
    }
    const auto namesMaterial = [](int n) { return 2 + 3 * (n - 1); };
    const double price = leadingNumber(rate);
    Figures figure;

    for (const Row& row : con.keyedColumns(table, columns, {}, params)) {
        Values writes;
        bool priced[catslot::count + 1] = {};
        for (int n = 1; n <= catslot::count; ++n) {
            if (row[namesMaterial(n)].toInt() != 1)
                continue;
            if (n == kFailingSlot) {
                result.failure =
                    tr("The price of \"%1\" could not be put into slot 8 of the category item "
                       "\"%2\" (%3). That item and the items after it keep their old rates.")
                        .arg(material, row.text(0), table);
                return false;
            }
            priced[n] = true;
            if (numberText(row[namesMaterial(n) + 2]) != rate)
                writes.emplace_back(rateColumns[n - 1], rate);
        }

        // The running total is single precision and rounded after each addition, so the
        // figure written is the one every earlier pass has written for the same slots.
        float total = 0;
        for (int n = 1; n < kUncountedSlot; ++n) {
            const int at = namesMaterial(n);
            const QVariant qtyValue = row[at + 1];
            const QVariant rateValue = row[at + 2];
            if (qtyValue.isNull() || (rateValue.isNull() && !priced[n]))
                continue;
            const double qty = figure(qtyValue);
            const double slotRate = priced[n] ? price : figure(rateValue);
            if (qty > 0 && slotRate > 0)
                total = static_cast<float>(static_cast<double>(total) + qty * slotRate);
        }
        // A row whose figures come out as they stand is left alone: writing them again would
        // change nothing, and a save usually changes a few items among thousands.
        const QVariant stored = row[1];
        const bool same = writes.empty() && stored.typeId() == QMetaType::Double &&
                          stored.toDouble() == static_cast<double>(total);
        if (same)
            continue;
        writes.emplace_back(rateColumn, static_cast<double>(total));
        con.update(table, row.id(), writes);
    }
    return true;
}

} // namespace

QString MaterialKey(const ConClass& con) {
    return con.sameText(QStringLiteral("tw_mat_desc"));
}

RepriceResult RepriceCategoryLists(const ConClass& con, const QString& material,
                                   const QString& rate) {
    RepriceResult result;
    for (const char* table : {"CategoryList_Meter", "CategoryList_Feet"}) {
        if (!repriceTable(con, QString::fromLatin1(table), material, rate, result))
            break;
    }
    return result;
}

bool SaveMaterial(const ConClass& con, Messenger& out, const QString& material, const QString& rate,
                  const QString& unitLabel) {
    const QString table = QStringLiteral("Materials");
    const RepriceResult result = asOneAction(con, [&] {
        Transaction action(con);
        // Two seats saving one material at once: the second finds the first's row.
        holdFor(con, {table, material});
        const Values values{{QStringLiteral("tw_rate"), rate},
                            {QStringLiteral("tw_unitlbl"), unitLabel}};
        if (const auto row = con.find(table, MaterialKey(con), {material})) {
            con.update(table, row->id(), values);
        } else {
            Values added{{QStringLiteral("tw_mat_desc"), material}};
            added.insert(added.end(), values.begin(), values.end());
            con.insert(table, added);
        }
        RepriceResult done = RepriceCategoryLists(con, material, rate);
        action.commit();
        return done;
    });
    if (result.failure) {
        out.say(*result.failure, Critical);
        return false;
    }
    return true;
}

} // namespace tw
