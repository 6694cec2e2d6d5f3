#include "projects/frm_schentry.h"

#include "support/fixtures.h"

#include <QTest>

#include <memory>

namespace {

using twtest::messages;

class FrmSchEntryTest : public twtest::AppFolderTest {
protected:
    void SetUp() override {
        AppFolderTest::SetUp();
        addProject(QStringLiteral("P1"), QStringLiteral("Tower"), QStringLiteral("Metre"));
        addProject(QStringLiteral("P2"), QStringLiteral("Villa"), QStringLiteral("Feet"));
        addCategory(QStringLiteral("categorylist_meter"), QStringLiteral("PCC"), 4500.5);
        addCategory(QStringLiteral("categorylist_meter"), QStringLiteral("RCC"), 7000);
        addCategory(QStringLiteral("categorylist_feet"), QStringLiteral("RCC"), 650.25);
        addCategory(QStringLiteral("categorylist_feet"), QStringLiteral("Brickwork"), 90);
    }
    void addProject(const QString& num, const QString& name, const QString& units) {
        db().insert(QStringLiteral("contractmaster"), {{QStringLiteral("tw_contract_num"), num},
                                                       {QStringLiteral("tw_contract_name"), name},
                                                       {QStringLiteral("tw_units"), units}});
    }
    void addCategory(const QString& table, const QString& name, double rate) {
        db().insert(
            table, {{QStringLiteral("tw_category_name"), name}, {QStringLiteral("tw_rate"), rate}});
    }
    void addItem(const QString& num, const QString& sch, const QString& desc, double rate,
                 const QVariant& label, const QVariant& volarea) {
        db().insert(QStringLiteral("sch_master"),
                    {{QStringLiteral("tw_contract_num"), num},
                     {QStringLiteral("tw_sch_num"), sch},
                     {QStringLiteral("tw_item_desc"), desc},
                     {QStringLiteral("tw_item_rate"), rate},
                     {QStringLiteral("tw_unit"), QStringLiteral("10")},
                     {QStringLiteral("tw_category_name"), QStringLiteral("RCC")},
                     {QStringLiteral("tw_unit_lable"), label},
                     {QStringLiteral("tw_volarea"), volarea},
                     {QStringLiteral("tw_deduction"), 0}});
    }
    frm_schentry& open() {
        screen = std::make_unique<frm_schentry>();
        screen->setAttribute(Qt::WA_DeleteOnClose, false);
        return *screen;
    }
    static void pick(QComboBox* list, const QString& text) {
        const int i = list->findText(text);
        ASSERT_GE(i, 0) << list->objectName().toStdString() << " " << text.toStdString();
        list->setCurrentIndex(i);
        emit list->activated(i);
    }
    // The cells of the list, line by line.
    std::vector<QStringList> lines() const {
        std::vector<QStringList> out;
        for (int i = 0; i < screen->schlist->topLevelItemCount(); ++i) {
            QStringList cells;
            for (int c = 0; c < screen->schlist->columnCount(); ++c)
                cells << screen->schlist->topLevelItem(i)->text(c);
            out.push_back(cells);
        }
        return out;
    }
    tw::Rows items(const QString& num) {
        return db().rows(
            QStringLiteral("select * from sch_master where tw_contract_num=? order by rowid"),
            {num});
    }
    void fill(const QString& sch, const QString& desc, const QString& rate) {
        screen->txt_schnum->setText(sch);
        screen->RtItmDsc->setPlainText(desc);
        screen->txtschitemrate->setText(rate);
    }
    void save() { QTest::mouseClick(screen->cmd_save_sch, Qt::LeftButton); }
    QPoint centreOf(int line) {
        auto* item = screen->schlist->topLevelItem(line);
        return screen->schlist->visualItemRect(item).center();
    }
    void click(int line) {
        QTest::mouseClick(screen->schlist->viewport(), Qt::LeftButton, {}, centreOf(line));
    }
    // A double click is a click followed by the double-click event, as the mouse gives them.
    void doubleClick(int line) {
        QTest::mouseClick(screen->schlist->viewport(), Qt::LeftButton, {}, centreOf(line));
        QTest::mouseDClick(screen->schlist->viewport(), Qt::LeftButton, {}, centreOf(line));
    }
    std::unique_ptr<frm_schentry> screen;
};

TEST_F(FrmSchEntryTest, OpensOnTheFirstProjectWithItsItemsAndNullsMarked) {
    addItem(QStringLiteral("P1"), QStringLiteral("1"), QStringLiteral("Excavation"), 120.5,
            QStringLiteral("Cu Mt"), QStringLiteral("Volume"));
    addItem(QStringLiteral("P2"), QStringLiteral("9"), QStringLiteral("Other"), 1, QVariant(),
            QVariant());
    addItem(QStringLiteral("P1"), QStringLiteral("2"), QStringLiteral("Old item"), 75, QVariant(),
            QVariant());
    auto& w = open();
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(w.windowTitle(), "Schedule of Works Definition");
    EXPECT_EQ(w.cmb_projname->currentText(), "Tower");
    EXPECT_EQ(w.contractNumber(), "P1");
    EXPECT_EQ(w.measureSystem(), "Metre");
    EXPECT_FALSE(w.cmd_delete->isEnabled());
    const auto l = lines();
    ASSERT_EQ(l.size(), 2u);
    EXPECT_EQ(l[0], (QStringList{"1", "1", "Excavation", "RCC", "120.5", "Cu Mt", "Volume"}));
    EXPECT_EQ(l[1], (QStringList{"2", "2", "Old item", "RCC", "75", "XXX", "xxx"}));

    pick(w.cmb_projname, QStringLiteral("Villa"));
    EXPECT_EQ(w.contractNumber(), "P2");
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0], (QStringList{"1", "9", "Other", "RCC", "1", "XXX", "xxx"}));
}

struct LabelCase {
    const char* project; // "Tower" is in metres, "Villa" in feet
    const char* type;
    const char* label;
};

class FrmSchEntryLabels : public FrmSchEntryTest,
                          public ::testing::WithParamInterface<LabelCase> {};

TEST_P(FrmSchEntryLabels, TypeOfMeasureGivesTheUnitLabelOfTheSystem) {
    const LabelCase& c = GetParam();
    auto& w = open();
    pick(w.cmb_projname, QString::fromLatin1(c.project));
    pick(w.cmb_volarea, QString::fromLatin1(c.type));
    EXPECT_EQ(w.unitlbl->text(), QString::fromLatin1(c.label));
    // The label is what the item is saved with.
    fill(QStringLiteral("1"), QStringLiteral("Item"), QStringLiteral("10"));
    save();
    const auto rows = items(w.contractNumber());
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_unit_lable"), QString::fromLatin1(c.label));
    EXPECT_EQ(rows[0].text("tw_volarea"), QString::fromLatin1(c.type));
}

INSTANTIATE_TEST_SUITE_P(
    BySystem, FrmSchEntryLabels,
    ::testing::Values(LabelCase{"Tower", "Area", "S Mt"}, LabelCase{"Villa", "Area", "S ft"},
                      LabelCase{"Tower", "Volume", "Cu Mt"}, LabelCase{"Villa", "Volume", "Cu ft"},
                      LabelCase{"Tower", "Linear", "R Mt"}, LabelCase{"Villa", "Linear", "R ft"},
                      LabelCase{"Tower", "Count", "Nos "}, LabelCase{"Villa", "Count", "Nos "},
                      LabelCase{"Tower", "Set", "Sets"}, LabelCase{"Villa", "Set", "Sets"},
                      LabelCase{"Tower", "Lumpsum", "Lumpsum"},
                      LabelCase{"Villa", "Lumpsum", "Lumpsum"}),
    [](const auto& info) {
        return std::string(info.param.project) + "_" + std::string(info.param.type);
    });

TEST_F(FrmSchEntryTest, AnUnknownTypeOfMeasureLeavesTheLabel) {
    db().insert(QStringLiteral("volarea"), {{QStringLiteral("tw_volarea"), QStringLiteral("NA")},
                                            {QStringLiteral("tw_label"), QStringLiteral("x ")}});
    auto& w = open();
    pick(w.cmb_volarea, QStringLiteral("Area"));
    pick(w.cmb_volarea, QStringLiteral("NA"));
    EXPECT_EQ(w.unitlbl->text(), "S Mt");
}

TEST_F(FrmSchEntryTest, CategoryRateComesFromTheTableOfTheProjectsSystem) {
    auto& w = open();
    // The list holds the metre categories whatever the project.
    QStringList listed;
    for (int i = 0; i < w.cmb_category->count(); ++i)
        listed << w.cmb_category->itemText(i);
    EXPECT_EQ(listed, (QStringList{"PCC", "RCC"}));
    EXPECT_EQ(w.cmb_category->currentIndex(), -1);

    pick(w.cmb_category, QStringLiteral("PCC"));
    EXPECT_EQ(w.txtschitemrate->text(), "4500.5");

    pick(w.cmb_projname, QStringLiteral("Villa"));
    EXPECT_EQ(w.cmb_category->count(), 2); // not filled again for a project in feet
    pick(w.cmb_category, QStringLiteral("RCC"));
    EXPECT_EQ(w.txtschitemrate->text(), "650.25");
    EXPECT_TRUE(messages().shown.empty());

    // A metre category the feet table lacks is an error the user sees; the rate stays.
    pick(w.cmb_category, QStringLiteral("PCC"));
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_TRUE(messages().shown[0].text.contains(QLatin1String("PCC")));
    EXPECT_EQ(w.txtschitemrate->text(), "650.25");
}

struct SchCheck {
    const char* name;
    QString sch, desc, rate, text;
    const char* focus;
};

class FrmSchEntryChecks : public FrmSchEntryTest, public ::testing::WithParamInterface<SchCheck> {};

TEST_P(FrmSchEntryChecks, FirstMissingFieldIsNamedAndNothingIsWritten) {
    const SchCheck& c = GetParam();
    auto& w = open();
    w.show();
    fill(c.sch, c.desc, c.rate);
    save();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, c.text);
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(messages().shown[0].title, "Tallywright");
    EXPECT_EQ(w.focusWidget(), w.findChild<QWidget*>(QString::fromLatin1(c.focus)));
    EXPECT_TRUE(items(QStringLiteral("P1")).empty());
    // What was typed stays for the user to complete.
    EXPECT_EQ(w.txt_schnum->text(), c.sch);
    EXPECT_EQ(w.txtschitemrate->text(), c.rate);
}

const QString noNum = QStringLiteral("Schedule Item Number is not entered!");
const QString noDesc = QStringLiteral("Schedule Item Description is not entered!");
const QString noRate = QStringLiteral("Schedule Item Unit Rate is not entered!");

INSTANTIATE_TEST_SUITE_P(
    Order, FrmSchEntryChecks,
    ::testing::Values(SchCheck{"Nothing", "", "", "", noNum, "txt_schnum"},
                      SchCheck{"NoNumber", "", "Desc", "5", noNum, "txt_schnum"},
                      SchCheck{"BlankDescription", "1", " \n ", "", noDesc, "RtItmDsc"},
                      SchCheck{"NoRate", "1", "Desc", "", noRate, "txtschitemrate"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(FrmSchEntryTest, SavingTheSameNumberOverwritesAndANewNumberAdds) {
    auto& w = open();
    pick(w.cmb_unitnos, QStringLiteral("100"));
    pick(w.cmb_category, QStringLiteral("PCC"));
    pick(w.cmb_volarea, QStringLiteral("Area"));
    fill(QStringLiteral("1.1"), QStringLiteral("Plaster\nboth sides"), QStringLiteral("12.75"));
    save();
    ASSERT_TRUE(messages().shown.empty());
    // The item fields are emptied for the next item; the lists and the label stay.
    EXPECT_EQ(w.txt_schnum->text(), "");
    EXPECT_EQ(w.RtItmDsc->toPlainText(), "");
    EXPECT_EQ(w.txtschitemrate->text(), "");
    EXPECT_EQ(w.cmb_category->currentText(), "PCC");
    EXPECT_EQ(w.unitlbl->text(), "S Mt");

    auto rows = items(QStringLiteral("P1"));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_sch_num"), "1.1");
    EXPECT_EQ(rows[0].text("tw_item_desc"), "Plaster\nboth sides");
    EXPECT_EQ(rows[0].number("tw_item_rate"), 12.75);
    EXPECT_EQ(rows[0].text("tw_unit"), "100");
    EXPECT_EQ(rows[0].text("tw_category_name"), "PCC");
    EXPECT_EQ(rows[0].text("tw_unit_lable"), "S Mt");
    EXPECT_EQ(rows[0].text("tw_volarea"), "Area");
    EXPECT_EQ(rows[0].number("tw_deduction"), 0.0);
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0][2], "Plaster both sides");

    pick(w.cmb_volarea, QStringLiteral("Count"));
    fill(QStringLiteral("1.1"), QStringLiteral("Plaster one side"), QStringLiteral("8"));
    save();
    fill(QStringLiteral("1.2"), QStringLiteral("Paint"), QStringLiteral("3"));
    save();
    rows = items(QStringLiteral("P1"));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].text("tw_sch_num"), "1.1");
    EXPECT_EQ(rows[0].text("tw_item_desc"), "Plaster one side");
    EXPECT_EQ(rows[0].number("tw_item_rate"), 8.0);
    EXPECT_EQ(rows[0].text("tw_volarea"), "Count");
    EXPECT_EQ(rows[1].text("tw_sch_num"), "1.2");
    const auto l = lines();
    ASSERT_EQ(l.size(), 2u);
    EXPECT_EQ(l[0][0], "1");
    EXPECT_EQ(l[1][0], "2");
    EXPECT_EQ(l[1][1], "1.2");
    // The other project's schedule is untouched and a project may reuse a number.
    EXPECT_TRUE(items(QStringLiteral("P2")).empty());
    pick(w.cmb_projname, QStringLiteral("Villa"));
    fill(QStringLiteral("1.1"), QStringLiteral("Villa item"), QStringLiteral("1"));
    save();
    EXPECT_EQ(items(QStringLiteral("P1")).size(), 2u);
    EXPECT_EQ(items(QStringLiteral("P2")).size(), 1u);
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmSchEntryTest, QuotesInNumberAndDescriptionAreKeptAsTyped) {
    const QString sch = QStringLiteral("2'a\"");
    const QString desc = QStringLiteral("Door 2' x 7' with \"teak\" frame'); --");
    auto& w = open();
    w.show();
    fill(sch, desc, QStringLiteral("1500"));
    save();
    fill(sch, desc + QStringLiteral("!"), QStringLiteral("1600"));
    save();
    ASSERT_TRUE(messages().shown.empty());
    const auto rows = items(QStringLiteral("P1"));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_sch_num"), sch);
    EXPECT_EQ(rows[0].text("tw_item_desc"), desc + QStringLiteral("!"));
    // Found again by the same number from the list.
    doubleClick(0);
    EXPECT_EQ(w.txt_schnum->text(), sch);
    EXPECT_EQ(w.txtschitemrate->text(), "1600");
}

TEST_F(FrmSchEntryTest, DoubleClickLoadsTheItemAndItsStoredRateWins) {
    addItem(QStringLiteral("P1"), QStringLiteral("7"), QStringLiteral("Columns"), 6890.4,
            QStringLiteral("Cu Mt"), QStringLiteral("Volume"));
    addItem(QStringLiteral("P1"), QStringLiteral("8"), QStringLiteral("Legacy"), 15, QVariant(),
            QVariant());
    auto& w = open();
    w.show();
    doubleClick(0);
    EXPECT_EQ(w.txt_schnum->text(), "7");
    EXPECT_EQ(w.RtItmDsc->toPlainText(), "Columns");
    EXPECT_EQ(w.cmb_unitnos->currentText(), "10");
    EXPECT_EQ(w.cmb_category->currentText(), "RCC");
    EXPECT_EQ(w.cmb_volarea->currentText(), "Volume");
    EXPECT_EQ(w.unitlbl->text(), "Cu Mt");
    EXPECT_EQ(w.txtschitemrate->text(), "6890.4"); // not the category's 7000

    // An old row without label and type keeps the caption that stands.
    doubleClick(1);
    EXPECT_EQ(w.txt_schnum->text(), "8");
    EXPECT_EQ(w.unitlbl->text(), "Cu Mt");
    EXPECT_EQ(w.cmb_volarea->currentText(), "Volume");
    EXPECT_EQ(w.txtschitemrate->text(), "15");
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmSchEntryTest, DoubleClickInAFeetProjectLoadsAMetreOnlyCategory) {
    db().insert(QStringLiteral("sch_master"),
                {{QStringLiteral("tw_contract_num"), QStringLiteral("P2")},
                 {QStringLiteral("tw_sch_num"), QStringLiteral("1")},
                 {QStringLiteral("tw_item_desc"), QStringLiteral("Blinding")},
                 {QStringLiteral("tw_item_rate"), 44},
                 {QStringLiteral("tw_category_name"), QStringLiteral("PCC")}});
    auto& w = open();
    w.show();
    pick(w.cmb_projname, QStringLiteral("Villa"));
    doubleClick(0);
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(w.cmb_category->currentText(), "PCC");
    EXPECT_EQ(w.txtschitemrate->text(), "44");
}

TEST_F(FrmSchEntryTest, DeleteAsksAndRemovesOnlyOnOk) {
    addItem(QStringLiteral("P1"), QStringLiteral("1"), QStringLiteral("Excavation"), 10,
            QStringLiteral("Cu Mt"), QStringLiteral("Volume"));
    addItem(QStringLiteral("P1"), QStringLiteral("2"), QStringLiteral("Filling"), 20,
            QStringLiteral("Cu Mt"), QStringLiteral("Volume"));
    auto& w = open();
    w.show();
    EXPECT_FALSE(w.cmd_delete->isEnabled());
    click(1);
    ASSERT_TRUE(w.cmd_delete->isEnabled());

    messages().answers.push_back(ui::Answer::Cancel);
    QTest::mouseClick(w.cmd_delete, Qt::LeftButton);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "You are Deleting : 2 - Filling");
    EXPECT_EQ(messages().shown[0].flags & 0x7, ui::OkCancel);
    EXPECT_EQ(items(QStringLiteral("P1")).size(), 2u);
    EXPECT_FALSE(w.cmd_delete->isEnabled());

    messages().clear();
    click(1);
    QTest::mouseClick(w.cmd_delete, Qt::LeftButton); // answered Ok
    const auto rows = items(QStringLiteral("P1"));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_sch_num"), "1");
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_FALSE(w.cmd_delete->isEnabled());

    // With no line picked there is nothing to delete.
    messages().clear();
    w.cmd_delete->setEnabled(true);
    w.schlist->clearSelection();
    QTest::mouseClick(w.cmd_delete, Qt::LeftButton);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "No item selected");
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(items(QStringLiteral("P1")).size(), 1u);
}

TEST_F(FrmSchEntryTest, WithoutProjectsTheScreenSaysSoAndSavesNothing) {
    db().exec(QStringLiteral("delete from contractmaster"));
    auto& w = open();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    messages().clear();
    fill(QStringLiteral("1"), QStringLiteral("Item"), QStringLiteral("5"));
    save();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_TRUE(db().rows(QStringLiteral("select * from sch_master")).empty());
    EXPECT_EQ(w.txt_schnum->text(), "1");
}

} // namespace
