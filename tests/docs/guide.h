#pragma once
// The user guide as its tests read it. The guide marks what a test needs: a table row by a
// class on its <tr> (<tr class="shape">), a cell or a word within a row by a class
// (<span class="dim">10 ft 6 in</span>), and a single value by data-in="name" (what the reader
// types) or data-fig="name" (what the program shows).

#include <QString>
#include <QStringList>

namespace guide {

// The file docs/<relative> of the source tree.
QString docsFile(const QString& relative);

// docs/user-guide.html.
const QString& html();

// Each <tag class="cls">...</tag> of `html`, whole, in order.
QStringList blocks(const QString& html, const QString& tag, const QString& cls);

// The plain text of each element of `html` whose class is `cls`, in order.
QStringList texts(const QString& html, const QString& cls);

// The plain text of the one element of the guide marked data-in="name" (what is typed).
QString in(const QString& name);
// The plain text of the one element of the guide marked data-fig="name" (what is shown).
QString fig(const QString& name);

} // namespace guide
