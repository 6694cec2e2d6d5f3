#pragma once
// The project information board: a launcher for the seven most used screens.

#include "ui/screen.h"

#include <QPushButton>
#include <QRadioButton>

class frm_ContractInfo : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_ContractInfo(QWidget* parent = nullptr);
    ~frm_ContractInfo() override;

    QRadioButton* exopt;
    QRadioButton* newopt;
    QRadioButton* Option1;
    QRadioButton* Option2;
    QRadioButton* Option3;
    QRadioButton* Option4;
    QRadioButton* Option5;
    QPushButton* cmdok;
    QPushButton* cmdCancel;

    void cmdok_clicked();
    void cmdCancel_clicked();

protected:
    // The keys of the options: an arrow picks the option it moves to, Enter presses Go.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QList<QRadioButton*> options() const;
};
