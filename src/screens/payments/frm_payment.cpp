#include "screens/payments/frm_payment.h"

#include "core/payments/payments.h"
#include "core/projects/projects.h"

#include <QDate>
#include <QEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

QLineEdit* lineEdit(QWidget* parent, const char* name, int maxLength) {
    auto* e = ui::named(new QLineEdit(parent), name);
    e->setMaxLength(maxLength);
    return e;
}

// The amount fields take digits and points only. The typed figure is read up to its second
// point on save (1.2.3 is 1.2), so a second point is let through rather than refused.
QLineEdit* amountEdit(QWidget* parent, const char* name) {
    auto* e = lineEdit(parent, name, 32767);
    ui::decimalRule(e, false);
    return e;
}

} // namespace

frm_payment::frm_payment(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_payment"));
    setWindowTitle(tr("Payments / Receipts"));

    auto* fraBill = new QGroupBox(tr("Bill"), this);
    auto* fraPayment = new QGroupBox(tr("Payment / Receipt"), this);
    auto* fraList = new QGroupBox(tr("Payments of the bill"), this);

    CmbPayCno = ui::named(new QComboBox(fraBill), "CmbPayCno");
    Cmbpaybillno = ui::named(new QComboBox(fraBill), "Cmbpaybillno");
    txt_bl_amount = lineEdit(fraBill, "txt_bl_amount", 32767);
    txt_bl_amount->setReadOnly(true);
    txt_bl_amount->setAlignment(Qt::AlignRight);

    BillDate = ui::named(new ui::DateEdit(fraPayment), "BillDate");
    txt_receiptno = lineEdit(fraPayment, "txt_receiptno", 20);
    txt_amount = amountEdit(fraPayment, "txt_amount");
    txt_amount->setToolTip(tr("Amount Received or Paid"));
    txt_tds = amountEdit(fraPayment, "txt_tds");
    txt_recoveries = amountEdit(fraPayment, "txt_recoveries");
    cmb_typofpmnt = ui::named(new QComboBox(fraPayment), "cmb_typofpmnt");
    cmb_typofpmnt->setEditable(true);
    // A typed type is saved as typed, not completed into one of the list.
    cmb_typofpmnt->setInsertPolicy(QComboBox::NoInsert);
    cmb_typofpmnt->setCompleter(nullptr);
    txt_chkno = lineEdit(fraPayment, "txt_chkno", 8);
    dt_chkdt = ui::named(new ui::DateEdit(fraPayment), "dt_chkdt");
    txt_bank = lineEdit(fraPayment, "txt_bank", 50);
    txt_branch = lineEdit(fraPayment, "txt_branch", 50);

    pmntlist = ui::named(new QTreeWidget(fraList), "pmntlist");
    ui::setupListView(pmntlist, tw::payments::listColumns());
    txt_totamt = lineEdit(fraList, "txt_totamt", 32767);
    txt_totamt->setReadOnly(true);
    txt_totamt->setAlignment(Qt::AlignRight);

    cmd_save = ui::named(new QPushButton(tr("&Save"), this), "cmd_save");
    cmd_clear = ui::named(new QPushButton(tr("&Cancel"), this), "cmd_clear");
    cmd_clear->setToolTip(tr("Clear the boxes"));
    cmd_delete = ui::named(new QPushButton(tr("&Delete"), this), "cmd_delete");

    const int digitWidth = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    for (auto* d : {BillDate, dt_chkdt})
        d->setMinimumWidth(digitWidth * 12 + 40);
    for (auto* a : {txt_bl_amount, txt_amount, txt_tds, txt_recoveries, txt_totamt})
        a->setMinimumWidth(digitWidth * 14 + 16);
    txt_chkno->setMaximumWidth(digitWidth * 10 + 16);

    auto label = [](const QString& caption, QWidget* buddy) {
        auto* l = new QLabel(caption, buddy->parentWidget());
        l->setBuddy(buddy);
        return l;
    };

    auto* bg = new QGridLayout(fraBill);
    bg->addWidget(label(tr("&Project Name"), CmbPayCno), 0, 0);
    bg->addWidget(CmbPayCno, 0, 1, 1, 3);
    bg->addWidget(label(tr("&Bill Number"), Cmbpaybillno), 1, 0);
    bg->addWidget(Cmbpaybillno, 1, 1);
    bg->addWidget(label(tr("Bill Amount"), txt_bl_amount), 1, 2);
    bg->addWidget(txt_bl_amount, 1, 3);
    bg->setColumnStretch(1, 1);
    bg->setColumnStretch(3, 1);

    auto* pg = new QGridLayout(fraPayment);
    pg->addWidget(label(tr("Dat&e"), BillDate), 0, 0);
    pg->addWidget(BillDate, 0, 1, Qt::AlignLeft);
    pg->addWidget(label(tr("&Receipt / Voucher No"), txt_receiptno), 0, 2);
    pg->addWidget(txt_receiptno, 0, 3);
    pg->addWidget(label(tr("&Amount"), txt_amount), 1, 0);
    pg->addWidget(txt_amount, 1, 1);
    pg->addWidget(label(tr("&TDS"), txt_tds), 1, 2);
    pg->addWidget(txt_tds, 1, 3);
    pg->addWidget(label(tr("&Other Recoveries"), txt_recoveries), 2, 0);
    pg->addWidget(txt_recoveries, 2, 1);
    pg->addWidget(label(tr("T&ype of Payment"), cmb_typofpmnt), 2, 2);
    pg->addWidget(cmb_typofpmnt, 2, 3);
    pg->addWidget(label(tr("Cheque / DD &No"), txt_chkno), 3, 0);
    pg->addWidget(txt_chkno, 3, 1, Qt::AlignLeft);
    pg->addWidget(label(tr("Dated"), dt_chkdt), 3, 2);
    pg->addWidget(dt_chkdt, 3, 3, Qt::AlignLeft);
    pg->addWidget(label(tr("Ban&k Name"), txt_bank), 4, 0);
    pg->addWidget(txt_bank, 4, 1);
    pg->addWidget(label(tr("Branc&h"), txt_branch), 4, 2);
    pg->addWidget(txt_branch, 4, 3);
    pg->setColumnStretch(1, 1);
    pg->setColumnStretch(3, 1);

    auto* lg = new QVBoxLayout(fraList);
    lg->addWidget(pmntlist);
    auto* total = new QHBoxLayout;
    total->addStretch();
    total->addWidget(label(tr("Total Payment / Receipt"), txt_totamt));
    total->addWidget(txt_totamt);
    lg->addLayout(total);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmd_save);
    buttons->addWidget(cmd_clear);
    buttons->addWidget(cmd_delete);
    auto* box = new QVBoxLayout(this);
    box->addWidget(fraBill);
    box->addWidget(fraPayment);
    box->addWidget(fraList, 1);
    box->addLayout(buttons);

    ui::tabOrder({CmbPayCno, Cmbpaybillno, BillDate, txt_receiptno, txt_amount, txt_tds,
                  txt_recoveries, cmb_typofpmnt, txt_chkno, dt_chkdt, txt_bank, txt_branch,
                  cmd_save, cmd_clear, cmd_delete, pmntlist});
    ui::selectAllOnFocusBelow(this);

    Cmbpaybillno->installEventFilter(this);
    connect(CmbPayCno, &QComboBox::activated, this, ui::guarded([this] { CmbPayCno_activated(); }));
    connect(Cmbpaybillno, &QComboBox::activated, this,
            ui::guarded([this] { Cmbpaybillno_activated(); }));
    connect(cmb_typofpmnt, &QComboBox::editTextChanged, this,
            ui::guarded([this] { cmb_typofpmnt_editTextChanged(); }));
    connect(pmntlist, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { pmntlist_itemClicked(); }));
    connect(cmd_save, &QPushButton::clicked, this, ui::guarded([this] { cmd_save_clicked(); }));
    connect(cmd_clear, &QPushButton::clicked, this, ui::guarded([this] { cmd_clear_clicked(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_clicked(); }));

    ui::guard([this] {
        if (!con.isOpen())
            con.conopen();
        FillPaymentLists();
    });
    BillDate->setValue(QDate::currentDate());
    dt_chkdt->setValue(QDate::currentDate());
    cmd_delete->setEnabled(false);
    resize(sizeHint());
}

frm_payment::~frm_payment() {
    con.conclose();
}

bool frm_payment::eventFilter(QObject* watched, QEvent* event) {
    // Focus that comes back from a message box or the list's own pop-up is no new visit: only
    // a user who moves to the list is told it is empty, once.
    if (watched == Cmbpaybillno && event->type() == QEvent::FocusIn) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
            reason != Qt::OtherFocusReason)
            ui::guard([this] { Cmbpaybillno_focusIn(); });
    }
    return ui::Screen::eventFilter(watched, event);
}

void frm_payment::FillPaymentLists() {
    CmbPayCno->clear();
    CmbPayCno->addItems(tw::projectNames(con));
    if (CmbPayCno->count() > 0) {
        CmbPayCno->setCurrentIndex(0);
        CmbPayCno_activated();
    }
    // The types typed before are offered again; an edit of the list is no typing.
    const QSignalBlocker quiet(cmb_typofpmnt);
    cmb_typofpmnt->clear();
    cmb_typofpmnt->addItems(tw::payments::types(con));
    cmb_typofpmnt->setCurrentIndex(-1);
    cmb_typofpmnt->setEditText(QString());
}

void frm_payment::CmbPayCno_activated() {
    if (const auto project = tw::projects::findByName(con, CmbPayCno->currentText()))
        contract_num = project->text(QStringLiteral("tw_contract_num"));
    Cmbpaybillno->clear();
    Cmbpaybillno->addItems(tw::payments::bills(con, contract_num));
    txt_bl_amount->clear();
    if (Cmbpaybillno->count() > 0) {
        Cmbpaybillno->setCurrentIndex(0);
        Cmbpaybillno_activated();
        return;
    }
    ShowPayments();
}

void frm_payment::Cmbpaybillno_activated() {
    if (const QString amount = tw::payments::billAmount(con, contract_num, billNumber());
        !amount.isEmpty())
        txt_bl_amount->setText(amount);
    ShowPayments();
}

QString frm_payment::billNumber() const {
    const QString bill = Cmbpaybillno->currentText();
    return bill.isNull() ? QStringLiteral("") : bill;
}

void frm_payment::Cmbpaybillno_focusIn() {
    if (Cmbpaybillno->count() == 0)
        ui::MsgBox(tr("No bills raised in this project"), ui::Information);
}

void frm_payment::cmb_typofpmnt_editTextChanged() {
    if (cmb_typofpmnt->currentText().size() <= tw::payments::TypeLength)
        return;
    ui::MsgBox(tw::payments::typeTooLongText(), ui::Information);
    cmb_typofpmnt->setFocus();
}

void frm_payment::ShowPayments() {
    const tw::payments::Listing listed = tw::payments::list(con, contract_num, billNumber());
    pmntlist->clear();
    for (const QStringList& cells : listed.rows) {
        auto* item = ui::addListRow(pmntlist, cells);
        for (int c = 3; c <= 5; ++c)
            item->setTextAlignment(c, Qt::AlignRight | Qt::AlignVCenter);
    }
    txt_totamt->setText(listed.total);
}

void frm_payment::ClearPaymentFields() {
    BillDate->setValue(QDate::currentDate());
    dt_chkdt->setValue(QDate::currentDate());
    for (auto* f :
         {txt_receiptno, txt_amount, txt_recoveries, txt_bank, txt_branch, txt_chkno, txt_tds})
        f->clear();
    const QSignalBlocker quiet(cmb_typofpmnt);
    cmb_typofpmnt->setCurrentIndex(-1);
    cmb_typofpmnt->setEditText(QString());
}

void frm_payment::pmntlist_itemClicked() {
    cmd_delete->setEnabled(pmntlist->topLevelItemCount() > 0);
}

void frm_payment::cmd_save_clicked() {
    const tw::payments::Payment payment{contract_num,           billNumber(),
                                        txt_receiptno->text(),  BillDate->valueText(),
                                        txt_amount->text(),     txt_tds->text(),
                                        txt_recoveries->text(), cmb_typofpmnt->currentText(),
                                        txt_chkno->text(),      dt_chkdt->valueText(),
                                        txt_bank->text(),       txt_branch->text()};
    if (const auto refused = tw::payments::save(con, payment))
        return ui::refuse(this, *refused);
    ClearPaymentFields();
    ShowPayments();
}

void frm_payment::cmd_delete_clicked() {
    if (pmntlist->topLevelItemCount() == 0) {
        ui::MsgBox(tr("There are no items to delete"));
        return;
    }
    const int row = ui::selectedRow(pmntlist);
    if (row >= 0) {
        const QString receipt = pmntlist->topLevelItem(row)->text(1);
        if (ui::MsgBox(tr("You are Deleting : ") + receipt, ui::YesNo | ui::Question) ==
                ui::Answer::Yes &&
            !tw::payments::remove(con, contract_num, billNumber(), receipt))
            ui::MsgBox(tr("Selected Item not in the database"));
    }
    cmd_delete->setEnabled(false);
    ShowPayments();
}
