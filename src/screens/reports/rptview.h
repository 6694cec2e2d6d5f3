#pragma once
// The report viewer: the rendered report as it will print, page by page, with zoom, Print and
// Save as PDF.

#include <QLabel>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QPushButton>
#include <QString>
#include <QTextDocument>
#include <QWidget>

#include <functional>
#include <memory>

class RptView : public QWidget {
    Q_OBJECT
public:
    explicit RptView(QWidget* parent = nullptr);
    ~RptView() override;

    // Shows a report; `pdfName` is the file name Save as PDF proposes.
    void setReport(std::unique_ptr<QTextDocument> doc, const QString& pdfName);
    // Lets the report go and shows nothing.
    void clear();
    const QTextDocument* document() const { return doc.get(); }

    QPrintPreviewWidget* preview;
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
    void preview_paintRequested(QPrinter* printer);
    void preview_previewChanged();

    QPrinter printer; // set up as the saved PDF is, so that both have the same pages
    std::unique_ptr<QTextDocument> doc;
    QString pdfName;
};

// The file name a saved report proposes: "<project> <bill> <type>.pdf", with characters that
// cannot stand in a file name made dashes and an empty bill left out.
QString reportFileName(const QString& project, const QString& bill, const QString& type);
