#include "screens/reports/rptview.h"

#include "render/paged.h"
#include "screens/reports/page_recorder.h"
#include "screens/reports/run_thread.h"
#include "ui/kit.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPaintEvent>
#include <QPainter>
#include <QPrintDialog>
#include <QProgressDialog>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardPaths>
#include <QStyle>
#include <QVBoxLayout>
#include <QtMath>

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>

using ui::named;

namespace {

constexpr int kGap = 12; // screen pixels around each page

RptView::FileChooser& chooser() {
    static RptView::FileChooser c;
    return c;
}

// The folder the last report was saved in, for the next one.
QString& lastFolder() {
    static QString dir = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return dir;
}

} // namespace

QString reportFileName(const QString& project, const QString& bill, const QString& type) {
    static const QRegularExpression unsafe(QStringLiteral("[/\\\\:*?\"<>|]+"));
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    QStringList parts;
    for (const QString& p : {project, bill, type}) {
        QString s = p;
        s.replace(unsafe, QStringLiteral("-"));
        s = s.replace(blanks, QStringLiteral(" ")).trimmed();
        if (!s.isEmpty())
            parts << s;
    }
    return parts.join(u' ') + QStringLiteral(".pdf");
}

void PageStrip::setPage(const QSizeF& size, const QPointF& printable) {
    size_ = size;
    printable_ = printable;
    updateGeometry();
    update();
}

void PageStrip::add(QPicture page) {
    pages.push_back(std::move(page));
    resize(sizeHint());
    update(pageRect(count() - 1).toAlignedRect());
}

void PageStrip::replace(int page, QPicture picture) {
    pages.at(size_t(page)) = std::move(picture);
    update(pageRect(page).toAlignedRect());
}

void PageStrip::clear() {
    pages.clear();
    resize(sizeHint());
    update();
}

void PageStrip::setZoom(qreal zoom) {
    zoom_ = zoom;
    resize(sizeHint());
    update();
}

QSize PageStrip::sizeHint() const {
    const int n = std::max(count(), 1);
    return QSize(qCeil(size_.width() * zoom_) + 2 * kGap,
                 n * (qCeil(size_.height() * zoom_) + kGap) + kGap);
}

QRectF PageStrip::pageRect(int page) const {
    const qreal w = size_.width() * zoom_, h = size_.height() * zoom_;
    const qreal left = std::max<qreal>(kGap, (width() - w) / 2);
    return QRectF(left, kGap + page * (qCeil(h) + kGap), w, h);
}

void PageStrip::paintEvent(QPaintEvent* event) {
    QPainter p(this);
    p.fillRect(event->rect(), palette().dark());
    for (int i = 0; i < count(); ++i) {
        const QRectF r = pageRect(i);
        if (!r.adjusted(0, 0, 3, 3).intersects(event->rect()))
            continue;
        p.fillRect(r.translated(3, 3), palette().shadow());
        p.fillRect(r, Qt::white);
        p.save();
        p.setClipRect(r);
        p.translate(r.topLeft());
        p.scale(zoom_, zoom_);
        p.translate(printable_);
        p.setRenderHint(QPainter::Antialiasing);
        p.setRenderHint(QPainter::TextAntialiasing);
        p.drawPicture(0, 0, pages[size_t(i)]);
        p.restore();
    }
}

void RptView::setFileChooser(FileChooser c) {
    chooser() = std::move(c);
}

RptView::RptView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("RptView"));
    tw::reports::setUpPage(printer);
    printer.setDocName(tr("Report"));
    scroll = named(new QScrollArea(this), "scroll");
    pages = named(new PageStrip, "pages");
    scroll->setWidget(pages);
    scroll->setAlignment(Qt::AlignHCenter);
    scroll->setBackgroundRole(QPalette::Dark);
    scroll->viewport()->installEventFilter(this);
    cmdZoomIn = named(new QPushButton(tr("Zoom &In"), this), "cmdZoomIn");
    cmdZoomOut = named(new QPushButton(tr("Zoom &Out"), this), "cmdZoomOut");
    cmdFitWidth = named(new QPushButton(tr("&Fit Width"), this), "cmdFitWidth");
    cmdPrint = named(new QPushButton(tr("&Print..."), this), "cmdPrint");
    cmdSavePdf = named(new QPushButton(tr("&Save as PDF..."), this), "cmdSavePdf");
    lblPages = named(new QLabel(this), "lblPages");

    auto* tools = new QHBoxLayout;
    tools->addWidget(cmdZoomOut);
    tools->addWidget(cmdZoomIn);
    tools->addWidget(cmdFitWidth);
    tools->addSpacing(12);
    tools->addWidget(lblPages);
    tools->addStretch();
    tools->addWidget(cmdPrint);
    tools->addWidget(cmdSavePdf);
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
    box->addLayout(tools);
    box->addWidget(scroll, 1);

    connect(cmdZoomIn, &QPushButton::clicked, this, [this] { zoomBy(1.25); });
    connect(cmdZoomOut, &QPushButton::clicked, this, [this] { zoomBy(1 / 1.25); });
    connect(cmdFitWidth, &QPushButton::clicked, this, [this] {
        fitting = true;
        fitWidth();
    });
    connect(cmdPrint, &QPushButton::clicked, this, ui::guarded([this] { cmdPrint_clicked(); }));
    connect(cmdSavePdf, &QPushButton::clicked, this, ui::guarded([this] { cmdSavePdf_clicked(); }));
    clear();
}

RptView::~RptView() = default;

void RptView::setReport(std::unique_ptr<QTextDocument> d, const QString& name) {
    startReport(name, tw::reports::isLandscape(*d));
    recordPages(*d, tw::reports::isLandscape(*d), [this](QPicture page) {
        addPage(page);
        return true;
    });
    finishReport(std::move(d));
}

void RptView::startReport(const QString& name, bool landscape) {
    clear();
    pdfName = name;
    tw::reports::setUpPage(printer, landscape);
    const QPageLayout page = printer.pageLayout();
    pages->setPage(page.fullRectPixels(tw::reports::kPageResolution).size(),
                   page.paintRectPixels(tw::reports::kPageResolution).topLeft());
    for (auto* b : {cmdZoomIn, cmdZoomOut, cmdFitWidth})
        b->setEnabled(true);
    // A report is read from its top, whatever was looked at before.
    scroll->verticalScrollBar()->setValue(0);
    if (fitting)
        fitWidth();
}

void RptView::addPage(QPicture page) {
    pages->add(std::move(page));
    showCount();
}

void RptView::replacePage(int page, QPicture picture) {
    pages->replace(page, std::move(picture));
}

void RptView::finishReport(std::unique_ptr<QTextDocument> d) {
    doc = std::move(d);
    printer.setDocName(doc->metaInformation(QTextDocument::DocumentTitle));
    for (auto* b : {cmdPrint, cmdSavePdf})
        b->setEnabled(true);
    showCount();
}

void RptView::clear() {
    doc.reset();
    pdfName.clear();
    pages->clear();
    for (auto* b : {cmdZoomIn, cmdZoomOut, cmdFitWidth, cmdPrint, cmdSavePdf})
        b->setEnabled(false);
    showCount();
}

QPageLayout::Orientation RptView::orientation() const {
    return printer.pageLayout().orientation();
}

void RptView::showCount() {
    const int n = pages->count();
    lblPages->setText(n == 0 ? QString()
                      : doc  ? tr("%n page(s)", nullptr, n)
                             : tr("%n page(s) so far", nullptr, n));
}

void RptView::fitWidth() {
    const qreal width = pages->pageSize().width();
    if (width > 0)
        pages->setZoom((scroll->viewport()->width() - 2 * kGap) / width);
}

void RptView::zoomBy(qreal factor) {
    fitting = false;
    pages->setZoom(pages->zoom() * factor);
}

bool RptView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == scroll->viewport() && event->type() == QEvent::Resize && fitting)
        fitWidth();
    return QWidget::eventFilter(watched, event);
}

void RptView::cmdPrint_clicked() {
    if (!doc)
        return;
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(tr("Print Report"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    printApart(tr("Print Report"), [this](QTextDocument& d, const tw::reports::PageProgress& told) {
        return tw::reports::printDocument(d, printer, told);
    });
}

bool RptView::printApart(
    const QString& title,
    const std::function<int(QTextDocument&, const tw::reports::PageProgress&)>& print) {
    if (!printing)
        printing = std::make_unique<RunThread>();
    std::optional<ui::BusyCursor> busy(std::in_place);
    QProgressDialog progress(tr("Laying out the pages..."), tr("Cancel"), 0, 0, this);
    progress.setWindowTitle(title);
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setMinimumDuration(std::numeric_limits<int>::max()); // shown as the call finds slow
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    std::atomic<bool> cancelled{false};
    // The dialog goes at once; the window waits, taking no input, for the printing to stop.
    // Escape rejects the dialog without its Cancel.
    const auto cancel = [&] {
        if (cancelled.exchange(true))
            return;
        busy.emplace();
        printing->stopTakingInput();
    };
    connect(&progress, &QProgressDialog::canceled, this, cancel);
    connect(&progress, &QDialog::rejected, this, cancel);
    const tw::reports::PageProgress told = [&](int page, int pages) {
        if (pages == 0) // still laying out
            return !cancelled;
        QMetaObject::invokeMethod(
            &progress,
            [&progress, page, pages] {
                progress.setLabelText(tr("Page %1 of %2").arg(page).arg(pages));
                progress.setMaximum(pages);
                progress.setValue(page);
            },
            Qt::QueuedConnection);
        return !cancelled;
    };
    QThread* home = thread();
    doc->moveToThread(&printing->thread());
    int pages = 0;
    // The document comes back whatever befalls the printing.
    printing->call(
        [&] {
            try {
                pages = print(*doc, told);
            } catch (...) {
                doc->moveToThread(home);
                throw;
            }
            doc->moveToThread(home);
        },
        [&] {
            busy.reset(); // the dialog's Cancel takes clicks
            progress.show();
        });
    return pages > 0;
}

void RptView::cmdSavePdf_clicked() {
    if (!doc)
        return;
    const QString proposed = QDir(lastFolder()).filePath(pdfName);
    QString path = chooser() ? chooser()(this, proposed)
                             : QFileDialog::getSaveFileName(this, tr("Save as PDF"), proposed,
                                                            tr("PDF files (*.pdf)"));
    if (path.isEmpty())
        return;
    if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        path += QStringLiteral(".pdf");
    if (printApart(tr("Save as PDF"), [&](QTextDocument& d, const tw::reports::PageProgress& told) {
            return tw::reports::writePdf(d, path, told);
        }))
        lastFolder() = QFileInfo(path).absolutePath();
}
