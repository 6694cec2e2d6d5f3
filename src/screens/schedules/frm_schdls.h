#pragma once
// Add / Copy Schedules: builds the schedule of one project from another's. The destination is
// picked first and for good; its own items start the staging grid, the source's items are
// moved in one by one or all together, and nothing reaches the store before Save.

#include "core/schedules/schedules.h"
#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QPushButton>
#include <QTreeWidget>

#include <vector>

class Frm_Schdls : public ui::Screen {
    Q_OBJECT
public:
    explicit Frm_Schdls(QWidget* parent = nullptr);

    QComboBox* cmb_toproj;
    QComboBox* CmbSchItm;
    QTreeWidget* Lst_Schd;  // the source's items: number and description
    QTreeWidget* Lst_SchdA; // the staging grid
    QPushButton* CmdSngl;
    QPushButton* CmdDbl;
    QPushButton* CmdRmv;
    QPushButton* CmdSvSch;
    QPushButton* CmdCncSch;

    enum StagedColumn { SchNo, Description, Units, UnitLabel, Rate, Category, TypeOfMeasure };

    // Lists the projects a destination is picked from, as the screen opens.
    void loadProjects();
    void cmb_toproj_activated();
    void CmbSchItm_activated();
    void Lst_Schd_itemClicked(QTreeWidgetItem* item);
    void Lst_SchdA_itemClicked(QTreeWidgetItem* item);
    void CmdSngl_clicked();
    void CmdDbl_clicked();
    void CmdRmv_clicked();
    void CmdSvSch_clicked();

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    void stage(const tw::schedules::StagedItem& item);

    QString dest_contract;
    QString source_contract;
    std::vector<tw::schedules::StagedItem> staged_; // the grid's rows, in its order
    int sourceRow_ = -1;
    int stagedRow_ = -1;
    QString sourceDescription_;
};
