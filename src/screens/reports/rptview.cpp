#include "screens/reports/rptview.h"

#include "render/paged.h"
#include "ui/kit.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPrintDialog>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStyle>
#include <QVBoxLayout>

using ui::named;

namespace {

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

void RptView::setFileChooser(FileChooser c) {
    chooser() = std::move(c);
}

RptView::RptView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("RptView"));
    tw::reports::setUpPage(printer);
    printer.setDocName(tr("Report"));
    preview = named(new QPrintPreviewWidget(&printer, this), "preview");
    preview->setZoomMode(QPrintPreviewWidget::FitToWidth);
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
    box->addWidget(preview, 1);

    connect(preview, &QPrintPreviewWidget::paintRequested, this,
            [this](QPrinter* p) { ui::guard([&] { preview_paintRequested(p); }); });
    connect(preview, &QPrintPreviewWidget::previewChanged, this,
            [this] { preview_previewChanged(); });
    connect(cmdZoomIn, &QPushButton::clicked, preview, [this] { preview->zoomIn(1.25); });
    connect(cmdZoomOut, &QPushButton::clicked, preview, [this] { preview->zoomOut(1.25); });
    connect(cmdFitWidth, &QPushButton::clicked, preview, &QPrintPreviewWidget::fitToWidth);
    connect(cmdPrint, &QPushButton::clicked, this, ui::guarded([this] { cmdPrint_clicked(); }));
    connect(cmdSavePdf, &QPushButton::clicked, this, ui::guarded([this] { cmdSavePdf_clicked(); }));
    clear();
}

RptView::~RptView() = default;

void RptView::setReport(std::unique_ptr<QTextDocument> d, const QString& name) {
    doc = std::move(d);
    pdfName = name;
    tw::reports::setUpPage(printer, tw::reports::isLandscape(*doc));
    printer.setDocName(doc->metaInformation(QTextDocument::DocumentTitle));
    for (auto* b : {cmdZoomIn, cmdZoomOut, cmdFitWidth, cmdPrint, cmdSavePdf})
        b->setEnabled(true);
    preview->updatePreview();
    // A report is read from its top, whatever was looked at before.
    preview->setCurrentPage(1);
}

void RptView::clear() {
    doc.reset();
    pdfName.clear();
    for (auto* b : {cmdZoomIn, cmdZoomOut, cmdFitWidth, cmdPrint, cmdSavePdf})
        b->setEnabled(false);
    preview->updatePreview();
}

void RptView::preview_paintRequested(QPrinter* p) {
    if (doc)
        tw::reports::printDocument(*doc, *p);
}

void RptView::preview_previewChanged() {
    const int pages = preview->pageCount();
    lblPages->setText(doc && pages > 0 ? tr("%n page(s)", nullptr, pages) : QString());
}

void RptView::cmdPrint_clicked() {
    if (!doc)
        return;
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(tr("Print Report"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    tw::reports::printDocument(*doc, printer);
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
    ui::BusyCursor busy;
    tw::reports::writePdf(*doc, path);
    lastFolder() = QFileInfo(path).absolutePath();
}
