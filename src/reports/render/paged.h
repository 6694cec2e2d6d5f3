#pragma once
// A rendered report on paper: the layout's HTML as a QTextDocument, laid out on A4 portrait
// pages, each with "Page N of M" at its foot; tables repeat their <thead> rows on every page.

#include <QString>
#include <QTextDocument>

#include <memory>

class QPagedPaintDevice;

namespace tw::reports {

// The document of a rendered layout (its <title> becomes the document's title). It holds the
// report's text and formats but is laid out only by printDocument, page by page: ask that for
// pages, not the document.
std::unique_ptr<QTextDocument> makeDocument(const QString& html);

// Lays `doc` out on the pages of `device` (a QPrinter or QPdfWriter set up by the caller) and
// paints every page, the document's title and "Page N of M" at its foot. A page ends between
// table rows, never inside one, and a table going on to the next page repeats its <thead> rows
// there. Gives the number of pages. The document keeps no hold on the device afterwards.
int printDocument(QTextDocument& doc, QPagedPaintDevice& device);

// Sets up A4 portrait with 15 mm margins, as every report is printed.
void setUpPage(QPagedPaintDevice& device);

// Writes the document as a PDF file and gives its number of pages. Throws tw::Error naming the
// file when it cannot be written.
int writePdf(QTextDocument& doc, const QString& path);

// Writes text to a file as UTF-8. Throws tw::Error naming the file when it cannot be written.
void writeText(const QString& text, const QString& path);

} // namespace tw::reports
