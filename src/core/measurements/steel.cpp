#include "core/measurements/steel.h"

#include "values/values.h"

#include <QCoreApplication>

#include <utility>

namespace tw::steel {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Frm_Reinforcement", text);
}

const QString table = QStringLiteral("reinforcementmaster");
const QString addNew = QStringLiteral("Add New");

// A bar size as a line stores it and the list learns it: its number of millimetres, printed
// plainly ("12 mm" and "012" are "12").
QString diameterText(const QString& typed) {
    return doubleText(leadingNumber(typed));
}

Refusal refusal(const char* field, const QString& text, const QString& title = {}) {
    return {QString::fromLatin1(field), text, Information, title};
}

} // namespace

QStringList billNumbers(const ConClass& con, const QString& contract) {
    return con.distinctInOrder(QStringLiteral("reinforcementmaster"), QStringLiteral("tw_bill_num"),
                               QStringLiteral("tw_contract_num=?"), {contract});
}

QStringList diameters(const ConClass& con) {
    return con.texts(QStringLiteral("diameter"), QStringLiteral("tw_diameter"));
}

void learnDiameter(const ConClass& con, const QString& typed) {
    const double size = leadingNumber(typed);
    const QString text = size > 0.0 ? diameterText(typed) : typed.trimmed();
    for (const auto& known : con.keyed(QStringLiteral("diameter"))) {
        const QString k = known.text(QStringLiteral("tw_diameter"));
        if (size > 0.0 ? leadingNumber(k) == size : k.trimmed() == text)
            return;
    }
    Transaction tx(con);
    con.insert(QStringLiteral("diameter"), {{QStringLiteral("tw_diameter"), text}});
    tx.commit();
}

AddOutcome addLine(const ConClass& con, const Line& line) {
    const std::pair<const char*, const QString*> numbers[] = {
        {"TxtMtFt", &line.whole}, {"TxtCmIn", &line.frac}, {"TxtNos", &line.nos}};
    for (const auto& [field, text] : numbers) {
        if (!strictNumber(*text))
            return {{}, refusal(field, tr("Fill in numbers only"), tr("Details"))};
    }
    if (line.bill == addNew || line.bill.isEmpty())
        return {{}, refusal("CmbBlNo", tr("Please Enter Bill Number..."), tr("Enter Bill Number"))};
    if (line.narration.isEmpty())
        return {
            {},
            refusal("rtb_nrtn", tr("Please Enter Narration Details..."), tr("Enter Narration"))};
    if (line.diameter == addNew || line.diameter.isEmpty())
        return {
            {},
            refusal("CmbDia", tr("Please Select Diameter from the List..."), tr("Enter Diameter"))};
    const double inches = leadingNumber(line.frac);
    if (line.feet && inches >= 12)
        return {{}, refusal("TxtCmIn", tr("Inches Cannot be less than 12..."), tr("Inches"))};
    AddOutcome outcome;
    // A hundred centimetres or more is only a warning: the line is saved as typed.
    if (!line.feet && inches >= 100)
        outcome.warning = refusal("TxtCmIn", tr("Inches Cannot be less than 100..."), tr("Inches"));

    // A figure beyond the largest the books hold would break the steel report's totals.
    const struct {
        const char* field;
        QString caption;
        const QString& text;
    } figures[] = {{"TxtNos", tr("Nos."), line.nos},
                   {"TxtMtFt", tr("Meters/Feet"), line.whole},
                   {"TxtCmIn", tr("Centimeters/Inches"), line.frac}};
    for (const auto& f : figures) {
        const double figure = *strictNumber(f.text);
        if (!fitsMoney(figure)) {
            outcome.refusal = refusal(f.field, tooLargeText(f.caption, figure));
            return outcome;
        }
    }

    Transaction tx(con);
    // The three length figures passed the number check above; they are stored as numbers.
    Values v{
        {QStringLiteral("tw_narration"), line.narration},
        {QStringLiteral("tw_diameter"), diameterText(line.diameter)},
        {QStringLiteral("tw_length_qty"), *strictNumber(line.nos)},
        {QStringLiteral("tw_length_ft"), leadingNumber(line.whole)},
        {QStringLiteral("tw_length_inches"), inches},
        {QStringLiteral("tw_remarks"), line.remarks},
    };
    const auto found = con.find(
        table, QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?) and (tw_narration=?)"),
        {line.contract, line.bill, line.narration});
    if (found) {
        con.update(table, found->id(), v);
    } else {
        v.insert(v.begin(), {{QStringLiteral("tw_contract_num"), line.contract},
                             {QStringLiteral("tw_bill_num"), line.bill}});
        con.insert(table, v);
    }
    tx.commit();
    return outcome;
}

void deleteLine(const ConClass& con, const QString& contract, const QString& bill,
                const QString& narration, const QString& diameter, const QString& nos,
                const QString& length) {
    // A point in the second number is lost with this reading, and such a line is not found.
    QString whole, frac;
    qsizetype i = 0;
    while (i < length.size() && length[i].isDigit())
        whole += length[i++];
    for (; i < length.size(); ++i) {
        if (length[i].isDigit())
            frac += length[i];
    }
    Transaction tx(con);
    const auto Line_To_Delete =
        con.find(table,
                 QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?) and (tw_narration=?) "
                                "and (tw_diameter=?) and (tw_length_qty=?) and "
                                "(tw_length_ft=?) and (tw_length_inches=?)"),
                 {contract, bill, narration, diameter, leadingNumber(nos), leadingNumber(whole),
                  leadingNumber(frac)});
    if (Line_To_Delete)
        con.remove(table, Line_To_Delete->id());
    tx.commit();
}

std::vector<QStringList> Show_Reinforcement(const ConClass& con, const QString& contract,
                                            const QString& bill, bool feet) {
    const QString ft = feet ? tr("Ft") : tr("Mt");
    const QString in = feet ? tr("Ins") : tr("Cms");
    // In feet the second part counts inches; in metres it is a plain count of centimetres,
    // 5 being 0.05 m.
    const double parts = feet ? 12.0 : 100.0;
    std::vector<QStringList> rows;
    const auto lines =
        con.keyed(QStringLiteral("reinforcementmaster"),
                  QStringLiteral("(tw_contract_num=?) and (tw_bill_num=?)"), {contract, bill});
    int number = 0;
    for (const auto& r : lines) {
        const QString whole = numberText(r.value(QStringLiteral("tw_length_ft")));
        const QString frac = numberText(r.value(QStringLiteral("tw_length_inches")));
        const QString nos = numberText(r.value(QStringLiteral("tw_length_qty")));
        const double total =
            ((leadingNumber(whole) * parts + leadingNumber(frac)) * leadingNumber(nos)) / parts;
        rows.push_back({QString::number(++number), r.text(QStringLiteral("tw_narration")),
                        r.text(QStringLiteral("tw_diameter")), nos,
                        whole + u' ' + ft + u' ' + frac + u' ' + in, doubleText(total),
                        r.text(QStringLiteral("tw_remarks"))});
    }
    return rows;
}

} // namespace tw::steel
