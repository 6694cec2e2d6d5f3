#include "screens/projects/frm_proj.h"

#include "core/projects/projects.h"
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

    ui::guard([this] { loadIds(); });
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

void frm_proj::loadIds() {
    cmbcontractno->clear();
    cmbcontractno->addItems(tw::projects::numbers(con));
    // No project is shown until one is picked.
    cmbcontractno->setCurrentIndex(-1);
}

void frm_proj::cmbcontractno_textEdited() {
    if (cmbcontractno->currentText().size() >= 31)
        ui::MsgBox(tr("Maximum 30 Characters only Allowed..."), ui::Information,
                   tr("Contact Number"));
}

void frm_proj::cmbcontractno_activated() {
    const auto project = tw::projects::show(con, cmbcontractno->currentText());
    if (!project)
        return;
    const std::pair<QLineEdit*, QString> texts[] = {
        {txtcontractname, project->name},   {txtclientname, project->clientName},
        {txtclientadd1, project->address1}, {txtclientadd2, project->address2},
        {txtclientcity, project->city},     {txtclientemail, project->email},
        {txtclienturl, project->url},       {txtclientcontact, project->contact},
        {txtclientref, project->reference}, {txttaxrate, project->taxRate},
        {txtclientpin, project->pin},       {txtclientphone1, project->phone1},
        {txtclientphone2, project->phone2}, {txtclientmobile, project->mobile}};
    for (const auto& [field, text] : texts)
        field->setText(text);
    txtclientrefdate->setValueText(project->referenceDate.value);
    txtclientstartdate->setValueText(project->startDate.value);
    txtclientenddate->setValueText(project->endDate.value);
    rememberedStart_ = txtclientstartdate->value();
    rememberedEnd_ = txtclientenddate->value();
    txtunitrate->setCurrentIndex(txtunitrate->findText(project->units));
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
    tw::projects::Fields project;
    project.id = cmbcontractno->currentText();
    project.name = txtcontractname->text();
    project.reference = txtclientref->text();
    project.referenceDate = {txtclientrefdate->text(), txtclientrefdate->valueText()};
    project.startDate = {txtclientstartdate->text(), txtclientstartdate->valueText()};
    project.endDate = {txtclientenddate->text(), txtclientenddate->valueText()};
    project.taxRate = txttaxrate->text();
    // With no measure system picked the project keeps the one it has.
    if (txtunitrate->currentIndex() >= 0)
        project.units = txtunitrate->currentText();
    project.clientName = txtclientname->text();
    project.contact = txtclientcontact->text();
    project.address1 = txtclientadd1->text();
    project.address2 = txtclientadd2->text();
    project.city = txtclientcity->text();
    project.pin = txtclientpin->text();
    project.phone1 = txtclientphone1->text();
    project.phone2 = txtclientphone2->text();
    project.mobile = txtclientmobile->text();
    project.email = txtclientemail->text();
    project.url = txtclienturl->text();
    // A new Id is listed when the screen opens again.
    if (const auto refused = tw::projects::save(con, project))
        ui::refuse(this, *refused);
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
