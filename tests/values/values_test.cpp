#include "values/values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

// The figures every bill depends on. Expected doubles are compared exactly: a rounded value must
// be the very double its decimal literal gives, or it would print differently somewhere.

namespace {

using tw::Currency;
using tw::Nullable;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Runs f and gives the text of the tw::Error it throws, or "(no error)".
template <class F> QString errorOf(F f) {
    try {
        f();
    } catch (const tw::Error& e) {
        return e.text();
    }
    return QStringLiteral("(no error)");
}

TEST(Values, ReadingTypedNumbers) {
    const struct {
        const char* text;
        double leading;
        std::optional<double> strict;
    } cases[] = {
        {"", 0, std::nullopt},
        {"abc", 0, std::nullopt},
        {"12a", 12, std::nullopt},
        {"1.2.3", 1.2, std::nullopt},
        {" 12 ", 12, 12},
        {".5", 0.5, 0.5},
        {"5.", 5, 5},
        {"-.5", -0.5, -0.5},
        {".", 0, std::nullopt},
        {"-", 0, std::nullopt},
        {"1 2.5", 12.5, std::nullopt}, // blanks inside a typed figure are skipped
        {"- 3 . 2", -3.2, std::nullopt},
        {"1e5", 1, std::nullopt}, // plain decimal only
        {"1,5", 1, std::nullopt},
        {"-12.75 sq ft", -12.75, std::nullopt},
        {"007.50", 7.5, 7.5},
        {"0.30000000000000004", 0.30000000000000004, 0.30000000000000004},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tw::leadingNumber(QString::fromLatin1(c.text)), c.leading) << c.text;
        EXPECT_EQ(tw::strictNumber(QString::fromLatin1(c.text)), c.strict) << c.text;
    }
    EXPECT_FALSE(std::signbit(tw::leadingNumber(u"-0")));
    EXPECT_EQ(errorOf([] { tw::leadingNumber(QString(400, u'9')); }), QStringLiteral("Overflow"));
    EXPECT_EQ(tw::strictNumber(QString(400, u'9')), std::nullopt);
}

// Rounding works on the double as computed: scale, round to the nearest integer (an exact half
// to the even one), scale back. Nothing is decided on how a value prints.
TEST(Values, RoundingIsOnTheBinaryValue) {
    const struct {
        double v, two;
    } round2[] = {
        {2.125, 2.12}, // exact halves go to even
        {0.375, 0.38},
        {8.125, 8.12},
        {2.135, 2.13}, // 213.49999999999997 hundredths
        {1.015, 1.01}, // 101.49999999999999: below the half in binary
        {0.034999999999999996, 0.03},
        {0.005000000000000001, 0.01}, // above it
        {-2.125, -2.12},
        {-0.001, 0},
        {46.875, 46.88},
        {12.344999999999999, 12.34},
    };
    for (const auto& c : round2)
        EXPECT_EQ(tw::round2(c.v), c.two) << c.v;
    EXPECT_FALSE(std::signbit(tw::round2(-0.001)));
    EXPECT_TRUE(std::isnan(tw::round2(kNaN)));

    const struct {
        double v;
        qint16 whole;
    } int16[] = {{11.5, 12},       {12.5, 12},        {0.5, 0},
                 {-0.5, 0},        {-1.5, -2},        {2.4999999999999996, 2},
                 {32767.4, 32767}, {-32768.5, -32768}};
    for (const auto& c : int16)
        EXPECT_EQ(tw::toInt16(c.v), c.whole) << c.v;
    for (double v : {32767.5, -32769.0, kNaN, kInf})
        EXPECT_EQ(errorOf([v] { tw::toInt16(v); }), QStringLiteral("Overflow")) << v;

    // The currency grain takes the same steps with 10,000.
    const struct {
        double v;
        std::int64_t units;
    } grain[] = {{0.1, 1000},        {1.23456, 12346},  {0.00005, 0}, {0.00025, 2}, {1.015, 10150},
                 {-1.23455, -12346}, {0.1 + 0.2, 3000}, {0.00015, 1}, // 1.4999999999999998 units
                 {1.00005, 10001}};                                   // 10000.500000000002 units
    for (const auto& c : grain)
        EXPECT_EQ(Currency::fromDouble(c.v).units(), c.units) << c.v;
    for (double v : {922337203685478.0, -1e19, kNaN, kInf})
        EXPECT_EQ(errorOf([v] { Currency::fromDouble(v); }), QStringLiteral("Overflow")) << v;
}

TEST(Values, TwoDecimalFormats) {
    const struct {
        double v;
        const char* hash2;
        const char* fixed2;
    } cases[] = {
        {46.875, "46.88", "46.88"},
        {12.5, "12.5", "12.50"},
        {75, "75.", "75.00"},
        {0.5, ".5", ".50"},
        {0, ".", ".00"},
        {2.125, "2.13", "2.13"},
        {1.005, "1.01", "1.01"}, // read as a person reads it, not as 100.49999999999999
        {1.0049999999999999, "1.01", "1.01"}, // 15% of 6.70
        {60.914999999999999, "60.92", "60.92"},
        {0.995, "1.", "1.00"},
        {0.00499999999999, ".", ".00"},
        {0.1 * 3, ".3", ".30"},
        {-0.5, "-.5", "-.50"},
        {-2.125, "-2.13", "-2.13"},
        {-0.004, ".", ".00"},
        {1e20, "100000000000000000000.", "100000000000000000000.00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tw::formatHash2(c.v), QString::fromLatin1(c.hash2)) << c.v;
        EXPECT_EQ(tw::formatFixed2(c.v), QString::fromLatin1(c.fixed2)) << c.v;
    }

    // Report cells and totals: the same half, a leading zero, any number of decimals.
    const struct {
        double v;
        int decimals;
        const char* text;
    } fixed[] = {
        {33.88 + 19.24 + 7.80, 2, "60.92"}, // 60.914999999999999 as summed
        {0.5, 2, "0.50"},
        {-0.004, 2, "0.00"},
        {9.995, 2, "10.00"},
        {-2.125, 2, "-2.13"},
        {1234.5, 0, "1235"},
        {0.00005, 4, "0.0001"},
        {1e38, 2, "100000000000000000000000000000000000000.00"},
    };
    for (const auto& c : fixed)
        EXPECT_EQ(tw::fixedText(c.v, c.decimals), QString::fromLatin1(c.text)) << c.v;
}

TEST(Values, FiguresBeyondTheirFieldsAreKnown) {
    EXPECT_TRUE(tw::fitsMoney(922337203685477.0));
    EXPECT_TRUE(tw::fitsMoney(-922337203685477.0));
    EXPECT_FALSE(tw::fitsMoney(922337203685478.0));
    EXPECT_FALSE(tw::fitsMoney(1e38));
    EXPECT_FALSE(tw::fitsMoney(kNaN));
    EXPECT_TRUE(tw::fitsInt16(32767.4));
    EXPECT_FALSE(tw::fitsInt16(32767.5));
    EXPECT_TRUE(tw::fitsInt16(-32768.5));
    EXPECT_EQ(tw::tooLargeText(QStringLiteral("Amount"), 1e38),
              QStringLiteral("Amount can not be more than 922,337,203,685,477"));
    EXPECT_EQ(tw::tooLargeText(QStringLiteral("Quantity"), -40000, true),
              QStringLiteral("Quantity can not be less than -32,768"));
}

TEST(Values, DoubleTextAndDates) {
    const struct {
        double v;
        const char* text;
    } cases[] = {{0.1 * 3, "0.3"},
                 {12.0, "12"},
                 {-1234.5678, "-1234.5678"},
                 {-0.0, "0"},
                 {2.0 / 3, "0.666666666666667"},
                 {0.0001, "0.0001"},
                 {1e15, "1000000000000000"},
                 {1.5e-7, "0.00000015"},
                 {0.00005, "0.00005"},
                 {9.999989999999e18, "9999989999999000000"},
                 {-1e38, "-100000000000000000000000000000000000000"},
                 {kInf, "Inf"}};
    for (const auto& c : cases)
        EXPECT_EQ(tw::doubleText(c.v), QString::fromLatin1(c.text)) << c.text;

    EXPECT_EQ(tw::dateText(QDate(2024, 3, 5)), QStringLiteral("05-03-2024"));
    EXPECT_EQ(tw::dateText(QDate()), QStringLiteral(" "));
    EXPECT_EQ(tw::dateFromText(u"29-02-2024"), QDate(2024, 2, 29));
    for (const char* text :
         {" ", "5-3-2024", "05/03/2024", " 05-03-2024", "31-02-2024", "29-02-2023", "01-13-2024"})
        EXPECT_TRUE(tw::dateFromText(QString::fromLatin1(text)).isNull()) << text;
}

TEST(Values, CurrencyKeepsItsGrainThroughArithmetic) {
    Currency total;
    for (int i = 0; i < 10; ++i)
        total += Currency::fromDouble(0.1);
    EXPECT_EQ(total.toDouble(), 1.0);
    total -= Currency::fromDouble(0.3);
    EXPECT_EQ(total, Currency::fromUnits(7000));
    EXPECT_EQ((Currency::fromDouble(10) / 3).units(), 33333);
    EXPECT_EQ((Currency::fromDouble(0.0005) / 2).units(), 2); // 2.5 units, to even
    EXPECT_EQ((Currency::fromDouble(12.3456) * 3).units(), 370368);
    const Currency one = Currency::fromUnits(1);
    EXPECT_EQ(errorOf([&] { (void)(Currency::fromUnits(INT64_MAX) + one); }),
              QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([&] { (void)(Currency::fromUnits(INT64_MIN) - one); }),
              QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([] { (void)(Currency::fromDouble(5) / 0.0); }),
              QStringLiteral("Division by zero"));
}

TEST(Values, NullStaysNullThroughArithmetic) {
    const Nullable null = Nullable::null();
    EXPECT_TRUE(((Nullable(1) + 2) * null + 4).isNull());
    EXPECT_TRUE((null / 0).isNull()); // Null first, so no division error
    EXPECT_EQ((Nullable(1.5) * 2 - 1).value(), 2);
    EXPECT_EQ(null.valueOr(7), 7);
    EXPECT_NE(null, Nullable(0));
    EXPECT_EQ(errorOf([] { (void)(Nullable(0) / 0); }), QStringLiteral("Division by zero"));
    EXPECT_EQ(errorOf([] { (void)(Nullable(1e308) / 1e-308); }), QStringLiteral("Overflow"));
}

} // namespace
