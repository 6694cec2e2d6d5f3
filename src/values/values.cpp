#include "values/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

// Every number is turned into text and back with <charconv>, never with printf/strtod: Qt sets
// the C locale from the environment at start-up, and a German locale would print and read a
// decimal comma.

namespace tw {

Error::Error(const QString& text) : std::runtime_error(text.toStdString()) {}

void Currency::throwOverflow() {
    throw Error(QStringLiteral("Overflow"));
}

namespace {

QString overflowText() {
    return QStringLiteral("Overflow");
}

// A signed decimal: |value| = digits x 10^exponent, digits being ASCII digits without a leading
// zero ("0" for zero, which is never negative).
struct Decimal {
    bool negative = false;
    std::string digits = "0";
    int exponent = 0;
    bool isZero() const { return digits == "0"; }
};

void stripLeadingZeros(std::string& s) {
    const std::size_t first = s.find_first_not_of('0');
    if (first == std::string::npos)
        s = "0";
    else
        s.erase(0, first);
}

// A finite v as it prints with 15 significant digits.
Decimal fifteenDigits(double v) {
    Decimal d;
    if (v == 0.0)
        return d;
    char buf[40];
    const auto res = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific, 14);
    std::string_view s(buf, static_cast<std::size_t>(res.ptr - buf)); // "[-]d.<14 digits>e+XX"
    if (s.front() == '-') {
        d.negative = true;
        s.remove_prefix(1);
    }
    const std::size_t e = s.find('e');
    d.digits = std::string(1, s[0]) + std::string(s.substr(2, e - 2));
    std::string_view expText = s.substr(e + 1);
    if (expText.front() == '+')
        expText.remove_prefix(1);
    int exp10 = 0;
    std::from_chars(expText.data(), expText.data() + expText.size(), exp10);
    d.exponent = exp10 - 14;
    return d;
}

// v scaled by 10^decimals and brought to a whole number, the steps a bill's figures have
// always been made by: multiply, round to the nearest integer (an exact half to the even one,
// the processor's own rounding), and the caller divides back. The half is the binary value's:
// 1.015 x 100 is 101.49999..., below it.
double scaledToEven(double v, int decimals) {
    return std::nearbyint(v * std::pow(10.0, decimals));
}

// The double nearest to the decimal sign, whole digits and fraction digits (at least one digit
// between them); nullopt when the whole part is beyond the double range.
std::optional<double> decimalValue(bool negative, std::string whole, const std::string& fraction) {
    stripLeadingZeros(whole);
    const std::string text = whole + (fraction.empty() ? "" : "." + fraction);
    double v = 0.0;
    const auto res = std::from_chars(text.data(), text.data() + text.size(), v);
    if (res.ec == std::errc::result_out_of_range)
        return whole == "0" ? std::optional<double>(0.0) : std::nullopt; // underflow is zero
    if (v == 0.0)
        return 0.0; // never -0
    return negative ? -v : v;
}

// The blanks a typed figure may hold: space, tab, carriage return and line feed.
bool isBlank(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
}

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

QString nonFiniteText(double v) {
    if (std::isnan(v))
        return QStringLiteral("NaN");
    return v > 0 ? QStringLiteral("Inf") : QStringLiteral("-Inf");
}

// A finite v rounded to `decimals` places as a person reads it: its 15-significant-digit text,
// then a half away from zero. 60.914999999999999 reads 60.9150000000000 and gives 60.92, where
// the binary value would give 60.91. Gives the whole digits (at least "0") and exactly
// `decimals` fraction digits; negative only when the result is not zero.
struct Fixed {
    bool negative = false;
    std::string whole = "0";
    std::string fraction;
};

Fixed fixedDigits(double v, int decimals) {
    const Decimal d = fifteenDigits(v);
    std::string units = d.digits; // the value in units of 10^-decimals, still to be cut
    const int shift = d.exponent + decimals;
    if (shift >= 0) {
        if (!d.isZero())
            units.append(static_cast<std::size_t>(shift), '0');
    } else {
        const std::size_t cut = static_cast<std::size_t>(-shift);
        const bool up = cut <= units.size() && units[units.size() - cut] >= '5';
        units = cut < units.size() ? units.substr(0, units.size() - cut) : "0";
        if (up) {
            std::size_t i = units.size();
            while (i > 0 && units[i - 1] == '9')
                units[--i] = '0';
            if (i == 0)
                units.insert(0, 1, '1');
            else
                ++units[i - 1];
        }
    }
    stripLeadingZeros(units);
    Fixed f;
    f.negative = d.negative && units != "0";
    const std::size_t places = static_cast<std::size_t>(decimals);
    if (units.size() <= places)
        units.insert(0, places + 1 - units.size(), '0');
    f.whole = units.substr(0, units.size() - places);
    f.fraction = units.substr(units.size() - places);
    return f;
}

// The two-decimal formats: a half away from zero, no leading zero, the point always printed;
// trimmed drops trailing zeros of the decimals ("#.##"), otherwise two are kept (".00").
QString formatTwoDecimals(double v, bool trimmed) {
    if (!std::isfinite(v))
        return nonFiniteText(v);
    Fixed f = fixedDigits(v, 2);
    if (f.whole == "0")
        f.whole.clear();
    if (trimmed) {
        while (!f.fraction.empty() && f.fraction.back() == '0')
            f.fraction.pop_back();
    }
    return QString::fromLatin1((f.negative ? "-" : "") + f.whole + "." + f.fraction);
}

} // namespace

double leadingNumber(QStringView text) {
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n && isBlank(text[i]))
        ++i;
    bool negative = false;
    if (i < n && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    std::string whole;
    std::string fraction;
    bool point = false;
    for (; i < n; ++i) {
        const QChar c = text[i];
        if (isBlank(c))
            continue;
        if (isDigit(c))
            (point ? fraction : whole) += static_cast<char>(c.unicode());
        else if (c == u'.' && !point)
            point = true;
        else
            break;
    }
    if (whole.empty() && fraction.empty())
        return 0.0;
    if (const auto v = decimalValue(negative, whole, fraction))
        return *v;
    throw Error(overflowText());
}

std::optional<double> strictNumber(QStringView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    qsizetype i = begin;
    bool negative = false;
    if (i < end && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    std::string whole;
    std::string fraction;
    bool point = false;
    for (; i < end; ++i) {
        const QChar c = text[i];
        if (isDigit(c))
            (point ? fraction : whole) += static_cast<char>(c.unicode());
        else if (c == u'.' && !point)
            point = true;
        else
            return std::nullopt;
    }
    if (whole.empty() && fraction.empty())
        return std::nullopt;
    return decimalValue(negative, whole, fraction);
}

qint16 toInt16(double v) {
    const double r = scaledToEven(v, 0);
    if (!std::isfinite(r) || r < std::numeric_limits<qint16>::min() ||
        r > std::numeric_limits<qint16>::max())
        throw Error(overflowText());
    return static_cast<qint16>(r);
}

double round2(double v) {
    return roundHalfEven(v, 2);
}

double roundHalfEven(double v, int decimals) {
    if (!std::isfinite(v))
        return v;
    const double scaled = scaledToEven(v, decimals);
    if (!std::isfinite(scaled))
        return v; // too large to carry decimals at all
    const double r = scaled / std::pow(10.0, decimals);
    return r == 0.0 ? 0.0 : r; // never -0
}

QString formatHash2(double v) {
    return formatTwoDecimals(v, true);
}

QString formatFixed2(double v) {
    return formatTwoDecimals(v, false);
}

QString fixedText(double v, int decimals) {
    if (!std::isfinite(v))
        return nonFiniteText(v);
    const Fixed f = fixedDigits(v, decimals);
    std::string out = (f.negative ? "-" : "") + f.whole;
    if (decimals > 0)
        out += "." + f.fraction;
    return QString::fromLatin1(out);
}

bool fitsMoney(double v) {
    return std::isfinite(v) && std::fabs(v) <= kMoneyLimit;
}

bool fitsInt16(double v) {
    const double r = scaledToEven(v, 0);
    return std::isfinite(r) && r >= std::numeric_limits<qint16>::min() &&
           r <= std::numeric_limits<qint16>::max();
}

QString tooLargeText(const QString& field, double v, bool int16) {
    const bool low = v < 0;
    QString limit = int16 ? (low ? QStringLiteral("-32,768") : QStringLiteral("32,767"))
                          : (low ? QStringLiteral("-922,337,203,685,477")
                                 : QStringLiteral("922,337,203,685,477"));
    return field +
           (low ? QStringLiteral(" can not be less than ")
                : QStringLiteral(" can not be more than ")) +
           limit;
}

QString doubleText(double v) {
    if (!std::isfinite(v))
        return nonFiniteText(v);
    Decimal d = fifteenDigits(v);
    if (d.isZero())
        return QStringLiteral("0");
    while (d.digits.size() > 1 && d.digits.back() == '0') {
        d.digits.pop_back();
        ++d.exponent;
    }
    const int digitCount = static_cast<int>(d.digits.size());
    std::string out = d.negative ? "-" : "";
    if (d.exponent >= 0) {
        out += d.digits + std::string(static_cast<std::size_t>(d.exponent), '0');
    } else {
        const int before = digitCount + d.exponent; // digits before the point
        if (before > 0)
            out += d.digits.substr(0, static_cast<std::size_t>(before)) + "." +
                   d.digits.substr(static_cast<std::size_t>(before));
        else
            out += "0." + std::string(static_cast<std::size_t>(-before), '0') + d.digits;
    }
    return QString::fromLatin1(out);
}

QString dateText(const QDate& d) {
    if (!d.isValid())
        return QStringLiteral(" ");
    return QStringLiteral("%1-%2-%3")
        .arg(d.day(), 2, 10, QLatin1Char('0'))
        .arg(d.month(), 2, 10, QLatin1Char('0'))
        .arg(d.year(), 4, 10, QLatin1Char('0'));
}

QDate dateFromText(QStringView text) {
    if (text.size() != 10 || text[2] != u'-' || text[5] != u'-')
        return {};
    int parts[3] = {0, 0, 0};
    const qsizetype starts[3] = {0, 3, 6};
    const qsizetype lengths[3] = {2, 2, 4};
    for (int p = 0; p < 3; ++p) {
        for (qsizetype i = starts[p]; i < starts[p] + lengths[p]; ++i) {
            if (!isDigit(text[i]))
                return {};
            parts[p] = parts[p] * 10 + (text[i].unicode() - u'0');
        }
    }
    const QDate d(parts[2], parts[1], parts[0]);
    return d.isValid() ? d : QDate();
}

Currency Currency::fromDouble(double v) {
    const double units = scaledToEven(v, 4);
    // 2^63 is the first double past the int64 range; -2^63 is the last one in it.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(units) || units >= limit || units < -limit)
        throwOverflow();
    return Currency(static_cast<std::int64_t>(units));
}

Nullable operator/(Nullable a, Nullable b) {
    if (a.isNull() || b.isNull())
        return {};
    if (b.value() == 0.0)
        throw Error(QStringLiteral("Division by zero"));
    const double q = a.value() / b.value();
    if (std::isinf(q))
        throw Error(overflowText());
    return q;
}

} // namespace tw
