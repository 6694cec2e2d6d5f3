#include "projects/frm_proj.h"

#include "store/store.h"
#include "values/values.h"

#include <QEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

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

QLineEdit* lineEdit(QWidget* parent, const char* name, int maxLength) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(QString::fromLatin1(name));
    e->setMaxLength(maxLength);
    return e;
}

ui::DateEdit* dateEdit(QWidget* parent, const char* name) {
    auto* d = new ui::DateEdit(parent);
    d->setObjectName(QString::fromLatin1(name));
    // Nothing is dated until the user gives a date: an untouched field saves as no date.
    d->clearDate();
    return d;
}

} // namespace

frm_proj::frm_proj(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_proj"));
    setWindowTitle(tr("Project Definition"));

    fraProject = new QGroupBox(tr("Project Info ..."), this);
    fraProject->setObjectName(QStringLiteral("fraProject"));
    fraClient = new QGroupBox(tr("Client Info"), this);
    fraClient->setObjectName(QStringLiteral("fraClient"));

    cmbcontractno = new QComboBox(fraProject);
    cmbcontractno->setObjectName(QStringLiteral("cmbcontractno"));
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
    // The tax rate takes three characters as it is typed (99, 9.5), but a stored rate is shown
    // whole: a length limit on the field would cut 12.5 to "12." and the next save would
    // write 12.
    txttaxrate = lineEdit(fraProject, "txttaxrate", 32767);
    ui::decimalRule(txttaxrate, true);
    new ui::KeyRule(txttaxrate, [](QChar key, const QLineEdit& field) {
        if (key == u'\b' || key == u'\r')
            return true;
        return field.text().size() - field.selectedText().size() < 3;
    });
    txtunitrate = new QComboBox(fraProject);
    txtunitrate->setObjectName(QStringLiteral("txtunitrate"));
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

    cmdcontractsave = new QPushButton(tr("Save"), this);
    cmdcontractsave->setObjectName(QStringLiteral("cmdcontractsave"));
    cmdcontractclose = new QPushButton(tr("Cancel"), this);
    cmdcontractclose->setObjectName(QStringLiteral("cmdcontractclose"));

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

    QWidget* order[] = {cmbcontractno,      txtcontractname,  txtclientref,    txtclientrefdate,
                        txtclientstartdate, txtclientenddate, txttaxrate,      txtunitrate,
                        txtclientname,      txtclientcontact, txtclientadd1,   txtclientadd2,
                        txtclientcity,      txtclientpin,     txtclientphone1, txtclientphone2,
                        txtclientmobile,    txtclientemail,   txtclienturl,    cmdcontractsave,
                        cmdcontractclose};
    for (size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);

    ui::selectAllOnFocusBelow(this);
    for (auto* d : {txtclientstartdate, txtclientenddate})
        d->installEventFilter(this);

    connect(cmbcontractno->lineEdit(), &QLineEdit::textEdited, this,
            ui::guarded([this] { cmbcontractno_Change(); }));
    connect(cmbcontractno, &QComboBox::activated, this,
            ui::guarded([this] { cmbcontractno_Click(); }));
    connect(txttaxrate, &QLineEdit::textChanged, this,
            ui::guarded([this] { txttaxrate_Change(); }));
    connect(cmdcontractsave, &QPushButton::clicked, this,
            ui::guarded([this] { cmdcontractsave_clicked(); }));
    connect(cmdcontractclose, &QPushButton::clicked, this,
            ui::guarded([this] { cmdcontractclose_clicked(); }));

    resize(640, sizeHint().height());
    ui::guard([this] { Form_Load(); });
}

frm_proj::~frm_proj() {
    con.conclose();
}

bool frm_proj::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut && !checkingDate_) {
        // Focus that goes to a message box, a menu or another window is not leaving the field.
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
            if (watched == txtclientstartdate)
                ui::guard([this] { txtclientstartdate_LostFocus(); });
            else if (watched == txtclientenddate)
                ui::guard([this] { txtclientenddate_LostFocus(); });
        }
    }
    return ui::Screen::eventFilter(watched, event);
}

void frm_proj::Form_Load() {
    cmbcontractno->clear();
    for (const auto& r :
         con.rows(QStringLiteral("select tw_contract_num from contractmaster order by rowid")))
        cmbcontractno->addItem(r.text(0));
    // No project is shown until one is picked.
    cmbcontractno->setCurrentIndex(-1);
}

void frm_proj::cmbcontractno_Change() {
    if (cmbcontractno->currentText().size() >= 31)
        ui::MsgBox(tr("Maximum 30 Characters only Allowed..."), ui::Information,
                   tr("Contact Number"));
}

void frm_proj::cmbcontractno_Click() {
    const auto row =
        con.first(QStringLiteral("select * from contractmaster where tw_contract_num=?"),
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

void frm_proj::txttaxrate_Change() {
    if (tw::leadingNumber(txttaxrate->text()) > 99) {
        ui::MsgBox(tr("Tax should not be Greaterthan 99"), ui::Critical);
        txttaxrate->clear();
        txttaxrate->setFocus();
    }
}

void frm_proj::txtclientstartdate_LostFocus() {
    const QDate start = txtclientstartdate->value();
    const QDate end = txtclientenddate->value();
    if (!start.isValid() || !end.isValid() || start <= end)
        return;
    checkingDate_ = true;
    ui::MsgBox(tr("StartDate should be Less than Enddate"), ui::Information);
    if (cmbcontractno->currentText().contains(kAddNew))
        txtclientstartdate->setValue(QDate::currentDate());
    else
        txtclientstartdate->setValue(rememberedStart_);
    txtclientstartdate->setFocus();
    checkingDate_ = false;
}

void frm_proj::txtclientenddate_LostFocus() {
    const QDate start = txtclientstartdate->value();
    const QDate end = txtclientenddate->value();
    if (!start.isValid() || !end.isValid() || end >= start)
        return;
    checkingDate_ = true;
    ui::MsgBox(tr("End date should be greater than startdate"), ui::Information, tr("End Date"));
    if (cmbcontractno->currentText().contains(kAddNew))
        txtclientenddate->setValue(QDate::currentDate());
    else
        txtclientenddate->setValue(rememberedEnd_);
    txtclientenddate->setFocus();
    checkingDate_ = false;
}

bool frm_proj::check(bool ok, const QString& text, const QString& title, QWidget* focus) {
    if (ok)
        return true;
    ui::MsgBox(text, ui::Information, title);
    focus->setFocus();
    return false;
}

void frm_proj::cmdcontractsave_clicked() {
    const QString info = tr("Information");
    const QString id = cmbcontractno->currentText();
    if (!check(!id.trimmed().isEmpty() && id.trimmed() != kAddNew, tr("Please Enter Project Id"),
               info, cmbcontractno))
        return;
    if (!check(!txtcontractname->text().trimmed().isEmpty(), tr("Please Enter the Project Name"),
               info, txtcontractname))
        return;
    auto dateOk = [](const ui::DateEdit* d) { return d->isEmpty() || d->value().isValid(); };
    if (!check(dateOk(txtclientrefdate), tr("Improper Date format for Reference Date"), info,
               txtclientrefdate))
        return;
    if (!check(dateOk(txtclientstartdate), tr("Improper Date format for Start Date"), info,
               txtclientstartdate))
        return;
    if (!check(dateOk(txtclientenddate), tr("Improper Date format for End Date"), info,
               txtclientenddate))
        return;
    const QString email = txtclientemail->text().trimmed();
    if (!email.isEmpty()) {
        const QString upper = email.toUpper();
        bool domain = false;
        for (const char* fragment : {"COM", "ORG", "NET", "GOV", "EDU", "MIL", "AC.", "CO."}) {
            if (upper.contains(QLatin1String(fragment))) {
                domain = true;
                break;
            }
        }
        if (!check(email.contains(u'@'), tr("Email id format is wrong, please retype the Email-id"),
                   tr("Retype email id"), txtclientemail))
            return;
        if (!check(domain, tr("Please enter the correct domain"), tr("Enter correct domain"),
                   txtclientemail))
            return;
    }

    QVariant tax = 0;
    if (const QString t = txttaxrate->text().trimmed(); !t.isEmpty()) {
        const auto n = tw::strictNumber(t);
        if (!n) {
            txttaxrate->setFocus();
            throw tw::Error(tr("The tax rate \"%1\" is not a number.").arg(t));
        }
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

    tw::Transaction tx(con);
    // The Id is the project's key; the old store compared it without regard to case, so "p1"
    // finds the project "P1" and changes it rather than making a second one beside it.
    const auto found = con.first(
        QStringLiteral("select rowid from contractmaster where tw_contract_num=? collate nocase"),
        {id});
    if (found) {
        con.update(QStringLiteral("contractmaster"), found->value(0).toLongLong(), values);
    } else {
        values.insert(values.begin(), {QStringLiteral("tw_contract_num"), id});
        con.insert(QStringLiteral("contractmaster"), values);
    }
    tx.commit();

    if (!found) {
        // Offer the new Id for picking at once, leaving the typed text as it is.
        cmbcontractno->addItem(id);
        cmbcontractno->setEditText(id);
    }
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
