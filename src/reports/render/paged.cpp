#include "reports/render/paged.h"

#include "values/values.h"

#include <QAbstractTextDocumentLayout>
#include <QDir>
#include <QFile>
#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTextFrame>
#include <QTextTable>

#include <vector>

namespace tw::reports {
namespace {

// Qt lays out one table of thousands of rows far more slowly than the same rows in tables of a
// few dozen: a final bill of 5,000 lines took several times as long. So a long table with a
// <thead> is cut into runs of rows; only the first run keeps the heading rows, and the heading
// is painted at the top of every later page the table runs onto.
constexpr int rowsPerRun = 40;

// One long table: its heading as a document of its own, and the tables its rows were cut into
// (as positions among the document's top-level tables).
struct LongTable {
    QString headingHtml;
    int first = 0, last = 0;
};

class ReportDocument : public QTextDocument {
public:
    std::vector<LongTable> longTables;
};

const QRegularExpression& tableTag() {
    static const QRegularExpression re(QStringLiteral("<table\\b[^>]*>"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re;
}

qsizetype find(const QString& html, QLatin1String what, qsizetype from) {
    return html.indexOf(what, from, Qt::CaseInsensitive);
}

// The rows of a table body: each "<tr" up to the next one.
QStringList rowsOf(const QString& body) {
    QStringList rows;
    qsizetype at = find(body, QLatin1String("<tr"), 0);
    while (at >= 0) {
        const qsizetype next = find(body, QLatin1String("<tr"), at + 3);
        rows << body.mid(at, next < 0 ? -1 : next - at);
        at = next;
    }
    return rows;
}

// Cuts the long tables of `html`; tables inside tables are left as they are, and so is a
// document that has any.
QString cutLongTables(const QString& html, std::vector<LongTable>& longTables) {
    const qsizetype headEnd = find(html, QLatin1String("</head>"), 0);
    const QString head =
        headEnd < 0 ? QString() : html.left(headEnd).section(QStringLiteral("<head>"), 1);
    QString out;
    qsizetype pos = 0;
    int tableIndex = 0;
    auto it = tableTag().globalMatch(html);
    while (it.hasNext()) {
        const auto m = it.next();
        if (m.capturedStart() < pos)
            return html; // a table inside a table
        const qsizetype bodyStart = m.capturedEnd();
        const qsizetype end = find(html, QLatin1String("</table>"), bodyStart);
        if (end < 0)
            return html;
        const QString inner = html.mid(bodyStart, end - bodyStart);
        if (find(inner, QLatin1String("<table"), 0) >= 0)
            return html;
        out += html.mid(pos, m.capturedStart() - pos);
        pos = end + 8;
        const qsizetype theadEnd = find(inner, QLatin1String("</thead>"), 0);
        const QStringList rows = theadEnd < 0 ? QStringList() : rowsOf(inner.mid(theadEnd + 8));
        if (rows.size() <= rowsPerRun) {
            out += html.mid(m.capturedStart(), pos - m.capturedStart());
            ++tableIndex;
            continue;
        }
        const QString open = m.captured();
        const QString heading = inner.left(theadEnd + 8);
        LongTable t;
        t.headingHtml = QStringLiteral("<html><head>%1</head><body>%2%3</table></body></html>")
                            .arg(head, open, heading);
        t.first = tableIndex;
        for (qsizetype r = 0; r < rows.size(); r += rowsPerRun) {
            out += open;
            if (r == 0)
                out += heading;
            out += rows.mid(r, rowsPerRun).join(QString()) + QStringLiteral("</table>");
            ++tableIndex;
        }
        t.last = tableIndex - 1;
        longTables.push_back(t);
    }
    return out + html.mid(pos);
}

// The runs of a long table take the column widths of its first run, so that they line up
// under the one heading; the first run stops repeating its heading, which is painted instead.
void joinRuns(QTextDocument& doc, std::vector<LongTable>& longTables) {
    const QList<QTextFrame*> frames = doc.rootFrame()->childFrames();
    for (const LongTable& t : longTables) {
        if (t.last >= frames.size()) {
            longTables.clear(); // not the tables counted: leave the document as Qt made it
            return;
        }
    }
    for (const LongTable& t : longTables) {
        auto* first = qobject_cast<QTextTable*>(frames[t.first]);
        if (!first)
            continue;
        QTextTableFormat f = first->format();
        const auto widths = f.columnWidthConstraints();
        f.setHeaderRowCount(0);
        first->setFormat(f);
        for (int i = t.first + 1; i <= t.last; ++i) {
            if (auto* run = qobject_cast<QTextTable*>(frames[i])) {
                QTextTableFormat rf = run->format();
                rf.setColumnWidthConstraints(widths);
                rf.setTopMargin(0);
                run->setFormat(rf);
            }
        }
    }
}

void setUpDocument(QTextDocument& doc) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(9);
    doc.setDefaultFont(font);
    doc.setDocumentMargin(0);
}

} // namespace

std::unique_ptr<QTextDocument> makeDocument(const QString& html) {
    auto doc = std::make_unique<ReportDocument>();
    setUpDocument(*doc);
    doc->setHtml(cutLongTables(html, doc->longTables));
    joinRuns(*doc, doc->longTables);
    return doc;
}

void setUpPage(QPagedPaintDevice& device) {
    device.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(15, 12, 15, 12), QPageLayout::Millimeter));
}

int printDocument(QTextDocument& doc, QPagedPaintDevice& device) {
    QPainter painter;
    if (!painter.begin(&device))
        throw Error(QStringLiteral("The printer or file cannot be written."));
    // Everything is laid out in the device's own units, so that fonts keep their point sizes.
    const QRect paper = device.pageLayout().paintRectPixels(device.logicalDpiY());
    const qreal footHeight = device.logicalDpiY() * 0.3; // a line of 9 pt text and some air

    // The headings of long tables, laid out at the page's width; the tallest is kept free at
    // the top of every page.
    const auto* report = dynamic_cast<const ReportDocument*>(&doc);
    std::vector<std::unique_ptr<QTextDocument>> headings;
    qreal headingHeight = 0;
    if (report) {
        for (const LongTable& t : report->longTables) {
            auto h = std::make_unique<QTextDocument>();
            setUpDocument(*h);
            h->setHtml(t.headingHtml);
            h->documentLayout()->setPaintDevice(&device);
            h->setTextWidth(paper.width());
            headingHeight = qMax(headingHeight, h->size().height());
            headings.push_back(std::move(h));
        }
    }
    const QSizeF body(paper.width(), paper.height() - footHeight - headingHeight);

    doc.documentLayout()->setPaintDevice(&device);
    doc.setPageSize(body);
    const int pages = doc.pageCount();
    const QString title = doc.metaInformation(QTextDocument::DocumentTitle);

    // Where each long table stands, top to bottom, in the laid-out document.
    std::vector<std::pair<qreal, qreal>> extents;
    if (report) {
        const QList<QTextFrame*> frames = doc.rootFrame()->childFrames();
        for (const LongTable& t : report->longTables) {
            const QRectF top = doc.documentLayout()->frameBoundingRect(frames[t.first]);
            const QRectF bottom = doc.documentLayout()->frameBoundingRect(frames[t.last]);
            extents.emplace_back(top.top(), bottom.bottom());
        }
    }

    QFont footFont = doc.defaultFont();
    footFont.setPointSizeF(8);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            device.newPage();
        const qreal pageTop = page * body.height();
        // A long table that started on an earlier page and goes on here gets its heading.
        QTextDocument* heading = nullptr;
        const qreal slack = body.height() / 100;
        for (size_t i = 0; i < extents.size(); ++i)
            if (extents[i].first < pageTop - slack && extents[i].second > pageTop + slack)
                heading = headings[i].get();
        qreal y = 0;
        if (heading) {
            heading->drawContents(&painter, QRectF(QPointF(0, 0), heading->size()));
            y = heading->size().height();
        }
        painter.save();
        painter.translate(0, y - pageTop);
        doc.drawContents(&painter, QRectF(QPointF(0, pageTop), body));
        painter.restore();

        painter.setFont(QFont(footFont, &device));
        painter.setPen(Qt::darkGray);
        const QRectF foot(0, paper.height() - footHeight, body.width(), footHeight);
        painter.drawLine(QLineF(foot.topLeft() + QPointF(0, footHeight / 4),
                                foot.topRight() + QPointF(0, footHeight / 4)));
        painter.drawText(foot, Qt::AlignLeft | Qt::AlignBottom, title);
        painter.drawText(foot, Qt::AlignRight | Qt::AlignBottom,
                         QStringLiteral("Page %1 of %2").arg(page + 1).arg(pages));
    }
    painter.end();
    // The device may go once printing is done: the document lays itself out anew for the screen.
    doc.documentLayout()->setPaintDevice(nullptr);
    doc.setPageSize(QSizeF());
    return pages;
}

int writePdf(QTextDocument& doc, const QString& path) {
    // QPdfWriter reports nothing when it cannot open its file, so the file is tried first.
    {
        QFile probe(path);
        if (!probe.open(QIODevice::WriteOnly))
            throw Error(QStringLiteral("%1 cannot be written: %2")
                            .arg(QDir::toNativeSeparators(path), probe.errorString()));
    }
    QPdfWriter pdf(path);
    pdf.setResolution(300);
    pdf.setCreator(QStringLiteral("Tallywright"));
    pdf.setTitle(doc.metaInformation(QTextDocument::DocumentTitle));
    setUpPage(pdf);
    return printDocument(doc, pdf);
}

void writeText(const QString& text, const QString& path) {
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(text.toUtf8()) < 0 || !f.commit())
        throw Error(QStringLiteral("%1 cannot be written: %2")
                        .arg(QDir::toNativeSeparators(path), f.errorString()));
}

} // namespace tw::reports
