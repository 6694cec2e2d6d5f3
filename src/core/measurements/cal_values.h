#pragma once
// The arithmetic of shapes: the value of one measured object from its shape and up
// to four dimensions, and the line total the measurement screen stores in tw_cal_Area.
// Pure: no widgets, no database, plain numbers in and out. The measurement screen is the only
// caller; no report holds a formula of its own.

#include <QString>
#include <QStringView>
#include <QtGlobal>

#include <array>

namespace tw {

// The four dimensions of one measurement line, each in two parts as typed on the screen and
// stored in BillMaster: whole[i] is tw_dim<i+1> (feet or metres), frac[i] is tw_dim<i+1>_inches
// (inches in "Feet"; the decimal digits of the metre in "Metre": 5 and 50 read .50, 12 reads
// .12, 125 reads .125, 100 reads .1). A dimension the shape doesn't ask for is 0.
struct Dims {
    std::array<double, 4> whole{};
    std::array<qint16, 4> frac{};
};

// The value of one object, in square or cubic feet or metres, unrounded, with no quantity
// applied and no sign for deductions.
//
// units is tw_units, compared exactly: "Feet" or "Metre". In "Metre" the fractional parts are
// rewritten in place: a part of one digit is multiplied by 10 (5 -> 50; 50, 0 and 12 stay), and
// the caller stores the rewritten value. Calling again with the rewritten parts gives the same
// result and leaves them as they are.
//
// shape is tw_shape. `Count` matches only as written; the other 29 names match without regard
// to case. A name that matches nothing gives 0. `Count`, `linear` and `lumpsum` give
// dims.whole[0] as entered (the fractional part is dropped); `regular_polygon_area` and
// `regular_polygon_volume` give 0.
//
// Throws tw::Error("Division by zero") for a shape with a divisor when units is neither "Feet"
// nor "Metre"; tw::Error("Invalid procedure call or argument") for a triangle whose sides can't
// close (degenerate sides give 0); tw::Error("Overflow") if the value would not be a finite
// number (only for inputs far beyond what the screen can produce). On a throw the Metre rewrite
// has already been made in dims; the caller stores nothing then.
double Cal_Values(const QString& units, const QString& shape, Dims& dims);

// The line total, tw_cal_Area: result x the quantity text read strictly (blanks around the
// number are accepted), rounded to two decimals with a half to the even digit
// (8.125 -> 8.12, 0.375 -> 0.38). Text that isn't a number throws tw::Error("Type mismatch").
double lineTotal(double result, QStringView quantityText);

} // namespace tw
