#pragma once
// Payments and receipts against a raised bill: the checks and the row of a payment, deleting
// one, and the list of a bill's payments with their total. The payments screen and the command
// line run the same rules, so a payment is stored alike whichever way it came in.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tw::payments {

// A payment as typed: the amounts as text, read as the screen reads them (up to a second
// point, 0 when no figure leads), the dates as dd-MM-yyyy (one blank when empty).
struct Payment {
    QString contractNum;
    QString bill; // an empty text (never Null) when the project has no raised bill
    QString receipt;
    QString date;
    QString amount;
    QString tds;
    QString recoveries;
    QString type;
    QString cheque;
    QString chequeDate;
    QString bank;
    QString branch;
};

// The type of payment is kept in a column of this many characters.
constexpr int TypeLength = 20;
// Told as a longer type is typed, and again when it is saved.
QString typeTooLongText();

// Checks the payment in the screen's order (the eight required fields, the type's length, the
// receipt number within its bill, the amounts' range) and adds it in one transaction. Gives the
// first check that failed, naming the screen's control; nothing is written then.
std::optional<Refusal> save(const ConClass& con, const Payment& payment);

// Deletes the payment of that receipt number in the bill; false when there is none.
bool remove(const ConClass& con, const QString& contractNum, const QString& bill,
            const QString& receipt);

// The payments of a bill as the screen lists them, and the total of their amounts (TDS and
// recoveries are not money that changed hands); the total is empty when there are none.
struct Listing {
    std::vector<QStringList> rows; // Sl. NO, Payment Ref, Date, Amount, TDS, Other Recoveries
    QString total;
};
const QStringList& listColumns();
Listing list(const ConClass& con, const QString& contractNum, const QString& bill);

// The bills raised in a project, in store order.
QStringList bills(const ConClass& con, const QString& contractNum);
// A raised bill's number as stored, found as the store compares texts; nullopt when the project
// raised no such bill.
std::optional<QString> raisedBill(const ConClass& con, const QString& contractNum,
                                  const QString& bill);
// A raised bill's amount, rounded to two decimals with a half to the even digit; empty when
// the project raised no such bill.
QString billAmount(const ConClass& con, const QString& contractNum, const QString& bill);
// The types of payment typed before, offered again.
QStringList types(const ConClass& con);

} // namespace tw::payments
