#include "render/figures.h"

#include "values/values.h"

#include <QLocale>
#include <QStringList>

#include <cstdint>
#include <utility>

namespace tw::reports {

QString money(double v) {
    // Qt's Indian English locale groups the last three digits, then pairs: 1,23,45,678.
    static const QLocale india(QLocale::English, QLocale::India);
    const QString plain = fixedText(v, 2); // the paise decided as the figure reads
    const qsizetype point = plain.indexOf(u'.');
    bool whole = false;
    const qlonglong rupees = plain.left(point).toLongLong(&whole);
    if (!whole) // beyond any bill; the locale groups the double as it stands
        return india.toString(v, 'f', 2);
    QString grouped = india.toString(rupees);
    if (rupees == 0 && plain.startsWith(u'-'))
        grouped.prepend(u'-');
    return grouped + plain.mid(point);
}

QString quantity(double v) {
    return fixedText(v, 2);
}

QString dimensionText(double whole, qint64 fraction, bool feet) {
    if (whole == 0 && fraction == 0)
        return {};
    if (feet)
        return QStringLiteral("%1' %2\"").arg(doubleText(whole)).arg(fraction);
    QString digits = QString::number(fraction < 0 ? -fraction : fraction);
    // One digit is tenths of a metre: the entry screen stores 5 as 50 for the same reason.
    if (digits.size() == 1)
        digits += u'0';
    return doubleText(whole) + u'.' + digits;
}

QString barLengthText(double whole, double part, bool feet) {
    if (feet)
        return QStringLiteral("%1' %2\"").arg(doubleText(whole), doubleText(part));
    return quantity(whole + part / 100.0);
}

namespace {

const char* const ones[] = {"",        "One",     "Two",       "Three",    "Four",
                            "Five",    "Six",     "Seven",     "Eight",    "Nine",
                            "Ten",     "Eleven",  "Twelve",    "Thirteen", "Fourteen",
                            "Fifteen", "Sixteen", "Seventeen", "Eighteen", "Nineteen"};
const char* const tens[] = {"",      "",      "Twenty",  "Thirty", "Forty",
                            "Fifty", "Sixty", "Seventy", "Eighty", "Ninety"};

// 1 to 99.
QString belowHundred(int n) {
    if (n < 20)
        return QString::fromLatin1(ones[n]);
    QString s = QString::fromLatin1(tens[n / 10]);
    if (n % 10)
        s += u'-' + QString::fromLatin1(ones[n % 10]);
    return s;
}

// A whole number of 1 or more in the Indian scale; crores above 99 are counted again in the
// same scale ("One Hundred Crore").
QString words(std::int64_t n) {
    QStringList parts;
    if (n >= 10000000) {
        parts << words(n / 10000000) + QStringLiteral(" Crore");
        n %= 10000000;
    }
    const std::pair<int, const char*> scale[] = {
        {100000, "Lakh"}, {1000, "Thousand"}, {100, "Hundred"}};
    for (const auto& [unit, name] : scale) {
        if (n >= unit) {
            parts << belowHundred(int(n / unit)) + u' ' + QLatin1String(name);
            n %= unit;
        }
    }
    if (n > 0)
        parts << belowHundred(int(n));
    return parts.join(u' ');
}

} // namespace

QString amountInWords(double v) {
    // The words say the figure as it prints: the paise of fixedText, not of the binary value.
    const QString plain = fixedText(v, 2);
    bool whole = false;
    const std::int64_t paiseTotal = QString(plain).remove(u'.').toLongLong(&whole);
    if (!whole)
        return QStringLiteral("Rupees ") + plain + QStringLiteral(" Only");
    const std::int64_t all = paiseTotal < 0 ? -paiseTotal : paiseTotal;
    const std::int64_t rupees = all / 100;
    const int paise = int(all % 100);
    QString s = QStringLiteral("Rupees ");
    if (paiseTotal < 0)
        s += QStringLiteral("Minus ");
    s += rupees > 0 ? words(rupees) : QStringLiteral("Zero");
    if (paise > 0)
        s += QStringLiteral(" and Paise ") + belowHundred(paise);
    return s + QStringLiteral(" Only");
}

} // namespace tw::reports
