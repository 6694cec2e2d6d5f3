#include "cli.h"
#include "core/measurements/import.h"
#include "core/payments/payments.h"
#include "core/rates/reprice.h"
#include "core/reports/running_bill.h"
#include "render/render.h"
#include "store/history.h"
#include "support/core_fixtures.h"

#include <atomic>
#include <functional>
#include <latch>
#include <thread>

using namespace tw;
using namespace tw::reports;

namespace {

const QString today = dateText(QDate::currentDate());

class Bill : public twtest::AppFolderTest {
public: // the cases of a table set their data up through it
    void add(const QString& table, const QString& columns, const QVariantList& values) {
        Values v;
        for (const QString& c : columns.split(u' '))
            v.emplace_back(c, values.at(qsizetype(v.size())));
        db().insert(table, v);
    }
    // Project P1 "School" at the given tax rate, item 1.1 at 250 per 10 and item 2.1 at 30 per 1.
    void school(double tax = 2) {
        add("ContractMaster", "tw_contract_num tw_contract_name tw_units tw_tax_rate",
            {"P1", "School", "Metre", tax});
        for (const QVariantList& item : {QVariantList{"P1", "1.1", "Brick work", 250, "10", "Cum"},
                                         QVariantList{"P1", "2.1", "Plaster", 30, "1", "Sqm"}})
            add("Sch_master",
                "tw_contract_num tw_sch_num tw_item_desc tw_item_rate tw_unit tw_unit_lable", item);
    }
    void line(const QString& bill, const QString& sch, const QVariant& area,
              bool deduction = false) {
        add("BillMaster", "tw_contract_num tw_bill_num tw_sch_num tw_cal_Area tw_deduction",
            {"P1", bill, sch, area, deduction});
    }
    // A bill that has stood in billsraised since an earlier run, with its tax figure.
    void raised(const QString& bill, const QVariant& tds, const QString& date = "01-04-2026",
                double amount = 0, const QString& project = "P1") {
        add("billsraised", "tw_contract_num tw_bill_num tw_bill_dt tw_bill_amount tw_tds_amount",
            {project, bill, date, amount, tds});
    }
    void deduction(const QString& bill, const QString& desc, double qty, double rate) {
        add("absbl_dedns", "tw_cont_num tw_bill_num tw_item_desc tw_qty tw_lbl tw_rate tw_amount",
            {"P1", bill, desc, qty, "Nos", rate, qty * rate + 1}); // the typed amount gives way
    }
    ReportRun runOn(const QString& bill) {
        ReportRun run;
        run.projectName = "School";
        run.bill = bill;
        readProject(run, db());
        LoadDeductions(run, db());
        return run;
    }
    bool generate(ReportRun& run, const char* caption = "Abstract Bill") {
        return fill(*findByCaption(caption), run, db(), twtest::scripted());
    }
    // Each line of the abstract bill: number, description, then the six figures, empty as "".
    QStringList lines() {
        QStringList out;
        for (const Row& r : db().keyed("abstractbillrep")) {
            QStringList cells{r.text("tw_schno"), r.text("tw_sch_desc")};
            for (const char* c : {"tw_prev_qty", "tw_now_qty", "tw_tot_qty", "tw_prev_amt",
                                  "tw_now_amt", "tw_tot_amt"})
                cells << numberText(r[c]);
            out << cells.join(" | ");
        }
        return out;
    }
    QString billRow(const QString& bill) {
        const auto r = db().find("billsraised", "tw_contract_num='P1' and tw_bill_num=?", {bill});
        if (!r)
            return "none";
        return QStringList{numberText(r->value("tw_bill_amount")),
                           numberText(r->value("tw_dedn_amount")),
                           numberText(r->value("tw_tds_amount")), r->text("tw_bill_dt")}
            .join(" | ");
    }
};

TEST_F(Bill, AbstractBillLines) {
    struct Case {
        const char* name;
        std::function<void(Bill&)> setUp;
        QString bill;
        QStringList lines;
        QString billRow;
    };
    const std::vector<Case> cases{
        {"the worked example: RA-2 after RA-1 at 2 percent",
         [](Bill& t) {
             t.school();
             t.line("RA-1", "1.1", 12.5);
             t.line("RA-1", "1.1", 7.5);
             t.line("RA-2", "1.1", 6);
             t.line("RA-2", "1.1", 1, true); // a deduction line raises the quantity
             t.raised("RA-1", 10);
             t.deduction("RA-2", "Water", 2, 50);
         },
         "RA-2",
         {"1.1 | Brick work | 20 | 7 | 27 | 500 | 175 | 675",
          "1 | Water | 0 | 2 | 2 | 0 | 100 | 100",
          "2 | TDS Recovered @ 2% |  |  |  | 10 | 3.5 | 13.5"},
         "175 | 100 | 3.5 | " + today},
        {"a first bill: no previous or total figures; quantities added in single precision",
         [](Bill& t) {
             t.school();
             t.line("RA-1", "2.1", 0.1);
             t.line("RA-1", "2.1", 0.2);
         },
         "RA-1",
         {"2.1 | Plaster |  | 0.300000011920929 |  |  | 9.00000035762787 | ",
          "1 | TDS Recovered @ 2% |  |  |  | 0 | 0.180000007152557 | 0.180000007152557"},
         "9.00000035762787 | 0 | 0.180000007152557 | " + today},
        {"three bills: only the last earlier bill shows, and only its tax",
         [](Bill& t) {
             t.school(12.5);
             t.line("RA-1", "2.1", 10);
             t.line("RA-2", "2.1", 4);
             t.line("RA-3", "2.1", 1);
             t.raised("RA-1", 5);
             t.raised("RA-2", 7);
         },
         "RA-3",
         {"2.1 | Plaster | 4 | 1 | 5 | 120 | 30 | 150",
          "1 | TDS Recovered @ 12.5% |  |  |  | 7 | 3.75 | 10.75"},
         "30 | 0 | 3.75 | " + today},
        {"a bill never generated is no earlier bill; an item of another bill only",
         [](Bill& t) {
             t.school();
             t.line("RA-1", "2.1", 10); // RA-1 never had its abstract bill
             t.line("RA-2", "1.1", 5);
             t.line("RA-3", "1.1", 3);
             t.raised("RA-3", QVariant()); // a later bill counts too; no tax figure
         },
         "RA-2",
         {"1.1 | Brick work | 3 | 5 | 8 | 75 | 125 | 200",
          "1 | TDS Recovered @ 2% |  |  |  | 0 | 2.5 | 2.5"},
         "125 | 0 | 2.5 | " + today},
        {"an item measured only in another bill: previous figures, nothing now",
         [](Bill& t) {
             t.school();
             t.line("RA-1", "2.1", 10);
             t.line("RA-2", "1.1", 4);
             t.raised("RA-1", 6);
         },
         "RA-2",
         {"1.1 | Brick work |  | 4 |  |  | 100 | ", "2.1 | Plaster | 10 |  |  | 300 | 0 | ",
          "1 | TDS Recovered @ 2% |  |  |  | 6 | 2 | 8"},
         "100 | 0 | 2 | " + today},
        {"one deduction in two earlier bills: one line at one rate, two lines at two",
         [](Bill& t) {
             t.school(0);
             t.line("RA-3", "2.1", 1);
             t.deduction("RA-1", "Water", 2, 50);
             t.deduction("RA-2", "water", 3, 50); // the same text, as the store compares it
             t.deduction("RA-1", "Cement", 1, 300);
             t.deduction("RA-2", "Cement", 2, 320);
             t.deduction("RA-3", "Cement", 4, 320);
         },
         "RA-3",
         {"2.1 | Plaster |  | 1 |  |  | 30 | ", "1 | Cement | 2 | 4 | 6 | 640 | 1280 | 1920",
          "2 | Water | 5 | 0 | 5 | 250 | 0 | 250", "3 | Cement | 1 | 0 | 1 | 300 | 0 | 300",
          "4 | TDS Recovered @ 0% |  |  |  | 0 | 0 | 0"},
         "30 | 1280 | 0 | " + today},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (const char* table : {"ContractMaster", "Sch_master", "BillMaster", "billsraised",
                                  "absbl_dedns", "abstractbillrep"})
            db().exec(QStringLiteral("delete from %1").arg(table));
        c.setUp(*this);
        ReportRun run = runOn(c.bill);
        ASSERT_TRUE(generate(run));
        EXPECT_EQ(lines(), c.lines);
        EXPECT_EQ(billRow(c.bill), c.billRow);
    }
}

// A measurement line that is no number stops the abstract bill of its own bill only: the other
// bills are computed from the lines they sum, theirs and those of the bills raised.
TEST_F(Bill, ABadLineStopsOnlyItsOwnBill) {
    school();
    line("RA-1", "1.1", 10);
    line("RA-2", "2.1", QVariant());
    line("RA-4", "1.1", 2);
    std::vector<std::pair<const char*, const char*>> bills{
        {"RA-1", ""}, {"RA-2", "Invalid use of Null"}, {"RA-4", ""}};
    // The file keeps a text typed into a number column; a server refuses it as it is written.
    if (!onServer()) {
        line("RA-3", "2.1", "abc");
        bills.emplace_back("RA-3", "Type mismatch");
    }
    for (const auto& [bill, failure] : bills) {
        twtest::messages().clear();
        ReportRun run = runOn(bill);
        EXPECT_EQ(generate(run), !*failure) << bill;
        EXPECT_EQ(twtest::messages().texts(),
                  *failure ? std::vector<QString>{failure} : std::vector<QString>{})
            << bill;
    }
    EXPECT_EQ(lines().front(), "1.1 | Brick work | 10 | 2 | 12 | 250 | 50 | 300");
}

// Freezing copies the lines and marks the bill; later runs reprint the copy and leave the bill's
// row as it was frozen, while the open bills around it are still computed.
TEST_F(Bill, FrozenBillIsReprintedAndItsRowKept) {
    school();
    line("RA-1", "1.1", 10);
    deduction("RA-1", "Water", 1, 40);
    ReportRun run = runOn("RA-1");
    EXPECT_FALSE(run.frozen_flag);
    ASSERT_TRUE(generate(run));
    const QStringList frozen = lines();
    FreezeBill(run, db());
    // Lines written before the freeze, and in it, are no changes to the frozen bill.
    EXPECT_EQ(tw::history::frozenChanges(db(), "P1", "RA-1").lines, 0);
    EXPECT_TRUE(renderHtml(*findByCaption("Abstract Bill"), runOn("RA-1"), db())
                    .contains("No line of this bill has changed since it was frozen."));
    FreezeBill(run, db()); // a second freeze copies nothing more
    EXPECT_EQ(db().keyed("abstractbills").size(), 3U);
    // The freeze is in the history: the bill's row turned frozen, its lines copied.
    const auto changes = [&](const char* table) {
        return tw::history::read(db(), {"P1", "RA-1", table, {}, {}});
    };
    ASSERT_FALSE(changes("billsraised").empty());
    EXPECT_EQ(changes("billsraised")[0].action, "changed");
    EXPECT_EQ(tw::history::figures(db(), changes("billsraised")[0]), "tw_froze:  -> 1");
    EXPECT_EQ(changes("abstractbills").size(), 3U);
    for (const auto& e : changes("abstractbills"))
        EXPECT_EQ(std::pair(e.action, e.who), std::pair(QString("added"), writer()));
    db().exec("update billsraised set tw_bill_dt='02-04-2026'");

    line("RA-1", "1.1", 5);                               // measured after freezing
    SaveDeductions(run, db(), {{"Water", 9, "Nos", 40}}); // and a deduction changed
    // Those two are recorded as changes to a frozen bill; the lines before the freeze are not.
    for (const char* table : {"BillMaster", "absbl_dedns"}) {
        const auto h = changes(table);
        ASSERT_GE(h.size(), 2U) << table;
        EXPECT_TRUE(h.front().frozen) << table;
        EXPECT_FALSE(h.back().frozen) << table;
    }
    ReportRun again = runOn("RA-1");
    EXPECT_TRUE(again.frozen_flag);
    ASSERT_TRUE(generate(again));
    EXPECT_EQ(lines(), frozen);
    EXPECT_EQ(billRow("RA-1"), "250 | 40 | 5 | 02-04-2026");
    const QString reprint = renderHtml(*findByCaption("Abstract Bill"), again, db());
    EXPECT_TRUE(reprint.contains(">02-04-2026<"));
    // Its first page tells the lines changed beneath it, the measurement added and the
    // deduction changed, and when the last was.
    const auto changed = tw::history::frozenChanges(db(), "P1", "RA-1");
    EXPECT_EQ(changed.lines, 2);
    EXPECT_LE(std::abs(changed.last.secsTo(QDateTime::currentDateTimeUtc())), 60);
    EXPECT_TRUE(reprint.contains(
        "2 lines of this bill changed since it was frozen; the last change was made on " +
        changed.last.toString("dd-MM-yyyy HH:mm") + " UTC."))
        << reprint.toStdString();
    EXPECT_FALSE(reprint.contains(">" + today + "<")); // the day of the note is no bill date

    // A later open bill counts the frozen one and leaves its row alone.
    line("RA-2", "1.1", 2);
    ReportRun next = runOn("RA-2");
    ASSERT_TRUE(generate(next));
    EXPECT_EQ(lines().front(), "1.1 | Brick work | 15 | 2 | 17 | 375 | 50 | 425");
    EXPECT_EQ(billRow("RA-1"), "250 | 40 | 5 | 02-04-2026");
    EXPECT_EQ(billRow("RA-2"), "50 | 0 | 1 | " + today);
}

// A run that fails, or is cancelled once its steps are done, leaves the last bill and its row
// as they were: all of it or none.
TEST_F(Bill, FailedOrCancelledRunWritesNothing) {
    school();
    line("RA-1", "1.1", 10);
    ReportRun run = runOn("RA-1");
    ASSERT_TRUE(generate(run));
    const QStringList before = lines();
    db().exec("update billsraised set tw_bill_dt='02-04-2026'");
    db().exec("update Sch_master set tw_unit='0' where tw_sch_num='1.1'");
    line("RA-1", "1.1", 3);
    twtest::messages().clear();
    EXPECT_FALSE(generate(run));
    EXPECT_EQ(twtest::messages().texts(), std::vector<QString>{"Division by zero"});
    EXPECT_EQ(lines(), before);
    EXPECT_EQ(billRow("RA-1"), "250 | 0 | 5 | 02-04-2026");

    db().exec("update Sch_master set tw_unit='10'");
    twtest::messages().clear();
    const ReportType& type = *findByCaption("Abstract Bill");
    const int steps = int(type.formOf(run).steps.size());
    EXPECT_FALSE(fill(type, run, db(), twtest::scripted(), [&](int step) { return step < steps; }));
    EXPECT_EQ(twtest::messages().texts(), std::vector<QString>{});
    EXPECT_EQ(lines(), before);
    EXPECT_EQ(billRow("RA-1"), "250 | 0 | 5 | 02-04-2026");
}

TEST_F(Bill, BillsRaisedRows) {
    school();
    add("ContractMaster", "tw_contract_num tw_contract_name", {"P2", "Clinic"});
    raised("RA-1", 20, "01-12-2025", 1000);
    raised("RA-2", 10, "10-01-2026", 500);
    raised("B-1", 6, "06-11-2025", 300, "P2");
    for (const auto& [bill, net, rec] : {std::tuple{"RA-2", 400, 5}, std::tuple{"ra-2", 80, 0}})
        add("payment_rec", "tw_contract_num tw_bill_num tw_netamt tw_recamt tw_tdsamt",
            {"P1", bill, net, rec, 10});
    auto report = [&](ReportRun run) {
        EXPECT_TRUE(generate(run, "Bills Raised Report"));
        QStringList out;
        for (const Row& r : db().keyed("billsraisedreport"))
            out << QStringList{r.text("tw_contract_name"), r.text("tw_bill_num"),
                               r.text("tw_bill_date"),     numberText(r["tw_netamt"]),
                               numberText(r["tw_recamt"]), numberText(r["tw_tdsamt"]),
                               r.text("tw_pmnt")}
                       .join(" | ");
        return out;
    };
    EXPECT_EQ(
        report(runOn("RA-1")),
        (QStringList{"School | RA-1 | " + today + " | 1000 | 0 | 20 | 0",
                     "School | RA-2 | " + today + " | 500 | 0 | 10 | 0",
                     "School | RA-2 |  | 400 | 5 | 10 | 1", "School | ra-2 |  | 80 | 0 | 10 | 1"}));
    // From the 5th of November to the 20th: "01-12-2025" sorts before "05-11-2025" and is left
    // out, "10-01-2026" sorts between the bounds and is taken in.
    ReportRun period;
    period.forPeriod = true;
    period.fromDate = QDate(2025, 11, 5);
    period.toDate = QDate(2025, 11, 20);
    EXPECT_EQ(report(period), (QStringList{"School | RA-2 | " + today + " | 500 | 0 | 10 | 0",
                                           "School | RA-2 |  | 400 | 5 | 10 | 1",
                                           "School | ra-2 |  | 80 | 0 | 10 | 1",
                                           "Clinic | B-1 | " + today + " | 300 | 0 | 6 | 0"}));
}

// What a client pays by, at the foot of the printed bill: gross, less deductions, less tax, and
// the net payable in words; and what each bill still stands at in the bills raised report, by
// project and by period.
TEST_F(Bill, PrintedFigures) {
    school();
    line("RA-1", "1.1", 12.5);
    line("RA-1", "1.1", 7.5);
    line("RA-2", "1.1", 7);
    deduction("RA-2", "Water", 2, 50);
    ReportRun first = runOn("RA-1");
    ASSERT_TRUE(generate(first));
    ReportRun run = runOn("RA-2");
    ASSERT_TRUE(generate(run));
    add("payment_rec", "tw_contract_num tw_bill_num tw_netamt tw_recamt tw_tdsamt",
        {"P1", "RA-1", 400, 5, 10});
    const QString bill = renderHtml(*findByCaption("Abstract Bill"), run, db());
    for (const char* figure : {"Rs. 175.00", "Rs. 100.00", "Rs. 3.50", "Rs. 71.50",
                               "Rupees Seventy-One and Paise Fifty Only"})
        EXPECT_TRUE(bill.contains(figure)) << figure;
    EXPECT_FALSE(bill.contains("FROZEN BILL"));
    FreezeBill(run, db());
    EXPECT_TRUE(renderHtml(*findByCaption("Abstract Bill"), run, db()).contains("FROZEN BILL"));

    // RA-1: 500 billed, 10 tax, net 490, 400 received: 90 to come. RA-2, paid exactly: 175
    // billed, 100 deducted, 3.50 tax, net 71.50 received with the deductions and tax noted on the
    // payment, which are not taken off again.
    add("payment_rec", "tw_contract_num tw_bill_num tw_netamt tw_recamt tw_tdsamt",
        {"P1", "RA-2", 71.5, 100, 3.5});
    for (const bool period : {false, true}) {
        run.forPeriod = period;
        run.fromDate = run.toDate = QDate::currentDate();
        ASSERT_TRUE(generate(run, "Bills Raised Report"));
        const QString raised = renderHtml(*findByCaption("Bills Raised Report"), run, db());
        static const QRegularExpression sumRow("<tr class=\"(?:sum|grand)\">(.*?)</tr>"),
            tag("<[^>]*>");
        QStringList sums;
        for (auto m = sumRow.globalMatch(raised); m.hasNext();)
            sums << m.next().captured(1).replace("</td>", "|").remove(tag).simplified();
        EXPECT_EQ(sums,
                  (QStringList{"|Bill RA-1|500.00|0.00|10.00|490.00|400.00|10.00|5.00|90.00|",
                               "|Bill RA-2|175.00|100.00|3.50|71.50|71.50|3.50|100.00|0.00|",
                               "|All bills|675.00|100.00|13.50|561.50|471.50|13.50|105.00|90.00|"}))
            << period;
        EXPECT_TRUE(raised.contains("Balance in all: Rupees Ninety Only"));
        EXPECT_TRUE(raised.contains("TDS and recoveries on payments are not taken off again"));
    }
}

// Two seats doing one thing at the same moment, each on a connection of its own, leave what one
// seat alone leaves: one payment of a receipt, one material of a description, one measurement
// line of an item and narration, one row of the bill in billsraised, one frozen copy of its lines.
TEST_F(Bill, TwoSeatsAtOnceLeaveWhatOneWould) {
    school();
    // One seat's action on a connection of its own, begun when `go` lets it; false when it
    // failed.
    using Seat = std::function<bool(std::latch & go)>;
    const auto runBill = [](std::latch& go, bool freeze) {
        ConsoleMessenger out;
        const ReportType& type = *findByCaption("Abstract Bill");
        RunTables tables(type, out);
        ReportRun run;
        run.projectName = "School";
        run.bill = "RA-1";
        readProject(run, tables.con());
        LoadDeductions(run, tables.con());
        if (!freeze)
            go.arrive_and_wait();
        const bool filled = fill(type, run, tables.con(), out);
        if (freeze) {
            go.arrive_and_wait();
            if (filled)
                FreezeBill(run, tables.con());
        }
        return filled;
    };
    using Action = std::function<bool(const ConClass&, Messenger&)>;
    const auto onItsOwn = [](const Action& action) -> Seat {
        return [action](std::latch& go) {
            ConsoleMessenger out;
            ConClass con(out);
            con.conopen();
            go.arrive_and_wait();
            return action(con, out);
        };
    };
    struct Case {
        const char* what;
        Seat seat;
        const char* table; // where the seats leave their rows
    };
    const std::vector<Case> cases{
        {"a receipt on a bill", onItsOwn([](const ConClass& con, Messenger&) {
             // The second seat's refusal is what one seat saving twice would meet.
             payments::save(con, {"P1", "RA-1", "V-7", "01-04-2026", "100", "0", "0", "Cheque",
                                  "17", "01-04-2026", "Bank", "Branch"});
             return true;
         }),
         "payment_rec"},
        {"a material by its description", onItsOwn([](const ConClass& con, Messenger& out) {
             return SaveMaterial(con, out, "Cement", "300", "Bag");
         }),
         "materials"},
        {"a measurement line by its item and narration",
         onItsOwn([](const ConClass& con, Messenger&) {
             measurements::importLines(con, {"P1", "Metre"}, "RA-9",
                                       {{1,
                                         {"1.1", "wall", "rectangle_area", "2", "5", "3", "25", "",
                                          "", "", "", "1", "0"}}});
             return true;
         }),
         "billmaster"},
        {"a bill's row", [&](std::latch& go) { return runBill(go, false); }, "billsraised"},
        {"a bill frozen", [&](std::latch& go) { return runBill(go, true); }, "abstractbills"},
    };
    const auto afresh = [&] {
        for (const char* table : {"payment_rec", "materials", "billsraised", "abstractbills"})
            db().exec(QStringLiteral("delete from %1").arg(table));
        db().exec("delete from billmaster where tw_bill_num='RA-9'");
    };
    line("RA-1", "1.1", 10);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        afresh();
        std::latch alone(1);
        ASSERT_TRUE(c.seat(alone));
        const qint64 rows = qint64(db().keyed(c.table).size());
        ASSERT_GT(rows, 0);
        for (int round = 0; round < 20; ++round) {
            afresh();
            std::latch start(2);
            std::atomic<int> failed{0};
            std::vector<std::thread> seats;
            for (int s = 0; s < 2; ++s)
                seats.emplace_back([&] {
                    try {
                        if (!c.seat(start))
                            ++failed;
                    } catch (const Error& e) {
                        ADD_FAILURE() << e.text().toStdString();
                        ++failed;
                    }
                });
            for (std::thread& t : seats)
                t.join();
            EXPECT_EQ(failed, 0) << "round " << round;
            ASSERT_EQ(qint64(db().keyed(c.table).size()), rows) << "round " << round;
        }
    }
}

// The command line reprints a frozen bill and never freezes an open one.
TEST_F(Bill, CommandLineReprintsAndNeverFreezes) {
    school();
    line("RA-1", "1.1", 10);
    ReportRun run = runOn("RA-1");
    ASSERT_TRUE(generate(run));
    FreezeBill(run, db());
    line("RA-1", "1.1", 10);
    line("RA-2", "1.1", 1);
    QString out, err;
    QTextStream o(&out), e(&err);
    for (const char* bill : {"RA-2", "RA-1"}) {
        const QStringList args{
            "--folder", folder(), "report", "abstract-bill", "--project",
            "School",   "--bill", bill,     "--out",         folder() + "/bill.html"};
        ASSERT_EQ(cli::run(args, o, e), 0) << err.toStdString();
    }
    EXPECT_EQ(db().keyed("abstractbills").size(), 2U);
    EXPECT_EQ(db().rows("select 1 from billsraised where tw_froze=1").size(), 1U);
    EXPECT_EQ(lines().front(), "1.1 | Brick work |  | 10 |  |  | 250 | ");
}

} // namespace
