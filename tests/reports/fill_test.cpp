#include "cli.h"
#include "core/reports/report_run.h"
#include "support/core_fixtures.h"

#include <QFile>

using namespace tw;
using namespace tw::reports;

namespace {

class Fill : public twtest::AppFolderTest {
protected:
    // A row of `table` given by its columns, named in one space-separated text.
    void add(const QString& table, const QString& columns, const QVariantList& values) {
        Values v;
        for (const QString& c : columns.split(u' '))
            v.emplace_back(c, values.at(qsizetype(v.size())));
        db().insert(table, v);
    }
    void project(const QString& number, const QString& name, const QString& units) {
        add("ContractMaster", "tw_contract_num tw_contract_name tw_units", {number, name, units});
    }
    void item(const QString& project, const QString& sch, const QVariant& desc, double rate,
              const QString& unit, const QString& category = {}) {
        add("Sch_master",
            "tw_contract_num tw_sch_num tw_item_desc tw_item_rate tw_unit tw_category_name",
            {project, sch, desc, rate, unit, category});
    }
    void line(const QString& project, const QString& bill, const QString& sch, double area,
              bool deduction = false, const QString& shape = "rectangle_area") {
        add("BillMaster",
            "tw_contract_num tw_bill_num tw_sch_num tw_item_narration tw_cal_Area tw_Shape "
            "tw_deduction",
            {project, bill, sch, QStringLiteral("n%1").arg(++lines_), area, shape, deduction});
    }
    // A run of the report screen on a project and bill, the project read as Generate does.
    ReportRun runOn(const QString& name, const QString& bill = "RA-1") {
        ReportRun run;
        run.projectName = name;
        run.bill = bill;
        readProject(run, db());
        return run;
    }
    bool generate(const QString& caption, ReportRun& run) {
        return fill(*findByCaption(caption), run, db(), twtest::scripted());
    }
    Rows table(const QString& name = "dummy_estimation") { return db().keyed(name); }
    // A column's text as a layout prints it: "" when empty, a share kept as printed text
    // ("75.") as it is.
    static QString at(const Row& r, const QString& column) {
        return r[column].typeId() == QMetaType::QString ? r.text(column) : numberText(r[column]);
    }
    // The given columns (space-separated) of every row of dummy_estimation, a row a text.
    QStringList cells(const QString& columns) {
        QStringList out;
        for (const Row& r : table()) {
            QStringList row;
            for (const QString& c : columns.split(u' '))
                row << at(r, c);
            out << row.join(" | ");
        }
        return out;
    }
    int lines_ = 0;
};

// The worked example: rate 250 per 10, walls of 12.50 and 7.50, an opening of 2.00 taken off.
TEST_F(Fill, AbstractEstimateCarriesTheNetFiguresAndSharesOfEachGroup) {
    project("P1", "School", "Metre");
    item("P1", "1", "Brick work", 250, "10");
    line("P1", "RA-1", "1", 2.0, true);
    line("P1", "RA-1", "1", 12.5);
    line("P1", "RA-1", "1", 7.5);
    ReportRun run = runOn("School");
    run.wws = QString(); // left blank: no share, 0 percent
    ASSERT_TRUE(generate("Abstract Estimate", run));
    EXPECT_TRUE(twtest::messages().shown.empty());
    EXPECT_EQ(
        cells("test ndamt Damt netqty net_amt ewp_amt ewp_pct wws_amt wws_pct "
              "prev_bill_qty1 tw_item_narration tw_item_narration_d units_label tw_item_desc"),
        (QStringList{"NoDeduction | 12.5 |  | 12.5 | 312.5 | 46.88 | 15 | 0 | 0 |  | n2 |  | "
                     "Sq | Brick work",
                     "NoDeduction | 7.5 |  | 20 | 500 | 75. | 15 | 0 | 0 |  | n3 |  | Sq | "
                     "Brick work",
                     "Deduction |  | 2 | 18 | 450 | 67.5 | 15 | 0 | 0 | 18 |  | n1 | Sq | "
                     "Brick work"}));
}

// Two items, the second all deductions; every run numbers its groups from 0, however far the
// screen's runs before it counted, and the last group's total also marks any row that happens to
// show it.
TEST_F(Fill, GroupsAreNumberedFromZeroEachRunAndADeductionOnlyGroupGoesNegative) {
    project("P1", "School", "Feet");
    item("P1", "1", "Plaster", 30, "1");
    item("P1", "2", "Flooring", 100, "100");
    line("P1", "RA-1", "1", 3);
    line("P1", "RA-1", "1", 4);
    line("P1", "RA-1", "2", 3, true);
    line("P1", "RA-2", "2", 9);
    ReportRun run = runOn("School");
    for (const qint16 before : {0, 32767}) {
        run.group_counter = before; // as left by the runs before, up to the field's limit
        ASSERT_TRUE(generate("Tender Schedule", run));
        EXPECT_EQ(cells("tw_recordkey inr inr_d"),
                  (QStringList{"0 | 0 | ", "0 | 0 | ", "1 |  | 1"}));
        // No shares on a tender.
        EXPECT_EQ(cells("netqty net_amt prev_bill_qty1 ewp_amt"),
                  (QStringList{"3 | 90 |  | ", "7 | 210 | 7 | ", "-3 | -3 | -3 | "}));
    }
    line("P1", "RA-1", "2", 6);
    ASSERT_TRUE(generate("Tender Schedule", run));
    EXPECT_EQ(cells("netqty prev_bill_qty1"), (QStringList{"3 | 3", "7 | 7", "6 | ", "3 | 3"}));
}

TEST_F(Fill, SharesArePrintedAsHashFormatAndZeroStaysANumber) {
    project("P1", "School", "Metre");
    item("P1", "1", "Paint", 0.01, "1");
    line("P1", "RA-1", "1", 0.3);
    const struct {
        const char *ewp, *ewpAmt, *ewpPct;
    } cases[] = {
        {"15", ".", "15"}, // 0.00045: not 0, yet under half a paisa
        {"2000", ".06", "2000"}, {"0", "0", "0"}, {"", "0", "0"}, {"abc", "0", "0"},
    };
    for (const auto& c : cases) {
        ReportRun run = runOn("School");
        run.ewp = c.ewp;
        ASSERT_TRUE(generate("Abstract Estimate", run));
        EXPECT_EQ(cells("ewp_amt ewp_pct"), QStringList{c.ewpAmt + QString(" | ") + c.ewpPct})
            << c.ewp;
        // The layout is told the percentage as a number, blank as 0.
        EXPECT_EQ(parameters(*findByCaption("Abstract Estimate"), run).at(2),
                  QVariant(QString(c.ewpPct).toDouble()));
    }
    // 15 percent of 6.70 is 1.005 as a person reads it (1.00499999... as computed).
    db().exec("update BillMaster set tw_cal_Area=1");
    db().exec("update Sch_master set tw_item_rate=6.7");
    ReportRun run = runOn("School");
    ASSERT_TRUE(generate("Abstract Estimate", run));
    EXPECT_EQ(cells("ewp_amt"), QStringList{"1.01"});
}

// An item number an earlier project also uses: an estimate takes the earlier project's item
// (looked up without the project, and without regard to case), the final bill the project's own.
TEST_F(Fill, EstimateTakesTheFirstItemOfAnyProjectFinalBillItsOwn) {
    project("OLD", "Old job", "Metre");
    project("NEW", "New job", "Metre");
    item("OLD", "a1", "Old wording", 100, "1");
    item("NEW", "A1", "New wording", 200, "1");
    line("NEW", "RA-1", "A1", 2);
    ReportRun run = runOn("New job");
    const struct {
        const char *caption, *desc, *amount;
    } cases[] = {{"Detailed Estimate", "Old wording", ""},
                 {"Tender Schedule", "Old wording", "200"},
                 {"Final Bill - Detailed", "New wording", "400"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(generate(c.caption, run));
        EXPECT_EQ(cells("tw_item_desc net_amt"), QStringList{c.desc + QString(" | ") + c.amount})
            << c.caption;
    }
}

// A line whose item has no details ends the rows there with a message; the rows before it stay
// and the run goes on to the report.
TEST_F(Fill, AMissingItemStopsTheRowsWithAMessageAndKeepsThoseBefore) {
    project("P1", "School", "Metre");
    item("P1", "1", "Brick work", 10, "1");
    item("P1", "3", QVariant(), 10, "1"); // no description
    line("P1", "RA-1", "1", 1);
    line("P1", "RA-1", "2", 2);
    line("P1", "RA-1", "3", 3);
    for (const QStringList& kept : {QStringList{"1"}, QStringList{"1", "2"}}) {
        if (kept.size() == 2)
            item("P1", "2", "Plaster", 10, "1");
        for (const QString caption : {"Abstract Estimate", "Final Bill - Detailed"}) {
            twtest::messages().clear();
            ReportRun run = runOn("School");
            EXPECT_TRUE(generate(caption, run));
            ASSERT_EQ(twtest::messages().shown.size(), 1u);
            const Message& m = twtest::messages().shown[0];
            EXPECT_EQ(m.text, caption == "Abstract Estimate" ? "No Details Found"
                                                             : "Some or No Details Found");
            EXPECT_EQ(m.title, "Abstract Estimate");
            EXPECT_EQ(m.flags, Information);
            EXPECT_EQ(cells("netqty"), kept) << caption.toStdString();
        }
    }
}

// What ends a run: its text in a critical box; what the run wrote before it stays.
TEST_F(Fill, AFailureShowsItsTextAndKeepsWhatWasWritten) {
    project("P1", "School", "Feet");
    item("P1", "1", "Brick work", 10, "1", "Masonry");
    item("P1", "2", "Doors", 10, "Nos");
    line("P1", "RA-1", "1", 4);
    line("P1", "RA-1", "2", 2);
    line("P1", "RA-2", "1", 4);
    line("P1", "RA-2", "1", 1, false, "no_such_shape");
    add("reinforcementmaster", "tw_contract_num tw_bill_num tw_diameter", {"P1", "RA-1", "7"});
    const struct {
        const char *caption, *bill, *text, *table;
        size_t kept;
    } cases[] = {
        {"Tender Schedule", "RA-1", "Division by zero", "dummy_estimation", 2},
        {"Final Bill - Detailed", "", "Type mismatch", "dummy_estimation", 4},
        {"Detailed Bill", "RA-2",
         "The shape \"no_such_shape\" of item 1 has no row in the table of shapes.",
         "dummy_estimation", 1},
        {"Detailed Bill", "RA-9", "The bill \"RA-9\" of project \"P1\" has no measurement lines.",
         "dummy_estimation", 1},
        {"Reinforcement Report", "RA-1",
         "No weight per unit of length is known for the diameter \"7\" (bar \"\").",
         "dummy_reinforcement_report", 0},
        {"Contract / Schedule", "",
         "The category \"Masonry\" of item 1 is not in the list of categories in Feet.",
         "dummy_sch_report", 0},
    };
    for (const auto& c : cases) {
        twtest::messages().clear();
        ReportRun run = runOn("School", c.bill);
        EXPECT_FALSE(generate(c.caption, run)) << c.caption;
        ASSERT_EQ(twtest::messages().texts(), std::vector<QString>{c.text}) << c.caption;
        EXPECT_EQ(table(c.table).size(), c.kept) << c.caption;
    }
    // The tender schedule's first group got its figures before the second item failed.
    ReportRun run = runOn("School");
    EXPECT_FALSE(generate("Tender Schedule", run));
    EXPECT_EQ(cells("netqty"), (QStringList{"4", ""}));
    EXPECT_EQ(twtest::messages().shown.back().flags, Critical);
}

// The final bill runs over every bill of the project in the order the lines were entered: an
// item whose lines lie apart makes two groups, and a deduction of another bill next to the
// item's lines comes off their figure. The bills raised stay as they were.
TEST_F(Fill, FinalBillGroupsNeighbouringLinesAndLeavesBillsRaisedAlone) {
    project("P1", "School", "Metre");
    item("P1", "A", "Concrete", 50, "10");
    item("P1", "B", "Plaster", 4, " 1 ");
    line("P1", "RA-1", "A", 10);
    line("P1", "RA-1", "B", 4);
    line("P1", "RA-2", "B", 1, true);
    line("P1", "RA-2", "A", 5);
    const Values raised{{"tw_contract_num", "P1"},
                        {"tw_bill_num", "RA-1"},
                        {"tw_bill_dt", "01-02-2024"},
                        {"tw_bill_amount", 1234.5},
                        {"tw_froze", 1}};
    db().insert("billsraised", raised);
    ReportRun run = runOn("School", QString());
    ASSERT_TRUE(generate("Final Bill - Detailed", run));
    // No unit labels, previous quantities or shares on a final bill.
    EXPECT_EQ(cells("tw_recordkey netqty net_amt units_label prev_bill_qty1 ewp_amt"),
              (QStringList{"0 | 10 | 50 |  |  | ", "1 | 4 | 16 |  |  | ", "1 | 3 | 12 |  |  | ",
                           "2 | 5 | 25 |  |  | "}));
    const Row after = table("billsraised").at(0);
    for (const auto& [name, value] : raised)
        EXPECT_EQ(after[name], value) << name.toStdString();
}

// Total length by the measure system; the weight found by the number of the diameter on both
// sides ("8 mm" in the weights, 8 or " 8mm" on a line).
TEST_F(Fill, ReinforcementTotalsLengthsAndFindsTheWeightByTheDiametersNumber) {
    const auto weight =
        db().first("select tw_ft_wt, tw_mt_wt from rnfweights where tw_Diameter='8 mm'");
    ASSERT_TRUE(weight);
    const struct {
        const char *units, *diameter;
        double whole, part, perUnit;
    } cases[] = {{"Feet", "8", 10, 6, weight->number(0)},
                 {"Metre", " 8mm", 10, 50, weight->number(1)}};
    for (const auto& c : cases) {
        project(c.units, c.units, c.units);
        add("reinforcementmaster",
            "tw_contract_num tw_bill_num tw_diameter tw_length_ft tw_length_inches tw_length_qty",
            {c.units, "RA-1", c.diameter, c.whole, c.part, 4});
        ReportRun run = runOn(c.units);
        ASSERT_TRUE(generate("Reinforcement Report", run));
        const Rows rows = table("dummy_reinforcement_report");
        ASSERT_EQ(rows.size(), 1u);
        EXPECT_DOUBLE_EQ(rows[0].number("tw_total_length"), 42) << c.units;
        EXPECT_DOUBLE_EQ(rows[0].number("tw_weight_per_unit"), c.perUnit) << c.units;
        EXPECT_EQ(rows[0].text("tw_units"), c.units);
    }
}

TEST_F(Fill, ScheduleReportLabelsEachItemFromTheCategoryListOfItsSystem) {
    add("CategoryList_Feet", "tw_category_name tw_unit_lable", {"Plaster", "S ft"});
    add("CategoryList_Meter", "tw_category_name tw_unit_lable", {"Plaster", "S Mt"});
    for (const QString units : {"Feet", "Metre"}) {
        project(units + "-1", units, units);
        item(units + "-1", "7", "Plaster 12 mm", 42, "10", "plaster");
        ReportRun run = runOn(units);
        ASSERT_TRUE(generate("Contract / Schedule", run));
        EXPECT_EQ(run.contract_num, units + "-1");
        const Rows rows = table("dummy_sch_report");
        ASSERT_EQ(rows.size(), 1u);
        QStringList cells;
        for (int i = 0; i < 6; ++i)
            cells << at(rows[0], rows[0].columnName(i));
        EXPECT_EQ(cells, (QStringList{units + "-1", "7", "Plaster 12 mm", "42", units,
                                      units == "Feet" ? "S ft" : "S Mt"}));
    }
}

TEST_F(Fill, OrganisationNameIsTheFirstLineAfterItsEqualsSign) {
    const struct {
        const char* file; // nullptr: no file
        const char* name;
    } cases[] = {
        {nullptr, "Kept"},
        {"\n\nOrgName =  Sharma & Sons, Builders  \nOrgAddr=Pune\n", "Sharma & Sons, Builders"},
        {"  Builders Ltd \n", "Builders Ltd"},
        {"a=b=c\n", "b=c"},
        {"\n\n", "Kept"},
    };
    for (const auto& c : cases) {
        QFile file(folder() + "/Tallywright.cfg");
        file.remove();
        if (c.file) {
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(c.file);
            file.close();
        }
        ReportRun run;
        run.ReportOrgName = "Kept";
        readReportOrgName(run);
        EXPECT_EQ(run.ReportOrgName, c.name);
    }
}

// The sample of the command-line companion: every report opens on it without a word.
TEST_F(Fill, DemoSampleOpensEveryReport) {
    QString out, err;
    QTextStream o(&out), e(&err);
    const QStringList args{"--folder", folder(), "demo"};
    ASSERT_EQ(cli::run(args, o, e), 0) << err.toStdString();
    o.flush();
    EXPECT_TRUE(out.contains("(Metre): 40 items, 3 bills, 150 measurement lines"));
    EXPECT_TRUE(out.contains("(Feet): 40 items, 3 bills, 150 measurement lines"));
    int filled = 0;
    for (const Row& p : db().rows("select tw_contract_name from ContractMaster")) {
        for (const ReportType& type : catalogue()) {
            if (type.command == "abstract-bill" || type.command == "bills-raised")
                continue;
            for (const char* bill : {"RA-01", "RA-02", "RA-03"}) {
                ReportRun run = runOn(p.text(0), bill);
                EXPECT_TRUE(generate(type.caption, run)) << type.command.toStdString();
                if (!type.workingTable.isEmpty()) {
                    EXPECT_FALSE(table(type.workingTable).empty());
                }
                ++filled;
            }
        }
    }
    EXPECT_EQ(filled, 2 * 9 * 3);
    EXPECT_TRUE(twtest::messages().shown.empty()) << twtest::messages().texts()[0].toStdString();
    // A database that holds projects is left alone.
    EXPECT_EQ(cli::run(args, o, e), 1);
    e.flush();
    EXPECT_TRUE(err.contains("already holds projects"));
    EXPECT_EQ(cli::run(args + QStringList{"--lines", "many"}, o, e), 2);
}

} // namespace
