#include "core/reports/running_bill.h"

#include "core/reports/fill_support.h"
#include "store/worktables.h"

#include <QSet>
#include <QSqlQuery>

#include <algorithm>
#include <optional>

namespace tw::reports {

namespace {

const QString billsRaised = QStringLiteral("billsraised");
const QString workTable = QStringLiteral("abstractbillrep");
const QString frozenCopies = QStringLiteral("abstractbills");
const QString deductions = QStringLiteral("absbl_dedns");
const QString yes = QStringLiteral("YES");

QVariant stored(Nullable n) {
    return n.isNull() ? QVariant() : QVariant(n.value());
}

// A running total kept in a plain double: a Null added to it cannot be stored.
double addTo(double total, Nullable n) {
    if (n.isNull())
        throw Error(QStringLiteral("Invalid use of Null"));
    return total + n.value();
}

// The columns of an abstract bill line, in the order both abstractbillrep and abstractbills
// (after their project and bill) hold them.
const QStringList& lineColumns() {
    static const QStringList c{QStringLiteral("tw_schno"),    QStringLiteral("tw_sch_desc"),
                               QStringLiteral("tw_unit"),     QStringLiteral("tw_unit_desc"),
                               QStringLiteral("tw_rate"),     QStringLiteral("tw_prev_qty"),
                               QStringLiteral("tw_now_qty"),  QStringLiteral("tw_tot_qty"),
                               QStringLiteral("tw_prev_amt"), QStringLiteral("tw_now_amt"),
                               QStringLiteral("tw_tot_amt"),  QStringLiteral("tw_dedn"),
                               QStringLiteral("tw_dedn_desc")};
    return c;
}

// One line of the abstract bill while it is worked out; empty figures stay Null.
struct Line {
    QVariant schno, desc, unit, unitDesc;
    Nullable rate, prevQty, nowQty, totQty, prevAmt, nowAmt, totAmt;
    bool deduction = false;

    QVariantList values() const {
        return {schno,          desc,           unit,
                unitDesc,       stored(rate),   stored(prevQty),
                stored(nowQty), stored(totQty), stored(prevAmt),
                stored(nowAmt), stored(totAmt), deduction ? yes : QStringLiteral("NO"),
                QVariant()};
    }
};

// The measured quantity of each bill and item of a project: the lines' areas added in store
// order in single precision, rounded after every addition, deduction lines added as they stand
// (they are positive), so a bill's figure is the same to the last bit however it is read.
// Bills and items are found as the store compares texts, each by its place among the keys given.
// Only the lines of the bills and items given are read: a line that is no number stops the bill
// it belongs to, not every bill of the project.
class Measured {
public:
    using Items = QHash<int, float>; // by the place of the item's key

    Measured(const ConClass& con, const QString& project, const QHash<QString, int>& billKeys,
             const QHash<QString, int>& itemKeys)
        : bills_(size_t(billKeys.size())) {
        QSqlQuery q = prepared(con.db(),
                               QStringLiteral("select tw_bill_num, tw_sch_num, tw_cal_Area from "
                                              "billmaster where tw_contract_num=? order by "
                                              "tw_recordkey"),
                               {project});
        // Lines come in runs of one bill and item: a text like the last one read is not looked
        // up again.
        QString billText, itemText;
        int bill = -1, item = -1;
        const auto placeOf = [](const QHash<QString, int>& keys, const QVariant& v, QString& last,
                                int& place) {
            const QString text = v.toString();
            if (text.isNull() != last.isNull() || text != last) {
                last = text;
                place = keys.value(nocaseKey(text), -1);
            }
            return place;
        };
        while (q.next()) {
            if (placeOf(billKeys, q.value(0), billText, bill) < 0 ||
                placeOf(itemKeys, q.value(1), itemText, item) < 0)
                continue;
            const Nullable area = storedNumber(q.value(2));
            if (area.isNull())
                throw Error(QStringLiteral("Invalid use of Null"));
            float& qty = bills_[size_t(bill)][item];
            qty = static_cast<float>(static_cast<double>(qty) + area.value());
        }
    }
    // The items of the bill at that place among the keys; empty when it has no lines.
    const Items& of(int bill) const { return bills_[size_t(bill)]; }

private:
    std::vector<Items> bills_;
};

Line itemLine(const Row& item) {
    Line l;
    l.schno = item.value(QStringLiteral("tw_sch_num"));
    l.desc = item.value(QStringLiteral("tw_item_desc"));
    l.unit = item.value(QStringLiteral("tw_unit"));
    l.unitDesc = item.value(QStringLiteral("tw_unit_lable"));
    l.rate = storedNumber(item.value(QStringLiteral("tw_item_rate")));
    return l;
}

bool sameText(const QVariant& a, const QVariant& b) {
    return !a.isNull() && !b.isNull() && nocaseKey(a.toString()) == nocaseKey(b.toString());
}

// The project's bills in billsraised other than run.bill, in store order.
Rows otherBills(const ReportRun& run, const ConClass& con) {
    return con.keyed(billsRaised, QStringLiteral("tw_contract_num=? and tw_bill_num<>?"),
                     {run.contract_num, run.bill});
}

std::optional<Row> billRow(const ReportRun& run, const ConClass& con) {
    return con.find(billsRaised, QStringLiteral("tw_contract_num=? and tw_bill_num=?"),
                    {run.contract_num, run.bill});
}

// The place of a text among the keys met so far, as the store compares texts; a new key takes
// the next place.
int placeOf(QHash<QString, int>& keys, const QString& text) {
    const QString key = nocaseKey(text);
    const auto found = keys.constFind(key);
    if (found != keys.cend())
        return found.value();
    const int place = int(keys.size());
    keys.insert(key, place);
    return place;
}

void computeAbstractBill(ReportRun& run, const ConClass& con) {
    emptyTable(con, workTable);
    const Rows items = con.keyed(QStringLiteral("Sch_master"), QStringLiteral("tw_contract_num=?"),
                                 {run.contract_num});
    // Each item's key by its place, and the items of each key in store order: two items may
    // share a number as the store compares texts.
    QHash<QString, int> itemKeys;
    std::vector<int> keyOfItem;
    std::vector<std::vector<size_t>> itemsOfKey;
    for (size_t i = 0; i < items.size(); ++i) {
        const int key = placeOf(itemKeys, items[i].text(QStringLiteral("tw_sch_num")));
        if (size_t(key) == itemsOfKey.size())
            itemsOfKey.emplace_back();
        keyOfItem.push_back(key);
        itemsOfKey[size_t(key)].push_back(i);
    }
    // The bills summed: this one and those raised before or after it.
    const Rows others = otherBills(run, con);
    QHash<QString, int> billKeys;
    placeOf(billKeys, run.bill);
    std::vector<int> billOfOther;
    for (const Row& other : others)
        billOfOther.push_back(placeOf(billKeys, other.text(QStringLiteral("tw_bill_num"))));
    const Measured measured(con, run.contract_num, billKeys, itemKeys);
    std::vector<Line> lines;

    // The first line of each item's key, as a look-up by number finds it.
    std::vector<std::optional<size_t>> lineOf(itemsOfKey.size());
    const auto addLine = [&](size_t item) {
        auto& first = lineOf[size_t(keyOfItem[item])];
        if (!first)
            first = lines.size();
        lines.push_back(itemLine(items[item]));
        return &lines.back();
    };

    // This bill's quantities: an item with nothing above 0 measured gets no line.
    const Measured::Items& thisBill = measured.of(0);
    for (size_t i = 0; i < items.size(); ++i) {
        const float qty = thisBill.value(keyOfItem[i], 0.0F);
        if (qty > 0)
            addLine(i)->nowQty = static_cast<double>(qty);
    }

    // The other bills: each one that measured an item puts its own quantity on the item's line,
    // so the last of them in store order is the one that shows. Only the items a bill measured
    // are visited, in store order.
    std::vector<size_t> measuredItems;
    for (const int bill : billOfOther) {
        measuredItems.clear();
        const Measured::Items& quantities = measured.of(bill);
        for (auto it = quantities.cbegin(); it != quantities.cend(); ++it)
            if (it.value() > 0)
                for (const size_t item : itemsOfKey[size_t(it.key())])
                    measuredItems.push_back(item);
        std::sort(measuredItems.begin(), measuredItems.end());
        for (const size_t item : measuredItems) {
            const auto& first = lineOf[size_t(keyOfItem[item])];
            Line* line = first ? &lines[*first] : addLine(item);
            line->prevQty = static_cast<double>(quantities.value(keyOfItem[item]));
        }
    }

    // Amounts over the item's unit; an empty figure leaves its amount and totals empty.
    double billTotal = 0;
    for (Line& l : lines) {
        const Nullable unit = storedNumber(l.unit);
        l.prevAmt = l.prevQty * l.rate / unit;
        l.nowAmt = l.nowQty * l.rate / unit;
        l.totQty = l.prevQty + l.nowQty;
        l.totAmt = l.prevAmt + l.nowAmt;
        if (l.nowAmt.isNull())
            l.nowAmt = 0;
        billTotal = addTo(billTotal, l.nowAmt);
    }

    // This bill's deductions, each a line of its own.
    qint16 deductionNo = 0;
    for (const Row& d : con.keyed(deductions, QStringLiteral("tw_cont_num=? and tw_bill_num=?"),
                                  {run.contract_num, run.bill})) {
        Line l;
        l.schno = QString::number(++deductionNo);
        l.desc = d.value(QStringLiteral("tw_item_desc"));
        l.rate = storedNumber(d.value(QStringLiteral("tw_rate")));
        l.nowQty = storedNumber(d.value(QStringLiteral("tw_qty")));
        l.nowAmt = storedNumber(d.value(QStringLiteral("tw_amount")));
        l.unitDesc = d.value(QStringLiteral("tw_lbl"));
        l.unit = QStringLiteral("1");
        l.deduction = true;
        lines.push_back(std::move(l));
    }

    // Deductions of every other bill add up on the line of the same description and rate.
    for (const Row& d : con.keyed(deductions, QStringLiteral("tw_cont_num=? and tw_bill_num<>?"),
                                  {run.contract_num, run.bill})) {
        const QVariant desc = d.value(QStringLiteral("tw_item_desc"));
        const Nullable rate = storedNumber(d.value(QStringLiteral("tw_rate")));
        const Nullable qty = storedNumber(d.value(QStringLiteral("tw_qty")));
        const Nullable amount = storedNumber(d.value(QStringLiteral("tw_amount")));
        auto it = std::find_if(lines.begin(), lines.end(), [&](const Line& l) {
            return l.deduction && sameText(l.desc, desc) && !l.rate.isNull() && !rate.isNull() &&
                   l.rate.value() == rate.value();
        });
        if (it != lines.end()) {
            it->prevQty = it->prevQty.valueOr(0) + qty;
            it->prevAmt = it->prevAmt.valueOr(0) + amount;
            it->unit = QStringLiteral("1");
            continue;
        }
        Line l;
        l.schno = QString::number(++deductionNo);
        l.desc = desc;
        l.rate = rate;
        l.unitDesc = d.value(QStringLiteral("tw_lbl"));
        l.unit = QStringLiteral("1");
        l.deduction = true;
        l.prevQty = qty;
        l.prevAmt = amount;
        lines.push_back(std::move(l));
    }

    // A deduction's amounts are its quantities times its rate: what was typed as an amount
    // gives way, and no unit divides them.
    double deductionTotal = 0;
    for (Line& l : lines) {
        if (!l.deduction)
            continue;
        l.prevQty = l.prevQty.valueOr(0);
        l.prevAmt = l.prevQty * l.rate;
        l.nowQty = l.nowQty.valueOr(0);
        l.nowAmt = l.nowQty * l.rate;
        l.totQty = l.prevQty + l.nowQty;
        l.totAmt = l.prevAmt + l.nowAmt;
        deductionTotal = addTo(deductionTotal, l.nowAmt);
    }

    // The bill's own row: the gross amount, re-dated to today on every run.
    const double tds = billTotal * run.tax_rate / 100;
    const Values figures{{QStringLiteral("tw_bill_amount"), billTotal},
                         {QStringLiteral("tw_dedn_amount"), deductionTotal},
                         {QStringLiteral("tw_bill_dt"), dateText(QDate::currentDate())},
                         {QStringLiteral("tw_tds_amount"), tds}};
    if (const auto row = billRow(run, con)) {
        con.update(billsRaised, row->id(), figures);
    } else {
        Values v{{QStringLiteral("tw_contract_num"), run.contract_num},
                 {QStringLiteral("tw_bill_num"), run.bill}};
        v.insert(v.end(), figures.begin(), figures.end());
        con.insert(billsRaised, v);
    }

    // The tax of the other bills: the last one that has a figure, not their sum.
    double previousTds = 0;
    for (const Row& other : others)
        if (!other.isNull(QStringLiteral("tw_tds_amount")))
            previousTds = other.number(QStringLiteral("tw_tds_amount"));

    // The tax line closes the bill and counts in no total.
    Line tdsLine;
    tdsLine.schno = QString::number(deductionNo + 1);
    tdsLine.desc = QStringLiteral("TDS Recovered @ ") + doubleText(run.tax_rate) + u'%';
    tdsLine.nowAmt = tds;
    tdsLine.prevAmt = previousTds;
    tdsLine.totAmt = tds + previousTds;
    tdsLine.deduction = true;
    lines.push_back(std::move(tdsLine));

    BulkInsert insert(con, workTable, lineColumns());
    for (const Line& l : lines)
        insert.add(l.values());
}

void copyFrozenLines(const ReportRun& run, const ConClass& con) {
    emptyTable(con, workTable);
    BulkInsert insert(con, workTable, lineColumns());
    for (const Row& r :
         con.keyed(frozenCopies, QStringLiteral("tw_contract_num=? and tw_bill_num=?"),
                   {run.contract_num, run.bill})) {
        QVariantList v;
        for (const QString& c : lineColumns())
            v << r.value(c);
        insert.add(v);
    }
}

Values deductionValues(const Deduction& d) {
    return {{QStringLiteral("tw_qty"), d.quantity},
            {QStringLiteral("tw_lbl"), d.unit},
            {QStringLiteral("tw_rate"), d.rate},
            {QStringLiteral("tw_amount"), d.rate * d.quantity}};
}

void writeDeduction(const ReportRun& run, const ConClass& con, const Deduction& d) {
    if (const auto row = con.find(
            deductions, QStringLiteral("tw_cont_num=? and tw_bill_num=? and tw_item_desc=?"),
            {run.contract_num, run.bill, d.description})) {
        con.update(deductions, row->id(), deductionValues(d));
        return;
    }
    Values v{{QStringLiteral("tw_cont_num"), run.contract_num},
             {QStringLiteral("tw_bill_num"), run.bill},
             {QStringLiteral("tw_item_desc"), d.description}};
    const Values rest = deductionValues(d);
    v.insert(v.end(), rest.begin(), rest.end());
    con.insert(deductions, v);
}

// The bills raised rows of the bills given, each followed by its payments, then the names of
// the projects.
void writeBillsRaised(const Rows& bills, const ConClass& con) {
    const QString table = QStringLiteral("billsraisedreport");
    emptyTable(con, table);
    QHash<QString, Rows> payments;
    for (Row& p : con.keyed(QStringLiteral("payment_rec")))
        payments[nocaseKey(p.text(QStringLiteral("tw_contract_num"))) + QChar(0) +
                 nocaseKey(p.text(QStringLiteral("tw_bill_num")))]
            .push_back(std::move(p));
    const FirstRows projects =
        firstRowsBy(con.keyed(QStringLiteral("contractmaster")), QStringLiteral("tw_contract_num"));
    auto nameOf = [&](const QVariant& project) {
        const Row* found = project.isNull() ? nullptr : projects.find(project.toString());
        if (!found)
            throw Error(
                QStringLiteral("There is no project numbered \"%1\".").arg(project.toString()));
        return found->value(QStringLiteral("tw_contract_name"));
    };
    BulkInsert insert(con, table,
                      {QStringLiteral("tw_contract_num"), QStringLiteral("tw_contract_name"),
                       QStringLiteral("tw_bill_num"), QStringLiteral("tw_bill_date"),
                       QStringLiteral("tw_netamt"), QStringLiteral("tw_recamt"),
                       QStringLiteral("tw_tdsamt"), QStringLiteral("tw_pmnt")});
    // The date of a bill row is the day of the report: the bill's own date only chose it.
    const QString today = dateText(QDate::currentDate());
    for (const Row& bill : bills) {
        const QVariant project = bill.value(QStringLiteral("tw_contract_num"));
        const QVariant number = bill.value(QStringLiteral("tw_bill_num"));
        insert.add({project, nameOf(project), number, today,
                    bill.value(QStringLiteral("tw_bill_amount")), 0,
                    bill.value(QStringLiteral("tw_tds_amount")), 0});
        const auto it = payments.constFind(nocaseKey(project.toString()) + QChar(0) +
                                           nocaseKey(number.toString()));
        if (project.isNull() || number.isNull() || it == payments.cend())
            continue;
        for (const Row& p : it.value())
            insert.add({p.value(QStringLiteral("tw_contract_num")), nameOf(project),
                        p.value(QStringLiteral("tw_bill_num")), QVariant(),
                        p.value(QStringLiteral("tw_netamt")), p.value(QStringLiteral("tw_recamt")),
                        p.value(QStringLiteral("tw_tdsamt")), 1});
    }
}

} // namespace

void BuildAbstractBill(ReportRun& run, const ConClass& con, Messenger&) {
    Transaction tx(con);
    if (run.frozen_flag)
        copyFrozenLines(run, con);
    else
        computeAbstractBill(run, con);
    tx.commit();
}

std::vector<Deduction> LoadDeductions(ReportRun& run, const ConClass& con) {
    if (const auto project =
            con.first(QStringLiteral("select tw_contract_num from contractmaster where "
                                     "tw_contract_name=?"),
                      {run.projectName}))
        run.contract_num = project->text(0);
    std::vector<Deduction> list;
    for (const Row& r : con.keyed(deductions, QStringLiteral("tw_cont_num=? and tw_bill_num=?"),
                                  {run.contract_num, run.bill}))
        list.push_back({r.text(QStringLiteral("tw_item_desc")), r.number(QStringLiteral("tw_qty")),
                        r.isNull(QStringLiteral("tw_lbl")) ? QStringLiteral(" ")
                                                           : r.text(QStringLiteral("tw_lbl")),
                        r.number(QStringLiteral("tw_rate")), r.number(QStringLiteral("tw_amount")),
                        r.id()});
    run.frozen_flag = false;
    if (const auto bill = billRow(run, con))
        run.frozen_flag = isYes(bill->value(QStringLiteral("tw_froze")));
    return list;
}

QStringList UnitLabels(const ConClass& con) {
    return con.texts(QStringLiteral("unitlbls"), QStringLiteral("tw_unit_lbl"));
}

void LearnUnitLabel(const ConClass& con, const QString& label) {
    if (!con.find(QStringLiteral("unitlbls"), QStringLiteral("tw_unit_lbl=?"), {label}))
        con.insert(QStringLiteral("unitlbls"), {{QStringLiteral("tw_unit_lbl"), label}});
}

void SaveDeductions(const ReportRun& run, const ConClass& con, const std::vector<Deduction>& list) {
    Transaction tx(con);
    for (const Deduction& d : list)
        writeDeduction(run, con, d);
    tx.commit();
}

void DeleteDeduction(const ReportRun& run, const ConClass& con, const QString& description) {
    if (const auto row = con.find(
            deductions, QStringLiteral("tw_cont_num=? and tw_bill_num=? and tw_item_desc=?"),
            {run.contract_num, run.bill, description}))
        con.remove(deductions, row->id());
}

void ForgetDeduction(const ReportRun& run, const ConClass& con, const QString& description,
                     double rates) {
    const auto summary =
        con.find(QStringLiteral("dummy_ded_det"), QStringLiteral("tw_bill_num=?"), {run.bill});
    if (!summary)
        return;
    Values values{{summary->columnName(4), rates}};
    for (int place = 5; place <= 17; place += 3) {
        if (summary->text(place) == description) {
            values.emplace_back(summary->columnName(place), QStringLiteral(" "));
            values.emplace_back(summary->columnName(place + 1), 0);
            values.emplace_back(summary->columnName(place + 2), 0);
            break;
        }
    }
    Transaction tx(con);
    con.update(QStringLiteral("dummy_ded_det"), summary->id(), values);
    tx.commit();
}

namespace {
void freezeOnce(ReportRun& run, const ConClass& con) {
    Transaction tx(con);
    // Freezing reads the bill's row and then writes: a second freeze or a run of the bill at
    // the same moment waits for it, and then finds it frozen.
    holdFor(con, billKey(run));
    const auto bill = billRow(run, con);
    if (!bill || isYes(bill->value(QStringLiteral("tw_froze"))))
        return;
    con.update(billsRaised, bill->id(), {{QStringLiteral("tw_froze"), 1}});
    QStringList columns{QStringLiteral("tw_contract_num"), QStringLiteral("tw_bill_num")};
    columns << lineColumns();
    BulkInsert insert(con, frozenCopies, columns);
    for (const Row& r : con.keyed(workTable)) {
        QVariantList v{run.contract_num, run.bill};
        for (const QString& c : lineColumns())
            v << r.value(c);
        insert.add(v);
    }
    insert.flush();
    tx.commit();
    run.frozen_flag = true;
}
} // namespace

void FreezeBill(ReportRun& run, const ConClass& con) {
    asOneAction(con, [&] { freezeOnce(run, con); });
}

void BuildBillsRaisedForProject(ReportRun& run, const ConClass& con, Messenger&) {
    Transaction tx(con);
    writeBillsRaised(
        con.keyed(billsRaised, QStringLiteral("tw_contract_num=?"), {run.contract_num}), con);
    tx.commit();
}

void BuildBillsRaisedForPeriod(ReportRun& run, const ConClass& con, Messenger&) {
    // The bill's date and the bounds are compared as texts, character by character, so a
    // period across a month or a year follows the order of the digits, not the calendar.
    const QString from = dateText(run.fromDate);
    const QString to = dateText(run.toDate);
    Rows bills;
    for (Row& r : con.keyed(billsRaised)) {
        if (r.isNull(QStringLiteral("tw_bill_dt")))
            continue;
        const QString date = r.text(QStringLiteral("tw_bill_dt"));
        if (QString::compare(date, from) >= 0 && QString::compare(date, to) <= 0)
            bills.push_back(std::move(r));
    }
    Transaction tx(con);
    writeBillsRaised(bills, con);
    tx.commit();
}

} // namespace tw::reports
