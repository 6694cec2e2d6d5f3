#pragma once
// The numeric and date-text rules every screen and report shares. Figures on a bill must come
// out the same wherever they are computed, so nothing else in the program rounds, reads or
// prints a number by its own rules.

#include <QDate>
#include <QString>
#include <QStringView>
#include <QtGlobal>

#include <cstdint>
#include <optional>
#include <stdexcept>

namespace tw {

// An error the user is shown as it stands, in a critical box, while the program goes on.
class Error : public std::runtime_error {
public:
    explicit Error(const QString& text);
    QString text() const { return QString::fromStdString(what()); }
};

// The leading number of a text: blanks are skipped, digits with at most one point (and an
// optional sign) are read, anything after ends the number. "1.2.3" is 1.2, "12a" is 12,
// "" and "abc" are 0.
// Blanks (space, tab, CR, LF) are skipped inside the number too, as typed figures have always
// been read: " 1 2.5" is 12.5, "- 5" is -5. Plain decimal only: "1e5" is 1, "&H10" is 0. The result
// is the double nearest to the digits read, never -0. A whole part beyond the double range throws
// tw::Error("Overflow").
double leadingNumber(QStringView text);

// A text that must be a number as a whole; blanks around it are accepted. "" and "12a" are
// failures (nullopt).
// The number is an optional sign, then digits with at most one point and at least one digit:
// "-1.5", "+2", ".5" and "5." are numbers; "-", ".", "1 2", "- 1", "1.2.3" and "1e5" are not,
// nor is a number beyond the double range. Never -0.
std::optional<double> strictNumber(QStringView text);

// Every rounding below works on the double as computed, never on how it prints: the value is
// scaled, rounded to the nearest integer and scaled back. A figure that sits just below a half
// in binary (1.015 is 1.01499999...) goes down, as it did on every bill already issued.

// A 16-bit integer: the nearest whole number, a half going to the even one (11.5 -> 12,
// 12.5 -> 12). Throws tw::Error("Overflow") outside -32768..32767 (32767.5 overflows,
// -32768.5 is -32768), and for NaN and infinities.
qint16 toInt16(double v);

// Two decimals: multiply by 100, round to the nearest integer with an exact half going to the
// even one, divide by 100. 2.125 -> 2.12, 0.375 -> 0.38, 1.015 -> 1.01,
// 0.005000000000000001 -> 0.01.
double round2(double v);

// The same steps with 10^decimals. Never -0 (round2(-0.001) is 0); NaN and infinities, and
// values too large to scale, come back unchanged.
double roundHalfEven(double v, int decimals);

// Printing a figure with a fixed number of decimals decides the half on the figure as a person
// reads it: its decimal text to 15 significant digits, then a half away from zero. So
// 60.914999999999999 (three rows printing 33.88, 19.24 and 7.80) prints 60.92, and 1.005 (whose
// double is 1.00499999999999989...) prints 1.01. This is printing only: the rounding steps
// above stay literal on the double.

// "##.##" and "#.##": at most two decimals, a half away from zero, nothing padded, the point
// always printed: 46.875 -> "46.88", 12.5 -> "12.5", 75 -> "75.", 0.5 -> ".5", 0 -> ".".
// A negative value has a leading "-" ("-.5"); one that rounds to zero prints "." with no sign.
// No digit grouping. NaN and infinities print as doubleText does.
QString formatHash2(double v);

// "#####.00" and "####.00": exactly two decimals, a half away from zero, no leading zero:
// 1234.5 -> "1234.50", 0.5 -> ".50", 0 -> ".00", -0.5 -> "-.50". Otherwise as formatHash2.
QString formatFixed2(double v);

// A figure with exactly `decimals` decimals, as reports print it: 12.5 -> "12.50",
// 0.5 -> "0.50", -0.004 -> "0.00", 1e20 -> "100000000000000000000.00". No grouping.
QString fixedText(double v, int decimals);

// The text of a double printed with no format: 15 significant digits, no trailing zeros,
// a leading zero before the point (0.1 * 3 -> "0.3", 12.0 -> "12", 0.5 -> "0.5"). Always plain
// decimal digits, never an exponent (5e-05 -> "0.00005", 1e15 -> "1000000000000000"), so that
// every number the program writes as text reads back as the same number. -0 is "0"; NaN and
// infinities are "NaN", "Inf" and "-Inf". Independent of the C locale, as every function here.
QString doubleText(double v);

// The largest amount, rate or quantity the books keep: the money type the bills are summed in
// holds whole rupees up to this.
inline constexpr double kMoneyLimit = 922337203685477.0;
// Whether v is finite and within +-kMoneyLimit.
bool fitsMoney(double v);
// Whether v rounds into a 16-bit field (toInt16 would not overflow).
bool fitsInt16(double v);
// The refusal for a figure beyond its field's range, naming the field:
// "Amount can not be more than 922,337,203,685,477", "... can not be less than -32,768".
QString tooLargeText(const QString& field, double v, bool int16 = false);

// dd-MM-yyyy, or one blank for an empty (null) date.
QString dateText(const QDate& d);
// The reverse: a dd-MM-yyyy text gives its date, anything else (" " too) a null date. The text
// must be exactly ten characters, ASCII digits and two "-"; blanks around it make it no date.
QDate dateFromText(QStringView text);

// Money with four decimals held as a 64-bit integer of ten-thousandths. Every value that
// passes through it is brought to that grain by the steps of round2 with 10,000: 0.1 is 1000
// units and ten of them make 1.
// A result beyond the int64 range throws tw::Error("Overflow"), as do NaN and infinities.
class Currency {
public:
    constexpr Currency() = default;
    static Currency fromDouble(double v);
    static constexpr Currency fromUnits(std::int64_t units) { return Currency(units); }
    constexpr std::int64_t units() const { return units_; }
    double toDouble() const { return double(units_) / 10000.0; }

    friend constexpr Currency operator+(Currency a, Currency b) {
        return Currency(sum(a.units_, b.units_));
    }
    friend constexpr Currency operator-(Currency a, Currency b) {
        return Currency(difference(a.units_, b.units_));
    }
    // Products and quotients are taken in double and brought back to the grain. Dividing by 0
    // throws tw::Error("Division by zero").
    friend Currency operator*(Currency a, double b) { return fromDouble(a.toDouble() * b); }
    friend Currency operator/(Currency a, double b) {
        if (b == 0.0)
            throw Error(QStringLiteral("Division by zero"));
        return fromDouble(a.toDouble() / b);
    }
    Currency& operator+=(Currency o) {
        units_ = sum(units_, o.units_);
        return *this;
    }
    Currency& operator-=(Currency o) {
        units_ = difference(units_, o.units_);
        return *this;
    }
    friend constexpr auto operator<=>(Currency, Currency) = default;

private:
    constexpr explicit Currency(std::int64_t u) : units_(u) {}
    [[noreturn]] static void throwOverflow();
    static constexpr std::int64_t kMax = INT64_MAX;
    static constexpr std::int64_t kMin = INT64_MIN;
    static constexpr std::int64_t sum(std::int64_t a, std::int64_t b) {
        if ((b > 0 && a > kMax - b) || (b < 0 && a < kMin - b))
            throwOverflow();
        return a + b;
    }
    static constexpr std::int64_t difference(std::int64_t a, std::int64_t b) {
        if ((b < 0 && a > kMax + b) || (b > 0 && a < kMin + b))
            throwOverflow();
        return a - b;
    }
    std::int64_t units_ = 0;
};

// A number read from a nullable column. Arithmetic with a Null operand gives Null, so a sum
// over a missing figure stays missing instead of passing for zero.
class Nullable {
public:
    constexpr Nullable() = default;
    constexpr Nullable(double v) : v_(v) {} // NOLINT: a plain number is never Null
    static constexpr Nullable null() { return Nullable(); }
    constexpr bool isNull() const { return !v_.has_value(); }
    constexpr double value() const { return *v_; }
    constexpr double valueOr(double d) const { return v_.value_or(d); }

    friend constexpr Nullable operator+(Nullable a, Nullable b) {
        return combine(a, b, [](double x, double y) { return x + y; });
    }
    friend constexpr Nullable operator-(Nullable a, Nullable b) {
        return combine(a, b, [](double x, double y) { return x - y; });
    }
    friend constexpr Nullable operator*(Nullable a, Nullable b) {
        return combine(a, b, [](double x, double y) { return x * y; });
    }
    // Division by zero is an error the user sees, never an infinity on a bill: a zero divisor
    // throws tw::Error("Division by zero") (0 / 0 too), a quotient beyond the double range
    // tw::Error("Overflow"). A Null operand gives Null first, so Null / 0 is Null.
    friend Nullable operator/(Nullable a, Nullable b);
    friend constexpr bool operator==(Nullable a, Nullable b) = default;

private:
    template <class F> static constexpr Nullable combine(Nullable a, Nullable b, F f) {
        if (a.isNull() || b.isNull())
            return {};
        return f(*a.v_, *b.v_);
    }
    std::optional<double> v_;
};

} // namespace tw
