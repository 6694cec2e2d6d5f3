#pragma once
// Pieces the rate screens build their forms from.

#include <QComboBox>
#include <QLabel>
#include <QString>
#include <QWidget>

namespace rates {

// A list that also takes a typed text, which stays as typed (no completion, nothing added).
QComboBox* freeCombo(QWidget* parent, const char* name, int chars);
// A caption for `buddy`, so that its access key reaches the field.
QLabel* caption(const QString& text, QWidget* buddy);

} // namespace rates
