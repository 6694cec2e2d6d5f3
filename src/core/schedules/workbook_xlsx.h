#pragma once
// Parts of the workbook reader shared between its files. No widgets.

#include "core/schedules/workbook.h"

#include <QByteArray>

#include <optional>
#include <string_view>
#include <utility>

namespace tw::schedules {

// Sheet1 of the Office Open XML workbook (.xlsx) held in `bytes`, read from the parts of its
// package as the package's relationships name them; nullopt when the zip holds no such
// package. Throws ImportError (BadFormat) when Sheet1 cannot be found or read, and the zip
// library's own exceptions when the package is damaged.
std::optional<Sheet> readOpenXml(const QByteArray& bytes);

// A cell reference as a workbook writes it ("B3", "$B$3") as row and column counted from 0;
// nullopt when the text is none.
std::optional<std::pair<int, int>> cellAddress(std::string_view ref);

} // namespace tw::schedules
