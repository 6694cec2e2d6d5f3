#pragma once
// A rendered report on paper: the layout's HTML as a QTextDocument, laid out on A4 pages, each
// with "Page N of M" at its foot; tables repeat their <thead> rows on every page.

#include "store/messages.h"

#include <QPageLayout>
#include <QString>
#include <QTextDocument>

#include <functional>
#include <memory>

class QPagedPaintDevice;

namespace tw::reports {

// The largest picture a layout may show.
inline constexpr qsizetype kLargestPicture = 10 * 1024 * 1024;

// The document of a rendered layout (its <title> becomes the document's title). It holds the
// report's text and formats but is laid out only by printDocument, page by page: ask that for
// pages, not the document. Of a long table it holds the first rows itself and the rest in runs
// beside it, so its own text ends early; printDocument prints every row. A layout too wide for a
// portrait page says so in its head with <meta name="orientation" content="landscape">. It shows
// pictures only from the layouts folders or written into the layout (data: URIs), each of at most
// kLargestPicture; what else a layout names is left out unread, and `messages` is told once, naming
// it.
std::unique_ptr<QTextDocument> makeDocument(const QString& html, Messenger* messages = nullptr);
// The same for a report's first rows alone (renderFirstRows), to show its first page while the
// whole is made: how many pages the whole has is not known, so each foot says "Page N of …".
std::unique_ptr<QTextDocument> makeFirstLook(const QString& html);
// Whether the document's layout asked for a landscape page.
bool isLandscape(const QTextDocument& doc);

// The resolution every report is laid out at, in the viewer, on paper and in a PDF. Text is
// measured in whole device pixels, so at another resolution its lines come out a little higher
// or lower and wrap elsewhere: the viewer would show other pages than the saved PDF holds.
inline constexpr int kPageResolution = 300;

// A4 with 15 mm margins at kPageResolution, as every report is printed: a QPrinter or a
// QPdfWriter.
template <class Device> void setUpPage(Device& device, bool landscape = false) {
    device.setResolution(kPageResolution);
    device.setPageLayout(QPageLayout(QPageSize(QPageSize::A4),
                                     landscape ? QPageLayout::Landscape : QPageLayout::Portrait,
                                     QMarginsF(15, 12, 15, 12), QPageLayout::Millimeter));
}

// Told with 0 and 0 as the pages are laid out, then after each page is painted with its number
// (from 1) and the number of pages; printing stops when it gives false.
using PageProgress = std::function<bool(int page, int pages)>;

// Lays `doc` out on the pages of `device` (a QPrinter or QPdfWriter set up by the caller) and
// paints every page, the document's title and "Page N of M" at its foot. A page ends between
// table rows, never inside one, and a table going on to the next page repeats its <thead> rows
// there. Gives the number of pages, or 0 when `progress` stopped it (a printer's job is then
// abandoned). The document keeps no hold on the device afterwards.
int printDocument(QTextDocument& doc, QPagedPaintDevice& device, const PageProgress& progress = {});

// Writes the document as a PDF file and gives its number of pages; the file is written beside
// its target and takes its name only when complete (tw::AtomicFile). Throws tw::Error naming the
// file when it cannot be written ("No space left on the device" on a full disk); nothing of it
// is left then, nor when `progress` stopped it (it gives 0 then).
int writePdf(QTextDocument& doc, const QString& path, const PageProgress& progress = {});

// Writes text to a file as UTF-8, the same way.
void writeText(const QString& text, const QString& path);

} // namespace tw::reports
