#pragma once
// Payments and receipts: what was received or paid against a raised bill, with the tax deducted
// at source and other recoveries. A record is added or deleted, never changed: a correction is
// a deletion and a new record.

#include "ui/kit.h"
#include "ui/screen.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

class frm_payment : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_payment(QWidget* parent = nullptr);
    ~frm_payment() override;

    QComboBox* CmbPayCno;
    QComboBox* Cmbpaybillno;
    QLineEdit* txt_bl_amount;
    ui::DateEdit* BillDate;
    QLineEdit* txt_receiptno;
    QLineEdit* txt_amount;
    QLineEdit* txt_tds;
    QLineEdit* txt_recoveries;
    QComboBox* cmb_typofpmnt;
    QLineEdit* txt_chkno;
    ui::DateEdit* dt_chkdt;
    QLineEdit* txt_bank;
    QLineEdit* txt_branch;
    QTreeWidget* pmntlist;
    QLineEdit* txt_totamt;
    QPushButton* cmd_save;
    QPushButton* cmd_clear;
    QPushButton* cmd_delete;

    // The project list (first project picked) and the types of payment typed before.
    void FillPaymentLists();
    // The bills raised in the picked project; the first one is picked.
    void CmbPayCno_activated();
    // The picked bill's amount and its payments.
    void Cmbpaybillno_activated();
    // A project without raised bills has nothing to pick.
    void Cmbpaybillno_focusIn();
    // The column holds 20 characters; a longer type is told at once but left as typed.
    void cmb_typofpmnt_editTextChanged();
    // The payments of the picked bill and the total of their amounts.
    void ShowPayments();
    // Empties the payment's fields; the project and the bill stay.
    void ClearPaymentFields();
    void pmntlist_itemClicked();
    // Checks the fields in a fixed order, then adds the payment in one transaction.
    void cmd_save_clicked();
    void cmd_clear_clicked() { ClearPaymentFields(); }
    // Asks, then deletes the selected payment.
    void cmd_delete_clicked();

    // The project the screen works on.
    QString contract_num;
    // The bill picked, an empty text (never Null) when the project has none raised: a payment
    // saved then is stored against that empty bill and listed and deleted by it.
    QString billNumber() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
