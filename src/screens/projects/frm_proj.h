#pragma once
// Project definition: adds and changes the rows of ContractMaster. A project is found by its Id;
// saving an Id that exists overwrites that project, a new Id adds one. Projects are never
// deleted.

#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QDate>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>

class frm_proj : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_proj(QWidget* parent = nullptr);
    ~frm_proj() override;

    QGroupBox* fraProject;
    QGroupBox* fraClient;
    QComboBox* cmbcontractno;
    QLineEdit* txtcontractname;
    QLineEdit* txtclientref;
    ui::DateEdit* txtclientrefdate;
    ui::DateEdit* txtclientstartdate;
    ui::DateEdit* txtclientenddate;
    QLineEdit* txttaxrate;
    QComboBox* txtunitrate; // the measure system, "Feet" or "Metre"
    QLineEdit* txtclientname;
    QLineEdit* txtclientcontact;
    QLineEdit* txtclientadd1;
    QLineEdit* txtclientadd2;
    QLineEdit* txtclientcity;
    QLineEdit* txtclientpin;
    QLineEdit* txtclientphone1;
    QLineEdit* txtclientphone2;
    QLineEdit* txtclientmobile;
    QLineEdit* txtclientemail;
    QLineEdit* txtclienturl;
    QPushButton* cmdcontractsave;
    QPushButton* cmdcontractclose;

    // Fills the Id list in store order, as the screen opens.
    void loadIds();
    // Warns once the typed Id is longer than the column takes; the text stays.
    void cmbcontractno_textEdited();
    // Shows the project of the picked Id and remembers its start and end dates.
    void cmbcontractno_activated();
    // A rate over 99 is refused and the field emptied.
    void txttaxrate_textChanged();
    // On leaving a date: a start after the end (or an end before the start) is refused and the
    // date put back.
    void txtclientstartdate_editingFinished();
    void txtclientenddate_editingFinished();
    // Checks the fields in a fixed order, then writes the project in one transaction.
    void cmdcontractsave_clicked();
    // Empties the project and client fields for the next project; the screen stays open.
    void cmdcontractclose_clicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The dates of the project last shown, put back when a date check fails.
    QDate rememberedStart_;
    QDate rememberedEnd_;
    bool checkingDate_ = false; // a date check is showing its message
    bool leavingDate_ = false;  // the last focus-out of a date field left it
};
