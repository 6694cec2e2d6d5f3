#pragma once
// Reinforcement entry: the steel schedule of a bill, one line a narration with its bar
// diameter, number of bars and length per bar, kept in reinforcementmaster. A line is found by
// project, bill and narration; saving a narration already in the bill overwrites its line.

#include "ui/screen.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QTreeWidget>

class Frm_Reinforcement : public ui::Screen {
    Q_OBJECT
public:
    explicit Frm_Reinforcement(QWidget* parent = nullptr);
    ~Frm_Reinforcement() override;

    QComboBox* CmbCntNum; // projects by name
    QComboBox* CmbBlNo;   // "Add New", then the project's bills; takes typed text
    QLineEdit* rtb_nrtn;
    QComboBox* CmbDia; // "Add New", then the known diameters; takes typed text
    QLineEdit* TxtNos;
    QLineEdit* TxtMtFt; // feet or metres
    QLineEdit* TxtCmIn; // inches or centimetres
    QLineEdit* TxtRmrks;
    QLabel* LblMtFt; // "Ft" or "Mt": the unit every length rule of the screen goes by
    QLabel* LblCmIn; // "Ins" or "Cms"
    QLabel* Label1;  // heading over the two length fields
    QPushButton* CmdAdd;
    QPushButton* CmdRem;
    QPushButton* CmdCancl;
    QPushButton* CmdSave;
    QPushButton* CmdExit;
    QTreeWidget* LstVwRnftDet;

    void CmbCntNum_activated();
    void CmbBlNo_activated();
    void CmdAdd_clicked();
    void LstVwRnftDet_itemClicked(QTreeWidgetItem* item);
    void LstVwRnftDet_itemDoubleClicked(QTreeWidgetItem* item);
    void CmdRem_clicked();
    void CmdCancl_clicked();
    void CmdSave_clicked();
    void CmdExit_clicked();
    // Leaving the field, every time (also with the text unchanged), once the focus has moved.
    void CmbBlNo_editingFinished();
    void CmbDia_editingFinished();
    void TxtCmIn_editingFinished();

    // Empties the grid and fills it with the lines of the chosen project and the bill in
    // CmbBlNo, numbered from 1, with each line's length and total length.
    void Show_Reinforcement();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString contract; // tw_contract_num of the chosen project
    QString units;    // its tw_units
    // The row of the grid last clicked, counted from 1; 0 while none was.
    qint16 analysis_row_index = 0;
};
