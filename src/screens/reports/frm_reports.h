#pragma once
// The report screen: pick a type of report, a project and, for most types, an estimate or bill;
// Generate fills the type's working table and shows its layout in the viewer. The screen keeps
// one report run while it is open.

#include "core/reports/report_run.h"
#include "screens/reports/rptview.h"
#include "screens/reports/run_thread.h"
#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>

#include <memory>

class Frm_Reports : public ui::Screen {
    Q_OBJECT
public:
    explicit Frm_Reports(QWidget* parent = nullptr);
    ~Frm_Reports() override;

    // Choosing: the type, project and bill.
    QGroupBox* Frame5;
    QLabel* Picture5;
    QLabel* Label6;
    QComboBox* TypeofReport;
    QLabel* Label49;
    QComboBox* CmbdetCnum; // projects by name
    QLabel* Label46;
    QComboBox* CmbBillnum;
    QPushButton* Command4; // Generate
    // How far the report being generated has come, and its Cancel.
    QProgressBar* prgRun;
    QPushButton* cmdCancel;
    // The electrical and plumbing shares of an abstract estimate.
    QGroupBox* Frame10;
    QLineEdit* txtEWP;
    QLineEdit* txtWWS;
    QPushButton* Command3;
    // The bills raised report: for a project or for a period.
    QGroupBox* Frame14;
    QRadioButton* Option1;
    QRadioButton* Option2;
    ui::DateEdit* Fromdate;
    ui::DateEdit* Todate;
    QPushButton* Command15;
    // Deductions typed against a running bill.
    QGroupBox* Frame11;
    QLineEdit* txtdedDec;
    QLineEdit* txtdedQty;
    QComboBox* cmb_lbl; // the unit label, picked or typed
    QLineEdit* txtdedRate;
    QPushButton* CmdAdToGrd;
    QPushButton* CmdDlFmGrd;
    QTreeWidget* LstVwDd;
    QLineEdit* Text7; // the total of the grid
    QPushButton* Command5;
    QPushButton* Command6;
    QLabel* Label3;
    // Viewing.
    ::RptView* RptView;
    QPushButton* Cmdrepexit;
    QPushButton* Command1; // never shown: runs the net pass over the estimate rows

    void TypeofReport_activated();
    void CmbdetCnum_activated();
    void CmbBillnum_activated();
    void Command3_clicked();
    void Option2_clicked();
    void Command15_clicked();
    void Command4_clicked(); // GenerateReport
    void cmdCancel_clicked();
    void Cmdrepexit_clicked();
    void Command1_clicked();
    // The deductions entry of an abstract bill.
    void txtdedDec_textEdited();
    void CmdAdToGrd_clicked();
    void CmdDlFmGrd_clicked();
    void LstVwDd_itemClicked();
    void LstVwDd_itemDoubleClicked();
    void Command5_clicked();
    void Command6_clicked();

    void FillProjects();
    // The bill list of the picked project, from the table its type names: measurement lines, or
    // steel for the reinforcement report.
    void FillBillNumbers(const QString& table);
    void GenerateReport();
    // The viewer in place of the choices, for the pages to come.
    void ReportShow(const tw::reports::ReportType& type, bool landscape);
    // A report is being generated: its rows filled and its document made, off the window.
    bool running() const { return running_; }
    // The picked bill of an abstract bill: its deductions, and whether it is frozen.
    void OpenBill();
    void LoadDeductions();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The catalogue's entry of the type picked.
    const tw::reports::ReportType& entry() const;
    void CheckSelections(const tw::reports::ReportType& type);
    // Fills and renders the report on a thread of its own; the screen shows it when done.
    void startRun(const tw::reports::ReportType& type);
    struct Job;
    void runEnded(std::exception_ptr failure);
    // Lets the run's rows and thread go.
    void dropRun();
    // The viewer let go and the choices shown, as the screen opened.
    void backToChoosing();

    // Takes the hourglass off, if a save of the deductions left it on.
    void restoreCursor();

    tw::reports::ReportRun run;
    // The thread of the report generated and its run, kept until the report is left.
    std::unique_ptr<RunThread> thread_;
    std::shared_ptr<Job> job_;
    bool running_ = false;
    // The row of LstVwDd last clicked, counted from 1; 0 when none.
    qint16 selected_row = 0;
    bool hourglass_ = false;
    // An arrow key is stepping through the bills: the focus stays in the list.
    bool steppingBills_ = false;
};
