#include "screens/reports/frm_reports.h"

#include "core/projects/projects.h"
#include "core/reports/running_bill.h"
#include "render/paged.h"
#include "render/render.h"
#include "screens/reports/page_recorder.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QStyle>
#include <QVBoxLayout>

#include <memory>
#include <utility>

using tw::reports::ReportType;
using ui::named;

namespace {
// The grid of deductions, by column.
enum DeductionColumn { dNo, dDescription, dQuantity, dUnits, dRate, dAmount };

// The sum of one column of the deductions grid, each cell read as the number it starts with.
double columnSum(const QTreeWidget* grid, int column) {
    double sum = 0;
    for (int i = 0; i < grid->topLevelItemCount(); ++i)
        sum += tw::leadingNumber(grid->topLevelItem(i)->text(column));
    return sum;
}
} // namespace

// What a run works on, apart from the window: a copy of the screen's members, given back when
// the run ends, and the document it made.
struct Frm_Reports::Job {
    tw::reports::ReportRun run;
    // The run's rows are its own until the report is left: the viewer, printing and freezing
    // read them there, whatever another run fills meanwhile. Made, used and let go on the
    // run's thread.
    std::unique_ptr<tw::reports::RunTables> rows;
    std::unique_ptr<QTextDocument> doc;
    bool pages = false;     // every page made
    bool firstLook = false; // a first page shown before the whole was made (window's thread)
};

namespace {
// A long report's first page is shown from this many of its rows while the whole is made: a
// page holds some tens of them.
constexpr qsizetype kFirstLookRows = 300;
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
    prgRun = named(new QProgressBar(this), "prgRun");
    cmdCancel = named(new QPushButton(tr("Cancel"), this), "cmdCancel");

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
    txtdedDec = named(new QLineEdit(Frame11), "txtdedDec");
    txtdedQty = named(new QLineEdit(Frame11), "txtdedQty");
    ui::typingLimit(txtdedQty, 6);
    cmb_lbl = named(new QComboBox(Frame11), "cmb_lbl");
    cmb_lbl->setEditable(true);
    // A typed label is kept as typed (and learnt); the list only offers.
    cmb_lbl->setInsertPolicy(QComboBox::NoInsert);
    cmb_lbl->setCompleter(nullptr);
    txtdedRate = named(new QLineEdit(Frame11), "txtdedRate");
    ui::typingLimit(txtdedRate, 13);
    CmdAdToGrd = named(new QPushButton(Frame11), "CmdAdToGrd");
    CmdAdToGrd->setIcon(style()->standardIcon(QStyle::SP_ArrowDown));
    CmdAdToGrd->setToolTip(tr("Add to the list, or change the row of this description"));
    CmdDlFmGrd = named(new QPushButton(Frame11), "CmdDlFmGrd");
    CmdDlFmGrd->setIcon(style()->standardIcon(QStyle::SP_TrashIcon));
    CmdDlFmGrd->setToolTip(tr("Delete the clicked row"));
    LstVwDd = named(new QTreeWidget(Frame11), "LstVwDd");
    ui::setupListView(LstVwDd, {tr("No"), tr("Description"), tr("Quantity"), tr("Units"),
                                tr("Rate"), tr("Amount")});
    Text7 = named(new QLineEdit(Frame11), "Text7");
    Text7->setReadOnly(true);
    Text7->setAlignment(Qt::AlignRight);
    Command5 = named(new QPushButton(tr("&Save "), Frame11), "Command5");
    Command6 = named(new QPushButton(tr("&Exit"), Frame11), "Command6");
    Label3 = named(new QLabel(tr("This bill is frozen"), Frame11), "Label3");
    Label3->setStyleSheet(QStringLiteral("color: #b00000; font-weight: bold;"));

    RptView = named(new ::RptView(this), "RptView");
    // The deductions' "&Save " holds Alt+S on this screen, so the viewer saves with Alt+V.
    RptView->cmdSavePdf->setText(tr("Sa&ve as PDF..."));
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

    auto* deductions = new QGridLayout(Frame11);
    deductions->addWidget(new QLabel(tr("Description of Deduction"), Frame11), 0, 0);
    deductions->addWidget(new QLabel(tr("QTY."), Frame11), 0, 1);
    deductions->addWidget(new QLabel(tr("Rate"), Frame11), 0, 3);
    deductions->addWidget(txtdedDec, 1, 0);
    deductions->addWidget(txtdedQty, 1, 1);
    deductions->addWidget(cmb_lbl, 1, 2);
    deductions->addWidget(txtdedRate, 1, 3);
    deductions->addWidget(CmdAdToGrd, 1, 4);
    deductions->addWidget(CmdDlFmGrd, 1, 5);
    deductions->addWidget(LstVwDd, 2, 0, 1, 6);
    auto* dedFoot = new QHBoxLayout;
    dedFoot->addWidget(Label3);
    dedFoot->addStretch();
    dedFoot->addWidget(new QLabel(tr("Total Amount"), Frame11));
    dedFoot->addWidget(Text7);
    dedFoot->addWidget(Command5);
    dedFoot->addWidget(Command6);
    deductions->addLayout(dedFoot, 3, 0, 1, 6);
    deductions->setColumnStretch(0, 1);
    LstVwDd->setMinimumHeight(fontMetrics().height() * 6);

    auto* exitRow = new QHBoxLayout;
    exitRow->addWidget(prgRun, 1);
    exitRow->addWidget(cmdCancel);
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

    ui::tabOrder({TypeofReport, CmbdetCnum, CmbBillnum, Command4,   txtEWP,     txtWWS,
                  Command3,     Option1,    Option2,    Fromdate,   Todate,     Command15,
                  txtdedDec,    txtdedQty,  cmb_lbl,    txtdedRate, CmdAdToGrd, CmdDlFmGrd,
                  LstVwDd,      Command5,   Command6,   RptView,    Cmdrepexit});
    resize(900, 680);

    // ---- events ----
    connect(TypeofReport, &QComboBox::activated, this,
            ui::guarded([this] { TypeofReport_activated(); }));
    connect(CmbdetCnum, &QComboBox::activated, this,
            ui::guarded([this] { CmbdetCnum_activated(); }));
    connect(CmbBillnum, &QComboBox::activated, this,
            ui::guarded([this] { CmbBillnum_activated(); }));
    CmbBillnum->installEventFilter(this);
    connect(Command3, &QPushButton::clicked, this, ui::guarded([this] { Command3_clicked(); }));
    connect(Option2, &QRadioButton::clicked, this, ui::guarded([this] { Option2_clicked(); }));
    connect(Command15, &QPushButton::clicked, this, ui::guarded([this] { Command15_clicked(); }));
    connect(Command4, &QPushButton::clicked, this, ui::guarded([this] { Command4_clicked(); }));
    connect(cmdCancel, &QPushButton::clicked, this, ui::guarded([this] { cmdCancel_clicked(); }));
    connect(Cmdrepexit, &QPushButton::clicked, this, ui::guarded([this] { Cmdrepexit_clicked(); }));
    connect(Command1, &QPushButton::clicked, this, ui::guarded([this] { Command1_clicked(); }));
    connect(txtdedDec, &QLineEdit::textEdited, this,
            ui::guarded([this] { txtdedDec_textEdited(); }));
    connect(CmdAdToGrd, &QPushButton::clicked, this, ui::guarded([this] { CmdAdToGrd_clicked(); }));
    connect(CmdDlFmGrd, &QPushButton::clicked, this, ui::guarded([this] { CmdDlFmGrd_clicked(); }));
    connect(LstVwDd, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { LstVwDd_itemClicked(); }));
    connect(LstVwDd, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { LstVwDd_itemDoubleClicked(); }));
    connect(Command5, &QPushButton::clicked, this, ui::guarded([this] { Command5_clicked(); }));
    connect(Command6, &QPushButton::clicked, this, ui::guarded([this] { Command6_clicked(); }));

    // ---- opening: choosing, with nothing chosen ----
    Frame10->hide();
    Frame11->hide();
    Frame14->hide();
    RptView->hide();
    Cmdrepexit->hide();
    prgRun->hide();
    cmdCancel->hide();
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
    dropRun();
    restoreCursor();
    con.conclose();
}

const ReportType& Frm_Reports::entry() const {
    // The list holds the catalogue's captions only.
    const ReportType* t = tw::reports::findByCaption(TypeofReport->currentText());
    Q_ASSERT(t);
    return *t;
}

void Frm_Reports::FillProjects() {
    CmbdetCnum->clear();
    CmbdetCnum->addItems(tw::projectNames(con));
    CmbdetCnum->setCurrentIndex(-1);
}

// What each type asks for: its groups shown or hidden, then no project chosen.
void Frm_Reports::TypeofReport_activated() {
    const ReportType& t = entry();
    if (!t.habits.keepsFrames && !t.period) {
        Label49->show();
        CmbdetCnum->show();
    }
    if (t.habits.keepsFrames) {
        // Leaves every group as it stands.
    } else if (t.period) {
        Frame14->show();
        Todate->setValue(QDate::currentDate());
    } else {
        if (!t.percentages)
            Frame10->hide();
        if (!t.runningBill)
            Frame11->hide();
        else
            Text7->clear();
        Frame14->hide();
        if (t.habits.hidesBills)
            CmbBillnum->hide();
        if (t.habits.readyAtOnce)
            Command4->setEnabled(true);
    }
    CmbdetCnum->setCurrentIndex(-1);
}

void Frm_Reports::CmbdetCnum_activated() {
    if (CmbdetCnum->currentIndex() < 0)
        return;
    const ReportType& t = entry();
    if (t.needsBill()) {
        FillBillNumbers(t.billsFrom);
    } else {
        CmbBillnum->hide();
        Command4->setEnabled(true);
    }
}

void Frm_Reports::FillBillNumbers(const QString& table) {
    const QStringList bills = tw::reports::BillNumbers(run, con, CmbdetCnum->currentText(), table);
    if (bills.empty()) {
        ui::MsgBox(tr("No bills in this contract. Select another Contract"), ui::Information);
        return;
    }
    CmbBillnum->clear();
    CmbBillnum->addItems(bills);
    CmbBillnum->show();
    CmbBillnum->setCurrentIndex(-1);
}

bool Frm_Reports::eventFilter(QObject* watched, QEvent* event) {
    if (watched != CmbBillnum || event->type() != QEvent::KeyPress)
        return ui::Screen::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: {
        // The list takes the key itself, and the bill it steps to opens as a click opens it, but
        // the user goes on stepping: the focus is not sent on to the bill's first field.
        const QScopedValueRollback<bool> stepping(steppingBills_, true);
        static_cast<QObject*>(CmbBillnum)->event(event);
        return true;
    }
    default:
        return ui::Screen::eventFilter(watched, event);
    }
}

void Frm_Reports::CmbBillnum_activated() {
    Command4->setEnabled(true);
    if (entry().percentages) {
        Frame10->show();
        txtEWP->setText(QStringLiteral("15"));
        txtWWS->setText(QStringLiteral("15"));
        if (!steppingBills_)
            txtEWP->setFocus();
    }
    if (entry().runningBill)
        OpenBill();
}

void Frm_Reports::Command3_clicked() {
    Frame10->hide();
    CmbBillnum->show();
    CmbBillnum->setFocus();
    restoreCursor();
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

void Frm_Reports::cmdCancel_clicked() {
    // The run stops at its next step; what it wrote is rolled back when it ends.
    if (thread_ && running_)
        thread_->cancel();
    cmdCancel->setEnabled(false);
}

void Frm_Reports::Command1_clicked() {
    if (job_ && job_->rows && !running_)
        thread_->call([this] {
            tw::reports::ComputeNetAmounts(run, job_->rows->con(), thread_->messages());
        });
}

// Warns of a missing choice and no more: the report is made from what the last choice left.
void Frm_Reports::CheckSelections(const ReportType& t) {
    if (!t.period && CmbdetCnum->currentIndex() < 0) {
        ui::refuse(CmbdetCnum, tr("Select Contract Name"));
        return;
    }
    if (t.needsBill() && CmbBillnum->currentIndex() < 0)
        ui::refuse(CmbBillnum, tr("Select Bill Number"));
}

void Frm_Reports::GenerateReport() {
    if (running_)
        return; // one run at a time
    ui::BusyCursor busy;
    if (CmbdetCnum->currentIndex() >= 0) {
        run.projectName = CmbdetCnum->currentText();
        tw::reports::readProject(run, con);
    }
    tw::reports::readReportOrgName(run);
    const ReportType* t = tw::reports::findByCaption(TypeofReport->currentText());
    if (t)
        CheckSelections(*t);
    for (auto* f : {txtEWP, txtWWS})
        if (f->text().trimmed().isEmpty())
            f->setText(QStringLiteral("0"));
    Command4->setEnabled(false);

    // The bill list keeps the last bill picked while it is hidden; a type that takes no bill
    // runs for the whole project.
    run.bill = t && !t->needsBill() ? QString() : CmbBillnum->currentText();
    run.ewp = txtEWP->text();
    run.wws = txtWWS->text();
    run.forPeriod = Option2->isChecked();
    run.fromDate = Fromdate->value();
    run.toDate = Todate->value();

    if (!t) {
        ui::MsgBox(tr("Select Type of Report from list"), ui::Information, tr("Information"));
        Command4->setEnabled(true);
        TypeofReport->setFocus();
    } else {
        startRun(*t);
    }
    CmbdetCnum->setCurrentIndex(-1);
    restoreCursor();
}

void Frm_Reports::startRun(const ReportType& t) {
    dropRun();
    thread_ = std::make_unique<RunThread>();
    running_ = true;
    const int steps = static_cast<int>(t.formOf(run).steps.size());
    // Each step of the fill begun, keeping its rows, and the document made.
    prgRun->setRange(0, steps + 2);
    prgRun->setValue(0);
    prgRun->show();
    cmdCancel->setEnabled(true);
    cmdCancel->show();

    auto job = job_ = std::make_shared<Job>();
    job->run = run;
    RunThread* thread = thread_.get();
    const auto reached = [this](int value) {
        QMetaObject::invokeMethod(
            this, [this, value] { prgRun->setValue(value); }, Qt::QueuedConnection);
    };
    // The document, then its pages, each shown as soon as it is made.
    const auto render = [this, &t, job, thread](tw::Messenger& says) {
        // A long report takes seconds to make whole: its first page, made from its first rows
        // (and sums of all), is shown meanwhile, and the whole's first page takes its place.
        tw::reports::FirstLook look;
        look.rows = kFirstLookRows;
        look.show = [&](const QString& firstRows) {
            if (thread->cancelled())
                return;
            const auto doc = tw::reports::makeFirstLook(firstRows);
            const bool landscape = tw::reports::isLandscape(*doc);
            if (std::optional<QPicture> page = recordFirstPage(*doc, landscape))
                QMetaObject::invokeMethod(
                    this,
                    [this, &t, job, page = std::move(*page), landscape] {
                        if (job != job_)
                            return;
                        ReportShow(t, landscape);
                        RptView->addPage(page);
                        job->firstLook = true;
                    },
                    Qt::QueuedConnection);
        };
        QString html;
        try {
            html = tw::reports::renderHtml(t, job->run, job->rows->con(), &look,
                                           [thread] { return !thread->cancelled(); });
        } catch (const tw::reports::Cancelled&) {
            return;
        }
        if (thread->cancelled())
            return;
        job->doc = tw::reports::makeDocument(html, &says);
        const bool landscape = tw::reports::isLandscape(*job->doc);
        bool first = true;
        const bool whole =
            !thread->cancelled() &&
            recordPages(
                *job->doc, landscape,
                [&](QPicture page) {
                    QMetaObject::invokeMethod(
                        this,
                        [this, &t, job, page, landscape, first = std::exchange(first, false)] {
                            if (job != job_)
                                return; // a page of a run let go
                            if (first) {
                                // Pages until the last: how many is not known.
                                prgRun->setRange(0, 0);
                                if (job->firstLook) {
                                    RptView->replacePage(0, page);
                                    return;
                                }
                                ReportShow(t, landscape);
                            }
                            RptView->addPage(page);
                        },
                        Qt::QueuedConnection);
                    return !thread->cancelled();
                },
                [thread] { return !thread->cancelled(); });
        if (!whole) {
            job->doc.reset();
            return;
        }
        job->doc->moveToThread(QCoreApplication::instance()->thread());
        job->pages = true;
    };
    thread->post(
        [&t, job, thread, reached, render, steps] {
            job->rows = std::make_unique<tw::reports::RunTables>(t, thread->messages());
            if (!job->rows->isOpen())
                return;
            // What the document tells while the books' writes are kept waiting is told after.
            tw::HeldMessages whileWriting(thread->messages());
            const bool filled =
                tw::reports::fill(t, job->run, job->rows->con(), thread->messages(), [&](int step) {
                    reached(step + 1);
                    // A run that writes the books keeps its writes only once its document is
                    // made, so that a Cancel until then undoes them.
                    if (step == steps && t.writesFile && !thread->cancelled())
                        render(whileWriting);
                    return !thread->cancelled();
                });
            if (!filled || thread->cancelled()) {
                job->rows.reset();
                return;
            }
            whileWriting.release();
            if (!job->pages)
                render(thread->messages());
            reached(steps + 2);
        },
        [this](std::exception_ptr failure) { ui::guard([&] { runEnded(failure); }); });
}

void Frm_Reports::runEnded(std::exception_ptr failure) {
    Job& job = *job_;
    running_ = false;
    prgRun->hide();
    cmdCancel->hide();
    const bool cancelled = thread_->cancelled();
    // The members as the fill left them, as when the fill ran on the window's thread.
    run = job.run;
    if (failure || cancelled || !job.pages) {
        // A layout that cannot be read, a fill that failed or a run cancelled leave the screen
        // choosing, Generate ready for another try; pages already shown go.
        job.doc.reset();
        dropRun();
        if (RptView->isVisibleTo(this))
            backToChoosing();
        else
            Command4->setEnabled(true);
        if (failure)
            std::rethrow_exception(failure);
        return;
    }
    RptView->finishReport(std::move(job.doc));
}

void Frm_Reports::dropRun() {
    if (!thread_)
        return;
    // The rows go on the thread that made them, before it ends.
    std::unique_ptr<RunThread> thread = std::move(thread_);
    thread->cancel();
    thread->post([job = std::move(job_)] { job->rows.reset(); }, {});
    thread.reset();
    running_ = false;
    prgRun->hide();
    cmdCancel->hide();
}

void Frm_Reports::ReportShow(const ReportType& t, bool landscape) {
    if (t.runningBill)
        Frame11->hide();
    RptView->startReport(
        reportFileName(run.projectName, t.needsBill() ? run.bill : QString(), t.caption),
        landscape);
    Frame5->hide();
    Picture5->hide();
    RptView->show();
    Label49->hide();
    Label46->hide();
    Cmdrepexit->show();
    if (t.habits.clearsBill)
        CmbBillnum->setCurrentIndex(-1);
    if (t.period)
        Frame14->hide();
    if (t.habits.hidesProjects)
        CmbdetCnum->hide();
}

void Frm_Reports::Cmdrepexit_clicked() {
    if (running_)
        dropRun(); // pages still to come: the run stops, and its writes go with it
    // A bill once frozen is reprinted as it stands and never asked about again. Freezing cannot
    // be undone, so Enter answers No. What is frozen is what the viewer showed: the run's rows.
    if (job_ && job_->rows && entry().runningBill && !run.frozen_flag &&
        ui::MsgBox(tr("Do you wish to freeze this bill? "), ui::YesNo | ui::DefaultButton2) ==
            ui::Answer::Yes) {
        run.bill = CmbBillnum->currentText();
        thread_->call([this] { tw::reports::FreezeBill(run, job_->rows->con()); });
    }
    dropRun();
    backToChoosing();
}

void Frm_Reports::backToChoosing() {
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

void Frm_Reports::OpenBill() {
    LoadDeductions();
    Frame11->show();
    Command5->setEnabled(!run.frozen_flag);
    Label3->setVisible(run.frozen_flag);
    if (!run.frozen_flag && !steppingBills_)
        txtdedDec->setFocus();
}

void Frm_Reports::LoadDeductions() {
    cmb_lbl->clear();
    cmb_lbl->addItems(tw::reports::UnitLabels(con));
    cmb_lbl->setCurrentIndex(-1);
    run.projectName = CmbdetCnum->currentText();
    run.bill = CmbBillnum->currentText();
    const auto list = tw::reports::LoadDeductions(run, con);
    LstVwDd->clear();
    selected_row = 0;
    double total = 0;
    for (const auto& d : list) {
        ui::addListRow(LstVwDd, {QString::number(LstVwDd->topLevelItemCount() + 1), d.description,
                                 tw::doubleText(d.quantity), d.unit, tw::doubleText(d.rate),
                                 tw::doubleText(d.amount)});
        total += d.amount;
    }
    Text7->setText(tw::doubleText(total));
}

void Frm_Reports::txtdedDec_textEdited() {
    CmdAdToGrd->setEnabled(true);
}

void Frm_Reports::CmdAdToGrd_clicked() {
    const QString details = tr("Details");
    // A blank quantity or rate is no number either, so the blank checks after these never
    // speak for those two; they stay in their place all the same. A figure the books cannot keep
    // is refused with its number check.
    for (const auto& [field, caption] :
         {std::pair{txtdedQty, tr("QTY.")}, std::pair{txtdedRate, tr("Rate")}}) {
        const auto figure = tw::strictNumber(field->text());
        if (!figure)
            return ui::refuse(field, tr("Fill in numbers only"), ui::Information, details);
        if (!tw::fitsMoney(*figure))
            return ui::refuse(field, tw::tooLargeText(caption, *figure), ui::Information, details);
    }
    if (txtdedDec->text().trimmed().isEmpty())
        return ui::refuse(txtdedDec, tr("Please Fill Deductions Details"), ui::Information,
                          details);
    if (txtdedQty->text().trimmed().isEmpty())
        return ui::refuse(txtdedQty, tr("Please Fill Quantity Details"), ui::Information, details);
    if (txtdedRate->text().trimmed().isEmpty())
        return ui::refuse(txtdedRate, tr("Please Fill Rate Details"), ui::Information, details);

    const QString description = txtdedDec->text();
    const QString amount = tw::doubleText(tw::leadingNumber(txtdedRate->text()) *
                                          tw::leadingNumber(txtdedQty->text()));
    // One row a description: typing a description again changes its row.
    QTreeWidgetItem* row = nullptr;
    for (int i = 0; i < LstVwDd->topLevelItemCount() && !row; ++i)
        if (LstVwDd->topLevelItem(i)->text(dDescription) == description)
            row = LstVwDd->topLevelItem(i);
    if (!row)
        row = ui::addListRow(
            LstVwDd,
            {QString::number(LstVwDd->topLevelItemCount() + 1), description, {}, {}, {}, {}});
    row->setText(dQuantity, txtdedQty->text());
    row->setText(dUnits, cmb_lbl->currentText());
    row->setText(dRate, txtdedRate->text());
    row->setText(dAmount, amount);
    ui::fitColumns(LstVwDd);
    Text7->setText(tw::doubleText(columnSum(LstVwDd, dAmount)));

    txtdedDec->selectAll();
    txtdedDec->setFocus();
    txtdedQty->clear();
    txtdedRate->clear();
    if (LstVwDd->topLevelItemCount() > 0) {
        CmdDlFmGrd->setEnabled(true);
        Command5->setEnabled(true);
    }
    // A label typed here is offered for the next deduction; an empty one offers nothing.
    if (!cmb_lbl->currentText().trimmed().isEmpty()) {
        tw::Transaction tx(con);
        tw::reports::LearnUnitLabel(con, cmb_lbl->currentText());
        tx.commit();
    }
}

void Frm_Reports::CmdDlFmGrd_clicked() {
    if (LstVwDd->topLevelItemCount() == 0)
        return;
    // The stored deduction goes at once, whether or not the grid is saved afterwards.
    if (const int current = ui::selectedRow(LstVwDd); current >= 0) {
        tw::Transaction tx(con);
        tw::reports::DeleteDeduction(run, con, LstVwDd->topLevelItem(current)->text(dDescription));
        tx.commit();
    }
    if (selected_row == 0 || LstVwDd->topLevelItemCount() < selected_row)
        return;
    std::unique_ptr<QTreeWidgetItem> removed(LstVwDd->takeTopLevelItem(selected_row - 1));
    const QString description = removed->text(dDescription);
    // Until the next addition the total shown is that of the rates left in the grid.
    const double rates = columnSum(LstVwDd, dRate);
    selected_row = 0;
    Text7->setText(tw::doubleText(rates));

    tw::reports::ForgetDeduction(run, con, description, rates);
}

void Frm_Reports::LstVwDd_itemClicked() {
    selected_row = static_cast<qint16>(ui::selectedRow(LstVwDd) + 1);
}

void Frm_Reports::LstVwDd_itemDoubleClicked() {
    const int row = ui::selectedRow(LstVwDd);
    if (LstVwDd->topLevelItemCount() == 0 || row < 0)
        return;
    const QTreeWidgetItem* item = LstVwDd->topLevelItem(row);
    txtdedDec->setText(item->text(dDescription));
    txtdedQty->setText(item->text(dQuantity));
    cmb_lbl->setEditText(item->text(dUnits));
    txtdedRate->setText(item->text(dRate));
}

void Frm_Reports::Command5_clicked() {
    // The hourglass stays on after a save of an empty grid, until the next action puts the
    // pointer back: the user sees that nothing was written.
    if (!hourglass_) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        hourglass_ = true;
    }
    if (LstVwDd->topLevelItemCount() == 0)
        return;
    // After a report the project list is cleared; the deductions stay with the project read
    // at the bill's opening.
    if (CmbdetCnum->currentIndex() >= 0)
        run.projectName = CmbdetCnum->currentText();
    if (const auto p = tw::projects::findByName(con, run.projectName))
        run.contract_num = p->text(QStringLiteral("tw_contract_num"));
    run.bill = CmbBillnum->currentText();
    std::vector<tw::reports::Deduction> list;
    for (int i = 0; i < LstVwDd->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = LstVwDd->topLevelItem(i);
        tw::reports::Deduction d;
        d.description = item->text(dDescription);
        d.quantity = tw::leadingNumber(item->text(dQuantity));
        d.unit = item->text(dUnits);
        d.rate = tw::leadingNumber(item->text(dRate));
        list.push_back(d);
    }
    tw::reports::SaveDeductions(run, con, list);
    restoreCursor();
}

void Frm_Reports::Command6_clicked() {
    if (LstVwDd->topLevelItemCount() == 0) {
        if (ui::MsgBox(tr("Do you want to Exit without any Data ? "),
                       ui::YesNo | ui::Question | ui::DefaultButton2) == ui::Answer::Yes) {
            LstVwDd->clear();
            Frame11->hide();
            for (auto* f : {txtdedDec, txtdedQty, txtdedRate})
                f->clear();
        } else {
            txtdedDec->setFocus();
        }
    }
    CmdAdToGrd->setEnabled(false);
    CmdDlFmGrd->setEnabled(false);
}

void Frm_Reports::restoreCursor() {
    if (std::exchange(hourglass_, false))
        QApplication::restoreOverrideCursor();
}
