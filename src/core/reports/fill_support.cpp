#include "core/reports/fill_support.h"

#include <QSqlRecord>

namespace tw::reports {

namespace {
bool isNumber(const QVariant& v) {
    switch (v.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

Error invalidNull() {
    return Error(QStringLiteral("Invalid use of Null"));
}
} // namespace

double numericValue(const QVariant& v) {
    if (v.isNull())
        throw invalidNull();
    return isNumber(v) ? v.toDouble() : leadingNumber(v.toString());
}

Nullable storedNumber(const QVariant& v) {
    if (v.isNull())
        return Nullable::null();
    if (isNumber(v))
        return v.toDouble();
    if (const auto n = strictNumber(v.toString()))
        return *n;
    throw Error(QStringLiteral("Type mismatch"));
}

bool isYes(const QVariant& v) {
    return !v.isNull() && v.toDouble() != 0;
}

QString nocaseKey(const QString& text) {
    QString key = text;
    for (QChar& c : key)
        if (c >= u'A' && c <= u'Z')
            c = QChar(c.unicode() + (u'a' - u'A'));
    return key;
}

// ---- look-ups -----------------------------------------------------------------------------

void FirstRows::add(const QString& key, Row row) {
    const QString k = nocaseKey(key);
    if (!rows_.contains(k))
        rows_.insert(k, std::move(row));
}

const Row* FirstRows::find(const QString& key) const {
    const auto it = rows_.constFind(nocaseKey(key));
    return it == rows_.cend() ? nullptr : &it.value();
}

FirstRows firstRowsBy(const Rows& rows, const QString& column) {
    FirstRows index;
    for (const Row& r : rows)
        index.add(r.text(column), r);
    return index;
}

Row projectByName(const ConClass& con, const QString& name) {
    if (auto r = con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_name=?"),
                          {name}))
        return std::move(*r);
    throw Error(QStringLiteral("There is no project named \"%1\".").arg(name));
}

Row projectByNumber(const ConClass& con, const QString& number) {
    if (auto r = con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_num=?"),
                          {number}))
        return std::move(*r);
    throw Error(QStringLiteral("There is no project with the Id \"%1\".").arg(number));
}

// ---- measurement lines --------------------------------------------------------------------

LineReader::LineReader(const ConClass& con, const QString& sql, const QVariantList& params)
    : query_(prepared(con.db(), sql, params)) {
    const QSqlRecord rec = query_.record();
    const auto at = [&](const QString& name) {
        const int i = rec.indexOf(name);
        if (i < 0)
            throw Error(QStringLiteral("Item cannot be found in the collection corresponding to "
                                       "the requested name or ordinal. (%1)")
                            .arg(name));
        return i;
    };
    bill_ = at(QStringLiteral("tw_bill_num"));
    sch_ = at(QStringLiteral("tw_sch_num"));
    contract_ = at(QStringLiteral("tw_contract_num"));
    narration_ = at(QStringLiteral("tw_item_narration"));
    deduction_ = at(QStringLiteral("tw_deduction"));
    quantity_ = at(QStringLiteral("tw_quantity"));
    calArea_ = at(QStringLiteral("tw_cal_Area"));
    shape_ = at(QStringLiteral("tw_Shape"));
    for (int i = 0; i < 4; ++i) {
        dims_[2 * i] = at(QStringLiteral("tw_dim%1").arg(i + 1));
        dims_[2 * i + 1] = at(QStringLiteral("tw_dim%1_inches").arg(i + 1));
    }
}

bool LineReader::next(Line& line) {
    if (!query_.next())
        return false;
    line.bill = query_.value(bill_);
    line.sch = query_.value(sch_);
    line.contract = query_.value(contract_);
    line.narration = query_.value(narration_);
    for (int i = 0; i < 8; ++i)
        line.dims[i] = query_.value(dims_[i]);
    line.deduction = query_.value(deduction_);
    line.quantity = query_.value(quantity_);
    line.calArea = query_.value(calArea_);
    line.shape = query_.value(shape_);
    return true;
}

// ---- net quantities -----------------------------------------------------------------------

Currency NetQuantity::take(const QVariant& recordkey, const QVariant& test, const QVariant& ndamt,
                           const QVariant& damt) {
    if (!key_ || *key_ != recordkey) {
        key_ = recordkey;
        added_ = deducted_ = Currency();
    }
    if (test.toString() == QLatin1String("NoDeduction"))
        added_ += Currency::fromDouble(ndamt.toDouble());
    else
        deducted_ += Currency::fromDouble(damt.toDouble());
    net_ = added_ - deducted_;
    return net_;
}

// ---- rows of dummy_estimation -------------------------------------------------------------

namespace {
// The final bill's amount of a row: the stored rate times the net quantity over the stored unit.
Nullable finalBillAmount(const QVariant& rate, Currency net, const QVariant& unit) {
    return storedNumber(rate) * net.toDouble() / storedNumber(unit);
}

// The columns a row of dummy_estimation is written with, in the order EstimateRows::add binds.
const QStringList& estimateColumns() {
    static const QStringList columns =
        QStringLiteral("tw_recordkey,tw_bill_num,tw_sch_num,tw_contract_num,tw_item_desc,tw_unit,"
                       "tw_itemrate,tw_dim1,tw_dim1_inches,tw_dim2,tw_dim2_inches,tw_dim3,"
                       "tw_dim3_inches,tw_dim4,tw_dim4_inches,tw_deduction,tw_quantity,"
                       "tw_cal_Area,tw_units,Shape,units_label,test,Damt,ndamt,"
                       "tw_item_narration,inr,tw_item_narration_d,inr_d,netqty,net_amt")
            .split(u',');
    return columns;
}
} // namespace

EstimateRows::EstimateRows(ReportRun& run, const ConClass& con, Messenger& messages, Rules rules,
                           QString units, const Line& first)
    : run_(run), con_(con), messages_(messages), rules_(std::move(rules)), units_(std::move(units)),
      item_(first.sch.toString().trimmed()),
      insert_(con, QStringLiteral("dummy_estimation"), estimateColumns()) {
    emptyTable(con, QStringLiteral("dummy_estimation"));
    if (rules_.unitLabel)
        shapes_ = firstRowsBy(con.keyed(QStringLiteral("shapes")), QStringLiteral("tw_shape"));
}

bool EstimateRows::add(const Line& line, const Row* item) {
    const QString sch = line.sch.toString().trimmed();
    if (sch != item_) {
        item_ = sch;
        run_.group_counter = toInt16(double(run_.group_counter) + 1);
    }
    if (!item || item->isNull(QStringLiteral("tw_item_desc"))) {
        messages_.say(rules_.missingItem, Information, QStringLiteral("Abstract Estimate"));
        return false;
    }
    QVariant label;
    if (rules_.unitLabel) {
        const Row* shape = shapes_.find(line.shape.toString());
        if (!shape)
            throw Error(QStringLiteral("The shape \"%1\" of item %2 has no row in the table of "
                                       "shapes.")
                            .arg(line.shape.toString(), line.sch.toString()));
        label = shape->value(QStringLiteral("tw_bill_label"));
    }
    const bool deduction = isYes(line.deduction);
    const QVariant group = run_.group_counter;
    const QVariant rate = item->value(QStringLiteral("tw_item_rate"));
    const QVariant unit = item->value(QStringLiteral("tw_unit"));
    QVariant netqty, netAmount;
    if (rules_.net && !netFailure_) {
        try {
            const Currency net = net_.take(
                group, deduction ? QStringLiteral("Deduction") : QStringLiteral("NoDeduction"),
                line.calArea, line.calArea);
            const Nullable amount = finalBillAmount(rate, net, unit);
            netqty = net.toDouble();
            if (!amount.isNull())
                netAmount = amount.value();
        } catch (const Error& e) {
            netFailure_ = e; // this row and those after it go without figures
        }
    }
    QVariantList v{
        group, line.bill, line.sch, line.contract, item->value(QStringLiteral("tw_item_desc")),
        unit,  rate};
    for (const QVariant& d : line.dims)
        v << d;
    v << line.deduction << line.quantity << line.calArea << units_ << line.shape << label;
    if (deduction)
        v << QStringLiteral("Deduction") << line.calArea << QVariant() << QVariant() << QVariant()
          << line.narration << group;
    else
        v << QStringLiteral("NoDeduction") << QVariant() << line.calArea << line.narration << group
          << QVariant() << QVariant();
    v << netqty << netAmount;
    insert_.add(v);
    return true;
}

void EstimateRows::finish() {
    if (netFailure_)
        throw *netFailure_;
}

} // namespace tw::reports
