#include "screens/projects/frm_schentry.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QHeaderView>
#include <QRegularExpression>
#include <QTest>

#include <tuple>

namespace {

using twtest::messages;
using twtest::pick;
using Texts = std::vector<QString>;

class FrmSchEntryTest : public twtest::ScreenTest<frm_schentry> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into contractmaster (tw_contract_num, tw_contract_name, tw_units) "
                  "values (?, ?, ?), (?, ?, ?)",
                  {"P1", "Tower", "Metre", "P2", "Villa", "Feet"});
        db().exec(
            "insert into categorylist_meter (tw_category_name, tw_rate) values (?, ?), (?, ?)",
            {"PCC", 4500.5, "RCC", 7000});
        db().exec("insert into categorylist_feet (tw_category_name, tw_rate) values (?, ?)",
                  {"RCC", 650.25});
    }
    // Items of P1 are in category RCC, of P2 in PCC (a metre-only category in a feet project).
    void addItem(const QString& num, const QString& sch, const QString& desc, double rate,
                 const QVariant& label = {}, const QVariant& volarea = {}) {
        db().exec("insert into sch_master (tw_contract_num, tw_sch_num, tw_item_desc, tw_item_rate,"
                  " tw_unit, tw_category_name, tw_unit_lable, tw_volarea) values (?,?,?,?,?,?,?,?)",
                  {num, sch, desc, rate, "10", num == "P1" ? "RCC" : "PCC", label, volarea});
    }
    QStringList line(int i) const { return twtest::rowCells(screen->schlist, i); }
    tw::Rows items(const QString& n) { return db().keyed("sch_master", "tw_contract_num=?", {n}); }
    void fill(const QString& sch, const QString& desc, const QString& rate) {
        screen->txt_schnum->setText(sch);
        screen->RtItmDsc->setPlainText(desc);
        screen->txtschitemrate->setText(rate);
    }
    void save() { click("cmd_save_sch"); }
    void clickLine(int line, bool twice = false) {
        auto* list = screen->schlist;
        const QPoint at = list->visualItemRect(list->topLevelItem(line)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        if (twice)
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    }
};

TEST_F(FrmSchEntryTest, OpensOnTheFirstProjectsItemsAndADoubleClickLoadsOneWithItsOwnRate) {
    addItem("P1", "1", "Excavation", 120.5, "Cu Mt", "Volume");
    addItem("P2", "9", "Other", 1); // a metre-only category in a feet project
    addItem("P1", "IMPORTED-02", "Item without label", 75); // longer than a typed number
    auto& w = open();
    EXPECT_EQ(w.cmb_projname->currentText(), "Tower");
    EXPECT_FALSE(w.cmd_delete->isEnabled());
    EXPECT_EQ(w.schlist->topLevelItemCount(), 2);
    EXPECT_EQ(line(0), (QStringList{"1", "1", "Excavation", "RCC", "120.5", "Cu Mt", "Volume"}));
    EXPECT_EQ(line(1),
              (QStringList{"2", "IMPORTED-02", "Item without label", "RCC", "75", "XXX", "xxx"}));
    clickLine(0, true);
    EXPECT_EQ(QStringList({w.txt_schnum->text(), w.RtItmDsc->toPlainText(),
                           w.cmb_unitnos->currentText(), w.cmb_category->currentText(),
                           w.cmb_volarea->currentText(), w.txtschitemrate->text()}),
              (QStringList{"1", "Excavation", "10", "RCC", "Volume", "120.5"})); // not RCC's 7000
    clickLine(1, true); // no label and type: the caption that stands stays
    EXPECT_EQ(w.unitlbl->text(), "Cu Mt");
    EXPECT_EQ(w.txt_schnum->text() + " " + w.txtschitemrate->text(), "IMPORTED-02 75");
    pick(w.cmb_projname, "Villa");
    EXPECT_EQ(line(0), (QStringList{"1", "9", "Other", "PCC", "1", "XXX", "xxx"}));
    clickLine(0, true);
    EXPECT_EQ(w.cmb_category->currentText() + " " + w.txtschitemrate->text(), "PCC 1");
    EXPECT_TRUE(messages().shown.empty());

    // With no project at all the screen says so, and an item has no project to go to.
    db().exec("delete from contractmaster");
    open();
    fill("1", "Item", "5");
    save();
    EXPECT_EQ(messages().shown.size(), 2u);
    EXPECT_TRUE(items("").empty());
}

TEST_F(FrmSchEntryTest, TypeOfMeasureGivesTheUnitLabelOfTheSystem) {
    db().insert("volarea", {{"tw_volarea", "NA"}, {"tw_label", "x "}});
    auto& w = open();
    // A type the rule does not know ("NA") leaves the label as it stands.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"Tower", "Area", "S Mt"}, {"Villa", "Volume", "Cu ft"},    {"Villa", "Count", "Nos "},
        {"Tower", "Set", "Sets"},  {"Villa", "Lumpsum", "Lumpsum"}, {"Villa", "NA", "Lumpsum"}};
    for (const auto& [project, type, label] : cases) {
        pick(w.cmb_projname, project);
        pick(w.cmb_volarea, type);
        EXPECT_EQ(w.unitlbl->text(), label) << project << " " << type;
    }
}

TEST_F(FrmSchEntryTest, CategoryRateComesFromTheProjectsTableAndAMissingOneLeavesNoRate) {
    auto& w = open();
    EXPECT_EQ(w.cmb_category->count(), 2); // the metre categories, whatever the project
    pick(w.cmb_category, "PCC");
    EXPECT_EQ(w.txtschitemrate->text(), "4500.5");
    pick(w.cmb_projname, "Villa");
    pick(w.cmb_category, "RCC");
    EXPECT_EQ(w.txtschitemrate->text(), "650.25");
    // PCC is not in the feet table: the box says so, and RCC's rate does not stay beside it
    // for a save to store the two together.
    pick(w.cmb_category, "PCC");
    ASSERT_EQ(messages().texts(),
              Texts{"The category \"PCC\" is not among the categories in feet."});
    EXPECT_EQ(w.cmb_category->currentText(), "");
    fill("1", "Item", w.txtschitemrate->text());
    save();
    EXPECT_EQ(messages().shown.back().text, "Schedule Item Unit Rate is not entered!");
    EXPECT_TRUE(items("P2").empty());
}

TEST_F(FrmSchEntryTest, FirstEmptyFieldIsNamedAndNothingIsWritten) {
    // Blanks are no empty field.
    const std::tuple<QString, QString, QString, QString, const char*> cases[] = {
        {"", "Desc", "5", "Schedule Item Number is not entered!", "txt_schnum"},
        {" ", "", "", "Schedule Item Description is not entered!", "RtItmDsc"},
        {"1", " \n ", "", "Schedule Item Unit Rate is not entered!", "txtschitemrate"}};
    auto& w = open();
    for (const auto& [sch, desc, rate, text, focus] : cases) {
        messages().clear();
        fill(sch, desc, rate);
        save();
        EXPECT_EQ(messages().texts(), Texts{text});
        EXPECT_EQ(w.focusWidget(), field(focus));
        EXPECT_EQ(w.txt_schnum->text(), sch); // what was typed stays
    }
    EXPECT_TRUE(items("P1").empty());
}

TEST_F(FrmSchEntryTest, SavingTheSameNumberOverwritesAndANewNumberAdds) {
    auto& w = open();
    pick(w.cmb_unitnos, "100");
    pick(w.cmb_category, "PCC");
    pick(w.cmb_volarea, "Area");
    fill("2'a\"", "Door 2' x 7'\nteak frame", "12.75");
    save();
    EXPECT_EQ(w.txt_schnum->text() + w.RtItmDsc->toPlainText() + w.txtschitemrate->text(), "");
    EXPECT_EQ(w.cmb_category->currentText(), "PCC"); // the lists stay for the next item
    EXPECT_EQ(line(0).value(2), "Door 2' x 7' teak frame");
    pick(w.cmb_volarea, "Count");
    fill("2'A\"", "Door, one side", "8"); // the same number in another case
    save();
    fill("3", "Paint", "3");
    save();
    const auto rows = items("P1");
    ASSERT_EQ(rows.size(), 2u);
    const std::pair<const char*, QString> expected[] = {
        {"tw_sch_num", "2'a\""},     {"tw_item_desc", "Door, one side"},
        {"tw_item_rate", "8"},       {"tw_unit", "100"},
        {"tw_category_name", "PCC"}, {"tw_unit_lable", "Nos "},
        {"tw_volarea", "Count"},     {"tw_deduction", "0"}};
    for (const auto& [column, value] : expected)
        EXPECT_EQ(rows[0].text(column), value) << column;
    EXPECT_EQ(line(1).mid(0, 2), (QStringList{"2", "3"}));
    pick(w.cmb_projname, "Villa"); // another project may use the same number
    fill("3", "Villa item", "1");
    save();
    EXPECT_EQ(items("P1").size(), 2u);
    EXPECT_EQ(items("P2").size(), 1u);
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmSchEntryTest, AnItemWithNothingPickedStoresEmptyTexts) {
    open();
    fill("1", "Item", "5");
    save();
    const auto rows = items("P1");
    ASSERT_EQ(rows.size(), 1u);
    for (const char* column : {"tw_unit", "tw_category_name", "tw_unit_lable", "tw_volarea"})
        EXPECT_FALSE(rows[0].isNull(column)) << column;
    EXPECT_EQ(line(0).mid(frm_schentry::UnitLabel), (QStringList{"", ""})); // not XXX and xxx
}

TEST_F(FrmSchEntryTest, RatesShowAsTheirDigitsAndOneBeyondTheMoneyRangeIsRefused) {
    addItem("P1", "9", "Stored long ago", 1e16);
    auto& w = open();
    fill("1", "Tiny", "0.00005");
    save();
    EXPECT_EQ(line(0).value(frm_schentry::UnitRate), "10000000000000000");
    clickLine(1, true);
    EXPECT_EQ(w.txtschitemrate->text(), "0.00005");
    save();
    EXPECT_EQ(items("P1")[1].number("tw_item_rate"), 0.00005);

    fill("2", "Huge", "922337203685477.5");
    EXPECT_EQ(twtest::withRealBoxes({"OK"}, [&] { save(); }),
              QStringList{"Unit Rate can not be more than 922,337,203,685,477"});
    EXPECT_EQ(w.focusWidget(), w.txtschitemrate);
    EXPECT_EQ(items("P1").size(), 2u);
}

TEST_F(FrmSchEntryTest, DeleteAsksAboutThePickedLineOnTheRealBoxAndRemovesItOnOkOnly) {
    addItem("P1", "1", "Excavation", 10);
    addItem("P1", "2", "Filling", 20);
    addItem("P1", "", "Note without number", 0);
    auto& w = open();
    clickLine(1, true);
    save(); // the saved item stays picked
    for (const auto& [button, left] : {std::pair{"Cancel", 3u}, {"OK", 2u}}) {
        EXPECT_EQ(twtest::withRealBoxes({button}, [&] { click("cmd_delete"); }),
                  QStringList{"You are Deleting : 2 - Filling"});
        EXPECT_EQ(items("P1").size(), left) << button;
        EXPECT_FALSE(w.cmd_delete->isEnabled());
        clickLine(1);
    }
    EXPECT_EQ(line(1).value(2), "Note without number");
    messages().clear();
    clickLine(0);
    clickLine(1); // a line without a number
    click("cmd_delete");
    EXPECT_EQ(messages().texts(), Texts{"No item selected"});
    EXPECT_EQ(items("P1").size(), 2u);
}

TEST_F(FrmSchEntryTest, KeysPickTheSavedItemAgainAndDeleteIt) {
    addItem("P1", "1", "Excavation", 10);
    auto& w = open();
    QApplication::setActiveWindow(&w);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&w));
    fill("2", "Filling", "20");
    save();
    w.schlist->setFocus(Qt::TabFocusReason);
    QTest::keyClick(w.schlist, Qt::Key_Return);
    EXPECT_EQ(w.txt_schnum->text() + w.txtschitemrate->text(), "220");
    QTest::keyClick(w.schlist, Qt::Key_Up); // a line reached by keys is picked
    EXPECT_TRUE(w.cmd_delete->isEnabled());
    // An access key presses its button as a click would, a moment later; answered OK.
    QTest::keyClick(&w, Qt::Key_D, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return items("P1").size() == 1; }));
    EXPECT_EQ(items("P1")[0].text("tw_sch_num"), "2");
}

} // namespace
