#pragma once
// The analysis of one schedule item of a project: the rows of its category item, changed row
// by row with cost items. Saving rewrites the shared category item and sets the schedule
// item's rate to the total.

#include "ui/screen.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTextEdit>
#include <QTreeWidget>

class Frm_RateAnalysis : public ui::Screen {
    Q_OBJECT
public:
    explicit Frm_RateAnalysis(QWidget* parent = nullptr);
    ~Frm_RateAnalysis() override;

    QComboBox* CmbCntrNm; // the project names
    QLineEdit* TxtUnits;  // the project's measure system
    QTreeWidget* LstVwSchedule;
    QTextEdit* RTB_Schedule;
    QComboBox* CmbCatgry;
    QLineEdit* TxtUnts; // the schedule item's unit
    QComboBox* CmbItems;
    QLineEdit* TxtQty;
    QLineEdit* TxtRate;
    QPushButton* CmdAdd;
    QPushButton* CmdDel;
    QTreeWidget* LstVwItmDtls;
    QLineEdit* TxtTotAmt;
    QPushButton* CmdSave;
    QPushButton* CmdCancl;
    QPushButton* CmdExit;

    enum ItemColumn { SlNo, ItemDesc, Qty, Rate, Amount };

    void CmbCntrNm_activated();
    void LstVwSchedule_itemPressed(QTreeWidgetItem* item);
    void LstVwSchedule_mouseReleased();
    void CmbItems_activated();
    void CmdAdd_clicked();
    void LstVwItmDtls_itemClicked(QTreeWidgetItem* item);
    void LstVwItmDtls_itemDoubleClicked();
    // The right button over the list: the frame's pop-up "RateAnalysis" with its one entry
    // "Edit"; whatever the entry did, saving and deleting wait for the next add.
    void LstVwItmDtls_customContextMenuRequested(const QPoint& pos);
    void mnurtedt_triggered();
    void CmdDel_clicked();
    void CmdSave_clicked();
    void CmdCancl_clicked();
    void CmdExit_clicked();
    void SumAnalysisRows();

    // The pop-up: the frame's own when the screen stands in the frame, else one of the screen.
    QMenu* mnurtanl() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Puts the row at analysis_row_index back into the entry fields and takes it off the list.
    void editRow();

    QString contractNum_;
    QString scheduleDesc_;
    QPointer<QMenu> ownMenu_;
    // The row of the grid last clicked, counted from 1; 0 while none was.
    qint16 analysis_row_index = 0;
};
