// The arithmetic of shapes and the line total. Expected values are worked out by hand (pi = 22/7;
// Feet: lengths in inches, divisors 144, 1728 and 12; Metre: lengths in metres, divisors 1),
// never by calling the code under test.

#include "core/measurements/cal_values.h"
#include "values/values.h"

#include <gtest/gtest.h>

#include <QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <tuple>

namespace {

using Whole = std::array<double, 4>;
using Frac = std::array<qint16, 4>;

const QString Metre = QStringLiteral("Metre");

// The text of the tw::Error thrown by f, or "(no error)".
std::string errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const tw::Error& e) {
        return e.text().toStdString();
    }
    return "(no error)";
}

const double kSixRootThree = 10.392304845413264; // 6 * sqrt(3)

struct Shape {
    const char* units;
    const char16_t* shape;
    Whole whole;
    Frac frac;
    double expected;
    Frac stored{};               // "Metre": the fractional parts as they stand afterwards
    const char* error = nullptr; // the failure instead of a value
};

// All thirty names in "Feet" (7 ft = 84 in, so that 22/7 comes out even), then what "Metre"
// changes: divisors of 1 and a lone centimetre digit read as tenths of the metre.
const Shape kShapes[] = {
    {"Feet", u"CIRCLE_AREA", {7}, {}, 38.5},                        // 84^2 * P / 4 / 144
    {"Feet", u"CIRCULAR_RING_AREA", {7, 3}, {0, 6}, 28.875},        // (84^2 - 42^2) * P / 4 / 144
    {"Feet", u"CIRCULAR_RING_AREA", {3, 7}, {6, 0}, -28.875},       // inner larger: negative
    {"Feet", u"CONE_LATERAL_AREA", {7, 2}, {}, 22},                 // 42 * P * 24 / 144
    {"Feet", u"cone_volume", {7, 3}, {}, 38.5},                     // 84^2 * 22 * 36 / 84 / 1728
    {"Feet", u"Count", {17}, {4}, 17},                              // dim1, the inches dropped
    {"Feet", u"cuboid_volume", {2, 3, 4}, {}, 24},                  // 24 * 36 * 48 / 1728
    {"Feet", u"cylinder_lateral_area", {7, 2}, {}, 44},             // P * 84 * 24 / 144
    {"Feet", u"cylinder_volume", {7, 2}, {}, 77},                   // 84^2 * 22 * 24 / 28 / 1728
    {"Feet", u"cylindrical_ring_volume", {7, 3, 2}, {0, 6}, 57.75}, // 5292 * P * 24 / 4 / 1728
    {"Feet", u"ellipse_area", {7, 2}, {}, 11},                      // 42 * P * 12 / 144
    {"Feet", u"ellipse_volume", {7, 2, 3}, {}, 33},                 // 1584 * 36 / 1728
    {"Feet", u"hexagon_area", {2}, {}, kSixRootThree},              // sqrt3 * 3 * 576 / 2 / 144
    {"Feet", u"hexagon_volume", {2, 1}, {}, kSixRootThree},         // ... * 12 / 1728
    {"Feet", u"linear", {12}, {6}, 12},                             // 12 ft 6 in measure 12
    {"Feet", u"lumpsum", {1500}, {6}, 1500},
    {"Feet", u"octagon_area", {2}, {6}, 30.25},                   // 30^2 * 4.84 / 144
    {"Feet", u"octagon_volume", {2, 2}, {6, 0}, 60.5},            // 4356 * 24 / 1728
    {"Feet", u"parallelogram_area", {10, 4}, {0, 6}, 45},         // 120 * 54 / 144
    {"Feet", u"parallelogram_volume", {10, 4, 0}, {0, 6, 8}, 30}, // 120 * 54 * 8 / 1728
    {"Feet", u"rectangle_area", {10, 8}, {6, 3}, 86.625},         // 126 * 99 / 144
    {"Feet", u"rectangle_area", {1, 1}, {12, 0}, 2},              // 12 inches add a foot
    {"Feet", u"rectangle_volume", {10, 8, 1}, {6, 3, 4}, 115.5},  // 12474 * 16 / 1728
    {"Feet", u"regular_polygon_area", {5, 4}, {3, 2}, 0},
    {"Feet", u"regular_polygon_volume", {5, 4, 3}, {3, 2, 1}, 0},
    {"Feet", u"rhombus_ (diamond)_area", {6, 4}, {}, 12}, // 72 * 0.5 * 48 / 144
    {"Feet", u"rhombus_ (diamond)_volume", {6, 4, 0}, {0, 0, 6}, 6},
    {"Feet", u"sphere_area", {7}, {}, 154},                         // 42^2 * 4P / 144
    {"Feet", u"sphere_volume", {7}, {}, 179.66666666666666},        // 84^3 * P / 6 / 12 / 144
    {"Feet", u"trapezium_area", {6, 4, 3}, {}, 15},                 // (48 + 72) * 18 / 144
    {"Feet", u"trapezium_volume", {6, 4, 3, 2}, {}, 30},            // 2160 * 24 / 1728
    {"Feet", u"triangle_area", {3, 4, 5}, {}, 6},                   // s = 72: sqrt(746496) / 144
    {"Feet", u"triangle_area", {1, 2, 3}, {}, 0},                   // degenerate sides
    {"Metre", u"rectangle_area", {2, 3}, {5, 25}, 8.125, {50, 25}}, // 2.5 * 3.25
    {"Metre", u"cone_volume", {1, 3}, {40}, 1.54, {40}},            // 1.96 * 22 * 3 / 84
    {"Metre", u"octagon_area", {1}, {1}, 5.8564, {10}},             // 1.1^2 * 4.84
    {"Metre", u"sphere_volume", {2}, {1}, 4.851, {10}},             // 2.1^3 * P / 6
    {"Metre", u"triangle_area", {1, 2, 2}, {5, 0, 5}, 1.5, {50, 0, 50}}, // s = 3: sqrt(2.25)
    {"Metre", u"cylindrical_ring_volume", {0, 1, 2}, {70, 40}, -2.31, {70, 40}},
    {"Metre", u"Count", {17}, {5}, 17, {50}},
    // `Count` matches only as written, the other names without regard to case; an unknown
    // name gives 0.
    {"Feet", u"COUNT", {17}, {}, 0},
    {"Feet", u"count", {17}, {}, 0},
    {"Feet", u"LUMPSUM", {1500}, {}, 1500},
    {"Feet", u"circle_area", {7}, {}, 38.5},
    {"Feet", u"Cone_Volume", {7, 3}, {}, 38.5},
    {"Feet", u"square_area", {7}, {}, 0},
    {"Feet", u"rectangle_area ", {7, 3}, {}, 0},
    // A measure system other than exactly "Feet" or "Metre" fails every shape with a divisor
    // and rewrites nothing; the shapes without one still give their value.
    {"feet", u"rectangle_area", {12, 2}, {5, 5}, 0, {}, "Division by zero"},
    {"Metres", u"sphere_volume", {12}, {5}, 0, {}, "Division by zero"},
    {"", u"CIRCLE_AREA", {12}, {5}, 0, {}, "Division by zero"},
    {"Yard", u"triangle_area", {12, 2, 3}, {5}, 0, {}, "Division by zero"},
    {"Yard", u"lumpsum", {12}, {5}, 12},
    {"Yard", u"regular_polygon_volume", {12, 2, 3}, {5}, 0},
    // Sides that can't close; a value beyond the range of a double.
    {"Feet", u"triangle_area", {1, 1, 5}, {}, 0, {}, "Invalid procedure call or argument"},
    {"Metre", u"rectangle_area", {1e300, 1e300}, {}, 0, {}, "Overflow"},
};

TEST(CalValues, Shapes) {
    for (const Shape& row : kShapes) {
        const QString units = QString::fromLatin1(row.units);
        const QString shape = QString::fromUtf16(row.shape);
        SCOPED_TRACE(units.toStdString() + " " + shape.toStdString());
        tw::Dims d{row.whole, row.frac};
        if (row.error) {
            EXPECT_EQ(errorOf([&] { tw::Cal_Values(units, shape, d); }), row.error);
        } else {
            EXPECT_NEAR(tw::Cal_Values(units, shape, d), row.expected,
                        1e-12 * std::max(1.0, std::fabs(row.expected)));
        }
        EXPECT_EQ(d.whole, row.whole);
        EXPECT_EQ(d.frac, units == Metre ? row.stored : row.frac);
    }
}

TEST(CalValues, MetreDigitsAreDecimalsOfTheMetre) {
    // A lone digit is tenths of the metre and is stored so ("05" reaches here as 5); from two
    // digits on the field is read as written. The stored part read again stays as it is.
    const std::tuple<qint16, qint16, double> cases[] = {
        {0, 0, 2.0},    {5, 50, 2.5},   {50, 50, 2.5},     {1, 10, 2.1},    {10, 10, 2.1},
        {12, 12, 2.12}, {99, 99, 2.99}, {125, 125, 2.125}, {100, 100, 2.1}, {-5, -50, 2.5}};
    for (const auto& [typed, stored, length] : cases) {
        SCOPED_TRACE(typed);
        tw::Dims d{{2, 1}, {typed}}; // a second side of 1 m: the area is the first length
        for (int call = 0; call < 2; ++call) {
            EXPECT_DOUBLE_EQ(tw::Cal_Values(Metre, QStringLiteral("parallelogram_area"), d),
                             length);
            EXPECT_EQ(d.frac[0], stored);
        }
    }
}

// The totals of the worked lines of a bill, and of quantities read strictly and not rounded:
// only the product is rounded, to two places with a half to the even digit, on the binary
// value as computed (a lumpsum's result is its amount).
TEST(CalValues, LineTotal) {
    struct Line {
        const char* units;
        const char16_t* shape;
        Whole whole;
        Frac frac;
        const char16_t* quantity;
        std::optional<double> total; // none: the quantity is no number
    };
    const Line lines[] = {
        {"Feet", u"rectangle_area", {10, 8}, {6, 3}, u"2", 173.25},
        {"Feet", u"hexagon_area", {2}, {}, u"1", 10.39},
        {"Feet", u"cone_volume", {2, 3}, {}, u"1", 3.14},
        {"Feet", u"sphere_volume", {1}, {}, u"1", 0.52},
        {"Feet", u"CIRCULAR_RING_AREA", {3, 7}, {6, 0}, u"1", -28.88},
        {"Metre", u"rectangle_area", {2, 3}, {5, 25}, u"1", 8.12},
        {"Metre", u"sphere_area", {1}, {40}, u"1", 6.16},
        {"Metre", u"lumpsum", {1500}, {6}, u"2", 3000},
        {"Feet", u"lumpsum", {1.015}, {}, u"1", 1.01},
        {"Feet", u"lumpsum", {10}, {}, u"1.255", 12.55},
        {"Feet", u"lumpsum", {8.125}, {}, u" 2 ", 16.25},
        {"Feet", u"lumpsum", {8.125}, {}, u"", std::nullopt},
        {"Feet", u"lumpsum", {8.125}, {}, u"2 pcs", std::nullopt},
    };
    for (const Line& l : lines) {
        const QString quantity = QString::fromUtf16(l.quantity);
        SCOPED_TRACE(QString::fromUtf16(l.shape).toStdString() + " x " + quantity.toStdString());
        tw::Dims d{l.whole, l.frac};
        const double result =
            tw::Cal_Values(QString::fromLatin1(l.units), QString::fromUtf16(l.shape), d);
        if (l.total) {
            EXPECT_EQ(tw::lineTotal(result, quantity), *l.total);
        } else {
            EXPECT_EQ(errorOf([&] { tw::lineTotal(result, quantity); }), "Type mismatch");
        }
    }
}

} // namespace
