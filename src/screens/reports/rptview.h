#pragma once
// The report viewer: the rendered report as it will print, page by page, with zoom, Print and
// Save as PDF.

#include "render/paged.h"

#include <QLabel>
#include <QPicture>
#include <QPrinter>
#include <QPushButton>
#include <QString>
#include <QTextDocument>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

class QScrollArea;
class RunThread;

// The pages of a report, one under the other, at the viewer's zoom.
class PageStrip : public QWidget {
public:
    explicit PageStrip(QWidget* parent = nullptr) : QWidget(parent) {}
    // The page's size and where its printable area (what a page's picture holds) lies on it,
    // in the pixels of the printed page.
    void setPage(const QSizeF& size, const QPointF& printable);
    void add(QPicture page);
    void replace(int page, QPicture picture);
    void clear();
    int count() const { return int(pages.size()); }
    const QPicture& page(int page) const { return pages.at(size_t(page)); }
    // Screen pixels a printed pixel.
    void setZoom(qreal zoom);
    qreal zoom() const { return zoom_; }
    QSizeF pageSize() const { return size_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF pageRect(int page) const;

    std::vector<QPicture> pages;
    QSizeF size_;
    QPointF printable_;
    qreal zoom_ = 0.25;
};

class RptView : public QWidget {
    Q_OBJECT
public:
    explicit RptView(QWidget* parent = nullptr);
    ~RptView() override;

    // Shows a report; `pdfName` is the file name Save as PDF proposes.
    void setReport(std::unique_ptr<QTextDocument> doc, const QString& pdfName);
    // The same in three parts, for pages made elsewhere: no page yet, each page as it comes,
    // and the document they came from, which Print and Save as PDF use.
    void startReport(const QString& pdfName, bool landscape);
    void addPage(QPicture page);
    // A page shown before the whole report was made, made again with it.
    void replacePage(int page, QPicture picture);
    void finishReport(std::unique_ptr<QTextDocument> doc);
    // Lets the report go and shows nothing.
    void clear();
    const QTextDocument* document() const { return doc.get(); }

    int pageCount() const { return pages->count(); }
    QPageLayout::Orientation orientation() const;

    QScrollArea* scroll;
    PageStrip* pages;
    QPushButton* cmdZoomIn;
    QPushButton* cmdZoomOut;
    QPushButton* cmdFitWidth;
    QPushButton* cmdPrint;
    QPushButton* cmdSavePdf;
    QLabel* lblPages;

    void cmdPrint_clicked();
    void cmdSavePdf_clicked();

    // Where Save as PDF asks for a file name: given the proposed path, gives the chosen one, or
    // an empty text when the user cancels. Tests put an answerer here; empty restores the dialog.
    using FileChooser = std::function<QString(QWidget* parent, const QString& proposed)>;
    static void setFileChooser(FileChooser chooser);

private:
    void showCount();
    void fitWidth();
    void zoomBy(qreal factor);
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Lays the report out again for `print` on a thread of its own: a long report takes about as
    // long as it took to make, and the window goes on painting meanwhile. Past half a second a
    // dialog titled `title` counts the pages, its Cancel stopping the printing. False when
    // cancelled.
    bool
    printApart(const QString& title,
               const std::function<int(QTextDocument&, const tw::reports::PageProgress&)>& print);

    bool fitting = true; // the pages follow the viewer's width until zoomed

    QPrinter printer; // set up as the saved PDF is, so that both have the same pages
    std::unique_ptr<QTextDocument> doc;
    QString pdfName;
    std::unique_ptr<RunThread> printing; // made at the first Print or Save as PDF
};

// The file name a saved report proposes: "<project> <bill> <type>.pdf", with characters that
// cannot stand in a file name made dashes and an empty bill left out.
QString reportFileName(const QString& project, const QString& bill, const QString& type);
