#pragma once
// Schedule of works: the items of one project (Sch_master), each with its unit, category, type
// of measure and unit rate. The item number alone decides between adding and changing: saving a
// number the project has already overwrites that item.

#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QTreeWidget>

class frm_schentry : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_schentry(QWidget* parent = nullptr);
    ~frm_schentry() override;

    // Wide enough for every column of the list as its lines need them, within what a 1366x768
    // display leaves a screen of the frame.
    QSize sizeHint() const override;

    QGroupBox* fraSchedule;
    QComboBox* cmb_projname;
    QLineEdit* txt_schnum;
    QTextEdit* RtItmDsc; // its plain text is the item description
    QComboBox* cmb_category;
    QComboBox* cmb_volarea;
    QComboBox* cmb_unitnos;
    QLabel* unitlbl; // the unit label the type of measure gives ("S ft", "Cu Mt", "Sets")
    QLineEdit* txtschitemrate;
    QPushButton* cmd_save_sch;
    QPushButton* cmd_delete;
    QTreeWidget* schlist;

    // Columns of schlist.
    enum Column { SlNo, SchNo, Description, Category, UnitRate, UnitLabel, TypeOfMeasure };

    // Fills the lists and picks the first project, as the screen opens.
    void loadLists();
    // Keeps the picked project's number and measure system and lists its items.
    void cmb_projname_activated();
    // Lists the items of the kept project in store order. The line of item `current` (else the
    // first line) becomes the list's current line, so the keyboard finds its place again.
    void ReloadList(const QString& current = {});
    // Puts the category's rate in the rate field.
    void cmb_category_activated();
    // Sets the unit label from the type of measure and the project's measure system.
    void cmb_volarea_activated();
    // A picked line with an item number allows deleting it.
    void schlist_itemClicked();
    // A line reached with the arrow keys is picked as a click picks it.
    void schlist_itemSelectionChanged() { schlist_itemClicked(); }
    // Loads the item of the line into the fields; the stored rate wins over the category's.
    void schlist_itemActivated(QTreeWidgetItem* item);
    // Checks the fields, then adds the item or overwrites the one with the same number.
    void cmd_save_sch_clicked();
    void cmd_delete_clicked();

private:
    // The line picked in the list, or null.
    QTreeWidgetItem* pickedLine() const;

    QString contractNum_;
    QString units_;
};
