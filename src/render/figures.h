#pragma once
// How figures read on a printed report: money in rupees with Indian digit grouping, quantities
// with two decimals, lengths as the project measures them, and an amount in words for the
// bottom line of a bill.

#include <QString>

namespace tw::reports {

// Two decimals, grouped in lakhs and crores: 12345678 -> "1,23,45,678.00". The half is decided
// as the figure reads (tw::fixedText), so a total prints as its printed rows add up.
QString money(double v);
// Two decimals, no grouping: 12.5 -> "12.50".
QString quantity(double v);

// A measured dimension from its whole and fractional parts. In feet the fraction is inches:
// 10, 6 -> 10' 6". In metres the fraction holds decimal digits of the metre (a single digit
// stands for tenths): 10, 50 -> "10.50", 10, 5 -> "10.50", 10, 125 -> "10.125". A dimension
// the shape does not use (whole and fraction 0) prints nothing.
QString dimensionText(double whole, qint64 fraction, bool feet);

// A bar length from feet and inches, or metres and true centimetres: 10, 6 -> 10' 6";
// 10, 50 -> "10.50" (metres).
QString barLengthText(double whole, double part, bool feet);

// "Rupees One Lakh Twenty Three Thousand Four Hundred Fifty Six and Paise Seventy Eight Only",
// counted in crores, lakhs and thousands.
QString amountInWords(double v);

} // namespace tw::reports
