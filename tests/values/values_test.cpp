#include "values/values.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

// The figures every bill depends on. Expected doubles are compared exactly (EXPECT_EQ): a
// rounded value must be the very double its decimal literal gives, or it would print differently
// somewhere.

namespace {

using tw::Currency;
using tw::Nullable;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Runs f and returns the text of the tw::Error it throws, or "(no error)".
template <class F> QString errorOf(F f) {
    try {
        f();
    } catch (const tw::Error& e) {
        return e.text();
    }
    return QStringLiteral("(no error)");
}

struct TextCase {
    const char* text;
    double expected;
};

TEST(Values, LeadingNumber) {
    const std::vector<TextCase> cases = {
        {"", 0},
        {"   ", 0},
        {"abc", 0},
        {"12a", 12},
        {"1.2.3", 1.2},
        {"12.", 12},
        {".5", 0.5},
        {".", 0},
        {"-", 0},
        {"+", 0},
        {"  42", 42},
        {"\t7\r\n", 7},
        {"-5", -5},
        {"+5", 5},
        {"-.5", -0.5},
        {"-12.75 sq ft", -12.75},
        {"--3", 0},
        {"+-3", 0},
        {"3-4", 3},
        {"1,234.5", 1},
        {"1 2.5", 12.5},   // Val skips blanks inside the number
        {"- 3 . 2", -3.2}, // ... also after the sign and around the point
        {"1.2 .3", 1.2},   // a second point ends it even behind a blank
        {"1e5", 1},        // plain decimal only
        {"&H10", 0},
        {"00012.340", 12.34},
        {"0.1", 0.1},
        {"8.125", 8.125},
        {"1234.5678", 1234.5678},
        {"0.30000000000000004", 0.30000000000000004},
        {"123456789012345678901234567890", 123456789012345678901234567890.0},
    };
    for (const auto& c : cases) {
        const double got = tw::leadingNumber(QString::fromUtf8(c.text));
        EXPECT_EQ(got, c.expected) << '"' << c.text << '"';
        EXPECT_FALSE(std::signbit(got) && got == 0) << '"' << c.text << "\" gave -0";
    }
    EXPECT_FALSE(std::signbit(tw::leadingNumber(u"-0")));
    EXPECT_FALSE(std::signbit(tw::leadingNumber(u"-0.000")));
    EXPECT_EQ(errorOf([] { tw::leadingNumber(QString(400, u'9')); }), QStringLiteral("Overflow"));
    // Below the double range is zero, not an error.
    EXPECT_EQ(tw::leadingNumber(QStringLiteral("0.") + QString(400, u'0') + u'1'), 0);
}

struct StrictCase {
    const char* text;
    std::optional<double> expected;
};

TEST(Values, StrictNumber) {
    const std::vector<StrictCase> cases = {
        {"", std::nullopt},
        {"   ", std::nullopt},
        {"12a", std::nullopt},
        {"a12", std::nullopt},
        {"12", 12},
        {" 12 ", 12},
        {"\t3.25\r\n", 3.25},
        {"-1.5", -1.5},
        {"+2", 2},
        {".5", 0.5},
        {"-.5", -0.5},
        {"5.", 5},
        {".", std::nullopt},
        {"-", std::nullopt},
        {"+.", std::nullopt},
        {"1.2.3", std::nullopt},
        {"1 2", std::nullopt},
        {"- 1", std::nullopt},
        {"--1", std::nullopt},
        {"1-", std::nullopt},
        {"1e5", std::nullopt},
        {"0x10", std::nullopt},
        {"1,5", std::nullopt},
        {"0.1", 0.1},
        {"007.50", 7.5},
        {"0.30000000000000004", 0.30000000000000004},
    };
    for (const auto& c : cases) {
        const auto got = tw::strictNumber(QString::fromUtf8(c.text));
        EXPECT_EQ(got, c.expected) << '"' << c.text << '"';
    }
    EXPECT_FALSE(std::signbit(*tw::strictNumber(u"-0")));
    EXPECT_EQ(tw::strictNumber(QString(400, u'9')), std::nullopt);
    EXPECT_EQ(tw::strictNumber(QStringLiteral("0.") + QString(400, u'0') + u'1'), 0.0);
    // Full-width digits are no digits.
    EXPECT_EQ(tw::strictNumber(u"\uFF11\uFF12"), std::nullopt);
}

struct Int16Case {
    double v;
    qint16 expected;
};

TEST(Values, ToInt16) {
    const std::vector<Int16Case> cases = {
        {0, 0},
        {0.5, 0},
        {1.5, 2},
        {2.5, 2},
        {11.5, 12},
        {12.5, 12},
        {12.4999, 12},
        {12.5001, 13},
        {-0.5, 0},
        {-1.5, -2},
        {-2.5, -2},
        {-11.5, -12},
        {32767, 32767},
        {32767.4, 32767},
        {32766.5, 32766},
        {-32768, -32768},
        {-32768.5, -32768},
        {-32767.5, -32768},
        // The half is decided on 15 significant digits: this prints as 1.5.
        {1.4999999999999998, 2},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tw::toInt16(c.v), c.expected) << c.v;
    for (double v : {32767.5, 32768.0, -32769.0, -32768.5000001, 1e10, -1e300, kNaN, kInf, -kInf})
        EXPECT_EQ(errorOf([v] { tw::toInt16(v); }), QStringLiteral("Overflow")) << v;
}

struct RoundCase {
    double v;
    int decimals;
    double expected;
};

TEST(Values, RoundHalfEven) {
    const std::vector<RoundCase> cases = {
        // round2
        {2.125, 2, 2.12},
        {0.375, 2, 0.38},
        {8.125, 2, 8.12},
        {1.015, 2, 1.02}, // binary 1.01499999..., prints as a half
        {1.005, 2, 1.00},
        {2.675, 2, 2.68},
        {0.125, 2, 0.12},
        {0.135, 2, 0.14},
        {0.005, 2, 0.00},
        {0.015, 2, 0.02},
        {0.025, 2, 0.02},
        {99.995, 2, 100.00}, // a carry through every digit
        {1.2345, 2, 1.23},
        {1.2351, 2, 1.24},
        {1.125000000001, 2, 1.13}, // more than a half
        {-2.125, 2, -2.12},
        {-0.375, 2, -0.38},
        {-1.015, 2, -1.02},
        {-1.005, 2, -1.00},
        {-8.135, 2, -8.14},
        {0.1 + 0.2, 2, 0.3},
        {0, 2, 0},
        {12, 2, 12},
        {1e-20, 2, 0},
        {123456789.125, 2, 123456789.12},
        {1234567890.135, 2, 1234567890.14},
        {1e20, 2, 1e20},
        // other counts
        {2.5, 0, 2},
        {3.5, 0, 4},
        {-2.5, 0, -2},
        {1.23456, 4, 1.2346},
        {1.00005, 4, 1.0000},
        {1.00015, 4, 1.0002},
        {12345.6789, 3, 12345.679},
        {0.1 * 3, 15, 0.3},
        {0.000123455, 8, 0.00012346},
        {7.0, 15, 7.0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tw::roundHalfEven(c.v, c.decimals), c.expected)
            << c.v << " to " << c.decimals << " decimals";
        if (c.decimals == 2) {
            EXPECT_EQ(tw::round2(c.v), c.expected) << c.v;
        }
    }
    for (double v : {-0.001, -0.005, -1e-20})
        EXPECT_FALSE(std::signbit(tw::round2(v))) << v << " gave -0";
    // Rounding twice changes nothing.
    for (double v : {2.675, 1.015, 46.875, 0.1 + 0.2, 123.456})
        EXPECT_EQ(tw::round2(tw::round2(v)), tw::round2(v)) << v;
    EXPECT_TRUE(std::isnan(tw::round2(kNaN)));
    EXPECT_EQ(tw::round2(kInf), kInf);
    EXPECT_EQ(tw::round2(std::numeric_limits<double>::max()), std::numeric_limits<double>::max());
}

struct FormatCase {
    double v;
    const char* hash2;
    const char* fixed2;
};

TEST(Values, FormatTwoDecimals) {
    const std::vector<FormatCase> cases = {
        {46.875, "46.88", "46.88"},
        {12.5, "12.5", "12.50"},
        {75, "75.", "75.00"},
        {0.5, ".5", ".50"},
        {0, ".", ".00"},
        {1234.5, "1234.5", "1234.50"},
        {2.125, "2.13", "2.13"}, // a half away from zero, not to even
        {0.125, ".13", ".13"},
        {1.005, "1.01", "1.01"}, // binary 1.00499999..., prints as a half
        {1.015, "1.02", "1.02"},
        {0.004, ".", ".00"},
        {0.005, ".01", ".01"},
        {0.07, ".07", ".07"},
        {0.995, "1.", "1.00"},
        {99.995, "100.", "100.00"},
        {99.999, "100.", "100.00"},
        {10.10, "10.1", "10.10"},
        {0.1 * 3, ".3", ".30"},
        {1234567.891, "1234567.89", "1234567.89"},
        {12345.678, "12345.68", "12345.68"},
        {1e20, "100000000000000000000.", "100000000000000000000.00"},
        {-0.5, "-.5", "-.50"},
        {-46.875, "-46.88", "-46.88"},
        {-2.125, "-2.13", "-2.13"},
        {-75, "-75.", "-75.00"},
        {-0.005, "-.01", "-.01"},
        {-0.004, ".", ".00"}, // rounds to zero: no sign
        {-1e-20, ".", ".00"},
        {-0.0, ".", ".00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tw::formatHash2(c.v), QString::fromLatin1(c.hash2)) << c.v;
        EXPECT_EQ(tw::formatFixed2(c.v), QString::fromLatin1(c.fixed2)) << c.v;
    }
}

struct DoubleTextCase {
    double v;
    const char* text;
};

TEST(Values, DoubleText) {
    const std::vector<DoubleTextCase> cases = {
        {0.1 * 3, "0.3"},
        {1.1 + 2.2, "3.3"},
        {12.0, "12"},
        {100, "100"},
        {0.5, "0.5"},
        {-0.5, "-0.5"},
        {12.5, "12.5"},
        {-1234.5678, "-1234.5678"},
        {0, "0"},
        {-0.0, "0"},
        {2.0 / 3, "0.666666666666667"},
        {123456789012345.0, "123456789012345"},
        {999999999999999.4, "999999999999999"},
        {0.0001, "0.0001"},
        {0.000123, "0.000123"},
        {1e15, "1E+15"},
        {1234567890123456.0, "1.23456789012346E+15"},
        {1e20, "1E+20"},
        {-1e20, "-1E+20"},
        {1e100, "1E+100"},
        {1e-5, "1E-05"},
        {1e-20, "1E-20"},
        {1.5e-7, "1.5E-07"},
        {kNaN, "NaN"},
        {kInf, "Inf"},
        {-kInf, "-Inf"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tw::doubleText(c.v), QString::fromLatin1(c.text)) << c.text;
    // What doubleText prints without an exponent, strictNumber reads back to the same 15 digits.
    for (double v : {0.1 * 3, 2.0 / 3, 1234.5678, -0.000123, 987654321.123456})
        EXPECT_EQ(tw::doubleText(*tw::strictNumber(tw::doubleText(v))), tw::doubleText(v)) << v;
}

TEST(Values, DateText) {
    EXPECT_EQ(tw::dateText(QDate(2024, 3, 5)), QStringLiteral("05-03-2024"));
    EXPECT_EQ(tw::dateText(QDate(1999, 12, 31)), QStringLiteral("31-12-1999"));
    EXPECT_EQ(tw::dateText(QDate()), QStringLiteral(" "));

    EXPECT_EQ(tw::dateFromText(u"05-03-2024"), QDate(2024, 3, 5));
    EXPECT_EQ(tw::dateFromText(u"29-02-2024"), QDate(2024, 2, 29));
    EXPECT_EQ(tw::dateFromText(tw::dateText(QDate(2001, 1, 1))), QDate(2001, 1, 1));
    for (const char* text : {" ", "", "5-3-2024", "05-3-2024", "05/03/2024", "05-03-24",
                             "2024-03-05", " 05-03-2024", "05-03-2024 ", "0a-03-2024", "31-02-2024",
                             "29-02-2023", "00-01-2024", "01-13-2024", "01-01-0000", "05-03-2024x"})
        EXPECT_TRUE(tw::dateFromText(QString::fromLatin1(text)).isNull()) << '"' << text << '"';
}

struct CurrencyCase {
    double v;
    std::int64_t units;
};

TEST(Values, Currency) {
    const std::vector<CurrencyCase> cases = {
        {0, 0},
        {1, 10000},
        {0.1, 1000},
        {1.23456, 12346},
        {0.00005, 0}, // a half to even
        {0.00015, 2},
        {0.00025, 2},
        {1.00005, 10000},
        {1.015, 10150},
        {0.1 + 0.2, 3000},
        {-0.00015, -2},
        {-0.00004, 0},
        {-1.23455, -12346},
        {1234567.8912, 12345678912},
        {922337203685477.0, 9223372036854770000},
        {-922337203685477.0, -9223372036854770000},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Currency::fromDouble(c.v).units(), c.units) << c.v;

    // Accumulation keeps the grain where double drifts.
    Currency total;
    double drift = 0;
    for (int i = 0; i < 10; ++i) {
        total += Currency::fromDouble(0.1);
        drift += 0.1;
    }
    EXPECT_EQ(total.units(), 10000);
    EXPECT_EQ(total.toDouble(), 1.0);
    EXPECT_NE(drift, 1.0);
    total -= Currency::fromDouble(0.3);
    EXPECT_EQ(total, Currency::fromUnits(7000));
    EXPECT_EQ(Currency::fromDouble(total.toDouble()), total);

    Currency sum;
    for (int i = 0; i < 1000; ++i)
        sum = sum + Currency::fromDouble(123.4567);
    EXPECT_EQ(sum.units(), 1234567000);
    EXPECT_EQ((sum - Currency::fromDouble(0.0001)).units(), 1234566999);

    EXPECT_EQ((Currency::fromDouble(12.3456) * 3).units(), 370368);
    EXPECT_EQ((Currency::fromDouble(10) / 3).units(), 33333);
    EXPECT_EQ((Currency::fromDouble(2) / 3).units(), 6667);
    EXPECT_EQ((Currency::fromDouble(0.0003) / 2).units(), 2); // 1.5 units, to even
    EXPECT_EQ((Currency::fromDouble(0.0005) / 2).units(), 2); // 2.5 units, to even
    EXPECT_EQ((Currency::fromDouble(-0.0003) / 2).units(), -2);
    EXPECT_LT(Currency::fromDouble(-1), Currency());
    EXPECT_GT(Currency::fromDouble(0.0001), Currency());
    static_assert((Currency::fromUnits(1) + Currency::fromUnits(2)).units() == 3);

    for (double v : {922337203685478.0, 1e19, -1e19, 1e300, kNaN, kInf, -kInf})
        EXPECT_EQ(errorOf([v] { Currency::fromDouble(v); }), QStringLiteral("Overflow")) << v;
    const Currency top = Currency::fromUnits(INT64_MAX);
    const Currency bottom = Currency::fromUnits(INT64_MIN);
    const Currency one = Currency::fromUnits(1);
    EXPECT_EQ(errorOf([&] { (void)(top + one); }), QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([&] { (void)(bottom - one); }), QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([&] { (void)(one - bottom); }), QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([&] {
                  Currency c = top;
                  c += one;
              }),
              QStringLiteral("Overflow"));
    EXPECT_EQ(errorOf([&] {
                  Currency c = bottom;
                  c -= one;
              }),
              QStringLiteral("Overflow"));
    EXPECT_EQ((top + bottom).units(), -1);
    EXPECT_EQ(errorOf([] { (void)(Currency::fromDouble(5) / 0.0); }),
              QStringLiteral("Division by zero"));
    EXPECT_EQ(errorOf([] { (void)(Currency::fromDouble(1e14) * 1e6); }),
              QStringLiteral("Overflow"));
}

TEST(Values, Nullable) {
    const Nullable null = Nullable::null();
    EXPECT_TRUE(null.isNull());
    EXPECT_FALSE(Nullable(0).isNull());
    EXPECT_EQ(null.valueOr(7), 7);
    EXPECT_EQ(Nullable(3).valueOr(7), 3);

    EXPECT_TRUE((null + 1).isNull());
    EXPECT_TRUE((1 + null).isNull());
    EXPECT_TRUE((null - 1).isNull());
    EXPECT_TRUE((null * 0).isNull());
    EXPECT_TRUE((0 * null).isNull());
    EXPECT_TRUE((null / 2).isNull());
    EXPECT_TRUE((5 / null).isNull());
    EXPECT_TRUE((null / 0).isNull());
    EXPECT_TRUE((null / null).isNull());
    EXPECT_TRUE(((Nullable(1) + 2) * null + 4).isNull()); // Null stays through a chain

    EXPECT_EQ((Nullable(1) + 2).value(), 3);
    EXPECT_EQ((Nullable(1) - 2).value(), -1);
    EXPECT_EQ((Nullable(1.5) * 2).value(), 3);
    EXPECT_EQ((Nullable(6) / 3).value(), 2);
    EXPECT_EQ((Nullable(-1) / 4).value(), -0.25);
    EXPECT_EQ(null, Nullable::null());
    EXPECT_NE(null, Nullable(0));

    EXPECT_EQ(errorOf([] { (void)(Nullable(1) / 0); }), QStringLiteral("Division by zero"));
    EXPECT_EQ(errorOf([] { (void)(Nullable(0) / 0); }), QStringLiteral("Division by zero"));
    EXPECT_EQ(errorOf([] { (void)(Nullable(1) / -0.0); }), QStringLiteral("Division by zero"));
    EXPECT_EQ(errorOf([] { (void)(Nullable(1e308) / 1e-308); }), QStringLiteral("Overflow"));
}

TEST(Values, ErrorText) {
    const QString text = QStringLiteral("Amount ₹ 12.50 is not allowed");
    EXPECT_EQ(tw::Error(text).text(), text);
    EXPECT_EQ(errorOf([&] { throw tw::Error(text); }), text);
}

// Qt takes the C locale from the environment; a decimal comma there must change nothing.
TEST(Values, IndependentOfCLocale) {
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    bool found = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {
        if (std::setlocale(LC_ALL, name)) {
            found = true;
            break;
        }
    }
    if (!found)
        GTEST_SKIP() << "no locale with a decimal comma installed";
    EXPECT_EQ(tw::doubleText(0.5), QStringLiteral("0.5"));
    EXPECT_EQ(tw::doubleText(1.5e-7), QStringLiteral("1.5E-07"));
    EXPECT_EQ(tw::formatHash2(46.875), QStringLiteral("46.88"));
    EXPECT_EQ(tw::formatFixed2(1234.5), QStringLiteral("1234.50"));
    EXPECT_EQ(tw::round2(1.015), 1.02);
    EXPECT_EQ(tw::leadingNumber(u"1.5"), 1.5);
    EXPECT_EQ(tw::strictNumber(u"1.5"), 1.5);
    EXPECT_EQ(tw::strictNumber(u"1,5"), std::nullopt);
    EXPECT_EQ(Currency::fromDouble(1.23456).units(), 12346);
    std::setlocale(LC_ALL, saved.c_str());
}

} // namespace
