#pragma once
// The book of standard category items: each item of one measure system is built from at most
// ten materials with a quantity per unit and a cost per unit, and its unit rate is their sum.

#include "ui/screen.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

class catrateanal : public ui::Screen {
    Q_OBJECT
public:
    explicit catrateanal(QWidget* parent = nullptr);
    ~catrateanal() override;

    QGroupBox* fraUnits; // "Rate Analysis for Categories"
    QComboBox* cmb_units;
    QPushButton* btngo;
    QGroupBox* fraRateAnalysis; // hidden until Go
    QLineEdit* txtcatname;
    QLineEdit* txtcatdesc;
    QComboBox* cmb_volarea;
    QComboBox* cmbunitnos;
    QLabel* Label7;
    QComboBox* cmbmatl;
    QLineEdit* txtmatqty;
    QLineEdit* txt_unitlbl;
    QLineEdit* txt_unitrt;
    QLineEdit* txt_amt;
    QLineEdit* txt_item_unit_cost;
    QPushButton* savematl;
    QPushButton* delmatl;
    QTreeWidget* matlist;
    QPushButton* saverate;
    QPushButton* clrfrm;
    QPushButton* delcatitem;
    QTreeWidget* catlist;

    enum MatColumn { MatSlNo, MatMaterial, MatQty, MatUnits, MatCost, MatAmount };

    // "M" for Metre; anything else works on the Feet table.
    QString measure_system;

    void btngo_clicked();
    void FillCategoryList();
    void FillUnitNos();
    void FillMeasureTypes();
    void FillMaterialCombo();
    void LookupMaterial();
    void ShowUnitLabel();
    void ClearCategoryForm();
    void cmb_volarea_editingFinished();
    void cmbmatl_activated();
    void cmbmatl_editingFinished();
    void clrfrm_clicked();
    void txtmatqty_textChanged();
    void txtmatqty_editingFinished();
    void savematl_clicked();
    void matlist_itemClicked();
    void matlist_itemDoubleClicked();
    void delmatl_clicked();
    void saverate_clicked();
    void catlist_itemDoubleClicked();
    void delcatitem_clicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The frame of the analysis stands below the choice of system once Go is pressed: the
    // window (the frame's child window, when it has one) grows to show it whole, as far as the
    // frame's work area allows.
    void growToShowAll();
};
