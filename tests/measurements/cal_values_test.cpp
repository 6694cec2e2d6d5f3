// The arithmetic of shapes and the line total.
// Expected values are worked out by hand from the formula table (pi = 22/7, Feet: lengths in
// inches, A 144, V 1728, L 12; Metre: lengths in metres, all divisors 1), never by calling the
// code under test.

#include "measurements/cal_values.h"
#include "values/values.h"

#include <gtest/gtest.h>

#include <QSet>
#include <QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>

namespace {

using Whole = std::array<double, 4>;
using Frac = std::array<qint16, 4>;

tw::Dims dims(Whole whole, Frac frac = {}) {
    tw::Dims d;
    d.whole = whole;
    d.frac = frac;
    return d;
}

// The text of the tw::Error thrown by f, or "(no error)".
std::string errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const tw::Error& e) {
        return e.text().toStdString();
    }
    return "(no error)";
}

// Hand-derived decimals such as 1.54 differ from the computed double in the last place.
void expectClose(double got, double expected) {
    EXPECT_NEAR(got, expected, 1e-12 * std::max(1.0, std::fabs(expected)));
}

const double kSixRootThree = 10.392304845413264;  // 6 * sqrt(3)
const double kThreeRootThree = 5.196152422706632; // 3 * sqrt(3)

// ---- All thirty names, "Feet" -------------------------------------------------------------

struct FeetRow {
    const char16_t* shape;
    Whole feet;
    Frac inches;
    double expected;
};

// Lengths in inches; 7 ft = 84 in, so that 22/7 comes out even.
const FeetRow kFeet[] = {
    // 84^2 * 22/7 / 4 / 144 = 7056 * 22/7 / 4 / 144 = 5544 / 144
    {u"CIRCLE_AREA", {7}, {}, 38.5},
    // (84^2 - 42^2) * 22/7 / 4 / 144 = 5292 * 22/7 / 4 / 144 = 4158 / 144
    {u"CIRCULAR_RING_AREA", {7, 3}, {0, 6}, 28.875},
    // 42 * 22/7 * 24 / 144 = 3168 / 144
    {u"CONE_LATERAL_AREA", {7, 2}, {}, 22},
    // 84^2 * 22 * 36 / 84 / 1728 = 66528 / 1728
    {u"cone_volume", {7, 3}, {}, 38.5},
    // dim1 as entered, the inches dropped
    {u"Count", {17}, {4}, 17},
    // 24 * 36 * 48 / 1728
    {u"cuboid_volume", {2, 3, 4}, {}, 24},
    // 22/7 * 84 * 24 / 144 = 6336 / 144
    {u"cylinder_lateral_area", {7, 2}, {}, 44},
    // 84^2 * 22 * 24 / 28 / 1728 = 133056 / 1728
    {u"cylinder_volume", {7, 2}, {}, 77},
    // 5292 * 22/7 * 24 / 4 / 1728 = 99792 / 1728
    {u"cylindrical_ring_volume", {7, 3, 2}, {0, 6, 0}, 57.75},
    // 42 * 22/7 * 12 / 144 = 1584 / 144
    {u"ellipse_area", {7, 2}, {}, 11},
    // 1584 * 36 / 1728
    {u"ellipse_volume", {7, 2, 3}, {}, 33},
    // sqrt3 * 3 * 576 / 2 / 144 = 6 sqrt3
    {u"hexagon_area", {2}, {}, kSixRootThree},
    // sqrt3 * 3 * 576 / 2 * 12 / 1728 = 6 sqrt3
    {u"hexagon_volume", {2, 1}, {}, kSixRootThree},
    // 12 ft 6 in measure 12
    {u"linear", {12}, {6}, 12},
    {u"lumpsum", {1500}, {6}, 1500},
    // 30^2 * 4.84 / 144 = 4356 / 144
    {u"octagon_area", {2}, {6}, 30.25},
    // 4356 * 24 / 1728
    {u"octagon_volume", {2, 2}, {6, 0}, 60.5},
    // 120 * 54 / 144
    {u"parallelogram_area", {10, 4}, {0, 6}, 45},
    // 120 * 54 * 8 / 1728
    {u"parallelogram_volume", {10, 4, 0}, {0, 6, 8}, 30},
    // 126 * 99 / 144 = 12474 / 144
    {u"rectangle_area", {10, 8}, {6, 3}, 86.625},
    // 12474 * 16 / 1728
    {u"rectangle_volume", {10, 8, 1}, {6, 3, 4}, 115.5},
    {u"regular_polygon_area", {5, 4}, {3, 2}, 0},
    {u"regular_polygon_volume", {5, 4, 3}, {3, 2, 1}, 0},
    // 72 * 0.5 * 48 / 144
    {u"rhombus_ (diamond)_area", {6, 4}, {}, 12},
    // 1728 * 6 / 1728
    {u"rhombus_ (diamond)_volume", {6, 4, 0}, {0, 0, 6}, 6},
    // 42^2 * 88/7 / 144 = 22176 / 144
    {u"sphere_area", {7}, {}, 154},
    // 84^3 * 22/7 / 6 / 12 / 144 = 310464 / 1728 = 539 / 3
    {u"sphere_volume", {7}, {}, 179.66666666666666},
    // (48 + 72) * 18 / 144
    {u"trapezium_area", {6, 4, 3}, {}, 15},
    // 2160 * 24 / 1728
    {u"trapezium_volume", {6, 4, 3, 2}, {}, 30},
    // 36, 48, 60: s = 72, sqrt(72 * 36 * 24 * 12) = 864, / 144
    {u"triangle_area", {3, 4, 5}, {}, 6},
};

TEST(CalValues, AllThirtyShapesInFeet) {
    QSet<QString> names;
    for (const FeetRow& row : kFeet) {
        const QString shape = QString::fromUtf16(row.shape);
        SCOPED_TRACE(shape.toStdString());
        names.insert(shape);
        tw::Dims d = dims(row.feet, row.inches);
        expectClose(tw::Cal_Values(QStringLiteral("Feet"), shape, d), row.expected);
        EXPECT_EQ(d.whole, row.feet);
        EXPECT_EQ(d.frac, row.inches) << "inches are never rewritten";
    }
    EXPECT_EQ(names.size(), 30);
}

// ---- All thirty names, "Metre" ------------------------------------------------------------

struct MetreRow {
    const char16_t* shape;
    Whole metres;
    Frac typed;  // the centimetre fields as typed
    Frac stored; // as they stand afterwards
    double expected;
};

// A single digit reads as tenths: 5 -> .50 (stored 50), 1 -> .10, 8 -> .80.
const MetreRow kMetre[] = {
    // 1.4^2 * 22/7 / 4 = 6.16 / 4
    {u"CIRCLE_AREA", {1}, {40}, {40}, 1.54},
    // (1.96 - 0.49) * 22/7 / 4 = 4.62 / 4
    {u"CIRCULAR_RING_AREA", {1, 0}, {40, 70}, {40, 70}, 1.155},
    // 0.7 * 22/7 * 2
    {u"CONE_LATERAL_AREA", {1, 2}, {40, 0}, {40, 0}, 4.4},
    // 1.96 * 22 * 3 / 84 = 129.36 / 84
    {u"cone_volume", {1, 3}, {40}, {40}, 1.54},
    {u"Count", {17}, {5}, {50}, 17},
    // 2.5 * 1.2 * 0.8
    {u"cuboid_volume", {2, 1, 0}, {5, 20, 8}, {50, 20, 80}, 2.4},
    // 22/7 * 1.4 * 2.5 = 4.4 * 2.5
    {u"cylinder_lateral_area", {1, 2}, {40, 5}, {40, 50}, 11},
    // 1.96 * 22 * 2 / 28 = 86.24 / 28
    {u"cylinder_volume", {1, 2}, {40}, {40}, 3.08},
    // 1.47 * 22/7 * 2 / 4 = 9.24 / 4
    {u"cylindrical_ring_volume", {1, 0, 2}, {40, 70, 0}, {40, 70, 0}, 2.31},
    // 0.7 * 22/7 * 1
    {u"ellipse_area", {1, 2}, {40}, {40}, 2.2},
    // 2.2 * 3
    {u"ellipse_volume", {1, 2, 3}, {40}, {40}, 6.6},
    // sqrt3 * 3 * 4 / 2
    {u"hexagon_area", {2}, {}, {}, kSixRootThree},
    // 6 sqrt3 * 0.5
    {u"hexagon_volume", {2, 0}, {0, 5}, {0, 50}, kThreeRootThree},
    // 12 m 50 measure 12
    {u"linear", {12}, {50}, {50}, 12},
    {u"lumpsum", {1500}, {6}, {60}, 1500},
    // 1.1^2 * 4.84 = 1.21 * 4.84
    {u"octagon_area", {1}, {1}, {10}, 5.8564},
    // 5.8564 * 2.5
    {u"octagon_volume", {1, 2}, {1, 5}, {10, 50}, 14.641},
    // 4.5 * 2.25
    {u"parallelogram_area", {4, 2}, {5, 25}, {50, 25}, 10.125},
    // 10.125 * 0.4
    {u"parallelogram_volume", {4, 2, 0}, {5, 25, 4}, {50, 25, 40}, 4.05},
    // 2.5 * 3.25
    {u"rectangle_area", {2, 3}, {5, 25}, {50, 25}, 8.125},
    // 8.125 * 0.12
    {u"rectangle_volume", {2, 3, 0}, {5, 25, 12}, {50, 25, 12}, 0.975},
    {u"regular_polygon_area", {3}, {5}, {50}, 0},
    {u"regular_polygon_volume", {3, 2, 1}, {5, 0, 0}, {50, 0, 0}, 0},
    // 3.6 * 0.5 * 2.5
    {u"rhombus_ (diamond)_area", {3, 2}, {6, 5}, {60, 50}, 4.5},
    // 4.5 * 0.15
    {u"rhombus_ (diamond)_volume", {3, 2, 0}, {6, 5, 15}, {60, 50, 15}, 0.675},
    // 0.7^2 * 88/7 = 0.49 * 88/7
    {u"sphere_area", {1}, {40}, {40}, 6.16},
    // 2.1^3 * 22/7 / 6 = 9.261 * 22/7 / 6 = 29.106 / 6
    {u"sphere_volume", {2}, {1}, {10}, 4.851},
    // (2.5 + 3.5) * 0.6
    {u"trapezium_area", {3, 2, 1}, {5, 5, 20}, {50, 50, 20}, 3.6},
    // 3.6 * 0.25
    {u"trapezium_volume", {3, 2, 1, 0}, {5, 5, 20, 25}, {50, 50, 20, 25}, 0.9},
    // 1.5, 2, 2.5: s = 3, sqrt(3 * 1.5 * 1 * 0.5) = sqrt(2.25)
    {u"triangle_area", {1, 2, 2}, {5, 0, 5}, {50, 0, 50}, 1.5},
};

TEST(CalValues, AllThirtyShapesInMetre) {
    QSet<QString> names;
    for (const MetreRow& row : kMetre) {
        const QString shape = QString::fromUtf16(row.shape);
        SCOPED_TRACE(shape.toStdString());
        names.insert(shape);
        tw::Dims d = dims(row.metres, row.typed);
        expectClose(tw::Cal_Values(QStringLiteral("Metre"), shape, d), row.expected);
        EXPECT_EQ(d.whole, row.metres);
        EXPECT_EQ(d.frac, row.stored);
    }
    EXPECT_EQ(names.size(), 30);
}

// ---- The worked lines of a bill, to the last place ------------------------------------------

struct WorkedLine {
    const char* units;
    const char16_t* shape;
    Whole whole;
    Frac frac;
    const char16_t* quantity;
    double result;
    double total;
};

const WorkedLine kWorked[] = {
    {"Feet", u"rectangle_area", {10, 8}, {6, 3}, u"2", 86.625, 173.25},
    {"Feet", u"CIRCLE_AREA", {7}, {0}, u"1", 38.5, 38.5},
    {"Feet", u"triangle_area", {3, 4, 5}, {}, u"1", 6, 6},
    {"Feet", u"hexagon_area", {2}, {0}, u"1", 10.392304845413264, 10.39},
    {"Feet", u"octagon_area", {1}, {0}, u"1", 4.84, 4.84},
    {"Feet", u"cone_volume", {2, 3}, {}, u"1", 3.142857142857143, 3.14},
    {"Feet", u"sphere_volume", {1}, {0}, u"1", 0.5238095238095238, 0.52},
    {"Feet", u"linear", {12}, {6}, u"1", 12, 12},
    {"Metre", u"rectangle_area", {2, 3}, {5, 25}, u"1", 8.125, 8.12},
    {"Metre", u"lumpsum", {1500}, {6}, u"2", 1500, 3000},
};

TEST(CalValues, WorkedLines) {
    for (const WorkedLine& line : kWorked) {
        SCOPED_TRACE(std::string(line.units) + " " + QString::fromUtf16(line.shape).toStdString());
        tw::Dims d = dims(line.whole, line.frac);
        const double result =
            tw::Cal_Values(QString::fromLatin1(line.units), QString::fromUtf16(line.shape), d);
        EXPECT_EQ(result, line.result);
        EXPECT_EQ(tw::lineTotal(result, QString::fromUtf16(line.quantity)), line.total);
    }
}

TEST(CalValues, WorkedSphereAreaInMetre) {
    tw::Dims d = dims({1}, {40});
    const double result = tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("sphere_area"), d);
    EXPECT_NEAR(result, 6.16, 1e-12); // "6.16 to two places": the double is 6.159999999999999
    EXPECT_EQ(tw::lineTotal(result, u"1"), 6.16);
}

// ---- Names ----------------------------------------------------------------------------------

TEST(CalValues, CountMatchesOnlyAsWritten) {
    for (const char* name : {"COUNT", "count", "cOUNT", "Count "}) {
        SCOPED_TRACE(name);
        tw::Dims d = dims({17});
        EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QString::fromLatin1(name), d), 0.0);
    }
    tw::Dims d = dims({17});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("Count"), d), 17.0);
}

TEST(CalValues, OtherNamesMatchWithoutRegardToCase) {
    struct Case {
        const char16_t* shape;
        Whole feet;
        double expected;
    };
    const Case cases[] = {
        {u"LUMPSUM", {1500}, 1500},
        {u"Linear", {12}, 12},
        {u"circle_area", {7}, 38.5},
        {u"Circular_Ring_Area", {7, 0}, 38.5},
        {u"Cone_Volume", {7, 3}, 38.5},
        {u"RECTANGLE_AREA", {3, 4}, 12},
        {u"Rhombus_ (Diamond)_Area", {6, 4}, 12},
        {u"TRIANGLE_AREA", {3, 4, 5}, 6},
        {u"Sphere_Volume", {1}, 0.5238095238095238},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(QString::fromUtf16(c.shape).toStdString());
        tw::Dims d = dims(c.feet);
        expectClose(tw::Cal_Values(QStringLiteral("Feet"), QString::fromUtf16(c.shape), d),
                    c.expected);
    }
}

TEST(CalValues, UnknownNameGivesZero) {
    for (const char* name :
         {"square_area", "", "rectangle_area ", " linear", "triangle_volume", "rhombus_area"}) {
        SCOPED_TRACE(name);
        tw::Dims d = dims({10, 8}, {6, 3});
        EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QString::fromLatin1(name), d), 0.0);
        EXPECT_EQ(tw::lineTotal(0.0, u"3"), 0.0);
    }
    // The Metre rewrite comes before the shape is looked at.
    tw::Dims d = dims({2}, {5});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("pyramid_volume"), d), 0.0);
    EXPECT_EQ(d.frac, (Frac{50, 0, 0, 0}));
}

// ---- The Metre reading of the fractional part ----------------------------------------------

// parallelogram_area with a second side of 1 m gives the first length as it was read.
double metreLength(tw::Dims& d) {
    return tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("parallelogram_area"), d);
}

TEST(CalValues, MetreDigitsAreDecimalsOfTheMetre) {
    struct Case {
        qint16 typed;
        qint16 stored;
        double length;
    };
    // A lone digit is tens of the metre and is stored so ("05" reaches here as the integer 5);
    // from two digits on the field is read as written.
    const Case cases[] = {
        {0, 0, 2.0},       {5, 50, 2.5},    {50, 50, 2.5},     {1, 10, 2.1},
        {9, 90, 2.9},      {10, 10, 2.1},   {12, 12, 2.12},    {99, 99, 2.99},
        {125, 125, 2.125}, {100, 100, 2.1}, {999, 999, 2.999},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed);
        tw::Dims d = dims({2, 1}, {c.typed, 0});
        EXPECT_DOUBLE_EQ(metreLength(d), c.length);
        EXPECT_EQ(d.frac[0], c.stored);
    }
}

TEST(CalValues, MetreRewritesAllFourPartsAndASecondCallChangesNothing) {
    // 2.5 * 3.5 * 0.25 = 2.1875
    tw::Dims d = dims({2, 3, 0, 0}, {5, 5, 25, 7});
    const double first =
        tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("cuboid_volume"), d);
    EXPECT_EQ(first, 2.1875);
    EXPECT_EQ(d.frac, (Frac{50, 50, 25, 70}));
    const double second =
        tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("cuboid_volume"), d);
    EXPECT_EQ(second, first);
    EXPECT_EQ(d.frac, (Frac{50, 50, 25, 70}));
}

TEST(CalValues, MetreFractionOfCountLinearLumpsumIsRewrittenButHasNoEffect) {
    for (const char* name : {"Count", "linear", "lumpsum"}) {
        SCOPED_TRACE(name);
        tw::Dims d = dims({12}, {5});
        EXPECT_EQ(tw::Cal_Values(QStringLiteral("Metre"), QString::fromLatin1(name), d), 12.0);
        EXPECT_EQ(d.frac[0], 50);
    }
}

// ---- Feet ------------------------------------------------------------------------------------

TEST(CalValues, TwelveInchesAddAFoot) {
    tw::Dims withInches = dims({1, 1}, {12, 0});
    tw::Dims twoFeet = dims({2, 1});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("rectangle_area"), withInches),
              2.0);
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("rectangle_area"), twoFeet),
              2.0);
    EXPECT_EQ(withInches.frac, (Frac{12, 0, 0, 0}));
    // 11.5 typed becomes 12 on the screen and does the same.
    tw::Dims rounded = dims({1, 1}, {tw::toInt16(11.5), 0});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("rectangle_area"), rounded),
              2.0);
}

// ---- Rings the wrong way round --------------------------------------------------------------

TEST(CalValues, RingWithInnerLargerThanOuterIsNegative) {
    tw::Dims area = dims({3, 7}, {6, 0});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("CIRCULAR_RING_AREA"), area),
              -28.875);
    EXPECT_EQ(tw::lineTotal(-28.875, u"1"), -28.88); // -2887.5 goes to the even -2888

    tw::Dims volume = dims({0, 1, 2}, {70, 40, 0});
    expectClose(
        tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("cylindrical_ring_volume"), volume),
        -2.31);
}

// ---- Failures --------------------------------------------------------------------------------

TEST(CalValues, UnknownMeasureSystemFailsAsDivisionByZero) {
    const QSet<QString> withoutDivisor{
        QStringLiteral("Count"), QStringLiteral("linear"), QStringLiteral("lumpsum"),
        QStringLiteral("regular_polygon_area"), QStringLiteral("regular_polygon_volume")};
    // The test is exact and case-sensitive.
    for (const char* units : {"", "feet", "FEET", "metre", "Metres", "Meter", "Feet ", "Yard"}) {
        for (const FeetRow& row : kFeet) {
            const QString shape = QString::fromUtf16(row.shape);
            SCOPED_TRACE(std::string("'") + units + "' " + shape.toStdString());
            tw::Dims d = dims({12, 2, 3, 4}, {5, 5, 5, 5});
            if (withoutDivisor.contains(shape)) {
                const double expected = shape.startsWith(QStringLiteral("regular")) ? 0.0 : 12.0;
                EXPECT_EQ(tw::Cal_Values(QString::fromLatin1(units), shape, d), expected);
            } else {
                EXPECT_EQ(errorOf([&] { tw::Cal_Values(QString::fromLatin1(units), shape, d); }),
                          "Division by zero");
            }
            EXPECT_EQ(d.frac, (Frac{5, 5, 5, 5})) << "no Metre rewrite";
        }
    }
    // An unknown name still gives 0 without a failure.
    tw::Dims d = dims({12});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Yard"), QStringLiteral("square_area"), d), 0.0);
}

TEST(CalValues, TriangleThatCannotCloseFails) {
    tw::Dims feet = dims({1, 1, 5});
    EXPECT_EQ(errorOf([&] {
                  tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("triangle_area"), feet);
              }),
              "Invalid procedure call or argument");
    tw::Dims metre = dims({1, 2, 4}, {0, 0, 5});
    EXPECT_EQ(errorOf([&] {
                  tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("triangle_area"), metre);
              }),
              "Invalid procedure call or argument");
}

TEST(CalValues, DegenerateTriangleGivesZero) {
    tw::Dims feet = dims({1, 2, 3});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Feet"), QStringLiteral("triangle_area"), feet), 0.0);
    tw::Dims metre = dims({1, 1, 3}, {50, 50, 0});
    EXPECT_EQ(tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("triangle_area"), metre), 0.0);
}

TEST(CalValues, NeverAnInfinityOrNaN) {
    tw::Dims huge = dims({1e300, 1e300});
    EXPECT_EQ(errorOf([&] {
                  tw::Cal_Values(QStringLiteral("Metre"), QStringLiteral("rectangle_area"), huge);
              }),
              "Overflow");
}

// ---- The line total --------------------------------------------------------------------------

TEST(LineTotal, RoundsHalfToEven) {
    EXPECT_EQ(tw::lineTotal(8.125, u"1"), 8.12);
    EXPECT_EQ(tw::lineTotal(2.125, u"1"), 2.12);
    EXPECT_EQ(tw::lineTotal(0.375, u"1"), 0.38);
    EXPECT_EQ(tw::lineTotal(0.4375, u"2"), 0.88); // 87.5 -> 88
    EXPECT_EQ(tw::lineTotal(4.0625, u"2"), 8.12); // 812.5 -> 812
    EXPECT_EQ(tw::lineTotal(86.625, u"2"), 173.25);
    EXPECT_EQ(tw::lineTotal(kSixRootThree, u"1"), 10.39);
    EXPECT_EQ(tw::lineTotal(1500, u"2"), 3000.0);
}

TEST(LineTotal, QuantityIsNotRounded) {
    EXPECT_EQ(tw::lineTotal(10, u"1.255"), 12.55);
    EXPECT_EQ(tw::lineTotal(2.5, u"1.5"), 3.75);
    EXPECT_EQ(tw::lineTotal(12, u"0.5"), 6.0);
    EXPECT_EQ(tw::lineTotal(12, u"0"), 0.0);
}

TEST(LineTotal, QuantityIsReadStrictly) {
    EXPECT_EQ(tw::lineTotal(8.125, u" 2 "), 16.25);
    for (const char16_t* text : {u"abc", u"", u" ", u"12a", u"2 pcs", u"1.2.3", u"x2"}) {
        SCOPED_TRACE(QString::fromUtf16(text).toStdString());
        EXPECT_EQ(errorOf([&] { tw::lineTotal(8.125, QString::fromUtf16(text)); }),
                  "Type mismatch");
    }
}

} // namespace
