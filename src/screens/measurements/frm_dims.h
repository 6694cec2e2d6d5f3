#pragma once
// Measurements entry: the lines of an estimate or bill, one shape with up to four dimensions
// and a quantity each, kept in BillMaster. A line is found by project, bill, schedule item and
// narration; saving a line that is found overwrites it.

#include "ui/screen.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QString>
#include <QTreeWidget>

#include <array>

class frm_dims : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_dims(QWidget* parent = nullptr);
    ~frm_dims() override;

    QComboBox* cmb_proj_name;
    QComboBox* cmb_bill_num; // takes typed text: a new bill is born with its first line
    QTreeWidget* Lst_Schd;
    QPlainTextEdit* rt_sch_item;
    QLineEdit* txt_narration;
    QComboBox* cmb_shape;
    QLabel* lbldim1;
    QLabel* lbldim2;
    QLabel* lbldim3;
    QLabel* lbldim4;
    QLineEdit* txtdim1; // whole feet or metres
    QLineEdit* txtdim2;
    QLineEdit* txtdim3;
    QLineEdit* txtdim4;
    QLineEdit* txtdim11; // inches, or the decimal digits of the metre
    QLineEdit* txtdim22;
    QLineEdit* txtdim33;
    QLineEdit* txtdim44;
    QLabel* Label89; // unit captions of the whole fields: "Feet" or "Metres"
    QLabel* Label90;
    QLabel* Label91;
    QLabel* Label92;
    QLabel* Label93; // unit captions of the fractional fields: "Inches" or "CMs"
    QLabel* Label94;
    QLabel* Label95;
    QLabel* Label96;
    QLineEdit* txt_qty;
    QComboBox* cmbbillded; // "No" or "Yes": whether the line is a deduction
    QPushButton* cmd_mes_save;
    QPushButton* cmd_delete;
    QTreeWidget* dimlist;

    void cmb_proj_name_activated();
    void cmb_bill_num_activated();
    void Lst_Schd_itemClicked();
    void Lst_Schd_itemSelectionChanged();
    void cmb_shape_activated();
    void cmd_mes_save_clicked();
    void dimlist_itemClicked();
    void dimlist_itemDoubleClicked();
    void cmd_delete_clicked();

    // Fills dimlist with the lines of the chosen project and the bill in cmb_bill_num, in the
    // order the store gives them.
    void Show_Measurements();

private:
    void selectShape(int index);

    std::array<QLabel*, 4> lbldim_{};
    std::array<QLineEdit*, 4> whole_{};
    std::array<QLineEdit*, 4> frac_{};

    QString contract; // tw_contract_num of the chosen project
    QString units;    // its tw_units, "Feet" or "Metre"
    QString sch;      // tw_sch_num of the picked schedule item
};
