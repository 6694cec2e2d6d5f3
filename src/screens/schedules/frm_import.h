#pragma once
// Import / Export Form: a project's own schedule table written to a workbook (export mode) or
// read in from one (import mode).

#include "core/schedules/schedules.h"
#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <optional>

class Frm_Import : public ui::Screen {
    Q_OBJECT
public:
    // Opens for import; the frame then sets the mode its menu entry asks for (setImportMode).
    explicit Frm_Import(QWidget* parent = nullptr);

    // Export only (true): the import's file fields and button are off. Import (false): export is.
    void setImportMode(bool exportOnly);

    QComboBox* CmbCntrctNm; // holds the project numbers
    QLineEdit* Txt_FileName;
    QPushButton* CmdBrowse;
    QPushButton* CmdImport;
    QPushButton* CmdExport;
    QPushButton* CmdExit;
    QLabel* Lbl_Import;

    // Lists the project numbers, as the screen opens.
    void loadProjects();
    void CmbCntrctNm_activated();
    void CmdBrowse_clicked();
    void CmdImport_clicked();
    void CmdExport_clicked();

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    std::optional<tw::schedules::Project> project_;
    bool importing_ = false;
};
