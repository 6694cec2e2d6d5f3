#include "screens/projects/frm_proj.h"

#include "store/store.h"
#include "values/values.h"

#include <QEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

namespace {

const QString kAddNew = QStringLiteral("Add New");

// A field of the project as it is written: trimmed, and one blank when empty, because readers
// all over the program append or trim a blank and never expect an empty text.
QVariant textValue(const QString& field) {
    const QString t = field.trimmed();
    return t.isEmpty() ? QVariant(QStringLiteral(" ")) : QVariant(t);
}

// The postal code and phone columns hold the digits as typed, or 0 when there are none.
QVariant digitsValue(const QString& field) {
    const QString t = field.trimmed();
    return t.isEmpty() ? QVariant(0) : QVariant(t);
}

// A stored text shown in its field: a Null and the blank written for an empty field both show
// as nothing.
QString shown(const tw::Row& row, const QString& column) {
    return row.isNull(column) ? QString() : row.text(column).trimmed();
}

// Digits columns show nothing for 0, the "none" they were saved with.
QString shownDigits(const tw::Row& row, const QString& column) {
    const QString t = shown(row, column);
    return t == QLatin1String("0") ? QString() : t;
}

QString shownNumber(const tw::Row& row, const QString& column) {
    const QVariant v = row.value(column);
    if (v.isNull())
        return {};
    bool isNumber = false;
    const double d = v.toDouble(&isNumber);
    return isNumber ? tw::doubleText(d) : v.toString().trimmed();
}

// A field whose limit holds for typing only: a stored text longer than the limit is shown and
// saved back whole, not cut.
QLineEdit* lineEdit(QWidget* parent, const char* name, int maxLength) {
    auto* e = ui::named(new QLineEdit(parent), name);
    ui::typingLimit(e, maxLength);
    return e;
}

ui::DateEdit* dateEdit(QWidget* parent, const char* name) {
    auto* d = ui::named(new ui::DateEdit(parent), name);
    // Nothing is dated until the user gives a date: an untouched field saves as no date.
    d->clearDate();
    return d;
}

} // namespace

frm_proj::frm_proj(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_proj"));
    setWindowTitle(tr("Project Definition"));

    fraProject = ui::named(new QGroupBox(tr("Project Info ..."), this), "fraProject");
    fraClient = ui::named(new QGroupBox(tr("Client Info"), this), "fraClient");

    cmbcontractno = ui::named(new QComboBox(fraProject), "cmbcontractno");
    cmbcontractno->setEditable(true);
    // A new project is made by typing a new Id: the list must neither complete a typed Id into
    // an existing one nor take the typed text in as an entry of its own.
    cmbcontractno->setInsertPolicy(QComboBox::NoInsert);
    cmbcontractno->setCompleter(nullptr);
    txtcontractname = lineEdit(fraProject, "txtcontractname", 150);
    txtclientref = lineEdit(fraProject, "txtclientref", 50);
    txtclientrefdate = dateEdit(fraProject, "txtclientrefdate");
    txtclientstartdate = dateEdit(fraProject, "txtclientstartdate");
    txtclientenddate = dateEdit(fraProject, "txtclientenddate");
    // Three characters as typed (99, 9.5); a stored 12.5 is shown whole.
    txttaxrate = lineEdit(fraProject, "txttaxrate", 3);
    ui::decimalRule(txttaxrate, true);
    txtunitrate = ui::named(new QComboBox(fraProject), "txtunitrate");
    txtunitrate->addItems({QStringLiteral("Feet"), QStringLiteral("Metre")});
    txtunitrate->setCurrentIndex(-1);

    txtclientname = lineEdit(fraClient, "txtclientname", 50);
    txtclientcontact = lineEdit(fraClient, "txtclientcontact", 50);
    txtclientadd1 = lineEdit(fraClient, "txtclientadd1", 50);
    txtclientadd2 = lineEdit(fraClient, "txtclientadd2", 50);
    txtclientcity = lineEdit(fraClient, "txtclientcity", 50);
    txtclientpin = lineEdit(fraClient, "txtclientpin", 6);
    txtclientphone1 = lineEdit(fraClient, "txtclientphone1", 25);
    txtclientphone2 = lineEdit(fraClient, "txtclientphone2", 25);
    txtclientmobile = lineEdit(fraClient, "txtclientmobile", 10);
    for (auto* digits : {txtclientpin, txtclientphone1, txtclientphone2, txtclientmobile})
        ui::digitsRule(digits);
    txtclientemail = lineEdit(fraClient, "txtclientemail", 50);
    txtclienturl = lineEdit(fraClient, "txtclienturl", 50);

    cmdcontractsave = ui::named(new QPushButton(tr("&Save"), this), "cmdcontractsave");
    cmdcontractclose = ui::named(new QPushButton(tr("&Cancel"), this), "cmdcontractclose");

    // Short fields get a width that fits what they take, so the eye finds them at once.
    const int digitWidth = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    txttaxrate->setMaximumWidth(digitWidth * 6 + 16);
    txtclientpin->setMaximumWidth(digitWidth * 9 + 16);
    for (auto* d : {txtclientrefdate, txtclientstartdate, txtclientenddate})
        d->setMinimumWidth(digitWidth * 12 + 40);

    auto label = [](const QString& caption, QWidget* buddy) {
        auto* l = new QLabel(caption, buddy->parentWidget());
        l->setBuddy(buddy);
        return l;
    };

    auto* pg = new QGridLayout(fraProject);
    pg->addWidget(label(tr("Project Id"), cmbcontractno), 0, 0);
    pg->addWidget(cmbcontractno, 0, 1, 1, 3);
    pg->addWidget(label(tr("Project Name"), txtcontractname), 1, 0);
    pg->addWidget(txtcontractname, 1, 1, 1, 3);
    pg->addWidget(label(tr("Reference"), txtclientref), 2, 0);
    pg->addWidget(txtclientref, 2, 1);
    pg->addWidget(label(tr("Ref Date"), txtclientrefdate), 2, 2);
    pg->addWidget(txtclientrefdate, 2, 3, Qt::AlignLeft);
    pg->addWidget(label(tr("Start Date"), txtclientstartdate), 3, 0);
    pg->addWidget(txtclientstartdate, 3, 1, Qt::AlignLeft);
    pg->addWidget(label(tr("End Date"), txtclientenddate), 3, 2);
    pg->addWidget(txtclientenddate, 3, 3, Qt::AlignLeft);
    pg->addWidget(label(tr("Tax Rate"), txttaxrate), 4, 0);
    auto* tax = new QHBoxLayout;
    tax->addWidget(txttaxrate);
    tax->addWidget(new QLabel(tr("%"), fraProject));
    tax->addStretch();
    pg->addLayout(tax, 4, 1);
    pg->addWidget(label(tr("Measure System"), txtunitrate), 4, 2);
    pg->addWidget(txtunitrate, 4, 3, Qt::AlignLeft);
    pg->setColumnStretch(1, 1);
    pg->setColumnStretch(3, 1);

    auto* cg = new QGridLayout(fraClient);
    cg->addWidget(label(tr("Client Name"), txtclientname), 0, 0);
    cg->addWidget(txtclientname, 0, 1);
    cg->addWidget(label(tr("Contact"), txtclientcontact), 0, 2);
    cg->addWidget(txtclientcontact, 0, 3);
    cg->addWidget(label(tr("Address-1"), txtclientadd1), 1, 0);
    cg->addWidget(txtclientadd1, 1, 1, 1, 3);
    cg->addWidget(label(tr("Address-2"), txtclientadd2), 2, 0);
    cg->addWidget(txtclientadd2, 2, 1, 1, 3);
    cg->addWidget(label(tr("City"), txtclientcity), 3, 0);
    cg->addWidget(txtclientcity, 3, 1);
    cg->addWidget(label(tr("Pin Code"), txtclientpin), 3, 2);
    cg->addWidget(txtclientpin, 3, 3, Qt::AlignLeft);
    cg->addWidget(label(tr("Phone-1"), txtclientphone1), 4, 0);
    cg->addWidget(txtclientphone1, 4, 1);
    cg->addWidget(label(tr("Phone-2"), txtclientphone2), 4, 2);
    cg->addWidget(txtclientphone2, 4, 3);
    cg->addWidget(label(tr("Mobile"), txtclientmobile), 5, 0);
    cg->addWidget(txtclientmobile, 5, 1);
    cg->addWidget(label(tr("E-mail"), txtclientemail), 6, 0);
    cg->addWidget(txtclientemail, 6, 1, 1, 3);
    cg->addWidget(label(tr("Web Address"), txtclienturl), 7, 0);
    cg->addWidget(txtclienturl, 7, 1, 1, 3);
    cg->setColumnStretch(1, 1);
    cg->setColumnStretch(3, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdcontractsave);
    buttons->addWidget(cmdcontractclose);
    auto* box = new QVBoxLayout(this);
    box->addWidget(fraProject);
    box->addWidget(fraClient);
    box->addStretch();
    box->addLayout(buttons);

    ui::tabOrder({cmbcontractno,      txtcontractname,  txtclientref,    txtclientrefdate,
                  txtclientstartdate, txtclientenddate, txttaxrate,      txtunitrate,
                  txtclientname,      txtclientcontact, txtclientadd1,   txtclientadd2,
                  txtclientcity,      txtclientpin,     txtclientphone1, txtclientphone2,
                  txtclientmobile,    txtclientemail,   txtclienturl,    cmdcontractsave,
                  cmdcontractclose});

    ui::selectAllOnFocusBelow(this);
    // The date checks run on editingFinished, once the field has taken what was typed, and only
    // when the focus-out before it really left the field (eventFilter).
    const std::pair<ui::DateEdit*, void (frm_proj::*)()> dates[] = {
        {txtclientstartdate, &frm_proj::txtclientstartdate_editingFinished},
        {txtclientenddate, &frm_proj::txtclientenddate_editingFinished}};
    for (const auto& [date, check] : dates) {
        date->installEventFilter(this);
        connect(date, &QAbstractSpinBox::editingFinished, this, ui::guarded([this, check] {
                    if (std::exchange(leavingDate_, false) && !checkingDate_)
                        (this->*check)();
                }));
    }
    connect(cmbcontractno->lineEdit(), &QLineEdit::textEdited, this,
            ui::guarded([this] { cmbcontractno_textEdited(); }));
    connect(cmbcontractno, &QComboBox::activated, this,
            ui::guarded([this] { cmbcontractno_activated(); }));
    connect(txttaxrate, &QLineEdit::textChanged, this,
            ui::guarded([this] { txttaxrate_textChanged(); }));
    connect(cmdcontractsave, &QPushButton::clicked, this,
            ui::guarded([this] { cmdcontractsave_clicked(); }));
    connect(cmdcontractclose, &QPushButton::clicked, this,
            ui::guarded([this] { cmdcontractclose_clicked(); }));

    ui::guard([this] { Form_Load(); });
    resize(sizeHint());
}

frm_proj::~frm_proj() {
    con.conclose();
}

bool frm_proj::eventFilter(QObject* watched, QEvent* event) {
    // Focus that goes to a message box, a menu, the calendar or another window does not leave a
    // date field; neither does Enter, which gives no focus-out at all.
    if (event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        leavingDate_ = reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason;
    }
    return ui::Screen::eventFilter(watched, event);
}

void frm_proj::Form_Load() {
    cmbcontractno->clear();
    for (const auto& r : con.keyed(QStringLiteral("contractmaster")))
        cmbcontractno->addItem(r.text(QStringLiteral("tw_contract_num")));
    // No project is shown until one is picked.
    cmbcontractno->setCurrentIndex(-1);
}

void frm_proj::cmbcontractno_textEdited() {
    if (cmbcontractno->currentText().size() >= 31)
        ui::MsgBox(tr("Maximum 30 Characters only Allowed..."), ui::Information,
                   tr("Contact Number"));
}

void frm_proj::cmbcontractno_activated() {
    const auto row = con.find(QStringLiteral("contractmaster"), QStringLiteral("tw_contract_num=?"),
                              {cmbcontractno->currentText()});
    if (!row)
        return;
    const std::pair<QLineEdit*, const char*> texts[] = {
        {txtcontractname, "tw_contract_name"}, {txtclientname, "tw_Client_Name"},
        {txtclientadd1, "tw_Client_adline1"},  {txtclientadd2, "tw_Client_adline2"},
        {txtclientcity, "tw_Client_city"},     {txtclientemail, "tw_Client_email"},
        {txtclienturl, "tw_Client_url"},       {txtclientcontact, "tw_client_contact"},
        {txtclientref, "tw_client_ref"}};
    for (const auto& [field, column] : texts)
        field->setText(shown(*row, QString::fromLatin1(column)));
    txttaxrate->setText(shownNumber(*row, QStringLiteral("tw_tax_rate")));
    const std::pair<QLineEdit*, const char*> digits[] = {{txtclientpin, "tw_Client_Pin"},
                                                         {txtclientphone1, "tw_Client_phone1"},
                                                         {txtclientphone2, "tw_Client_phone2"},
                                                         {txtclientmobile, "tw_Client_Mobile"}};
    for (const auto& [field, column] : digits)
        field->setText(shownDigits(*row, QString::fromLatin1(column)));
    txtclientrefdate->setValueText(row->text(QStringLiteral("tw_client_ref_date")));
    txtclientstartdate->setValueText(row->text(QStringLiteral("tw_start_date")));
    txtclientenddate->setValueText(row->text(QStringLiteral("tw_end_date")));
    rememberedStart_ = txtclientstartdate->value();
    rememberedEnd_ = txtclientenddate->value();
    // A project saved before it had a measure system reads as one in feet.
    if (row->isNull(QStringLiteral("tw_units")))
        txtunitrate->setCurrentIndex(0);
    else
        txtunitrate->setCurrentIndex(txtunitrate->findText(row->text(QStringLiteral("tw_units"))));
}

void frm_proj::txttaxrate_textChanged() {
    if (tw::leadingNumber(txttaxrate->text()) > 99) {
        ui::refuse(txttaxrate, tr("Tax should not be Greaterthan 99"), ui::Critical);
        txttaxrate->clear();
    }
}

void frm_proj::txtclientstartdate_editingFinished() {
    const QDate start = txtclientstartdate->value();
    const QDate end = txtclientenddate->value();
    if (!start.isValid() || !end.isValid() || start <= end)
        return;
    checkingDate_ = true;
    ui::refuse(txtclientstartdate, tr("StartDate should be Less than Enddate"));
    txtclientstartdate->setValue(
        cmbcontractno->currentText().contains(kAddNew) ? QDate::currentDate() : rememberedStart_);
    checkingDate_ = false;
}

void frm_proj::txtclientenddate_editingFinished() {
    const QDate start = txtclientstartdate->value();
    const QDate end = txtclientenddate->value();
    if (!start.isValid() || !end.isValid() || end >= start)
        return;
    checkingDate_ = true;
    ui::refuse(txtclientenddate, tr("End date should be greater than startdate"), ui::Information,
               tr("End Date"));
    txtclientenddate->setValue(cmbcontractno->currentText().contains(kAddNew) ? QDate::currentDate()
                                                                              : rememberedEnd_);
    checkingDate_ = false;
}

void frm_proj::cmdcontractsave_clicked() {
    const QString info = tr("Information");
    const QString id = cmbcontractno->currentText();
    if (id.trimmed().isEmpty() || id.trimmed() == kAddNew)
        return ui::refuse(cmbcontractno, tr("Please Enter Project Id"), ui::Information, info);
    if (txtcontractname->text().trimmed().isEmpty())
        return ui::refuse(txtcontractname, tr("Please Enter the Project Name"), ui::Information,
                          info);
    const std::pair<ui::DateEdit*, const char*> dates[] = {
        {txtclientrefdate, QT_TR_NOOP("Improper Date format for Reference Date")},
        {txtclientstartdate, QT_TR_NOOP("Improper Date format for Start Date")},
        {txtclientenddate, QT_TR_NOOP("Improper Date format for End Date")}};
    // A date field showing text that is no date would save the date it held before.
    for (const auto& [date, text] : dates) {
        const QString shownDate = date->text().trimmed();
        if (!shownDate.isEmpty() && !tw::dateFromText(shownDate).isValid())
            return ui::refuse(date, tr(text), ui::Information, info);
    }
    if (ui::refuseBadEmail(txtclientemail))
        return;

    QVariant tax = 0;
    if (const QString t = txttaxrate->text().trimmed(); !t.isEmpty()) {
        const auto n = tw::strictNumber(t);
        if (!n)
            return ui::refuse(txttaxrate, tr("The tax rate \"%1\" is not a number.").arg(t),
                              ui::Critical);
        tax = *n;
    }
    tw::Values values{
        {QStringLiteral("tw_contract_name"), textValue(txtcontractname->text())},
        {QStringLiteral("tw_Client_Name"), textValue(txtclientname->text())},
        {QStringLiteral("tw_Client_adline1"), textValue(txtclientadd1->text())},
        {QStringLiteral("tw_Client_adline2"), textValue(txtclientadd2->text())},
        {QStringLiteral("tw_Client_city"), textValue(txtclientcity->text())},
        {QStringLiteral("tw_client_ref_date"), textValue(txtclientrefdate->valueText())},
        {QStringLiteral("tw_start_date"), textValue(txtclientstartdate->valueText())},
        {QStringLiteral("tw_end_date"), textValue(txtclientenddate->valueText())},
        {QStringLiteral("tw_Client_Pin"), digitsValue(txtclientpin->text())},
        {QStringLiteral("tw_Client_phone1"), digitsValue(txtclientphone1->text())},
        {QStringLiteral("tw_Client_phone2"), digitsValue(txtclientphone2->text())},
        {QStringLiteral("tw_Client_Mobile"), digitsValue(txtclientmobile->text())},
        {QStringLiteral("tw_Client_email"), textValue(txtclientemail->text())},
        {QStringLiteral("tw_Client_url"), textValue(txtclienturl->text())},
        {QStringLiteral("tw_client_contact"), textValue(txtclientcontact->text())},
        {QStringLiteral("tw_client_ref"), textValue(txtclientref->text())},
        {QStringLiteral("tw_tax_rate"), tax}};
    // With no measure system picked the project keeps the one it has.
    if (txtunitrate->currentIndex() >= 0)
        values.emplace_back(QStringLiteral("tw_units"), txtunitrate->currentText());

    // The Id is the project's key, compared without regard to case: "p1" changes the project
    // "P1", which keeps its Id, rather than making a second one beside it. A new Id is listed
    // when the screen opens again.
    tw::Transaction tx(con);
    if (const auto found =
            con.find(QStringLiteral("contractmaster"), QStringLiteral("tw_contract_num=?"), {id})) {
        con.update(QStringLiteral("contractmaster"), found->id(), values);
    } else {
        values.insert(values.begin(), {QStringLiteral("tw_contract_num"), id});
        con.insert(QStringLiteral("contractmaster"), values);
    }
    tx.commit();
}

void frm_proj::cmdcontractclose_clicked() {
    cmbcontractno->setCurrentIndex(-1);
    cmbcontractno->setEditText(QString());
    cmbcontractno->lineEdit()->selectAll();
    cmbcontractno->setFocus();
    for (auto* f : {txtclientadd1, txtclientadd2, txtclientcity, txtclientcontact, txtclientemail,
                    txtclientname, txtclientmobile, txtclientphone1, txtclientphone2, txtclientpin,
                    txtclientref, txttaxrate, txtcontractname, txtclienturl})
        f->clear();
}
