#include "reports/frm_reports.h"

#include "reports/render/paged.h"
#include "reports/render/render.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QStyle>
#include <QVBoxLayout>

using tw::reports::ReportType;
using ui::named;

namespace {
const char* const projectInfo = "Project Info.";
const char* const abstractEstimate = "Abstract Estimate";
const char* const detailedBill = "Detailed Bill";
const char* const abstractBill = "Abstract Bill";
const char* const finalBill = "Final Bill - Detailed";
const char* const reinforcement = "Reinforcement Report";
const char* const schedule = "Contract / Schedule";
const char* const billsRaised = "Bills Raised Report";
} // namespace

Frm_Reports::Frm_Reports(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("Frm_Reports"));
    setWindowTitle(tr("Reports Form"));

    Frame5 = named(new QGroupBox(tr("Report Screen"), this), "Frame5");
    Picture5 = named(new QLabel(Frame5), "Picture5");
    Picture5->setPixmap(style()->standardIcon(QStyle::SP_FileDialogDetailedView).pixmap(48, 48));
    Picture5->setAlignment(Qt::AlignTop);
    Label6 = named(new QLabel(tr("Select Type of Report"), Frame5), "Label6");
    TypeofReport = named(new QComboBox(Frame5), "TypeofReport");
    for (const ReportType& t : tw::reports::catalogue())
        TypeofReport->addItem(t.caption);
    Label49 = named(new QLabel(tr("Project Name"), Frame5), "Label49");
    CmbdetCnum = named(new QComboBox(Frame5), "CmbdetCnum");
    CmbdetCnum->setMinimumContentsLength(30);
    Label46 = named(new QLabel(tr("Estimate/Bill Id"), Frame5), "Label46");
    CmbBillnum = named(new QComboBox(Frame5), "CmbBillnum");
    CmbBillnum->setMinimumContentsLength(14);
    Command4 = named(new QPushButton(tr("Generate"), Frame5), "Command4");

    Frame10 = named(new QGroupBox(tr("Percentages of Electrical && Plumbing"), this), "Frame10");
    txtEWP = named(new QLineEdit(Frame10), "txtEWP");
    txtWWS = named(new QLineEdit(Frame10), "txtWWS");
    Command3 = named(new QPushButton(tr("OK"), Frame10), "Command3");

    Frame14 = named(new QGroupBox(tr("Select Report Type ..."), this), "Frame14");
    Option1 = named(new QRadioButton(tr("For a Contract - All bills"), Frame14), "Option1");
    Option2 = named(new QRadioButton(tr("For a Period - All Contracts && All bills"), Frame14),
                    "Option2");
    Fromdate = named(new ui::DateEdit(Frame14), "Fromdate");
    Todate = named(new ui::DateEdit(Frame14), "Todate");
    Command15 = named(new QPushButton(tr("OK"), Frame14), "Command15");

    Frame11 = named(new QGroupBox(tr("Deductions if any..."), this), "Frame11");

    RptView = named(new ::RptView(this), "RptView");
    Cmdrepexit = named(new QPushButton(tr("Exit"), this), "Cmdrepexit");
    Command1 = named(new QPushButton(tr("Command1"), this), "Command1");
    Command1->hide();
    ui::selectAllOnFocusBelow(this);

    // ---- layout ----
    auto* choose = new QGridLayout;
    choose->addWidget(Label6, 0, 0);
    choose->addWidget(TypeofReport, 0, 1);
    choose->addWidget(Label49, 1, 0);
    choose->addWidget(CmbdetCnum, 1, 1);
    choose->addWidget(Label46, 2, 0);
    choose->addWidget(CmbBillnum, 2, 1);
    choose->addWidget(Command4, 3, 1, Qt::AlignRight);
    choose->setColumnStretch(1, 1);
    auto* frame5 = new QHBoxLayout(Frame5);
    frame5->addWidget(Picture5);
    frame5->addSpacing(12);
    frame5->addLayout(choose, 1);

    auto* shares = new QGridLayout(Frame10);
    shares->addWidget(new QLabel(tr("Electrical Works Percentage"), Frame10), 0, 0);
    shares->addWidget(txtEWP, 0, 1);
    shares->addWidget(new QLabel(tr("Plumbing and Sanitary Percentage"), Frame10), 1, 0);
    shares->addWidget(txtWWS, 1, 1);
    shares->addWidget(Command3, 2, 1, Qt::AlignRight);

    auto* period = new QGridLayout(Frame14);
    period->addWidget(Option1, 0, 0, 1, 4);
    period->addWidget(Option2, 1, 0, 1, 4);
    period->addWidget(new QLabel(tr("From Date"), Frame14), 2, 0);
    period->addWidget(Fromdate, 2, 1);
    period->addWidget(new QLabel(tr("To Date"), Frame14), 2, 2);
    period->addWidget(Todate, 2, 3);
    period->addWidget(Command15, 3, 3, Qt::AlignRight);

    auto* exitRow = new QHBoxLayout;
    exitRow->addStretch();
    exitRow->addWidget(Command1);
    exitRow->addWidget(Cmdrepexit);

    auto* box = new QVBoxLayout(this);
    box->addWidget(Frame5);
    box->addWidget(Frame10);
    box->addWidget(Frame14);
    box->addWidget(Frame11);
    box->addWidget(RptView, 1);
    box->addStretch();
    box->addLayout(exitRow);

    ui::tabOrder({TypeofReport, CmbdetCnum, CmbBillnum, Command4, txtEWP, txtWWS, Command3, Option1,
                  Option2, Fromdate, Todate, Command15, RptView, Cmdrepexit});
    resize(900, 680);

    // ---- events ----
    connect(TypeofReport, &QComboBox::activated, this,
            ui::guarded([this] { TypeofReport_activated(); }));
    connect(CmbdetCnum, &QComboBox::activated, this,
            ui::guarded([this] { CmbdetCnum_activated(); }));
    connect(CmbBillnum, &QComboBox::activated, this,
            ui::guarded([this] { CmbBillnum_activated(); }));
    connect(Command3, &QPushButton::clicked, this, ui::guarded([this] { Command3_clicked(); }));
    connect(Option2, &QRadioButton::clicked, this, ui::guarded([this] { Option2_clicked(); }));
    connect(Command15, &QPushButton::clicked, this, ui::guarded([this] { Command15_clicked(); }));
    connect(Command4, &QPushButton::clicked, this, ui::guarded([this] { Command4_clicked(); }));
    connect(Cmdrepexit, &QPushButton::clicked, this, ui::guarded([this] { Cmdrepexit_clicked(); }));
    connect(Command1, &QPushButton::clicked, this, ui::guarded([this] { Command1_clicked(); }));

    // ---- opening: choosing, with nothing chosen ----
    Frame10->hide();
    Frame11->hide();
    Frame14->hide();
    RptView->hide();
    Cmdrepexit->hide();
    Command4->setEnabled(false);
    Option1->setChecked(true);
    Fromdate->setEnabled(false);
    Todate->setEnabled(false);
    TypeofReport->setCurrentIndex(0);
    ui::guard([this] { TypeofReport_activated(); });
    if (!con.isOpen())
        con.conopen();
    ui::guard([this] { FillProjects(); });
}

Frm_Reports::~Frm_Reports() {
    con.conclose();
}

bool Frm_Reports::typeIs(std::initializer_list<const char*> captions) const {
    const QString t = type();
    for (const char* c : captions)
        if (t.compare(QLatin1String(c), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

void Frm_Reports::FillProjects() {
    CmbdetCnum->clear();
    for (const auto& r : con.rows(QStringLiteral("select tw_contract_name from contractmaster")))
        CmbdetCnum->addItem(r.text(0));
    CmbdetCnum->setCurrentIndex(-1);
}

// What each type asks for: its groups shown or hidden, then no project chosen.
void Frm_Reports::TypeofReport_activated() {
    if (!typeIs({billsRaised, finalBill})) {
        Label49->show();
        CmbdetCnum->show();
    }
    if (typeIs({finalBill})) {
        // Leaves every group as it stands.
    } else if (typeIs({billsRaised})) {
        Frame14->show();
        Todate->setValue(QDate::currentDate());
    } else {
        if (!typeIs({abstractEstimate}))
            Frame10->hide();
        if (!typeIs({abstractBill}))
            Frame11->hide();
        Frame14->hide();
        if (typeIs({projectInfo}))
            CmbBillnum->hide();
        if (typeIs({"Detailed Estimate", reinforcement}))
            Command1->hide();
        if (typeIs({schedule}))
            Command4->setEnabled(true);
    }
    CmbdetCnum->setCurrentIndex(-1);
}

void Frm_Reports::CmbdetCnum_activated() {
    if (CmbdetCnum->currentIndex() < 0)
        return;
    if (typeIs({reinforcement})) {
        FillReinforcementBills();
    } else if (typeIs({projectInfo, schedule, finalBill, billsRaised})) {
        CmbBillnum->hide();
        Command4->setEnabled(true);
    } else {
        FillBillNumbers();
    }
}

void Frm_Reports::fillBills(const QString& table) {
    if (const auto p = con.first(
            QStringLiteral("select tw_contract_num from contractmaster where tw_contract_name=?"),
            {CmbdetCnum->currentText()}))
        run.contract_num = p->text(0);
    // The table is one of two fixed names, never text a user typed.
    const auto bills = con.rows(
        QStringLiteral("select distinct(tw_bill_num) from %1 where tw_contract_num=?").arg(table),
        {run.contract_num});
    if (bills.empty()) {
        ui::MsgBox(tr("No bills in this contract. Select another Contract"), ui::Information);
        return;
    }
    CmbBillnum->clear();
    for (const auto& b : bills)
        CmbBillnum->addItem(b.text(0));
    CmbBillnum->show();
    CmbBillnum->setCurrentIndex(-1);
}

void Frm_Reports::FillBillNumbers() {
    fillBills(QStringLiteral("billmaster"));
}

void Frm_Reports::FillReinforcementBills() {
    fillBills(QStringLiteral("reinforcementmaster"));
}

void Frm_Reports::CmbBillnum_activated() {
    Command4->setEnabled(true);
    if (typeIs({abstractEstimate})) {
        Frame10->show();
        txtEWP->setText(QStringLiteral("15"));
        txtWWS->setText(QStringLiteral("15"));
        txtEWP->setFocus();
    }
    // An abstract bill opens its deductions here once the running bill comes.
}

void Frm_Reports::Command3_clicked() {
    Frame10->hide();
    CmbBillnum->show();
    CmbBillnum->setFocus();
    for (auto* f : {txtEWP, txtWWS})
        if (f->text().trimmed().isEmpty())
            f->setText(QStringLiteral("0"));
    Command4->setEnabled(true);
}

void Frm_Reports::Option2_clicked() {
    Fromdate->setEnabled(true);
    Todate->setEnabled(true);
}

void Frm_Reports::Command15_clicked() {
    Frame14->hide();
    // A period always ends today, whatever was picked.
    Todate->setValue(QDate::currentDate());
    CmbdetCnum->hide();
    Command4->setEnabled(true);
    Command4->setFocus();
    if (Option1->isChecked()) {
        Label49->show();
        CmbdetCnum->show();
        Command4->setEnabled(true);
        Frame10->hide();
        Frame11->hide();
        Frame14->hide();
    }
}

void Frm_Reports::Command4_clicked() {
    GenerateReport();
}

void Frm_Reports::Command1_clicked() {
    tw::reports::ComputeNetAmounts(run, con, ui::boxes());
}

// Warns of a missing choice and no more: the report is made from what the last choice left.
void Frm_Reports::CheckSelections() {
    if (!typeIs({billsRaised}) && CmbdetCnum->currentIndex() < 0) {
        ui::refuse(CmbdetCnum, tr("Select Contract Name"));
        return;
    }
    if (!typeIs({projectInfo, schedule, finalBill, billsRaised}) && CmbBillnum->currentIndex() < 0)
        ui::refuse(CmbBillnum, tr("Select Bill Number"));
}

void Frm_Reports::GenerateReport() {
    ui::BusyCursor busy;
    if (CmbdetCnum->currentIndex() >= 0) {
        run.projectName = CmbdetCnum->currentText();
        tw::reports::readProject(run, con);
    }
    tw::reports::readReportOrgName(run);
    CheckSelections();
    for (auto* f : {txtEWP, txtWWS})
        if (f->text().trimmed().isEmpty())
            f->setText(QStringLiteral("0"));
    Command4->setEnabled(false);

    run.bill = CmbBillnum->currentText();
    run.ewp = txtEWP->text();
    run.wws = txtWWS->text();
    run.forPeriod = Option2->isChecked();
    run.fromDate = Fromdate->value();
    run.toDate = Todate->value();

    const ReportType* t = tw::reports::findByCaption(type());
    if (!t) {
        ui::MsgBox(tr("Select Type of Report from list"), ui::Information, tr("Information"));
        Command4->setEnabled(true);
        TypeofReport->setFocus();
    } else if (const QString later = tw::reports::notYetAvailable(*t); !later.isEmpty()) {
        ui::MsgBox(later, ui::Information);
        Command4->setEnabled(true);
    } else if (tw::reports::fill(*t, run, con, ui::boxes())) {
        ReportShow(*t);
    } else {
        Command4->setEnabled(true);
    }
    CmbdetCnum->setCurrentIndex(-1);
}

void Frm_Reports::ReportShow(const ReportType& t) {
    // A layout that cannot be read leaves the screen choosing, Generate ready for another try.
    try {
        auto doc = tw::reports::makeDocument(tw::reports::renderHtml(t, run, con));
        RptView->setReport(
            std::move(doc),
            reportFileName(run.projectName, t.needsBill ? run.bill : QString(), t.caption));
    } catch (...) {
        Command4->setEnabled(true);
        throw;
    }
    Frame5->hide();
    Picture5->hide();
    RptView->show();
    Label49->hide();
    Label46->hide();
    Cmdrepexit->show();
    if (typeIs({detailedBill, schedule, billsRaised}))
        CmbBillnum->setCurrentIndex(-1);
    if (typeIs({billsRaised}))
        Frame14->hide();
    if (typeIs({projectInfo}))
        CmbdetCnum->hide();
}

void Frm_Reports::Cmdrepexit_clicked() {
    TypeofReport->setCurrentIndex(0);
    TypeofReport_activated();
    RptView->clear();
    RptView->hide();
    Cmdrepexit->hide();
    Command4->setEnabled(false);
    Frame5->show();
    Picture5->show();
    TypeofReport->setFocus();
}
