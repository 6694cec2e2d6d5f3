#pragma once
// Organisation set-up: the contractor's own name and address, kept in Tallywright.cfg (not in
// the database) for the heading of reports.

#include "ui/screen.h"

#include <QLineEdit>
#include <QPushButton>

class frm_setup : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_setup(QWidget* parent = nullptr);

    void CmdSave_clicked();
    void cmdCancel_clicked();

    QLineEdit* txtnameoforg;
    QLineEdit* txtadd1;
    QLineEdit* txtadd2;
    QLineEdit* txtcity;
    QLineEdit* txtpin;
    QLineEdit* txtemail;
    QLineEdit* txturl;
    QLineEdit* txtphone1;
    QLineEdit* txtphone2;
    QLineEdit* txtmobile;
    QLineEdit* txtfax;
    QLineEdit* txtceo;
    QPushButton* CmdSave;
    QPushButton* cmdCancel;

private:
    // The organisation fields in the order of their lines in the file.
    QList<QLineEdit*> fields() const;
    void load();
    // The look values the screen writes back after the organisation lines: the colours empty,
    // the font lines the defaults when the file stood at load.
    QStringList look_;
};
