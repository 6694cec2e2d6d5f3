#include "render/paged.h"

#include "store/files.h"
#include "store/store.h"
#include "values/values.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QTextFrame>
#include <QTextLayout>
#include <QTextTable>
#include <QThread>

#include <algorithm>
#include <functional>
#include <future>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace tw::reports {
namespace {

const char* const landscapeProperty = "landscape";
const char* const uncountedProperty = "uncounted";

// Thrown out of the layout when the printing is to stop.
struct Stopped {};

// Qt's own layout of a report of thousands of table rows lays the whole document out at once,
// twice over, and spends most of that finding each cell's format again: a final bill of 5,000
// lines took over ten seconds. So a report's document only holds what its HTML says (this layout
// lays nothing out), and printing lays it out piece by piece: tables of plain cells row by row,
// straight from the cells Qt's parser made, their heading rows repeated on every page they run
// onto; whatever stands between them as small documents of their own.
class ContentOnly : public QAbstractTextDocumentLayout {
public:
    using QAbstractTextDocumentLayout::QAbstractTextDocumentLayout;
    void draw(QPainter*, const PaintContext&) override {}
    int hitTest(const QPointF&, Qt::HitTestAccuracy) const override { return -1; }
    int pageCount() const override { return 0; }
    QSizeF documentSize() const override { return {}; }
    QRectF frameBoundingRect(QTextFrame*) const override { return {}; }
    QRectF blockBoundingRect(const QTextBlock&) const override { return {}; }

protected:
    void documentChanged(int, int, int) override {}
};

void setUpDocument(QTextDocument& doc) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(9);
    doc.setDefaultFont(font);
    doc.setDocumentMargin(0);
}

// A picture of one transparent pixel, as PNG.
const QByteArray& emptyPicture() {
    static const QByteArray png = [] {
        QImage pixel(1, 1, QImage::Format_ARGB32);
        pixel.fill(Qt::transparent);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        pixel.save(&buffer, "PNG");
        return bytes;
    }();
    return png;
}

// A report's document. A layout is a file anyone may edit, so it shows only pictures (and style
// sheets) from the layouts folders or written into it as data: URIs, each of at most
// kLargestPicture; anything else is left out, and named, never read. A picture left out is
// stood in for by an empty one: given nothing, Qt would read the file by its name itself.
class LayoutDocument : public QTextDocument {
public:
    // A part of a report laid out apart takes its pictures from the report's `source`.
    explicit LayoutDocument(const QTextDocument* source = nullptr, QObject* parent = nullptr)
        : QTextDocument(parent), source_(source) {}
    QStringList leftOut;
    // A long table's rows past its first run, read apart (see makeDocument), and what it takes
    // to read the whole report as one document again.
    int longTable = -1;                // the long table's place among the document's tables
    std::vector<LayoutDocument*> runs; // its children: they go, and move to a thread, with it
    // The runs after those, packed: each is read while its rows are laid out, and let go.
    std::vector<QByteArray> packedRuns;
    QByteArray html; // packed: it is held for this alone
    size_t runCount() const { return runs.size() + packedRuns.size(); }
    // The whole report in this document, for a table this printing cannot lay out itself.
    void makeWhole() {
        if (runs.empty() && packedRuns.empty())
            return;
        qDeleteAll(std::exchange(runs, {}));
        packedRuns.clear();
        longTable = -1;
        setHtml(QString::fromUtf8(qUncompress(std::exchange(html, QByteArray()))));
    }
    // A run of rows read as a document of its own.
    std::unique_ptr<LayoutDocument> readRun(const QString& text, QObject* parent = nullptr) const {
        auto run = std::make_unique<LayoutDocument>(this, parent);
        run->setDocumentLayout(new ContentOnly(run.get()));
        setUpDocument(*run);
        run->setHtml(text);
        return run;
    }

protected:
    QVariant loadResource(int type, const QUrl& name) override {
        if (source_)
            return source_->resource(type, name);
        std::optional<QByteArray> bytes = permitted(name);
        if (bytes && type == ImageResource && QImage::fromData(*bytes).isNull())
            bytes.reset();
        if (!bytes) {
            const QString shown = name.isLocalFile() ? name.toLocalFile() : name.toString();
            if (!leftOut.contains(shown))
                leftOut << shown;
        }
        const QVariant resource = type == ImageResource
                                      ? QVariant(bytes ? *bytes : emptyPicture())
                                      : QVariant(QString::fromUtf8(bytes.value_or(QByteArray())));
        addResource(type, name, resource); // read once, however often it is drawn
        return resource;
    }

private:
    static std::optional<QByteArray> permitted(const QUrl& name) {
        if (name.scheme().compare(QLatin1String("data"), Qt::CaseInsensitive) == 0) {
            // data:[<type>][;base64],<data>
            const QByteArray url = name.toEncoded();
            const qsizetype comma = url.indexOf(',');
            if (comma < 0 || url.size() > 2 * kLargestPicture)
                return std::nullopt;
            const QByteArray head = url.left(comma), data = url.mid(comma + 1);
            QByteArray bytes = head.endsWith(";base64")
                                   ? QByteArray::fromBase64(QByteArray::fromPercentEncoding(data))
                                   : QByteArray::fromPercentEncoding(data);
            if (bytes.size() > kLargestPicture)
                return std::nullopt;
            return bytes;
        }
        if (!name.scheme().isEmpty() && !name.isLocalFile())
            return std::nullopt;
        const QString path = name.isLocalFile() ? name.toLocalFile() : name.path();
        QStringList folders;
        for (const QString& f : {AppFolder::file(QStringLiteral("layouts")),
                                 AppFolder::resource(QStringLiteral("layouts"))})
            if (const QString real = QFileInfo(f).canonicalFilePath(); !real.isEmpty())
                folders << real;
        for (const QString& folder : folders) {
            // A name is found in a layouts folder, and must stay there once its links are
            // followed.
            const QFileInfo file(QDir::isAbsolutePath(path) ? path : QDir(folder).filePath(path));
            const QString real = file.canonicalFilePath();
            if (real.isEmpty() ||
                !std::any_of(folders.begin(), folders.end(),
                             [&](const QString& f) { return real.startsWith(f + u'/'); }))
                continue;
            QFile f(real);
            if (!QFileInfo(real).isFile() || QFileInfo(real).size() > kLargestPicture ||
                !f.open(QIODevice::ReadOnly))
                return std::nullopt;
            QByteArray bytes = f.read(kLargestPicture + 1);
            if (bytes.size() > kLargestPicture)
                return std::nullopt;
            return bytes;
        }
        return std::nullopt;
    }

    const QTextDocument* source_;
};

// Qt's reader of HTML builds a tree of the whole text before the document, some 2 KB for every
// cell: 2.6 GB for a final bill of 200,000 lines. So the rows of a long table are read in runs
// of this many, each as a table of its own below the layout's head and the table's heading.
constexpr qsizetype kRunRows = 100;
// The runs of a long table's first rows are read with the report and held; the rest are held
// packed and read again for each pass over them: held, the runs of a final bill of 200,000
// lines took 280 MB.
constexpr qsizetype kHeldRows = 20000;

// Where a report's longest table stands in its HTML: its place among the tables, its opening
// tag, each row below its heading and its closing tag. Only a table that stands in the body
// itself, of plain rows (no <tbody>, <tfoot> or table within), is read in runs: its rows are
// then the same wherever they are read.
struct LongTable {
    int index = -1;
    qsizetype bodyEnd = 0, open = 0, close = 0;
    std::vector<qsizetype> rows;
};

std::optional<LongTable> longTableOf(const QString& html) {
    static const QRegularExpression body(QStringLiteral("<body[^>]*>"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tag(QStringLiteral("<(/?)([A-Za-z][A-Za-z0-9]*)[^>]*>"));
    static const QStringList empty{"br",  "img", "hr",   "meta", "link",  "input",
                                   "col", "wbr", "area", "base", "param", "source"};
    const QRegularExpressionMatch opened = body.match(html);
    if (!opened.hasMatch() || html.indexOf(QLatin1String("<!--"), opened.capturedEnd()) >= 0)
        return std::nullopt;
    std::optional<LongTable> longest;
    LongTable table;
    QStringList open; // the elements the body holds open around a table
    int tables = 0;
    bool inTable = false, plain = false, heading = false;
    for (auto it = tag.globalMatch(html, opened.capturedEnd()); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        const QString name = m.captured(2).toLower();
        const bool closing = !m.captured(1).isEmpty();
        if (!inTable) {
            if (name == QLatin1String("table") && !closing) {
                table = {tables++, opened.capturedEnd(), m.capturedStart(), 0, {}};
                inTable = true;
                plain = open.isEmpty();
                heading = false;
            } else if (closing) {
                if (const qsizetype at = open.lastIndexOf(name); at >= 0)
                    open.resize(at);
            } else if (!empty.contains(name) && !m.captured(0).endsWith(QLatin1String("/>"))) {
                open << name;
            }
        } else if (name == QLatin1String("table")) {
            if (!closing)
                return std::nullopt; // a table within a table
            inTable = false;
            table.close = m.capturedStart();
            if (plain && (!longest || table.rows.size() > longest->rows.size()))
                longest = table;
        } else if (name == QLatin1String("tbody") || name == QLatin1String("tfoot")) {
            plain = false;
        } else if (name == QLatin1String("thead")) {
            heading = !closing;
        } else if (name == QLatin1String("tr") && !closing && !heading) {
            table.rows.push_back(m.capturedStart());
        }
    }
    return longest;
}

// Lengths in a document's formats are CSS pixels, 96 to the inch; the device has its own.
struct Scale {
    qreal factor;
    qreal operator()(qreal cssPixels) const { return cssPixels * factor; }
};

bool hasCellBorder(const QTextTableCellFormat& f) {
    for (int p : {QTextFormat::TableCellTopBorder, QTextFormat::TableCellBottomBorder,
                  QTextFormat::TableCellLeftBorder, QTextFormat::TableCellRightBorder})
        if (f.doubleProperty(p) > 0)
            return true;
    return false;
}

// A table this printing may lay out itself: no borders and a width for the table and each of its
// columns. Its cells are looked at as they are laid out.
bool plainTable(const QTextTable& t) {
    const QTextTableFormat f = t.format();
    if (t.rows() == 0 || f.border() > 0 || f.width().type() == QTextLength::VariableLength)
        return false;
    const QList<QTextLength> widths = f.columnWidthConstraints();
    return widths.size() == t.columns() &&
           std::none_of(widths.begin(), widths.end(), [](const QTextLength& w) {
               return w.type() == QTextLength::VariableLength;
           });
}

// One part of the report as it is laid out at the page's width: a height, where a page may end
// inside it, and how to paint a band of it.
class Piece {
public:
    virtual ~Piece() = default;
    virtual qreal height() const = 0;
    // Pages may end at these heights, in order; the last is the height.
    virtual const std::vector<qreal>& breaks() const = 0;
    // The part of the piece between two of its heights, painted at the painter's origin.
    virtual void paint(QPainter& p, qreal from, qreal to) const = 0;
    // A band painted again at the top of every page the piece runs onto (a table's heading).
    virtual qreal headingHeight() const { return 0; }
    virtual void paintHeading(QPainter&) const {}
};

// Blocks and other tables, as a document of their own laid out by Qt. `lead` is room kept above
// it: a document drops its first block's top margin, which under a table still counts.
class FlowPiece : public Piece {
public:
    FlowPiece(QTextDocument& source, int from, int to, QPaintDevice& device, qreal width,
              qreal lead)
        : doc_(&source), lead_(lead) {
        setUpDocument(doc_);
        doc_.setDefaultTextOption(source.defaultTextOption());
        QTextCursor part(&source);
        part.setPosition(from);
        part.setPosition(to, QTextCursor::KeepAnchor);
        QTextCursor into(&doc_);
        into.insertFragment(QTextDocumentFragment(part));
        // A fragment brings its first block's text but not how that block is set (a centred
        // caption would stand at the left).
        if (const QTextBlock first = source.findBlock(from); first.position() == from) {
            into.movePosition(QTextCursor::Start);
            into.setBlockFormat(first.blockFormat());
            into.setBlockCharFormat(first.charFormat());
        }
        doc_.documentLayout()->setPaintDevice(&device);
        doc_.setTextWidth(width);
        height_ = lead + doc_.size().height();
        // A page may end after any line of text, or after a table as a whole.
        const QAbstractTextDocumentLayout* layout = doc_.documentLayout();
        for (auto it = doc_.rootFrame()->begin(); !it.atEnd(); ++it) {
            if (QTextFrame* frame = it.currentFrame()) {
                breaks_.push_back(lead + layout->frameBoundingRect(frame).bottom());
                continue;
            }
            const QTextLayout* lines = it.currentBlock().layout();
            for (int i = 0; i < lines->lineCount(); ++i)
                breaks_.push_back(lead + lines->position().y() + lines->lineAt(i).rect().bottom());
        }
        breaks_.push_back(height_);
        std::sort(breaks_.begin(), breaks_.end());
    }
    qreal height() const override { return height_; }
    const std::vector<qreal>& breaks() const override { return breaks_; }
    void paint(QPainter& p, qreal from, qreal to) const override {
        p.save();
        p.translate(0, lead_ - from);
        const_cast<LayoutDocument&>(doc_).drawContents(
            &p, QRectF(0, from - lead_, doc_.textWidth(), to - from));
        p.restore();
    }

private:
    LayoutDocument doc_;
    qreal lead_ = 0, height_ = 0;
    std::vector<qreal> breaks_;
};

// The tables of a long table's runs, as its rows are laid out: the document's own, the runs
// held beside it, and the packed runs, each read when it is asked for and let go with the next.
// Runs asked for in order are read one ahead on a thread of their own, while this one lays out.
class RunTables {
public:
    RunTables(const QTextTable& first, const LayoutDocument* doc, bool inRuns, QPaintDevice& device)
        : first_(&first), doc_(inRuns ? doc : nullptr), device_(&device) {}
    size_t size() const { return 1 + (doc_ ? doc_->runCount() : 0); }
    // The table of run `i`; none for a run that is not one table alone.
    const QTextTable* table(size_t i) {
        if (i == 0)
            return first_;
        const LayoutDocument* run = nullptr;
        if (i - 1 < doc_->runs.size()) {
            run = doc_->runs[i - 1];
        } else {
            if (readIndex_ != i) {
                read_.reset();
                read_ = take(i);
                read_->documentLayout()->setPaintDevice(device_);
                readIndex_ = i;
                if (i == asked_ + 1 && i + 1 < size())
                    readAhead(i + 1);
            }
            run = read_.get();
        }
        asked_ = i;
        const QList<QTextFrame*> frames = run->rootFrame()->childFrames();
        return frames.size() == 1 ? qobject_cast<QTextTable*>(frames.front()) : nullptr;
    }
    // The lines laid out in run `i` go: a held run's with a new layout, a read run with its
    // document.
    void letGo(size_t i) {
        if (i == 0)
            return;
        if (i == readIndex_) {
            read_.reset();
            readIndex_ = 0;
            return;
        }
        auto* doc = doc_->runs[i - 1];
        QPaintDevice* device = doc->documentLayout()->paintDevice();
        doc->setDocumentLayout(new ContentOnly(doc));
        doc->documentLayout()->setPaintDevice(device);
    }

private:
    const QByteArray& packed(size_t i) const { return doc_->packedRuns[i - 1 - doc_->runs.size()]; }
    std::unique_ptr<LayoutDocument> take(size_t i) {
        if (ahead_.valid()) {
            auto run = ahead_.get();
            if (std::exchange(aheadIndex_, 0) == i)
                return run;
        }
        return doc_->readRun(QString::fromUtf8(qUncompress(packed(i))));
    }
    void readAhead(size_t i) {
        aheadIndex_ = i;
        ahead_ = std::async(std::launch::async,
                            [doc = doc_, text = packed(i), to = QThread::currentThread()] {
                                auto run = doc->readRun(QString::fromUtf8(qUncompress(text)));
                                run->moveToThread(to);
                                return run;
                            });
    }

    const QTextTable* first_;
    const LayoutDocument* doc_;
    QPaintDevice* device_;
    std::unique_ptr<LayoutDocument> read_;
    size_t readIndex_ = 0, asked_ = 0, aheadIndex_ = 0;
    std::future<std::unique_ptr<LayoutDocument>> ahead_;
};

// How many of a long table's last runs are measured before the first.
constexpr size_t kRunsAhead = 3;

// A plain table laid out row by row: each cell's blocks are laid out in the cell's width, a
// row is as high as its highest cell, and a page may end between any two rows. A long table
// comes as its first run of rows and its further runs, each a table of its own below a copy of
// the heading. The lines of a further run are let go once measured, and laid out again when its
// pages are painted: held for every cell of a long bill they took gigabytes.
class TablePiece : public Piece {
public:
    TablePiece(RunTables runs, const QTextDocument& doc, Scale px, qreal width,
               const PageProgress& progress)
        : px_(px), option_(doc.defaultTextOption()), indentWidth_(doc.indentWidth()),
          runs_(std::move(runs)) {
        const QTextTable& table = *runs_.table(0);
        const QTextTableFormat f = table.format();
        const QTextLength w = f.width();
        const qreal tableWidth = std::min(
            width, w.type() == QTextLength::PercentageLength ? w.value(width) : px(w.rawValue()));
        spacing_ = px(f.cellSpacing());
        const qreal frame = px(f.padding());
        left_ = f.alignment() & Qt::AlignHCenter ? (width - tableWidth) / 2
                : f.alignment() & Qt::AlignRight ? width - tableWidth
                                                 : 0;
        left_ += px(f.leftMargin()) + frame;
        const qreal columnsWidth = tableWidth - px(f.leftMargin()) - px(f.rightMargin()) -
                                   2 * frame - (table.columns() + 1) * spacing_;
        std::vector<qreal> widths;
        for (const QTextLength& c : f.columnWidthConstraints())
            widths.push_back(c.type() == QTextLength::PercentageLength ? c.value(columnsWidth)
                                                                       : px(c.rawValue()));
        background_ = f.background();
        top_ = px(f.topMargin()) + frame + spacing_;
        bottom_ = px(f.bottomMargin()) + frame;
        headingRows_ = std::min(f.headerRowCount(), table.rows());
        columns_ = table.columns();
        padding_ = px(f.cellPadding());

        // A column too narrow for its text (a figure that may not wrap, a long word) is widened,
        // and the columns with room to spare pay for it in proportion to that room. The widths
        // depend on every row, but a run's rows are read once here: each run is laid out in the
        // widths its rows and those before them ask for, and laid out again at the end only when
        // the final widths would break one of its lines elsewhere. The rows are counted as read.
        std::vector<qreal> least(widths.size(), 0);
        std::vector<std::vector<Fit>> fits;
        const auto keepHeights = [&](size_t run) {
            for (size_t r = runStarts_[run]; r < runStarts_[run + 1]; ++r)
                heights_[r] = rows_[r].height;
        };
        // The last rows come first: a table's widest figures (its totals, its highest numbers)
        // stand at its end.
        for (size_t last = runs_.size() - 1; last > 0 && last + kRunsAhead >= runs_.size();
             --last) {
            const QTextTable* t = runs_.table(last);
            if (!t || t->columns() != columns_)
                return;
            const size_t first = size_t(headingRows_);
            rows_.resize(first + size_t(t->rows() - headingRows_));
            setColumns(widths);
            if (!layOut(last, first, rows_.size(), &least, nullptr))
                return;
            rows_.clear();
            runs_.letGo(last);
        }
        runStarts_.push_back(0);
        for (size_t run = 0; run < runs_.size(); ++run) {
            if (progress && !progress(0, 0))
                throw Stopped{};
            const QTextTable* t = runs_.table(run);
            if (!t || t->columns() != columns_)
                return;
            runStarts_.push_back(runStarts_.back() + size_t(t->rows()) -
                                 size_t(run == 0 ? 0 : headingRows_));
            rows_.resize(runStarts_.back());
            heights_.resize(runStarts_.back());
            // The heading is measured apart; below it, the figures that may not wrap measure the
            // same in any width, so a run is measured as it is laid out.
            if (run == 0) {
                setColumns(widths);
                if (!layOut(run, &least))
                    return;
                setColumns(widened(widths, least));
                layOut(run, nullptr, &fits.emplace_back());
            } else {
                setColumns(widened(widths, least));
                if (!layOut(run, &least, &fits.emplace_back()))
                    return;
            }
            keepHeights(run);
            letGo(run);
        }
        setColumns(widened(widths, least));
        for (size_t run = 0; run < fits.size(); ++run) {
            // The first run's cells are painted as they are laid out here.
            if (run == 0 || !std::all_of(fits[run].begin(), fits[run].end(),
                                         [&](const Fit& f) { return holds(f); })) {
                layOut(run, nullptr);
                keepHeights(run);
                letGo(run);
            }
        }
        // A cell over several rows makes the last of them higher when it needs the room (only
        // the heading's cells may, and they are in the first run).
        for (size_t r = 0; r < rows_.size(); ++r)
            for (const Cell& cell : rows_[r].cells)
                if (const qreal need = cell.height - spanHeight(r, cell.rows); need > 0)
                    heights_[r + size_t(cell.rows) - 1] += need;
        qreal y = top_;
        for (int r = 0; r < headingRows_; ++r)
            y += heights_[size_t(r)];
        headingHeight_ = y - top_;
        // A page may end after the heading with its first row, and after any row from there on.
        for (size_t r = size_t(headingRows_); r < rows_.size(); ++r) {
            y += heights_[r];
            rowBottoms_.push_back(y);
        }
        if (rowBottoms_.empty())
            rowBottoms_.push_back(y);
        height_ = y + bottom_;
        breaks_ = rowBottoms_;
        breaks_.back() = height_;
        plain_ = true;
    }
    // False for a table left to Qt.
    bool plain() const { return plain_; }
    qreal height() const override { return height_; }
    const std::vector<qreal>& breaks() const override { return breaks_; }
    qreal headingHeight() const override { return headingHeight_; }
    void paintHeading(QPainter& p) const override { paintRows(p, 0, headingRows_, 0); }
    void paint(QPainter& p, qreal from, qreal to) const override {
        // The rows ending within the band: the heading's rows stand before the first one.
        const auto first = std::upper_bound(rowBottoms_.begin(), rowBottoms_.end(), from + 0.01);
        const auto last = std::upper_bound(rowBottoms_.begin(), rowBottoms_.end(), to + 0.01);
        int begin = headingRows_ + int(first - rowBottoms_.begin());
        const int end = headingRows_ + int(last - rowBottoms_.begin());
        qreal y = (first == rowBottoms_.begin() ? top_ + headingHeight_ : *(first - 1)) - from;
        if (from < top_ + headingHeight_) {
            paintRows(p, 0, headingRows_, top_ - from);
            begin = std::max(begin, headingRows_);
        }
        paintRows(p, begin, std::min(end, int(rows_.size())), y);
    }

private:
    struct Cell {
        qreal x = 0, width = 0, left = 0, top = 0, height = 0;
        int rows = 1;
        QBrush background;
        QTextCharFormat::VerticalAlignment align = QTextCharFormat::AlignNormal;
        std::vector<QTextBlock> blocks;
        std::vector<std::pair<QRectF, QBrush>> blockBackgrounds;
    };
    struct Row {
        qreal height = 0;
        std::vector<Cell> cells;
    };

    // The widths of the columns once each is at least `least` wide.
    static std::vector<qreal> widened(std::vector<qreal> widths, const std::vector<qreal>& least) {
        qreal short_ = 0, spare = 0;
        for (size_t c = 0; c < widths.size(); ++c) {
            short_ += std::max<qreal>(0, least[c] - widths[c]);
            spare += std::max<qreal>(0, widths[c] - least[c]);
        }
        if (short_ > 0.5 && spare > 0) {
            const qreal share = std::min<qreal>(1, short_ / spare);
            for (size_t c = 0; c < widths.size(); ++c)
                widths[c] =
                    least[c] > widths[c] ? least[c] : widths[c] - (widths[c] - least[c]) * share;
        }
        return widths;
    }

    // The widths a cell of the columns from `column` may take with its lines broken where they
    // were: no narrower than its longest line, and no wider when one of its blocks took more
    // than a line.
    struct Fit {
        int column, span;
        qreal least, most;
    };
    // Narrows `fits` to a cell of `width` whose block took `lines` lines of `lineWidth`, the
    // longest `natural` wide. A line is taken to need a little more than it measures: the ink of
    // its last letter may stand out past it.
    static void fit(std::vector<Fit>& fits, int column, int span, qreal width, qreal lineWidth,
                    const QTextLayout& lines) {
        qreal natural = 0;
        for (int i = 0; i < lines.lineCount(); ++i)
            natural = std::max(natural, lines.lineAt(i).naturalTextWidth());
        const qreal least =
            lineWidth > 0 ? std::min(width, width - (lineWidth - natural) + 2) : width;
        const qreal most =
            lineWidth > 0 && lines.lineCount() < 2 ? std::numeric_limits<qreal>::infinity() : width;
        auto it = std::find_if(fits.begin(), fits.end(),
                               [&](const Fit& f) { return f.column == column && f.span == span; });
        if (it == fits.end())
            it = fits.insert(fits.end(), Fit{column, span, least, most});
        it->least = std::max(it->least, least);
        it->most = std::min(it->most, most);
    }
    bool holds(const Fit& f) const {
        const qreal width = columnX_[size_t(std::min(f.column + f.span, columns_))] - spacing_ -
                            columnX_[size_t(f.column)];
        return width >= f.least && width <= f.most;
    }

    void setColumns(const std::vector<qreal>& widths) {
        columnX_.clear();
        qreal x = left_ + spacing_;
        for (const qreal w : widths) {
            columnX_.push_back(x);
            x += w + spacing_;
        }
        columnX_.push_back(x);
        right_ = x;
    }

    // Lays every cell of a run out in the columns' widths. Measuring (given `least`) lays out
    // only what decides the widths, and widens `least` to the width each column needs: the
    // whole of a figure that may not wrap, and in the heading the longest word (a word is not
    // broken then, so that its width counts). False for a cell that is more than text, has a
    // border, or spans rows below the heading. A block laid out while measuring at its final
    // width is kept as it is.
    bool layOut(size_t run, std::vector<qreal>* least, std::vector<Fit>* fits = nullptr) const {
        return layOut(run, runStarts_[run], runStarts_[run + 1], least, fits);
    }
    // The same for the rows from `first` to `end` standing for those of run `run`.
    bool layOut(size_t run, size_t first, size_t end, std::vector<qreal>* least,
                std::vector<Fit>* fits) const {
        // Given `fits` too, every block is laid out, and `least` widened by the figures.
        const bool measuring = least && !fits;
        const Scale px = px_;
        const qreal padding = padding_;
        const QTextOption& option = option_;
        const qreal indentWidth = indentWidth_;
        laidRun_ = run;
        const QTextTable* table = runs_.table(run);
        for (int r = int(first); r < int(end); ++r) {
            Row& row = rows_[size_t(r)];
            row = Row{};
            const int tableRow = r - int(first) + (run == 0 ? 0 : headingRows_);
            for (int c = 0; c < columns_;) {
                const QTextTableCell cell = table->cellAt(tableRow, c);
                const int span = cell.columnSpan();
                if (cell.row() != tableRow) { // a heading cell from the row above reaches down
                    c += span;
                    continue;
                }
                const QTextTableCellFormat cf = cell.format().toTableCellFormat();
                if ((cell.rowSpan() > 1 && r + cell.rowSpan() > headingRows_) || hasCellBorder(cf))
                    return false;
                const auto pad = [&](QTextFormat::Property p) {
                    return cf.hasProperty(p) ? px(cf.doubleProperty(p)) : padding;
                };
                Cell out;
                out.x = columnX_[size_t(c)];
                out.width = columnX_[size_t(std::min(c + span, columns_))] - spacing_ - out.x;
                out.left = pad(QTextFormat::TableCellLeftPadding);
                out.top = pad(QTextFormat::TableCellTopPadding);
                out.background = cf.background();
                out.align = cf.verticalAlignment();
                out.rows = cell.rowSpan();
                const qreal rightPad = pad(QTextFormat::TableCellRightPadding);
                const qreal inner = out.width - out.left - rightPad;
                qreal y = 0, lastBottom = 0;
                bool first = true;
                for (auto it = cell.begin(); !it.atEnd(); ++it) {
                    const QTextBlock block = it.currentBlock();
                    if (it.currentFrame() ||
                        block.text().contains(QChar::ObjectReplacementCharacter))
                        return false;
                    const QTextBlockFormat bf = block.blockFormat();
                    // Margins between blocks collapse to the larger one, as in any document.
                    y += first ? px(bf.topMargin()) : std::max(px(bf.topMargin()), lastBottom);
                    first = false;
                    lastBottom = px(bf.bottomMargin());
                    const bool heading = r < headingRows_, nowrap = bf.nonBreakableLines();
                    if (measuring && !heading && !nowrap)
                        continue;
                    QTextOption o = option;
                    if (bf.hasProperty(QTextFormat::BlockAlignment))
                        o.setAlignment(bf.alignment());
                    if (nowrap)
                        o.setWrapMode(QTextOption::ManualWrap);
                    else if (measuring && o.wrapMode() == QTextOption::WrapAtWordBoundaryOrAnywhere)
                        o.setWrapMode(QTextOption::WordWrap);
                    QTextLayout* lines = block.layout();
                    const qreal indent = px(bf.leftMargin() + bf.indent() * indentWidth);
                    const qreal lineWidth =
                        std::max<qreal>(0, inner - indent - px(bf.rightMargin()));
                    const qreal blockTop = y;
                    if (!measuring && nowrap && lines->lineCount() > 0 &&
                        lines->lineAt(0).width() == lineWidth && lines->lineAt(0).y() == y) {
                        for (int i = 0; i < lines->lineCount(); ++i)
                            y += lines->lineAt(i).height();
                    } else {
                        lines->setTextOption(o);
                        lines->beginLayout();
                        for (QTextLine line = lines->createLine(); line.isValid();
                             line = lines->createLine()) {
                            line.setLeadingIncluded(true);
                            line.setLineWidth(lineWidth);
                            line.setPosition(QPointF(indent, y));
                            y += line.height();
                        }
                        lines->endLayout();
                    }
                    if (fits && !nowrap)
                        fit(*fits, c, span, out.width, lineWidth, *lines);
                    if (least && span == 1 && (measuring || nowrap)) {
                        qreal used = nowrap ? 0 : lines->minimumWidth();
                        for (int i = 0; nowrap && i < lines->lineCount(); ++i)
                            used = std::max(used, lines->lineAt(i).naturalTextWidth());
                        (*least)[size_t(c)] =
                            std::max((*least)[size_t(c)],
                                     used + indent + px(bf.rightMargin()) + out.left + rightPad);
                    }
                    if (bf.background().style() != Qt::NoBrush)
                        out.blockBackgrounds.push_back(
                            {QRectF(indent, blockTop, lineWidth, y - blockTop), bf.background()});
                    out.blocks.push_back(block);
                }
                out.height = out.top + y + lastBottom + pad(QTextFormat::TableCellBottomPadding);
                if (out.rows == 1)
                    row.height = std::max(row.height, out.height);
                row.cells.push_back(std::move(out));
                c += span;
            }
            row.height += spacing_;
        }
        return true;
    }

    // The lines of a further run go with a new layout of its document.
    void letGo(size_t run) const {
        if (run == 0)
            return;
        for (size_t r = runStarts_[run]; r < runStarts_[run + 1]; ++r)
            rows_[r] = Row{};
        runs_.letGo(run);
        laidRun_ = 0;
    }

    // The height of `count` rows from `first`, without the spacing under the last.
    qreal spanHeight(size_t first, int count) const {
        qreal h = -spacing_;
        for (size_t r = first; r < std::min(heights_.size(), first + size_t(count)); ++r)
            h += heights_[r];
        return h;
    }

    void paintRows(QPainter& p, int begin, int end, qreal y) const {
        for (int r = begin; r < end; ++r) {
            const size_t run =
                size_t(std::upper_bound(runStarts_.begin(), runStarts_.end(), size_t(r)) -
                       runStarts_.begin() - 1);
            if (run > 0 && run != laidRun_) {
                letGo(laidRun_);
                layOut(run, nullptr);
            }
            const Row& row = rows_[size_t(r)];
            const qreal height = heights_[size_t(r)];
            if (background_.style() != Qt::NoBrush)
                p.fillRect(QRectF(left_, y, right_ - left_, height), background_);
            for (const Cell& cell : row.cells) {
                const qreal h = spanHeight(size_t(r), cell.rows);
                if (cell.background.style() != Qt::NoBrush)
                    p.fillRect(QRectF(cell.x, y, cell.width, h), cell.background);
                qreal dy = 0;
                if (cell.align == QTextCharFormat::AlignMiddle)
                    dy = (h - cell.height) / 2;
                else if (cell.align == QTextCharFormat::AlignBottom)
                    dy = h - cell.height;
                const QPointF at(cell.x + cell.left, y + cell.top + dy);
                for (const auto& [rect, brush] : cell.blockBackgrounds)
                    p.fillRect(rect.translated(at), brush);
                for (const QTextBlock& b : cell.blocks)
                    b.layout()->draw(&p, at);
            }
            y += height;
        }
    }

    Scale px_;
    QTextOption option_;
    qreal indentWidth_;
    mutable RunTables runs_;
    std::vector<size_t> runStarts_; // the first row of each run, and past the last
    int columns_ = 0;
    std::vector<qreal> columnX_;
    mutable std::vector<Row> rows_; // the cells of the first run and of one further run
    mutable size_t laidRun_ = 0;
    std::vector<qreal> heights_;
    std::vector<qreal> rowBottoms_, breaks_;
    QBrush background_;
    qreal spacing_ = 0, padding_ = 0, left_ = 0, right_ = 0, top_ = 0, bottom_ = 0;
    qreal headingHeight_ = 0, height_ = 0;
    int headingRows_ = 0;
    bool plain_ = false;
};

// A band of a piece on a page.
struct Band {
    const Piece* piece;
    qreal from, to, at;
    bool heading; // the piece's heading, repeated
};

// Splits the pieces into pages of `pageHeight`: a page ends at the last break of a piece that
// fits, and a piece that goes on to the next page puts its heading at the top of it. Gives no
// pages when something that may not be split is taller than a page.
std::vector<std::vector<Band>> paginate(const std::vector<std::unique_ptr<Piece>>& pieces,
                                        qreal pageHeight) {
    std::vector<std::vector<Band>> pages(1);
    qreal y = 0;
    for (const auto& piece : pieces) {
        const std::vector<qreal>& breaks = piece->breaks();
        qreal from = 0;
        bool continued = false;
        while (from < piece->height()) {
            const qreal heading = continued ? piece->headingHeight() : 0;
            const qreal room = pageHeight - y - heading;
            // The furthest break that fits on this page.
            auto fit = std::upper_bound(breaks.begin(), breaks.end(), from + room + 0.01);
            if (fit == breaks.begin() || *(fit - 1) <= from) {
                if (y == 0)
                    return {}; // not even a fresh page holds it
                pages.emplace_back();
                y = 0;
                continue;
            }
            const qreal to = *(fit - 1);
            if (heading > 0) {
                pages.back().push_back({piece.get(), 0, heading, y, true});
                y += heading;
            }
            pages.back().push_back({piece.get(), from, to, y, false});
            y += to - from;
            from = to;
            if (from < piece->height()) {
                pages.emplace_back();
                y = 0;
                continued = true;
            }
        }
    }
    return pages;
}

// The title at the foot of each page, and "Page N of M".
void paintFoot(QPainter& painter, QPagedPaintDevice& device, const QTextDocument& doc, QRectF foot,
               int page, int pages) {
    QFont footFont = doc.defaultFont();
    footFont.setPointSizeF(8);
    painter.setFont(QFont(footFont, &device));
    painter.setPen(Qt::darkGray);
    const qreal quarter = foot.height() / 4;
    painter.drawLine(
        QLineF(foot.topLeft() + QPointF(0, quarter), foot.topRight() + QPointF(0, quarter)));
    painter.drawText(foot, Qt::AlignLeft | Qt::AlignBottom,
                     doc.metaInformation(QTextDocument::DocumentTitle));
    painter.drawText(foot, Qt::AlignRight | Qt::AlignBottom,
                     doc.property(uncountedProperty).toBool()
                         ? QStringLiteral("Page %1 of \u2026").arg(page + 1)
                         : QStringLiteral("Page %1 of %2").arg(page + 1).arg(pages));
}

// The report cut into pieces at its plain tables, each laid out for the device. Gives nothing
// when a long table read in runs is not one this printing lays out itself.
std::optional<std::vector<std::unique_ptr<Piece>>>
piecesOf(QTextDocument& doc, QPaintDevice& device, qreal width, const PageProgress& progress) {
    const Scale px{device.logicalDpiY() / 96.0};
    const auto* layout = dynamic_cast<const LayoutDocument*>(&doc);
    std::vector<std::unique_ptr<Piece>> pieces;
    int from = -1, to = -1, tables = 0;
    qreal lead = 0;
    bool afterTable = false;
    const auto flow = [&] {
        if (from >= 0)
            pieces.push_back(std::make_unique<FlowPiece>(doc, from, to, device, width, lead));
        from = -1;
    };
    for (auto it = doc.rootFrame()->begin(); !it.atEnd(); ++it) {
        int start = 0, end = 0;
        if (QTextFrame* frame = it.currentFrame()) {
            auto* table = qobject_cast<QTextTable*>(frame);
            const bool inRuns = table && layout && layout->longTable == tables++;
            if (table && plainTable(*table)) {
                if (auto piece = std::make_unique<TablePiece>(
                        RunTables(*table, layout, inRuns, device), doc, px, width, progress);
                    piece->plain()) {
                    flow();
                    pieces.push_back(std::move(piece));
                    afterTable = true;
                    continue;
                }
            }
            if (inRuns)
                return std::nullopt;
            afterTable = false;
            start = frame->firstPosition() - 1;
            end = frame->lastPosition() + 1;
        } else {
            // The empty block that closes a table takes no room under it.
            if (std::exchange(afterTable, false) && it.currentBlock().length() == 1)
                continue;
            start = it.currentBlock().position();
            end = start + it.currentBlock().length() - 1;
        }
        if (from < 0) {
            from = start;
            lead = !pieces.empty() && !it.currentFrame()
                       ? px(it.currentBlock().blockFormat().topMargin())
                       : 0;
        }
        to = end;
    }
    flow();
    return pieces;
}

// Qt's own layout of the whole document, for a report this printing cannot cut into pieces.
int printWhole(QTextDocument& doc, QPagedPaintDevice& device, QPainter& painter, const QSizeF& body,
               const QRectF& foot, const PageProgress& progress) {
    if (dynamic_cast<ContentOnly*>(doc.documentLayout()))
        doc.setDocumentLayout(nullptr); // Qt's layout takes its place
    doc.documentLayout()->setPaintDevice(&device);
    doc.setPageSize(body);
    const int pages = doc.pageCount();
    bool stopped = false;
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            device.newPage();
        painter.save();
        painter.translate(0, -page * body.height());
        doc.drawContents(&painter, QRectF(QPointF(0, page * body.height()), body));
        painter.restore();
        paintFoot(painter, device, doc, foot, page, pages);
        if (progress && !progress(page + 1, pages)) {
            stopped = true;
            break;
        }
    }
    // The device may go once printing is done: the document lays itself out anew for the screen.
    doc.documentLayout()->setPaintDevice(nullptr);
    doc.setPageSize(QSizeF());
    return stopped ? 0 : pages;
}

// Ends the painting; a printer's job is abandoned when printing was stopped.
int endPrinting(QPainter& painter, QPagedPaintDevice& device, int pages) {
    if (pages == 0)
        if (auto* printer = dynamic_cast<QPrinter*>(&device))
            printer->abort();
    if (painter.isActive())
        painter.end();
    return pages;
}

} // namespace

std::unique_ptr<QTextDocument> makeDocument(const QString& html, Messenger* messages) {
    // Every picture is looked up now, so what is left out is told once, before the pages.
    const auto lookUp = [](const LayoutDocument& part) {
        for (QTextBlock b = part.begin(); b.isValid(); b = b.next())
            for (auto it = b.begin(); !it.atEnd(); ++it)
                if (const QTextCharFormat f = it.fragment().charFormat(); f.isImageFormat())
                    part.resource(QTextDocument::ImageResource, QUrl(f.toImageFormat().name()));
    };
    auto doc = std::make_unique<LayoutDocument>();
    doc->setDocumentLayout(new ContentOnly(doc.get()));
    setUpDocument(*doc);
    const std::optional<LongTable> table = longTableOf(html);
    if (!table || qsizetype(table->rows.size()) <= kRunRows) {
        doc->setHtml(html);
    } else {
        const std::vector<qsizetype>& rows = table->rows;
        doc->html = qCompress(html.toUtf8(), 1);
        doc->longTable = table->index;
        doc->setHtml(html.left(rows[kRunRows]) + html.mid(table->close));
        // Each further run: the head, the table's opening and heading, and its rows.
        const QString head =
            html.left(table->bodyEnd) + html.mid(table->open, rows[0] - table->open);
        const bool pictures = head.contains(QLatin1String("url("), Qt::CaseInsensitive) ||
                              head.contains(QLatin1String("<link"), Qt::CaseInsensitive);
        const auto mayShowPictures = [&](const QString& run) {
            const QStringView rowsText = QStringView(run).mid(head.size());
            return pictures || rowsText.contains(QLatin1String("<img"), Qt::CaseInsensitive) ||
                   rowsText.contains(QLatin1String("background"), Qt::CaseInsensitive);
        };
        QStringList held;
        bool apart = true; // the held runs may be read on two threads: none asks for a file
        for (size_t first = kRunRows; first < rows.size(); first += kRunRows) {
            const qsizetype end =
                first + kRunRows < rows.size() ? rows[first + kRunRows] : table->close;
            const QString run = head + html.mid(rows[first], end - rows[first]) +
                                QLatin1String("</table></body></html>");
            if (qsizetype(first) < kHeldRows) {
                apart = apart && !mayShowPictures(run);
                held << run;
                continue;
            }
            // A packed run is read for its pictures only when it may show one.
            if (mayShowPictures(run))
                lookUp(*doc->readRun(run));
            doc->packedRuns.push_back(qCompress(run.toUtf8(), 1));
        }
        // The later half of the held runs is read on a thread of its own meanwhile.
        const qsizetype half = apart ? held.size() / 2 : held.size();
        auto later = std::async(std::launch::async, [&, to = QThread::currentThread()] {
            std::vector<std::unique_ptr<LayoutDocument>> read;
            for (qsizetype i = half; i < held.size(); ++i) {
                read.push_back(doc->readRun(held[i]));
                read.back()->moveToThread(to);
            }
            return read;
        });
        for (qsizetype i = 0; i < half; ++i)
            doc->runs.push_back(doc->readRun(held[i], doc.get()).release());
        for (auto& run : later.get()) {
            run->setParent(doc.get());
            doc->runs.push_back(run.release());
        }
    }
    // The HTML reader keeps no <meta> but the title, so the page's orientation is read here.
    static const QRegularExpression landscape(
        QStringLiteral("<meta\\s+name=\"orientation\"\\s+content=\"landscape\""),
        QRegularExpression::CaseInsensitiveOption);
    doc->setProperty(landscapeProperty, landscape.match(html).hasMatch());
    lookUp(*doc);
    for (const LayoutDocument* run : doc->runs)
        lookUp(*run);
    if (messages && !doc->leftOut.isEmpty())
        messages->say(QStringLiteral("Left out of the report: %1. A layout shows only pictures "
                                     "in the layouts folder or written into the layout, of at "
                                     "most %2 MB each.")
                          .arg(doc->leftOut.join(QStringLiteral(", ")))
                          .arg(kLargestPicture / (1024 * 1024)),
                      Exclamation);
    return doc;
}

std::unique_ptr<QTextDocument> makeFirstLook(const QString& html) {
    auto doc = makeDocument(html);
    doc->setProperty(uncountedProperty, true);
    return doc;
}

bool isLandscape(const QTextDocument& doc) {
    return doc.property(landscapeProperty).toBool();
}

int printDocument(QTextDocument& doc, QPagedPaintDevice& device, const PageProgress& progress) {
    QPainter painter;
    if (!painter.begin(&device))
        throw Error(QStringLiteral("The printer or file cannot be written."));
    // Everything is laid out in the device's own units, so that fonts keep their point sizes.
    const QRect paper = device.pageLayout().paintRectPixels(device.logicalDpiY());
    const qreal footHeight = device.logicalDpiY() * 0.3; // a line of 9 pt text and some air
    const QSizeF body(paper.width(), paper.height() - footHeight);
    const QRectF foot(0, paper.height() - footHeight, body.width(), footHeight);

    auto* content = dynamic_cast<ContentOnly*>(doc.documentLayout());
    if (!content)
        return endPrinting(painter, device, printWhole(doc, device, painter, body, foot, progress));
    auto* layoutDoc = dynamic_cast<LayoutDocument*>(&doc);
    const auto runs = [&](const std::function<void(LayoutDocument&)>& each) {
        if (layoutDoc)
            for (LayoutDocument* run : layoutDoc->runs)
                each(*run);
    };
    // The cells' fonts are measured for the device.
    content->setPaintDevice(&device);
    runs([&](LayoutDocument& run) { run.documentLayout()->setPaintDevice(&device); });
    // The laid-out lines of every cell go with a new layout; the next printing lays them out
    // again for its own device.
    const auto letGo = [&] {
        doc.setDocumentLayout(new ContentOnly(&doc));
        runs([](LayoutDocument& run) { run.setDocumentLayout(new ContentOnly(&run)); });
    };
    std::optional<std::vector<std::unique_ptr<Piece>>> pieces;
    try {
        pieces = piecesOf(doc, device, body.width(), progress);
        if (!pieces) {
            layoutDoc->makeWhole();
            pieces = piecesOf(doc, device, body.width(), progress);
        }
    } catch (const Stopped&) {
        letGo();
        return endPrinting(painter, device, 0);
    }
    const auto pages = paginate(*pieces, body.height());
    if (pages.empty()) {
        if (layoutDoc)
            layoutDoc->makeWhole();
        return endPrinting(painter, device, printWhole(doc, device, painter, body, foot, progress));
    }
    const int count = int(pages.size());
    int printed = count;
    for (int page = 0; page < count; ++page) {
        if (page > 0)
            device.newPage();
        painter.setPen(Qt::black);
        for (const Band& band : pages[size_t(page)]) {
            painter.save();
            painter.translate(0, band.at);
            if (band.heading)
                band.piece->paintHeading(painter);
            else
                band.piece->paint(painter, band.from, band.to);
            painter.restore();
        }
        paintFoot(painter, device, doc, foot, page, count);
        if (progress && !progress(page + 1, count)) {
            printed = 0;
            break;
        }
    }
    endPrinting(painter, device, printed);
    letGo();
    return printed;
}

namespace {
// A device over a file written beside its target: what QPdfWriter writes goes through the
// AtomicFile in large pieces, and the first failure (a full disk) is kept, as the writer does
// not report one.
class AtomicDevice : public QIODevice {
public:
    explicit AtomicDevice(AtomicFile& file) : file_(file) { open(QIODevice::WriteOnly); }
    // Writes what is still held; throws the first failure.
    void finish() {
        put();
        if (failure_)
            throw *failure_;
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        held_.append(data, size);
        if (held_.size() >= 1 << 16)
            put();
        return failure_ ? -1 : size;
    }

private:
    void put() {
        if (!failure_ && !held_.isEmpty()) {
            try {
                file_.write(held_);
            } catch (const Error& e) {
                failure_ = e;
            }
        }
        held_.clear();
    }
    AtomicFile& file_;
    QByteArray held_;
    std::optional<Error> failure_;
};
} // namespace

int writePdf(QTextDocument& doc, const QString& path, const PageProgress& progress) {
    AtomicFile file(path);
    AtomicDevice device(file);
    int pages = 0;
    {
        QPdfWriter pdf(&device);
        pdf.setCreator(QStringLiteral("Tallywright"));
        pdf.setTitle(doc.metaInformation(QTextDocument::DocumentTitle));
        setUpPage(pdf, isLandscape(doc));
        pages = printDocument(doc, pdf, progress);
    }
    if (pages == 0)
        return 0; // stopped: the file goes unwritten
    device.finish();
    file.commit();
    return pages;
}

void writeText(const QString& text, const QString& path) {
    writeFileAtomically(path, text.toUtf8());
}

} // namespace tw::reports
