#include "core/measurements/measurements.h"

#include "core/measurements/cal_values.h"
#include "core/projects/projects.h"
#include "store/worktables.h"
#include "values/values.h"

#include <QCoreApplication>

namespace tw::measurements {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("frm_dims", text);
}

const QString billMaster = QStringLiteral("BillMaster");

// A measurement line is known by its project, bill, schedule item and narration.
std::optional<Row> Find_Line(const ConClass& con, const QString& contract, const QString& bill,
                             const QString& sch, const QString& narration) {
    return con.find(billMaster,
                    QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?) and (tw_sch_num=?) "
                                   "and (tw_item_narration=?)"),
                    {contract, bill, sch, narration});
}

std::optional<Project> projectOf(const std::optional<Row>& row) {
    if (!row)
        return std::nullopt;
    return Project{row->text(QStringLiteral("tw_contract_num")),
                   row->text(QStringLiteral("tw_units"))};
}

Refusal refusal(const char* field, const QString& text, int flags = Ok) {
    return {QString::fromLatin1(field), text, flags, {}};
}

const char* const wholeFields[] = {"txtdim1", "txtdim2", "txtdim3", "txtdim4"};
const char* const fracFields[] = {"txtdim11", "txtdim22", "txtdim33", "txtdim44"};

} // namespace

std::optional<Project> projectByName(const ConClass& con, const QString& name) {
    return projectOf(projects::findByName(con, name));
}

std::optional<Project> projectByNumber(const ConClass& con, const QString& number) {
    return projectOf(
        con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_num=?"), {number}));
}

QStringList billNumbers(const ConClass& con, const QString& contract) {
    return con.distinctInOrder(QStringLiteral("billmaster"), QStringLiteral("tw_bill_num"),
                               QStringLiteral("tw_contract_num=?"), {contract});
}

std::optional<Item> findItem(const ConClass& con, const QString& contract, const QString& sch) {
    const auto item = con.first(
        QStringLiteral("select * from sch_master where (tw_contract_num=?) and (tw_sch_num=?)"),
        {contract, sch});
    if (!item)
        return std::nullopt;
    return Item{item->text(QStringLiteral("tw_sch_num")),
                item->text(QStringLiteral("tw_item_desc"))};
}

QStringList shapeNames(const ConClass& con) {
    return con.texts(QStringLiteral("shapes"), QStringLiteral("tw_Shape"));
}

std::optional<Shape> findShape(const ConClass& con, const QString& name) {
    const auto r = con.find(QStringLiteral("shapes"), QStringLiteral("tw_shape=?"), {name});
    if (!r)
        return std::nullopt;
    // The captions stand in the second to fifth columns of the shape's row.
    Shape s{r->text(QStringLiteral("tw_Shape")), {}};
    for (int i = 0; i < 4; ++i)
        s.captions[i] = r->text(1 + i);
    return s;
}

QString fractionCaption(const QString& units) {
    return units == QLatin1String("Metre") ? tr("CMs") : tr("Inches");
}

void Line::takeShape(const Shape& s) {
    shape = s.name;
    captions = s.captions;
    for (int i = 0; i < 4; ++i)
        asked[i] = !captions[i].trimmed().isEmpty();
}

std::optional<Refusal> saveLine(const ConClass& con, Line& line) {
    // Inches run to 11; a metre's fractional digits have no such limit.
    if (line.units == QLatin1String("Feet")) {
        for (int i = 0; i < 4; ++i) {
            if (leadingNumber(line.frac[i]) >= 12)
                return refusal(fracFields[i], tr("Inches can not be equal to or greater than 12"),
                               Information);
        }
    }
    if (line.bill.isEmpty())
        return refusal("cmb_bill_num", tr("Please Enter the Bill Number"));
    if (line.item.isEmpty())
        return refusal("rt_sch_item", tr("Please Select the Schedule Item "));
    if (line.narration.isEmpty())
        return refusal("txt_narration", tr("Please Enter the Narration"));
    if (line.qty.isEmpty())
        return refusal("txt_qty", tr("Please Enter the Qty"));
    // A blank whole part is never allowed; a blank fractional part reads as none, and is
    // filled in as each pair passes, even when a later pair then fails.
    for (int i = 0; i < 4; ++i) {
        if (line.asked[i] && line.whole[i].isEmpty())
            return refusal(wholeFields[i],
                           tr("Please Enter the") + u' ' + line.captions[i] + tr(" feet"));
        if (line.asked[i] && line.frac[i].isEmpty())
            line.frac[i] = QStringLiteral("00");
    }

    // Figures beyond their columns: whole parts and the quantity hold up to the largest sum the
    // books keep, a fractional part is a 16-bit number. A pair the shape does not ask for
    // cannot be mended by the user and is left to the arithmetic.
    const QString fracUnit = fractionCaption(line.units);
    for (int i = 0; i < 4; ++i) {
        if (!line.asked[i])
            continue;
        const double whole = leadingNumber(line.whole[i]);
        if (!fitsMoney(whole))
            return refusal(wholeFields[i], tooLargeText(line.captions[i], whole), Information);
        const double frac = leadingNumber(line.frac[i]);
        if (!fitsInt16(frac))
            return refusal(fracFields[i], tooLargeText(fracUnit, frac, true), Information);
    }
    if (const double qty = leadingNumber(line.qty); !fitsMoney(qty))
        return refusal("txt_qty", tooLargeText(tr("Quantity"), qty), Information);

    Dims dims;
    for (int i = 0; i < 4; ++i) {
        dims.whole[i] = leadingNumber(line.whole[i]);
        // The fractional part is a 16-bit whole number, a half going to the even one: 11.5
        // passes the inches check above and is stored as 12.
        dims.frac[i] = toInt16(leadingNumber(line.frac[i]));
    }
    const double result = Cal_Values(line.units, line.shape, dims);
    const double area = lineTotal(result, line.qty);

    Transaction tx(con);
    // A line is found by its item and narration before it is written: two seats saving the
    // same line at once make one line, the second seat's figures over the first's.
    holdFor(con, billHold(line.contract, line.bill));
    const auto category = con.first(
        QStringLiteral("select * from Sch_master where tw_contract_num=? and tw_sch_num=?"),
        {line.contract, line.sch});
    Values v;
    for (int i = 0; i < 4; ++i) {
        v.emplace_back(QStringLiteral("tw_dim%1").arg(i + 1), dims.whole[i]);
        v.emplace_back(QStringLiteral("tw_dim%1_inches").arg(i + 1), int(dims.frac[i]));
    }
    v.emplace_back(QStringLiteral("tw_cal_Area"), area);
    v.emplace_back(QStringLiteral("tw_Shape"), line.shape);
    v.emplace_back(QStringLiteral("tw_deduction"), line.deduction ? 1 : 0);
    // The line follows the category its schedule item has now.
    v.emplace_back(QStringLiteral("tw_category_name"),
                   category ? category->value(QStringLiteral("tw_category_name")) : QVariant());
    v.emplace_back(QStringLiteral("tw_quantity"), leadingNumber(line.qty));

    if (const auto found = Find_Line(con, line.contract, line.bill, line.sch, line.narration)) {
        v.insert(v.begin(), {QStringLiteral("tw_item_narration"), line.narration});
        con.update(billMaster, found->id(), v);
    } else {
        v.insert(v.begin(), {{QStringLiteral("tw_contract_num"), line.contract},
                             {QStringLiteral("tw_bill_num"), line.bill},
                             {QStringLiteral("tw_sch_num"), line.sch},
                             {QStringLiteral("tw_item_narration"), line.narration}});
        con.insert(billMaster, v);
    }
    tx.commit();
    return std::nullopt;
}

void deleteLine(const ConClass& con, const QString& contract, const QString& bill,
                const QString& sch, const QString& narration) {
    Transaction tx(con);
    if (const auto found = Find_Line(con, contract, bill, sch, narration))
        con.remove(billMaster, found->id());
    tx.commit();
}

std::vector<QStringList> Show_Measurements(const ConClass& con, const QString& contract,
                                           const QString& bill) {
    // Only the columns the list shows, read by position: a bill runs to thousands of lines.
    QStringList columns{QStringLiteral("tw_sch_num"), QStringLiteral("tw_item_narration"),
                        QStringLiteral("tw_Shape")};
    for (int i = 1; i <= 4; ++i)
        columns << QStringLiteral("tw_dim%1").arg(i) << QStringLiteral("tw_dim%1_inches").arg(i);
    columns << QStringLiteral("tw_quantity") << QStringLiteral("tw_deduction");
    std::vector<QStringList> rows;
    const auto lines = con.keyedColumns(QStringLiteral("billmaster"), columns,
                                        QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?)"),
                                        {contract, bill});
    rows.reserve(lines.size());
    for (const auto& r : lines) {
        QStringList cells{r.text(0), r.text(1), r.text(2)};
        for (int i = 0; i < 4; ++i)
            cells << numberText(r.value(3 + 2 * i)) + u'-' + numberText(r.value(4 + 2 * i));
        cells << numberText(r.value(11));
        cells << (r.value(12).toBool() ? QStringLiteral("YES") : QStringLiteral("NO"));
        rows.push_back(cells);
    }
    return rows;
}

} // namespace tw::measurements
