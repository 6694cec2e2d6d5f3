#include "screens/rates/catrateanal.h"
#include "screens/rates/frm_rateanalysis.h"
#include "screens/rates/matls.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QFocusEvent>
#include <QHeaderView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTest>
#include <QTimer>

namespace {

using twtest::messages;
using twtest::pick;
using twtest::rowCells;
using Texts = std::vector<QString>;

void clickRow(QTreeWidget* list, int row, bool twice = false) {
    const QPoint at = list->visualItemRect(list->topLevelItem(row)).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
    if (twice)
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
}

// ---- Maintain Materials -------------------------------------------------------------------

class MatlsTest : public twtest::ScreenTest<matls> {};

TEST_F(MatlsTest, ListCrossesItsCellsAndDeleteNeverReprices) {
    db().exec("insert into materials values (?, ?, ?)", {"Cement", 300, QVariant()});
    db().exec("insert into categorylist_meter (tw_category_name, tw_rate, tw_matl1, "
              "tw_matl1_qty, tw_matl1_rate) values ('Wall', 5, 'Cement', 2, 1)");
    auto& w = open();
    QApplication::setActiveWindow(&w);
    EXPECT_EQ(rowCells(w.matlist1, 0), (QStringList{"1", "Cement", "Nos", "300"}));

    // Both empty fields are refused with the same words, each in its own field.
    click("savematl");
    w.cmb_matdesc->setText("Sand");
    click("savematl");
    w.matrate->setText("922337203685478");
    click("savematl");
    EXPECT_EQ(messages().texts(),
              (Texts{"Material Description is blank", "Material Description is blank",
                     "Material cost per unit can not be more than 922,337,203,685,477"}));
    EXPECT_TRUE(twtest::hasFocus(w.matrate));
    EXPECT_EQ(db().keyed("materials").size(), 1u);

    clickRow(w.matlist1, 0, true);
    EXPECT_EQ(w.matrate->text(), "300.00");
    w.matlist1->setCurrentItem(w.matlist1->topLevelItem(0));
    EXPECT_EQ(twtest::withRealBoxes({"OK"}, [&] { click("matlcancel"); }),
              QStringList{"You are Deleting : Cement"});
    EXPECT_EQ(w.matlist1->topLevelItemCount(), 0);
    const auto wall = db().find("categorylist_meter", "tw_category_name='Wall'");
    EXPECT_EQ(wall->text("tw_matl1"), "Cement");
    EXPECT_EQ(wall->number("tw_rate"), 5);
}

// The whole description is the key, compared exactly: a long one comes back whole for editing,
// and one in another case is another material.
TEST_F(MatlsTest, DescriptionIsTheWholeExactKey) {
    const QString longName = QString(60, u'w');
    db().exec("insert into materials values (?, ?, ?), (?, ?, ?)",
              {"Cement", 300, "Bag", longName, 1, "Kg"});
    auto& w = open();
    clickRow(w.matlist1, 1, true);
    EXPECT_EQ(w.cmb_matdesc->text(), longName);
    w.matrate->setText("2");
    click("savematl");
    w.cmb_matdesc->setText("cement");
    w.matrate->setText("5");
    click("savematl");
    ASSERT_EQ(w.matlist1->topLevelItemCount(), 3);
    EXPECT_EQ(rowCells(w.matlist1, 1).mid(1), (QStringList{longName, "Kg", "2"}));
    w.matlist1->setCurrentItem(w.matlist1->topLevelItem(2));
    click("matlcancel");
    EXPECT_EQ(rowCells(w.matlist1, 0).mid(1), (QStringList{"Cement", "Bag", "300"}));
    EXPECT_EQ(w.matlist1->topLevelItemCount(), 2);
}

// ---- Rate Analysis for Standard Categories ------------------------------------------------

class CatRateAnalTest : public twtest::ScreenTest<catrateanal> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        for (int i = 1; i <= 12; ++i)
            db().exec("insert into materials values (?, ?, ?)",
                      {QString("M%1").arg(i), 10 * i, "Kg"});
    }
    catrateanal& go() {
        auto& w = open();
        click("btngo");
        return w;
    }
    void add(const QString& material, const QString& qty) {
        pick(screen->cmbmatl, material);
        screen->txtmatqty->setText(qty);
        click("savematl");
    }
    QStringList row(int i) const { return rowCells(screen->matlist, i); }
};

TEST_F(CatRateAnalTest, AddPassReplacesRefillsBlankRowsAndTakesAnEleventh) {
    auto& w = go();
    add("M1", "2");
    add("M2", "1.5");
    add("M1", "3"); // the same material again: its row changes, no row is added
    EXPECT_EQ(w.matlist->topLevelItemCount(), 2);
    EXPECT_EQ(row(0), (QStringList{"1", "M1", "3", "Kg", "10.00", "30"}));
    EXPECT_EQ(w.txt_item_unit_cost->text(), "60");

    // A delete moves the rows up, blanks the last, and leaves the total as it was.
    clickRow(w.matlist, 0);
    click("delmatl");
    EXPECT_EQ(row(0), (QStringList{"1", "M2", "1.5", "Kg", "20.00", "30"}));
    EXPECT_EQ(row(1), (QStringList{"2", "", "", "", "", ""}));
    EXPECT_EQ(w.txt_item_unit_cost->text(), "60");

    // The pass changes M2's row and goes on to fill the blank row with M2 as well.
    add("M2", "2");
    EXPECT_EQ(row(1), (QStringList{"2", "M2", "2", "", "20.00", "40"}));
    EXPECT_EQ(w.txt_item_unit_cost->text(), "80");

    // A quantity beyond the largest figure the books hold, as a stored item may bring it.
    messages().clear();
    add("M3", "922337203685478");
    EXPECT_EQ(messages().texts(),
              Texts{"Quantity per Unit can not be more than 922,337,203,685,477"});
    EXPECT_EQ(w.matlist->topLevelItemCount(), 2);

    messages().clear();
    for (int i = 3; i <= 11; ++i)
        add(QString("M%1").arg(i), "1");
    EXPECT_EQ(w.matlist->topLevelItemCount(), 11);
    EXPECT_TRUE(messages().texts().empty());
    add("M12", "1");
    EXPECT_EQ(w.matlist->topLevelItemCount(), 11);
    EXPECT_EQ(messages().texts(),
              (Texts{"You can enter maximum of only ten materials per Category Item"}));
}

TEST_F(CatRateAnalTest, SaveWritesSlotsByRowAndLoadStepsOverTheBlankOne) {
    auto& w = go();
    add("M1", "2");
    add("M3", "1");
    clickRow(w.matlist, 1);
    click("delmatl");
    w.txtcatname->setText("Wall 'A'");
    w.txtcatdesc->setText(QString::fromUtf8("Brick wall — ईंट"));
    w.cmb_volarea->setEditText("Area");
    w.cmbunitnos->setEditText("10");
    click("saverate");
    const auto saved = db().find("categorylist_meter", "tw_category_name=?", {"Wall 'A'"});
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->text(7), "M1");
    EXPECT_EQ(saved->number(8), 2);
    EXPECT_EQ(saved->text(10), "");
    EXPECT_EQ(saved->number(11), 0);
    EXPECT_EQ(saved->number("tw_rate"), 50); // the stale total, deleted row included

    clickRow(w.catlist, 0, true);
    EXPECT_EQ(w.matlist->topLevelItemCount(), 1);
    EXPECT_EQ(w.txtcatdesc->text(), QString::fromUtf8("Brick wall — ईंट"));
    EXPECT_EQ(w.txt_item_unit_cost->text(), "50.00");
    EXPECT_EQ(w.Label7->text(), "S Mt");
}

// A stored item loads as it stands: a long name whole, a tiny quantity in plain digits, and a
// unit the list lacks as no unit, so that the save asks for one; the save keeps all of it.
TEST_F(CatRateAnalTest, ItemLoadsAndSavesAsStored) {
    const QString name = QString(60, u'c');
    db().exec("insert into categorylist_meter (tw_category_name, tw_description, tw_unit, "
              "tw_measure_type, tw_rate, tw_matl1, tw_matl1_qty, tw_matl1_rate) values "
              "(?, 'Wall', 'Bags', 'Area', 5, 'M1', 0.00005, 100)",
              {name});
    auto& w = go();
    clickRow(w.catlist, 0, true);
    EXPECT_EQ(w.txtcatname->text(), name);
    EXPECT_EQ(row(0), (QStringList{"1", "M1", "0.00005", "Kg", "100", "0.005"}));
    EXPECT_EQ(w.cmbunitnos->currentText(), "");
    click("saverate");
    EXPECT_EQ(messages().texts(), Texts{"Units is blank"});
    clickRow(w.catlist, 0, true);
    pick(w.cmbunitnos, "10");
    click("saverate");
    const auto saved = db().keyed("categorylist_meter");
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(saved[0].text(0), name);
    EXPECT_EQ(saved[0].number(8), 0.00005);
    EXPECT_EQ(saved[0].text("tw_unit"), "10");
}

// A material is looked up by its description exactly: "m1" is not "M1".
TEST_F(CatRateAnalTest, MaterialLookUpIsExact) {
    db().exec("insert into materials values ('m1', 7, 'Bag')");
    auto& w = go();
    add("m1", "2");
    EXPECT_EQ(row(0), (QStringList{"1", "m1", "2", "Bag", "7.00", "14"}));
    clickRow(w.matlist, 0, true);
    EXPECT_EQ(w.cmbmatl->currentText(), "m1");
    EXPECT_EQ(w.txt_unitrt->text(), "7.00");
}

// In the frame, Go grows the child window to show the analysis whole, and typing goes into the
// name of the item.
TEST_F(CatRateAnalTest, GoShowsTheAnalysisWholeInTheFramesWindow) {
    db().exec("insert into categorylist_meter (tw_category_name, tw_description) values (?, ?)",
              {"Earthwork", QString(90, u'd')});
    QMdiArea area;
    area.resize(1300, 740);
    QMdiSubWindow* sub = area.addSubWindow(new catrateanal);
    auto* w = static_cast<catrateanal*>(sub->widget());
    sub->resize(sub->sizeHint());
    area.show();
    QApplication::setActiveWindow(&area);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&area));
    QTest::mouseClick(w->btngo, Qt::LeftButton);
    QCoreApplication::processEvents(); // the list's columns are fitted once it is filled
    QTest::keyClicks(QApplication::focusWidget(), "Wall");
    EXPECT_EQ(w->txtcatname->text(), "Wall");
    EXPECT_TRUE(area.viewport()->rect().contains(sub->geometry()));
    EXPECT_GE(w->height(), w->minimumSizeHint().height());
    EXPECT_TRUE(w->rect().contains(w->fraRateAnalysis->geometry()));
    EXPECT_LE(w->catlist->header()->length(), w->catlist->viewport()->width()); // every column
}

TEST_F(CatRateAnalTest, UnitLabelFollowsMeasureTypeAndSystem) {
    auto& w = open();
    w.cmb_units->setCurrentIndex(1);
    QFocusEvent in(QEvent::FocusIn);
    QApplication::sendEvent(w.cmb_units, &in);
    EXPECT_EQ(w.cmb_units->currentText(), "Metre");
    click("btngo");
    const struct {
        const char* kind;
        const char* label;
        bool shown;
    } cases[] = {{"Area", "S Mt", true},  {"Volume", "Cu Mt", true}, {"Linear", "R Mt", true},
                 {"Count", "Nos ", true}, {"NA", "Mt", false},       {"Sets", "Mt", true}};
    for (const auto& c : cases) {
        w.cmb_volarea->setEditText(c.kind);
        w.ShowUnitLabel();
        EXPECT_EQ(w.Label7->text(), c.label) << c.kind;
        EXPECT_EQ(w.Label7->isVisibleTo(&w), c.shown) << c.kind;
    }
}

// ---- Rate Analysis for a project -----------------------------------------------------------

class RateAnalysisTest : public twtest::ScreenTest<Frm_RateAnalysis> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into contractmaster (tw_contract_num, tw_contract_name, tw_units) "
                  "values ('P1', 'Tower', 'Metre'), ('P2', 'Villa', 'Metre')");
        // The same item in both projects; the other project's row stands first.
        db().exec("insert into sch_master (tw_contract_num, tw_sch_num, tw_item_desc, "
                  "tw_item_rate, tw_category_name) values ('P2', '1', 'Brick wall', 5, 'Old'), "
                  "('P1', '1', 'Brick wall', 7, 'Wall')");
    }
    // Slots 1 and 2 filled, slot 3 Null, slot 4 repeating slot 1.
    void wall(int filledSlots = 0) {
        db().exec("insert into categorylist_meter (tw_category_name, tw_rate, tw_matl1, "
                  "tw_matl1_qty, tw_matl1_rate, tw_matl2, tw_matl2_qty, tw_matl2_rate, "
                  "tw_matl4, tw_matl4_qty, tw_matl4_rate) values ('Wall', 99, 'Brick', 500, 8, "
                  "'Cement', 1.5, 300, 'Brick', 500, 8)");
        for (int n = 3; n <= filledSlots; ++n)
            db().exec(QString("update categorylist_meter set tw_matl%1='X', tw_matl%1_qty=1, "
                              "tw_matl%1_rate=1")
                          .arg(n));
    }
    Frm_RateAnalysis& openOnItem() {
        auto& w = open();
        clickRow(w.LstVwSchedule, 0);
        return w;
    }
};

TEST_F(RateAnalysisTest, AnalysisWalkStopsAtTheFirstNullSlot) {
    wall();
    auto& w = openOnItem();
    EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 2);
    EXPECT_EQ(rowCells(w.LstVwItmDtls, 1), (QStringList{"2", "Cement", "1.5", "300", "450"}));
    EXPECT_EQ(w.TxtTotAmt->text(), "4450");
    EXPECT_TRUE(w.CmdSave->isEnabled());
    EXPECT_TRUE(w.CmdDel->isEnabled());
}

TEST_F(RateAnalysisTest, LettingGoOverTheListShowsTheRowLastPressed) {
    wall();
    auto& w = open();
    const QPoint blank(5, w.LstVwSchedule->viewport()->height() - 5);
    messages().clear();
    QTest::mouseClick(w.LstVwSchedule->viewport(), Qt::LeftButton, {}, blank);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "No Details Found...");
    EXPECT_EQ(messages().shown[0].title, "Details");
    clickRow(w.LstVwSchedule, 0);
    w.LstVwItmDtls->clear();
    QTest::mouseClick(w.LstVwSchedule->viewport(), Qt::LeftButton, {}, blank);
    EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 2); // the pressed row's analysis again
    EXPECT_EQ(messages().shown.size(), 1u);
}

TEST_F(RateAnalysisTest, EleventhRowPricesTheCostItemBeforeItIsRefused) {
    wall(10);
    auto& w = openOnItem();
    EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 10);
    EXPECT_FALSE(w.CmdSave->isEnabled()); // a full walk leaves saving as it was
    w.CmbItems->setEditText("Mason 6");
    w.CmbItems->lineEdit()->home(false);
    QTest::keyClick(w.CmbItems, '"'); // the key as typed: it reaches the list, not its editor
    EXPECT_EQ(w.CmbItems->lineEdit()->cursorPosition(), 10);
    w.TxtQty->setText("2");
    w.TxtRate->setText("350.5");
    click("CmdAdd");
    EXPECT_EQ(messages().texts(), (Texts{"You Cannot Enter More Than 10 Items...!!!"}));
    const auto cost = db().find("costitems", "tw_cost_item=?", {"Mason 6 in"});
    ASSERT_TRUE(cost);
    EXPECT_EQ(cost->number("tw_unit_rate"), 350.5);
}

// A row taken back for editing brings its figures whole, in plain digits, and saves them so.
TEST_F(RateAnalysisTest, EditedRowKeepsItsFiguresWhole) {
    db().exec("insert into categorylist_meter (tw_category_name, tw_matl1, tw_matl1_qty, "
              "tw_matl1_rate) values ('Wall', 'Steel', 1234.56789012345, 0.00005)");
    auto& w = openOnItem();
    const QStringList cells{"1", "Steel", "1234.56789012345", "0.00005", "0.0617283945061725"};
    EXPECT_EQ(rowCells(w.LstVwItmDtls, 0), cells);
    clickRow(w.LstVwItmDtls, 0, true);
    EXPECT_EQ(w.TxtQty->text() + " " + w.TxtRate->text(), cells[2] + " " + cells[3]);
    click("CmdAdd");
    click("CmdSave");
    const auto cat = db().find("categorylist_meter", "tw_category_name='Wall'");
    EXPECT_EQ(cat->number(8), 1234.56789012345);
    EXPECT_EQ(cat->number(9), 0.00005);
    EXPECT_EQ(db().keyed("sch_master")[0].number("tw_item_rate"), 0.0617283945061725);
}

// A quantity or rate beyond the largest sum the books hold is refused before the cost item is
// priced.
TEST_F(RateAnalysisTest, FiguresBeyondTheMoneyLimitAreRefused) {
    wall();
    auto& w = openOnItem();
    QApplication::setActiveWindow(&w);
    const std::array<const char*, 4> cases[] = {
        {"999999999999999", "1", "Quantity can not be more than 922,337,203,685,477", "TxtQty"},
        {"1", "922337203685478", "Rate can not be more than 922,337,203,685,477", "TxtRate"}};
    for (const auto& [qty, rate, message, focus] : cases) {
        w.CmbItems->setEditText("Labour");
        w.TxtQty->setText(qty);
        w.TxtRate->setText(rate);
        messages().clear();
        click("CmdAdd");
        EXPECT_EQ(messages().texts(), Texts{message});
        EXPECT_TRUE(twtest::hasFocus(field(focus)));
        EXPECT_TRUE(db().keyed("costitems").empty());
        EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 2);
    }
}

TEST_F(RateAnalysisTest, DeleteBlanksEveryMatchingSlotAtOnce) {
    wall();
    auto& w = openOnItem();
    clickRow(w.LstVwItmDtls, 0);
    EXPECT_EQ(twtest::withRealBoxes({"OK"}, [&] { click("CmdDel"); }),
              QStringList{"You are deleting Item : Brick,Quantity : 500, Rate : 8"});
    const auto row = db().find("categorylist_meter", "tw_category_name='Wall'");
    for (int at : {7, 16}) {
        EXPECT_EQ(row->text(at), " ");
        EXPECT_EQ(row->number(at + 1), 0);
    }
    EXPECT_EQ(row->text(10), "Cement");
    EXPECT_EQ(row->number("tw_rate"), 99);
    EXPECT_EQ(w.TxtTotAmt->text(), "450");
}

TEST_F(RateAnalysisTest, SaveLandsOnTheFirstItemWithTheSameNumberAndDescription) {
    wall();
    auto& w = openOnItem();
    w.CmbItems->setEditText("Labour");
    w.TxtQty->setText("0.1");
    w.TxtRate->setText("3");
    click("CmdAdd");
    click("CmdSave");
    const auto items = db().keyed("sch_master");
    EXPECT_EQ(items[0].text("tw_contract_num"), "P2");
    EXPECT_EQ(items[0].number("tw_item_rate"), 4450 + 0.1 * 3);
    EXPECT_EQ(items[0].text("tw_category_name"), "Wall");
    EXPECT_EQ(items[1].number("tw_item_rate"), 7);
    const auto cat = db().find("categorylist_meter", "tw_category_name='Wall'");
    EXPECT_EQ(cat->text(13), "Labour");
    EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 0);
}

TEST_F(RateAnalysisTest, FigureFieldsRefuseASecondPointAndWarnAtTheirLimit) {
    auto& w = open();
    const struct {
        QLineEdit* field;
        QString before;
        Qt::Key key;
        QString after;
        Texts shown;
    } cases[] = {
        {w.TxtQty, "1.2", Qt::Key_Period, "1.2", {}},
        {w.TxtRate, "12", Qt::Key_A, "12", {}},
        {w.TxtQty,
         QString(15, u'9'),
         Qt::Key_Backspace,
         QString(14, u'9'),
         {"You Cannot Enter More than 15 Digits..."}},
        {w.TxtRate,
         QString(17, u'9'),
         Qt::Key_1,
         QString(17, u'9'),
         {"You Cannot Enter More than 17 Digits, Including Decimal Places..."}},
    };
    for (const auto& c : cases) {
        messages().clear();
        c.field->setText(c.before);
        c.field->end(false);
        QTest::keyClick(c.field, c.key);
        EXPECT_EQ(c.field->text(), c.after) << c.before.toStdString();
        EXPECT_EQ(messages().texts(), c.shown) << c.before.toStdString();
    }
}

TEST_F(RateAnalysisTest, PopUpEditLeavesSavingAndDeletingOff) {
    wall();
    auto& w = openOnItem();
    clickRow(w.LstVwItmDtls, 1);
    QTimer::singleShot(50, [&] {
        QMenu* menu = w.mnurtanl();
        menu->findChild<QAction*>("mnurtedt")->trigger();
        menu->close();
    });
    w.LstVwItmDtls_customContextMenuRequested({5, 5});
    EXPECT_EQ(w.LstVwItmDtls->topLevelItemCount(), 1);
    EXPECT_EQ(w.TxtQty->text(), "1.5");
    EXPECT_EQ(w.TxtTotAmt->text(), "4000");
    EXPECT_FALSE(w.CmdSave->isEnabled());
    EXPECT_FALSE(w.CmdDel->isEnabled());
}

} // namespace
