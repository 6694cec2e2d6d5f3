#pragma once
// Select File: picks the workbook to import. The file dialog stands in the screen, showing
// workbooks only; a path may also be typed.

#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

class Frm_ImpFile : public QDialog {
    Q_OBJECT
public:
    explicit Frm_ImpFile(QWidget* parent = nullptr);

    QFileDialog* File1;
    QLineEdit* txt_destname;
    QPushButton* cmd_ok;
    QPushButton* cmd_cancel;

    // The path taken by Ok.
    QString path() const { return txt_destname->text(); }

    void File1_currentChanged(const QString& path);
    // A double click on a file is Ok.
    void File1_fileSelected(const QString& path);
    void cmd_ok_clicked();
};
