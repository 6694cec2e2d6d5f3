#include "core/measurements/cal_values.h"

#include "values/values.h"

#include <cmath>

namespace tw {

namespace {

// What a formula sees: the four lengths in the working unit (a, b, c, d = len1..len4), the
// area, volume and linear divisors, and dim1 as entered for the rules that take it unconverted.
struct Operands {
    double a = 0, b = 0, c = 0, d = 0;
    double A = 0, V = 0, L = 0;
    double dim1 = 0;
};

// Pi is the quotient 22 / 7 (3.142857142857143), the only pi of the system. The division is
// IEEE and correctly rounded, so folding it at compile time gives the same double as at run
// time.
const double P = 22.0 / 7.0;

// Every divisor of the formulas passes through here: a zero divisor (a measure system that is
// neither "Feet" nor "Metre") is the error the user is shown, never an infinity or a NaN.
double over(double x, double divisor) {
    if (divisor == 0.0)
        throw Error(QStringLiteral("Division by zero"));
    return x / divisor;
}

// Squares, cubes and roots are taken as powers (pow), not as products: the route decides the
// last places of the double, and a stored total must not move when a line is saved again.
double sq(double x) {
    return std::pow(x, 2.0);
}
double cube(double x) {
    return std::pow(x, 3.0);
}
double root(double x) {
    if (x < 0.0)
        throw Error(QStringLiteral("Invalid procedure call or argument"));
    return std::pow(x, 0.5);
}

// The rectangle shapes turn each length into its printed text (15 significant digits) and read
// it back before multiplying, so that a length made of a whole and a fractional part is the
// 15-digit decimal it prints as. For lengths the screen can produce this changes nothing after
// rounding to two places.
double viaText(double v) {
    if (const auto back = strictNumber(doubleText(v)))
        return *back;
    return v;
}

// How a shape name is compared: `Count` only as written, the others after folding the name to
// the case the table shows.
enum class Match { Exact, Upper, Lower };

struct Formula {
    const char16_t* name;
    Match match;
    double (*eval)(const Operands&);
};

// The thirty shapes, in alphabetical order of their names. Each expression is evaluated in the
// order written, left to right; do not tidy: the route of each formula decides the last
// places of the double.
const Formula kFormulas[] = {
    {u"CIRCLE_AREA", Match::Upper,
     [](const Operands& o) { return over(over(sq(o.a) * P, 4), o.A); }},
    {u"CIRCULAR_RING_AREA", Match::Upper,
     [](const Operands& o) { return over(over((sq(o.a) - sq(o.b)) * P, 4), o.A); }},
    {u"CONE_LATERAL_AREA", Match::Upper,
     [](const Operands& o) { return over(over(o.a, 2) * P * o.b, o.A); }},
    // Pi folded into integers: 22 over 84 (a third of pi r squared with r = a / 2).
    {u"cone_volume", Match::Lower,
     [](const Operands& o) { return over(over(sq(o.a) * 22 * o.b, 84), o.V); }},
    {u"Count", Match::Exact, [](const Operands& o) { return o.dim1; }},
    {u"cuboid_volume", Match::Lower, [](const Operands& o) { return over(o.a * o.b * o.c, o.V); }},
    {u"cylinder_lateral_area", Match::Lower,
     [](const Operands& o) { return over(P * o.a * o.b, o.A); }},
    // Pi folded into integers: 22 over 28 (pi r squared with r = a / 2).
    {u"cylinder_volume", Match::Lower,
     [](const Operands& o) { return over(over(sq(o.a) * 22 * o.b, 28), o.V); }},
    {u"cylindrical_ring_volume", Match::Lower,
     [](const Operands& o) { return over(over((sq(o.a) - sq(o.b)) * P * o.c, 4), o.V); }},
    {u"ellipse_area", Match::Lower,
     [](const Operands& o) { return over(over(o.a, 2) * P * over(o.b, 2), o.A); }},
    {u"ellipse_volume", Match::Lower,
     [](const Operands& o) { return over(over(o.a, 2) * P * over(o.b, 2) * o.c, o.V); }},
    {u"hexagon_area", Match::Lower,
     [](const Operands& o) { return over(over(std::pow(3.0, 0.5) * 3 * sq(o.a), 2), o.A); }},
    {u"hexagon_volume", Match::Lower,
     [](const Operands& o) { return over(over(std::pow(3.0, 0.5) * 3 * sq(o.a), 2) * o.b, o.V); }},
    {u"linear", Match::Lower, [](const Operands& o) { return o.dim1; }},
    {u"lumpsum", Match::Lower, [](const Operands& o) { return o.dim1; }},
    // The rounded 4.84, not 2(1 + sqrt 2).
    {u"octagon_area", Match::Lower, [](const Operands& o) { return over(sq(o.a) * 4.84, o.A); }},
    {u"octagon_volume", Match::Lower,
     [](const Operands& o) { return over(sq(o.a) * 4.84 * o.b, o.V); }},
    {u"parallelogram_area", Match::Lower, [](const Operands& o) { return over(o.a * o.b, o.A); }},
    {u"parallelogram_volume", Match::Lower,
     [](const Operands& o) { return over(o.a * o.b * o.c, o.V); }},
    {u"rectangle_area", Match::Lower,
     [](const Operands& o) { return over(viaText(o.a) * viaText(o.b), o.A); }},
    {u"rectangle_volume", Match::Lower,
     [](const Operands& o) { return over(viaText(o.a) * viaText(o.b) * viaText(o.c), o.V); }},
    // Names that deliberately compute nothing.
    {u"regular_polygon_area", Match::Lower, [](const Operands&) { return 0.0; }},
    {u"regular_polygon_volume", Match::Lower, [](const Operands&) { return 0.0; }},
    {u"rhombus_ (diamond)_area", Match::Lower,
     [](const Operands& o) { return over(o.a * 0.5 * o.b, o.A); }},
    {u"rhombus_ (diamond)_volume", Match::Lower,
     [](const Operands& o) { return over(o.a * 0.5 * o.b * o.c, o.V); }},
    {u"sphere_area", Match::Lower,
     [](const Operands& o) { return over(sq(over(o.a, 2)) * (P * 4), o.A); }},
    // The one volume without V: by L and then by A (1728 in "Feet" all the same).
    {u"sphere_volume", Match::Lower,
     [](const Operands& o) { return over(over(over(cube(o.a) * P, 6), o.L), o.A); }},
    {u"trapezium_area", Match::Lower,
     [](const Operands& o) { return over((o.b + o.a) * (o.c * 0.5), o.A); }},
    {u"trapezium_volume", Match::Lower,
     [](const Operands& o) { return over((o.b + o.a) * (o.c * 0.5) * o.d, o.V); }},
    // Heron's formula; sides that can't close make the product negative and the root fails.
    {u"triangle_area", Match::Lower,
     [](const Operands& o) {
         const double s = over(o.a + o.b + o.c, 2);
         return over(root(s * (s - o.a) * (s - o.b) * (s - o.c)), o.A);
     }},
};

const Formula* findFormula(const QString& shape) {
    const QString upper = shape.toUpper();
    const QString lower = shape.toLower();
    for (const Formula& f : kFormulas) {
        const QStringView name(f.name);
        const QString& candidate = f.match == Match::Upper   ? upper
                                   : f.match == Match::Lower ? lower
                                                             : shape;
        if (candidate == name)
            return &f;
    }
    return nullptr;
}

// The "Metre" reading of a fractional part: the decimal fraction made of a point and its
// digits (the sign is not a digit). 50 -> .50, 12 -> .12, 125 -> .125, 100 -> .1, 0 -> 0.
// digits / 10^count is a correctly rounded IEEE division of two exact integers, so it is the
// same double as reading the text ".digits".
double metreFraction(qint16 part) {
    const int digits = part < 0 ? -int(part) : int(part);
    int scale = 1;
    for (int rest = digits; rest > 0; rest /= 10)
        scale *= 10;
    return digits == 0 ? 0.0 : double(digits) / double(scale);
}

// A part whose decimal text (no sign) is one character long is multiplied by 10 in place:
// 5 -> 50, 0 -> 0; 50 stays, so a second call changes nothing.
void rewriteMetreFraction(qint16& part) {
    if (part > -10 && part < 10)
        part = qint16(part * 10);
}

} // namespace

double Cal_Values(const QString& units, const QString& shape, Dims& dims) {
    Operands o;
    o.dim1 = dims.whole[0];
    std::array<double, 4> len{};
    if (units == QLatin1String("Feet")) {
        for (int i = 0; i < 4; ++i)
            len[i] = dims.whole[i] * 12 + dims.frac[i];
        o.A = 144;
        o.V = 1728;
        o.L = 12;
    } else if (units == QLatin1String("Metre")) {
        for (qint16& part : dims.frac)
            rewriteMetreFraction(part);
        for (int i = 0; i < 4; ++i)
            len[i] = dims.whole[i] + metreFraction(dims.frac[i]);
        o.A = 1;
        o.V = 1;
        o.L = 1;
    }
    // Any other text: the lengths and divisors stay 0 and every shape with a divisor fails as a
    // division by zero. Every formula that reads a length also divides, so no length of an
    // unknown system can reach a result.
    o.a = len[0];
    o.b = len[1];
    o.c = len[2];
    o.d = len[3];

    const Formula* formula = findFormula(shape);
    if (!formula)
        return 0.0;
    const double result = formula->eval(o);
    if (!std::isfinite(result))
        throw Error(QStringLiteral("Overflow"));
    return result;
}

double lineTotal(double result, QStringView quantityText) {
    const std::optional<double> quantity = strictNumber(quantityText);
    if (!quantity)
        throw Error(QStringLiteral("Type mismatch"));
    const double total = result * *quantity;
    if (!std::isfinite(total))
        throw Error(QStringLiteral("Overflow"));
    return round2(total);
}

} // namespace tw
