#pragma once
// The price list of building materials. Saving a material prices every category item again.

#include "ui/screen.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

class matls : public ui::Screen {
    Q_OBJECT
public:
    explicit matls(QWidget* parent = nullptr);
    ~matls() override;

    QLineEdit* cmb_matdesc;
    QLineEdit* matrate;
    QComboBox* cmb_unitlbl;
    QTreeWidget* matlist1;
    QPushButton* savematl;
    QPushButton* matlcancel; // deletes the selected material

    // Cells of matlist1. The description stands under the heading "Units" and the unit label
    // under "Material Description": the users read the list that way and know it.
    enum Column { SlNo, Description, UnitLabel, Rate };

    void RefreshMaterialList();
    void savematl_clicked();
    void matlist1_itemDoubleClicked();
    void matlcancel_clicked();
};
