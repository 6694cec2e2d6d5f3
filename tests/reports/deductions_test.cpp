#include "screens/reports/frm_reports.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <functional>
#include <optional>

namespace {

using twtest::messages;
using Texts = std::vector<QString>;

class Deductions : public twtest::ScreenTest<Frm_Reports> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().insert(
            "ContractMaster",
            {{"tw_contract_num", "HV-1"}, {"tw_contract_name", "Hill View"}, {"tw_units", "Feet"}});
        for (const char* bill : {"RA-1", "RA-2"})
            db().insert("BillMaster", {{"tw_contract_num", "HV-1"},
                                       {"tw_bill_num", bill},
                                       {"tw_sch_num", "1.1"},
                                       {"tw_cal_Area", 7},
                                       {"tw_deduction", 0},
                                       {"tw_quantity", 1}});
    }
    void deduction(const char* desc, double qty, double rate) {
        db().insert("absbl_dedns", {{"tw_cont_num", "HV-1"},
                                    {"tw_bill_num", "RA-1"},
                                    {"tw_item_desc", desc},
                                    {"tw_qty", qty},
                                    {"tw_rate", rate},
                                    {"tw_amount", qty * rate}});
    }
    // The abstract bill of RA-1 picked, which opens its deductions.
    Frm_Reports& openBill(const char* bill = "RA-1") {
        if (!screen) {
            open();
            screen->activateWindow();
            EXPECT_TRUE(QTest::qWaitForWindowActive(screen.get()));
        }
        twtest::pick(screen->TypeofReport, "Abstract Bill");
        twtest::pick(screen->CmbdetCnum, "Hill View");
        twtest::pick(screen->CmbBillnum, bill);
        return *screen;
    }
    void add(const QString& desc, const QString& qty, const QString& rate,
             const QString& unit = {}) {
        screen->txtdedDec->setText(desc);
        screen->txtdedQty->setText(qty);
        screen->txtdedRate->setText(rate);
        screen->cmb_lbl->setEditText(unit);
        click("CmdAdToGrd");
    }
    tw::Rows stored() { return db().keyed("absbl_dedns"); }
    void generate() {
        click("Command4");
        EXPECT_TRUE(twtest::waitUntil([&] { return !screen->running(); }));
    }
    // Another project with a measured bill, which the command line reports on meanwhile.
    void otherSite() {
        db().insert("ContractMaster", {{"tw_contract_num", "OS-9"},
                                       {"tw_contract_name", "Other Site"},
                                       {"tw_units", "Metre"}});
        db().insert("Sch_master", {{"tw_contract_num", "OS-9"},
                                   {"tw_sch_num", "9.9"},
                                   {"tw_item_desc", "Other work"},
                                   {"tw_unit", "1"},
                                   {"tw_item_rate", 10}});
        db().insert("BillMaster", {{"tw_contract_num", "OS-9"},
                                   {"tw_bill_num", "B-7"},
                                   {"tw_sch_num", "9.9"},
                                   {"tw_cal_Area", 3},
                                   {"tw_deduction", 0},
                                   {"tw_quantity", 1}});
    }
    // The abstract bill of Other Site made by the real tallywright-cli (it writes its bill's row
    // in billsraised): the exit code and the milliseconds it took.
    std::pair<int, qint64> otherSiteBill() {
        QProcess cli;
        QElapsedTimer clock;
        clock.start();
        cli.start(TW_CLI, {"--folder", folder(), "report", "abstract-bill", "--project",
                           "Other Site", "--bill", "B-7", "--out", folder() + "/other.html"});
        const bool ended = cli.waitForFinished(30000);
        return {ended && cli.exitStatus() == QProcess::NormalExit ? cli.exitCode() : -1,
                clock.elapsed()};
    }
    QStringList column(int c) const {
        QStringList out;
        for (int i = 0; i < screen->LstVwDd->topLevelItemCount(); ++i)
            out << screen->LstVwDd->topLevelItem(i)->text(c);
        return out;
    }
};

TEST_F(Deductions, ChecksComeInOrderAndTheSameDescriptionChangesItsOneRow) {
    auto& w = openBill();
    EXPECT_TRUE(w.Frame11->isVisibleTo(&w));
    EXPECT_FALSE(w.Label3->isVisibleTo(&w));
    EXPECT_TRUE(twtest::hasFocus(w.txtdedDec));
    EXPECT_LE(w.minimumSizeHint().height(), 738); // with the deductions shown, still on screen
    const struct {
        QString desc, qty, rate, text;
        QWidget* focus;
    } cases[] = {
        {"", "x", "", "Fill in numbers only", w.txtdedQty},
        {"", "", "5", "Fill in numbers only", w.txtdedQty}, // a blank is no number
        {"", "2", "5a", "Fill in numbers only", w.txtdedRate},
        {"  ", "2", "5", "Please Fill Deductions Details", w.txtdedDec},
    };
    for (const auto& c : cases) {
        messages().clear();
        add(c.desc, c.qty, c.rate);
        ASSERT_EQ(messages().texts(), Texts{c.text});
        EXPECT_EQ(messages().shown[0].title, "Details");
        EXPECT_TRUE(twtest::hasFocus(c.focus)) << c.text.toStdString();
        EXPECT_EQ(w.LstVwDd->topLevelItemCount(), 0);
    }
    messages().clear();
    const QString water = "Water \"tank\" पानी"; // kept as typed, quotes and all
    add(water, "2", "50", "Trips");
    add("Cement", "1", "300");
    add(water, "3", "50", "Trips");
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(column(1), (QStringList{water, "Cement"}));
    EXPECT_EQ(column(5), (QStringList{"150", "300"}));
    EXPECT_EQ(w.Text7->text(), "450");
    EXPECT_TRUE(w.txtdedQty->text().isEmpty());
    // The grid is not the store until it is saved; the typed label is learnt at once.
    EXPECT_TRUE(stored().empty());
    EXPECT_EQ(db().keyed("unitlbls", "tw_unit_lbl=?", {"Trips"}).size(), 1u);

    click("Command5");
    const auto rows = stored();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].text("tw_item_desc"), water);
    EXPECT_EQ(rows[0].number("tw_amount"), 150);
    EXPECT_EQ(rows[0].text("tw_lbl"), "Trips");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);

    // Opening the bill again shows what was saved, and the label is offered.
    openBill();
    EXPECT_EQ(column(1), (QStringList{water, "Cement"}));
    EXPECT_EQ(w.Text7->text(), "450");
    EXPECT_GE(w.cmb_lbl->findText("Trips"), 0);
}

TEST_F(Deductions, DeleteTakesTheStoredRowAtOnceAndShowsTheTotalOfRates) {
    deduction("Water", 2, 50);
    deduction("Cement", 2, 300);
    auto& w = openBill();
    EXPECT_EQ(w.Text7->text(), "700");
    w.LstVwDd->setCurrentItem(w.LstVwDd->topLevelItem(0));
    w.LstVwDd->itemClicked(w.LstVwDd->topLevelItem(0), 0);
    click("CmdDlFmGrd");
    EXPECT_EQ(column(1), QStringList{"Cement"});
    EXPECT_EQ(w.Text7->text(), "300"); // the rate left, not its amount of 600
    auto rows = stored();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_item_desc"), "Cement");

    // Deleting again without a click takes the stored row of the selected line but leaves the
    // line itself in the grid.
    w.LstVwDd->setCurrentItem(w.LstVwDd->topLevelItem(0));
    click("CmdDlFmGrd");
    EXPECT_TRUE(stored().empty());
    EXPECT_EQ(column(1), QStringList{"Cement"});

    // A double click brings a line back into the fields for a change.
    w.LstVwDd->itemDoubleClicked(w.LstVwDd->topLevelItem(0), 0);
    EXPECT_EQ(w.txtdedDec->text(), "Cement");
    EXPECT_EQ(w.txtdedQty->text(), "2");
    EXPECT_EQ(w.txtdedRate->text(), "300");
}

// Figures of any size travel through the grid as their plain digits and read back as they were;
// a quantity or rate beyond what the books keep is refused, naming its field.
TEST_F(Deductions, FiguresOfAnySizeTravelWholeAndTooLargeOnesAreRefused) {
    deduction("Sand", 1234567.25, 0.00001);
    auto& w = openBill();
    EXPECT_EQ(column(2) + column(4) + column(5),
              (QStringList{"1234567.25", "0.00001", "12.3456725"}));
    w.LstVwDd->setCurrentItem(w.LstVwDd->topLevelItem(0));
    w.LstVwDd->itemDoubleClicked(w.LstVwDd->topLevelItem(0), 0);
    EXPECT_EQ(w.txtdedQty->text(), "1234567.25"); // shown whole, longer as it is than typing allows
    add("Steel", "999999", "9999999999999");
    add("Dust", "0.00001", "0.5");
    EXPECT_EQ(column(5), (QStringList{"12.3456725", "9999989999999000000", "0.000005"}));
    EXPECT_EQ(w.Text7->text(), "9999989999999000000");
    const struct {
        QString qty, rate, text;
        QWidget* focus;
    } refused[] = {
        {"1000000000000000", "1", "QTY. can not be more than 922,337,203,685,477", w.txtdedQty},
        {"1", "-1000000000000000", "Rate can not be less than -922,337,203,685,477", w.txtdedRate},
    };
    for (const auto& c : refused) {
        messages().clear();
        add("Huge", c.qty, c.rate, "Tons");
        EXPECT_EQ(messages().texts(), Texts{c.text});
        EXPECT_TRUE(twtest::hasFocus(c.focus)) << c.text.toStdString();
    }
    EXPECT_EQ(w.LstVwDd->topLevelItemCount(), 3);
    EXPECT_TRUE(db().keyed("unitlbls", "tw_unit_lbl=?", {"Tons"}).empty());
    click("Command5");
    openBill();
    EXPECT_EQ(column(5), (QStringList{"12.3456725", "9999989999999000000", "0.000005"}));
    EXPECT_EQ(w.Text7->text(), "9999989999999000000");
}

// The Down arrow in the bill list steps to the next bill, opening it as a click would, and
// leaves the focus in the list for the next step.
TEST_F(Deductions, DownInTheBillListStepsToTheNextBillAndStaysThere) {
    deduction("Water", 2, 50);
    auto& w = openBill();
    for (const char* type : {"Abstract Bill", "Abstract Estimate"}) {
        twtest::pick(w.TypeofReport, type);
        twtest::pick(w.CmbdetCnum, "Hill View");
        w.CmbBillnum->setFocus();
        for (const QString bill : {"RA-1", "RA-2"}) {
            QTest::keyClick(w.CmbBillnum, Qt::Key_Down);
            EXPECT_EQ(w.CmbBillnum->currentText(), bill) << type;
            EXPECT_TRUE(twtest::hasFocus(w.CmbBillnum)) << type << " " << bill.toStdString();
        }
        if (QString(type) == "Abstract Bill") {
            EXPECT_TRUE(column(1).isEmpty()); // RA-2's deductions, none
            EXPECT_TRUE(w.Frame11->isVisibleTo(&w));
        } else {
            EXPECT_TRUE(w.Frame10->isVisibleTo(&w));
        }
    }
}

TEST_F(Deductions, SavingAnEmptyGridWritesNothingAndLeavesTheHourglass) {
    openBill();
    click("Command5");
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    EXPECT_TRUE(stored().empty());
    // The next Generate puts the pointer back.
    generate();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

// Runs `action` with the real message box, pressing Enter on each box that shows, after running
// `whileShown` if given; gives their texts and titles.
QStringList enterOnRealBoxes(const std::function<void()>& action,
                             const std::function<void()>& whileShown = {}) {
    QStringList shown;
    QTimer timer;
    timer.setInterval(10);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        shown << box->windowTitle() + ": " + box->text();
        if (whileShown)
            whileShown();
        QTest::keyClick(box, Qt::Key_Return);
    });
    timer.start();
    twtest::withRealBoxes({}, action);
    return shown;
}

// A box that a fill shows waits for its answer with nothing of the file locked: a command-line
// write goes through meanwhile, at once.
TEST_F(Deductions, ACommandLineWriteGoesThroughWhileAFillsBoxWaits) {
    otherSite();
    auto& w = openBill();
    twtest::pick(w.TypeofReport, "Detailed Estimate");
    twtest::pick(w.CmbdetCnum, "Hill View");
    twtest::pick(w.CmbBillnum, "RA-1");
    std::pair<int, qint64> written{-1, 0};
    EXPECT_EQ(enterOnRealBoxes([&] { generate(); }, [&] { written = otherSiteBill(); }),
              QStringList{"Abstract Estimate: No Details Found"});
    EXPECT_EQ(written.first, 0);
    EXPECT_LT(written.second, 2500); // well within the store's busy timeout of 5 s
    EXPECT_EQ(db().keyed("billsraised", "tw_contract_num='OS-9'").size(), 1u);
}

// A bill's report keeps its writes until its pages are made; what its layout leaves out is told
// after that, so the box holds no lock either.
TEST_F(Deductions, ALayoutsWarningWaitsForTheBooksToBeWritten) {
    otherSite();
    // The shipped layouts in the folder's own, the abstract bill's with a picture from outside.
    const QDir shipped(tw::AppFolder::resource("layouts"));
    const QDir own(QDir(folder()).filePath("layouts"));
    ASSERT_TRUE(own.mkpath("."));
    for (const QString& name : shipped.entryList({"*.html"}, QDir::Files)) {
        QFile from(shipped.filePath(name)), to(own.filePath(name));
        ASSERT_TRUE(from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly));
        if (name == "Abstract_Report.html")
            to.write("<img src=\"/etc/hostname\">");
        to.write(from.readAll());
    }
    openBill();
    std::pair<int, qint64> written{-1, 0};
    const QStringList shown =
        enterOnRealBoxes([&] { generate(); }, [&] { written = otherSiteBill(); });
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown.front().contains("Left out of the report: /etc/hostname"))
        << shown.front().toStdString();
    EXPECT_EQ(written.first, 0);
    EXPECT_LT(written.second, 2500);
    EXPECT_TRUE(screen->RptView->isVisibleTo(screen.get()));
}

// A long run leaves the window answering; its Cancel leaves the books as they were, byte for
// byte, and the screen ready for the next run, whose writes the books do show.
TEST_F(Deductions, TheWindowAnswersWhileAReportRunsAndCancelLeavesTheBooks) {
    {
        tw::Transaction tx(db());
        for (int i = 0; i < 20000; ++i)
            db().insert("BillMaster", {{"tw_contract_num", "HV-1"},
                                       {"tw_bill_num", "RA-1"},
                                       {"tw_sch_num", QString::number(i % 400)},
                                       {"tw_cal_Area", i % 7},
                                       {"tw_deduction", 0},
                                       {"tw_quantity", 1}});
        tx.commit();
    }
    const auto books = [] {
        QFile file(tw::AppFolder::databasePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray before = books();
    auto& w = openBill();
    click("Command4");
    std::optional<bool> answeredWhileRunning;
    QMetaObject::invokeMethod(
        &w, [&] { answeredWhileRunning = w.running(); }, Qt::QueuedConnection);
    EXPECT_TRUE(twtest::waitUntil([&] { return answeredWhileRunning.has_value(); }));
    EXPECT_EQ(answeredWhileRunning, true);
    messages().clear();
    w.GenerateReport(); // a second run while the first is under way starts nothing
    EXPECT_EQ(messages().texts(), Texts{});
    QTest::mouseClick(w.cmdCancel, Qt::LeftButton);
    EXPECT_TRUE(twtest::waitUntil([&] { return !w.running(); }));
    EXPECT_TRUE(books() == before);
    EXPECT_FALSE(w.RptView->isVisibleTo(&w));
    EXPECT_FALSE(w.prgRun->isVisibleTo(&w));
    EXPECT_TRUE(w.Command4->isEnabled());

    generate();
    EXPECT_TRUE(w.RptView->isVisibleTo(&w));
    EXPECT_TRUE(books() != before);
}

// Leaving a generated open bill asks to freeze it: Enter answers No and leaves it open, Yes
// freezes it with a copy of the lines it showed, whatever another run made meanwhile, and a
// frozen bill is not asked again.
TEST_F(Deductions, LeavingAnOpenBillAsksToFreezeItAndAFrozenBillIsNotAsked) {
    otherSite();
    db().insert("Sch_master", {{"tw_contract_num", "HV-1"},
                               {"tw_sch_num", "1.1"},
                               {"tw_item_desc", "Brick work"},
                               {"tw_unit", "1"},
                               {"tw_item_rate", 25}});
    auto& w = openBill();
    EXPECT_TRUE(w.Command5->isEnabled());
    generate();
    EXPECT_TRUE(w.RptView->isVisibleTo(&w));
    const size_t lines = 2; // the item's and the tax's
    EXPECT_EQ(enterOnRealBoxes([&] { click("Cmdrepexit"); }),
              QStringList{"Tallywright: Do you wish to freeze this bill? "});
    EXPECT_EQ(db().keyed("billsraised")[0].number("tw_froze"), 0);
    EXPECT_TRUE(db().keyed("abstractbills").empty());

    openBill();
    generate();
    EXPECT_EQ(otherSiteBill().first, 0);
    const QStringList asked = twtest::withRealBoxes({"&Yes"}, [&] { click("Cmdrepexit"); });
    EXPECT_EQ(asked, QStringList{"Do you wish to freeze this bill? "});
    EXPECT_EQ(db().keyed("billsraised")[0].number("tw_froze"), 1);
    const auto copies = db().keyed("abstractbills");
    ASSERT_EQ(copies.size(), lines);
    EXPECT_EQ(copies[0].text("tw_sch_desc"), "Brick work");
    EXPECT_EQ(copies[0].text("tw_bill_num"), "RA-1");
    EXPECT_EQ(copies[0].text("tw_contract_num"), "HV-1");
    EXPECT_EQ(copies[0].number("tw_now_amt"), 175); // 7 at 25

    openBill();
    EXPECT_TRUE(w.Label3->isVisibleTo(&w));
    EXPECT_FALSE(w.Command5->isEnabled());
    messages().clear();
    click("Cmdrepexit");
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(db().keyed("abstractbills").size(), lines);
}

} // namespace
