#include "core/payments/payments.h"

#include "store/worktables.h"
#include "values/values.h"

#include <QCoreApplication>

namespace tw::payments {
namespace {

const QString Payments = QStringLiteral("payment_rec");
const QString Bills = QStringLiteral("billsraised");
const QString OneReceipt = QStringLiteral("tw_contract_num=? and tw_bill_num=? and tw_recpt_num=?");
const QString OneBill = QStringLiteral("tw_contract_num=? and tw_bill_num=?");

// The messages are the payments screen's, and are translated with it.
QString tr(const char* text) {
    return QCoreApplication::translate("frm_payment", text);
}

Refusal refusal(const char* field, const QString& text) {
    return {QString::fromLatin1(field), text, Information, defaultTitle()};
}

} // namespace

QString typeTooLongText() {
    return tr("Type of Payment can not be more than 20 characters");
}

std::optional<Refusal> save(const ConClass& con, const Payment& p) {
    const std::pair<const QString*, std::pair<const char*, const char*>> required[] = {
        {&p.amount, {"txt_amount", QT_TR_NOOP("Payment Amount is blank!!")}},
        {&p.tds, {"txt_tds", QT_TR_NOOP("TDS Amount is blank!!")}},
        {&p.recoveries, {"txt_recoveries", QT_TR_NOOP("Recoveries Amount is blank!!")}},
        {&p.type, {"cmb_typofpmnt", QT_TR_NOOP("Type of Payment is blank!!")}},
        {&p.receipt, {"txt_receiptno", QT_TR_NOOP("Receipt/Voucher number is blank!!")}},
        {&p.cheque, {"txt_chkno", QT_TR_NOOP("Cheque/DD number is blank!!")}},
        {&p.bank, {"txt_bank", QT_TR_NOOP("Bank Name is blank!!")}},
        {&p.branch, {"txt_branch", QT_TR_NOOP("Branch name is blank!!")}}};
    for (const auto& [typed, check] : required)
        if (typed->trimmed().isEmpty())
            return refusal(check.first, tr(check.second));
    // A longer type would not fit its column; it was told as it was typed and is told again.
    if (p.type.size() > TypeLength)
        return refusal("cmb_typofpmnt", typeTooLongText());
    // A figure beyond what the books' money type holds would break every bill and register
    // that sums it.
    const std::pair<const QString*, std::pair<const char*, const char*>> amounts[] = {
        {&p.amount, {"txt_amount", QT_TR_NOOP("Amount")}},
        {&p.tds, {"txt_tds", QT_TR_NOOP("TDS")}},
        {&p.recoveries, {"txt_recoveries", QT_TR_NOOP("Other Recoveries")}}};
    return asOneAction(con, [&]() -> std::optional<Refusal> {
        Transaction tx(con);
        // Two seats adding the same receipt at once: the second finds the first's row.
        holdFor(con, billHold(p.contractNum, p.bill));
        // A receipt number is unique within its bill only: the same voucher may pay two bills.
        if (con.find(Payments, OneReceipt, {p.contractNum, p.bill, p.receipt}))
            return refusal(
                "txt_receiptno",
                tr("Details are already exisiting. Enter another Receipt/Voucher Number"));
        for (const auto& [typed, field] : amounts) {
            const double value = leadingNumber(*typed);
            if (!fitsMoney(value))
                return refusal(field.first, tooLargeText(tr(field.second), value));
        }
        con.insert(Payments, {{QStringLiteral("tw_contract_num"), p.contractNum},
                              {QStringLiteral("tw_bill_num"), p.bill},
                              {QStringLiteral("tw_recpt_num"), p.receipt},
                              {QStringLiteral("tw_recpt_date"), p.date},
                              {QStringLiteral("tw_netamt"), leadingNumber(p.amount)},
                              {QStringLiteral("tw_recamt"), leadingNumber(p.recoveries)},
                              {QStringLiteral("tw_tdsamt"), leadingNumber(p.tds)},
                              {QStringLiteral("tw_pay_type"), p.type},
                              {QStringLiteral("tw_bank_name"), p.bank},
                              {QStringLiteral("tw_branch_name"), p.branch},
                              {QStringLiteral("tw_chkno"), p.cheque},
                              {QStringLiteral("tw_chkdt"), p.chequeDate}});
        tx.commit();
        return std::nullopt;
    });
}

bool remove(const ConClass& con, const QString& contractNum, const QString& bill,
            const QString& receipt) {
    Transaction tx(con);
    const auto found = con.find(Payments, OneReceipt, {contractNum, bill, receipt});
    if (!found)
        return false;
    con.remove(Payments, found->id());
    tx.commit();
    return true;
}

const QStringList& listColumns() {
    static const QStringList columns{tr("Sl. NO"), tr("Payment Ref"), tr("Date"),
                                     tr("Amount"), tr("TDS"),         tr("Other Recoveries")};
    return columns;
}

Listing list(const ConClass& con, const QString& contractNum, const QString& bill) {
    Listing out;
    for (const Row& r : con.keyed(Payments, OneBill, {contractNum, bill})) {
        out.rows.push_back({QString::number(out.rows.size() + 1),
                            r.text(QStringLiteral("tw_recpt_num")),
                            r.text(QStringLiteral("tw_recpt_date")),
                            numberText(r.value(QStringLiteral("tw_netamt"))),
                            numberText(r.value(QStringLiteral("tw_tdsamt"))),
                            numberText(r.value(QStringLiteral("tw_recamt")))});
        // Each amount is added to the figure the total shows.
        out.total = doubleText(leadingNumber(out.total) + r.number(QStringLiteral("tw_netamt")));
    }
    return out;
}

QStringList bills(const ConClass& con, const QString& contractNum) {
    return con.texts(Bills, QStringLiteral("tw_bill_num"), QStringLiteral("tw_contract_num=?"),
                     {contractNum});
}

std::optional<QString> raisedBill(const ConClass& con, const QString& contractNum,
                                  const QString& bill) {
    const auto found = con.find(Bills, OneBill, {contractNum, bill});
    if (!found)
        return std::nullopt;
    return found->text(QStringLiteral("tw_bill_num"));
}

QString billAmount(const ConClass& con, const QString& contractNum, const QString& bill) {
    const auto found = con.find(Bills, OneBill, {contractNum, bill});
    return found ? doubleText(round2(found->number(QStringLiteral("tw_bill_amount")))) : QString();
}

QStringList types(const ConClass& con) {
    return con.distinctInOrder(QStringLiteral("payment_rec"), QStringLiteral("tw_pay_type"),
                               QStringLiteral("tw_pay_type is not null"), {});
}

} // namespace tw::payments
