// The measurements entry screen, driven through its controls by object name.

#include "measurements/frm_dims.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QTest>

#include <memory>

namespace {

using twtest::messages;

class DimsTest : public twtest::AppFolderTest {
protected:
    void SetUp() override {
        AppFolderTest::SetUp();
        project(QStringLiteral("P-1"), QStringLiteral("Ring Road"), QStringLiteral("Feet"));
        project(QStringLiteral("M-7"), QStringLiteral("Metro Depot"), QStringLiteral("Metre"));
        project(QStringLiteral("X-9"), QStringLiteral("Odd Units"), QStringLiteral("Yard"));
        item(QStringLiteral("P-1"), QStringLiteral("1.1"), QStringLiteral("Brick work"),
             QStringLiteral("BW-1"));
        item(QStringLiteral("P-1"), QStringLiteral("1.2"), QStringLiteral("Plastering"),
             QStringLiteral("PL-2"));
        item(QStringLiteral("M-7"), QStringLiteral("7"), QStringLiteral("Concrete"),
             QStringLiteral("CC"));
        item(QStringLiteral("X-9"), QStringLiteral("9"), QStringLiteral("Anything"),
             QStringLiteral("AN"));
        open();
    }
    void TearDown() override {
        w.reset();
        AppFolderTest::TearDown();
    }

    void project(const QString& num, const QString& name, const QString& units) {
        db().insert(QStringLiteral("ContractMaster"), {{QStringLiteral("tw_contract_num"), num},
                                                       {QStringLiteral("tw_contract_name"), name},
                                                       {QStringLiteral("tw_units"), units}});
    }
    void item(const QString& project, const QString& sch, const QString& desc,
              const QString& category) {
        db().insert(QStringLiteral("Sch_master"), {{QStringLiteral("tw_contract_num"), project},
                                                   {QStringLiteral("tw_sch_num"), sch},
                                                   {QStringLiteral("tw_item_desc"), desc},
                                                   {QStringLiteral("tw_category_name"), category}});
    }

    void open() {
        w.reset(new frm_dims);
        w->setAttribute(Qt::WA_DeleteOnClose, false);
        w->show();
        QApplication::setActiveWindow(w.get());
        ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    }

    template <class T> T* c(const char* name) {
        auto* found = w->findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QLineEdit* e(const char* name) { return c<QLineEdit>(name); }

    void pick(QComboBox* combo, const QString& text) {
        const int i = combo->findText(text);
        ASSERT_GE(i, 0) << text.toStdString();
        combo->setCurrentIndex(i);
        emit combo->activated(i);
    }
    void pickProject(const QString& name) { pick(w->cmb_proj_name, name); }
    void typeBill(const QString& bill) { w->cmb_bill_num->setEditText(bill); }
    void pickItem(const QString& sch) {
        const auto found = w->Lst_Schd->findItems(sch, Qt::MatchExactly, 0);
        ASSERT_EQ(found.size(), 1);
        const QRect r = w->Lst_Schd->visualItemRect(found.first());
        QTest::mouseClick(w->Lst_Schd->viewport(), Qt::LeftButton, {}, r.center());
    }
    void pickShape(const QString& shape) {
        w->cmb_shape->setCurrentIndex(w->cmb_shape->findText(shape));
    }
    // Types a whole line: narration, the pairs given as "whole-frac" texts, and the quantity.
    void line(const QString& narration, const QStringList& pairs, const QString& qty) {
        w->txt_narration->setText(narration);
        const char* whole[] = {"txtdim1", "txtdim2", "txtdim3", "txtdim4"};
        const char* frac[] = {"txtdim11", "txtdim22", "txtdim33", "txtdim44"};
        for (int i = 0; i < pairs.size(); ++i) {
            const auto parts = pairs[i].split(u'-');
            e(whole[i])->setText(parts[0]);
            e(frac[i])->setText(parts.value(1));
        }
        w->txt_qty->setText(qty);
    }
    void save() { QTest::mouseClick(w->cmd_mes_save, Qt::LeftButton); }

    tw::Rows lines() {
        return db().rows(QStringLiteral("select * from BillMaster order by tw_recordkey"));
    }
    QStringList listRow(int i) { return twtest::rowCells(w->dimlist, i); }
    void doubleClickLine(int i) {
        auto* it = w->dimlist->topLevelItem(i);
        ASSERT_NE(it, nullptr);
        w->dimlist->setCurrentItem(it);
        emit w->dimlist->itemDoubleClicked(it, 0);
    }

    std::unique_ptr<frm_dims> w;
};

TEST_F(DimsTest, OpensWithProjectsShapesAndNoChoiceMade) {
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Measurements Entry"));
    ASSERT_EQ(w->cmb_proj_name->count(), 3);
    EXPECT_EQ(w->cmb_proj_name->itemText(1), QStringLiteral("Metro Depot"));
    EXPECT_EQ(w->cmb_proj_name->currentIndex(), -1);
    // The shape list is the table in its order, the first chosen with its labels in place.
    const auto shapes = db().rows(QStringLiteral("select tw_shape from shapes"));
    ASSERT_EQ(w->cmb_shape->count(), int(shapes.size()));
    EXPECT_EQ(w->cmb_shape->itemText(4), shapes[4].text(0));
    EXPECT_EQ(w->cmb_shape->currentText(), shapes[0].text(0));
    EXPECT_EQ(w->lbldim1->text(), QStringLiteral("Length"));
    EXPECT_EQ(w->lbldim2->text(), QStringLiteral("Breadth"));
    EXPECT_TRUE(w->txtdim2->isEnabled());
    EXPECT_FALSE(w->txtdim3->isEnabled());
    EXPECT_FALSE(w->txtdim44->isEnabled());
    EXPECT_EQ(w->cmbbillded->currentText(), QStringLiteral("No"));
    EXPECT_FALSE(w->cmd_delete->isEnabled());
}

TEST_F(DimsTest, ProjectSetsUnitCaptionsBillsAndSchedule) {
    db().insert(QStringLiteral("BillMaster"), {{QStringLiteral("tw_contract_num"), "P-1"},
                                               {QStringLiteral("tw_bill_num"), "B1"}});
    db().insert(QStringLiteral("BillMaster"), {{QStringLiteral("tw_contract_num"), "P-1"},
                                               {QStringLiteral("tw_bill_num"), "B1"}});
    db().insert(QStringLiteral("BillMaster"), {{QStringLiteral("tw_contract_num"), "P-1"},
                                               {QStringLiteral("tw_bill_num"), "B2"}});
    db().insert(QStringLiteral("BillMaster"), {{QStringLiteral("tw_contract_num"), "M-7"},
                                               {QStringLiteral("tw_bill_num"), "M1"}});
    struct Case {
        const char* project;
        const char* whole;
        const char* frac;
        QStringList bills;
        int items;
    };
    const Case cases[] = {{"Ring Road", "Feet", "Inches", {"B1", "B2"}, 2},
                          {"Metro Depot", "Metres", "CMs", {"M1"}, 1},
                          {"Odd Units", "Feet", "Inches", {}, 1}};
    for (const auto& k : cases) {
        SCOPED_TRACE(k.project);
        pickProject(QString::fromLatin1(k.project));
        for (auto* l : {w->Label89, w->Label90, w->Label91, w->Label92})
            EXPECT_EQ(l->text(), QString::fromLatin1(k.whole));
        for (auto* l : {w->Label93, w->Label94, w->Label95, w->Label96})
            EXPECT_EQ(l->text(), QString::fromLatin1(k.frac));
        QStringList bills;
        for (int i = 0; i < w->cmb_bill_num->count(); ++i)
            bills << w->cmb_bill_num->itemText(i);
        EXPECT_EQ(bills, k.bills);
        EXPECT_EQ(w->cmb_bill_num->currentText(), QString());
        EXPECT_EQ(w->Lst_Schd->topLevelItemCount(), k.items);
    }
}

TEST_F(DimsTest, ShapeLabelsSwitchPairsOnAndOff) {
    w->txtdim3->setText(QStringLiteral("7"));
    pickShape(QStringLiteral("cuboid_volume"));
    EXPECT_EQ(w->lbldim3->text(), QStringLiteral("Height"));
    EXPECT_TRUE(w->txtdim33->isEnabled());
    EXPECT_EQ(w->txtdim3->text(), QStringLiteral("7")); // an enabled pair keeps its text
    w->txtdim1->setText(QStringLiteral("5"));
    w->txtdim11->setText(QStringLiteral("3"));
    pickShape(QStringLiteral("Count"));
    EXPECT_EQ(w->lbldim1->text(), QStringLiteral("Number"));
    EXPECT_EQ(w->lbldim2->text(), QString());
    EXPECT_EQ(w->txtdim1->text(), QStringLiteral("5"));
    for (auto* f : {w->txtdim2, w->txtdim22, w->txtdim3, w->txtdim33, w->txtdim4, w->txtdim44}) {
        EXPECT_FALSE(f->isEnabled()) << f->objectName().toStdString();
        EXPECT_TRUE(f->text().isEmpty()) << f->objectName().toStdString();
    }
    pickShape(QStringLiteral("trapezium_volume"));
    EXPECT_EQ(w->lbldim4->text(), QStringLiteral("Depth"));
    EXPECT_TRUE(w->txtdim44->isEnabled());
    pickShape(QStringLiteral("regular_polygon_area"));
    EXPECT_FALSE(w->txtdim1->isEnabled());
}

// Each check of a save stops it with its own message and focus; a later check never runs
// before an earlier one, and nothing is written.
TEST_F(DimsTest, SaveChecksRunInOrder) {
    struct Case {
        const char* name;
        const char* project;
        bool bill, item;
        const char* narration;
        QStringList pairs;
        const char* qty;
        const char* message;
        const char* focus;
        int flags;
    };
    const Case cases[] = {
        {"inches first",
         "Ring Road",
         false,
         false,
         "",
         {"1-0", "2-12"},
         "",
         "Inches can not be equal to or greater than 12",
         "txtdim22",
         ui::Information},
        {"bill",
         "Ring Road",
         false,
         false,
         "",
         {"1-0", "2-11"},
         "",
         "Please Enter the Bill Number",
         "cmb_bill_num",
         ui::Ok},
        {"metre fraction has no limit",
         "Metro Depot",
         false,
         true,
         "n",
         {"1-999", "2-50"},
         "1",
         "Please Enter the Bill Number",
         "cmb_bill_num",
         ui::Ok},
        {"item",
         "Ring Road",
         true,
         false,
         "",
         {},
         "",
         "Please Select the Schedule Item ",
         "rt_sch_item",
         ui::Ok},
        {"narration",
         "Ring Road",
         true,
         true,
         "",
         {},
         "",
         "Please Enter the Narration",
         "txt_narration",
         ui::Ok},
        {"qty", "Ring Road", true, true, "wall", {}, "", "Please Enter the Qty", "txt_qty", ui::Ok},
        {"first pair",
         "Ring Road",
         true,
         true,
         "wall",
         {"-6", "3-0"},
         "2",
         "Please Enter the Length feet",
         "txtdim1",
         ui::Ok},
        {"second pair, in metres too",
         "Metro Depot",
         true,
         true,
         "wall",
         {"3-", "-4"},
         "2",
         "Please Enter the Breadth feet",
         "txtdim2",
         ui::Ok},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.name);
        open();
        pickProject(QString::fromLatin1(k.project));
        if (k.bill)
            typeBill(QStringLiteral("B1"));
        if (k.item)
            pickItem(w->Lst_Schd->topLevelItem(0)->text(0));
        line(QString::fromLatin1(k.narration), k.pairs, QString::fromLatin1(k.qty));
        w->cmd_mes_save->setFocus();
        messages().clear();
        save();
        ASSERT_EQ(messages().shown.size(), 1u);
        EXPECT_EQ(messages().shown[0].text, QString::fromLatin1(k.message));
        EXPECT_EQ(messages().shown[0].flags, k.flags);
        EXPECT_EQ(messages().shown[0].title, QStringLiteral("Tallywright"));
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), QString::fromLatin1(k.focus));
        EXPECT_TRUE(lines().empty());
    }
}

TEST_F(DimsTest, BlankFractionIsFilledWithDoubleZeroEvenWhenALaterPairFails) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    pickItem(QStringLiteral("1.1"));
    pickShape(QStringLiteral("cuboid_volume"));
    line(QStringLiteral("footing"), {"4-", "3-", "-"}, QStringLiteral("1"));
    save();
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Please Enter the Height feet"});
    EXPECT_EQ(w->txtdim11->text(), QStringLiteral("00"));
    EXPECT_EQ(w->txtdim22->text(), QStringLiteral("00"));
    EXPECT_EQ(w->txtdim33->text(), QString());
    EXPECT_TRUE(lines().empty());
}

TEST_F(DimsTest, SaveStoresTheLineAndKeepsBillAndDeduction) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    pickItem(QStringLiteral("1.2"));
    EXPECT_EQ(w->rt_sch_item->toPlainText(), QStringLiteral("Plastering"));
    w->cmbbillded->setCurrentIndex(1);
    line(QStringLiteral("north wall"), {"10-6", "8-3"}, QStringLiteral("2"));
    save();
    EXPECT_TRUE(messages().shown.empty()) << messages().shown[0].text.toStdString();

    const auto rows = lines();
    ASSERT_EQ(rows.size(), 1u);
    const auto& r = rows[0];
    EXPECT_EQ(r.text("tw_contract_num"), QStringLiteral("P-1"));
    EXPECT_EQ(r.text("tw_bill_num"), QStringLiteral("B1"));
    EXPECT_EQ(r.text("tw_sch_num"), QStringLiteral("1.2"));
    EXPECT_EQ(r.text("tw_item_narration"), QStringLiteral("north wall"));
    EXPECT_EQ(r.number("tw_dim1"), 10);
    EXPECT_EQ(r.number("tw_dim1_inches"), 6);
    EXPECT_EQ(r.number("tw_dim2"), 8);
    EXPECT_EQ(r.number("tw_dim2_inches"), 3);
    EXPECT_EQ(r.number("tw_dim3"), 0);
    EXPECT_EQ(r.number("tw_dim4_inches"), 0);
    EXPECT_DOUBLE_EQ(r.number("tw_cal_Area"), 173.25);
    EXPECT_EQ(r.text("tw_Shape"), QStringLiteral("rectangle_area"));
    EXPECT_EQ(r.number("tw_deduction"), 1);
    EXPECT_EQ(r.text("tw_category_name"), QStringLiteral("PL-2"));
    EXPECT_EQ(r.number("tw_quantity"), 2);

    // The line is cleared for the next one; bill and deduction choice stay.
    for (auto* f : {w->txt_narration, w->txt_qty, w->txtdim1, w->txtdim11, w->txtdim2, w->txtdim22})
        EXPECT_TRUE(f->text().isEmpty()) << f->objectName().toStdString();
    EXPECT_TRUE(w->rt_sch_item->toPlainText().isEmpty());
    EXPECT_EQ(w->cmb_bill_num->currentText(), QStringLiteral("B1"));
    EXPECT_EQ(w->cmbbillded->currentText(), QStringLiteral("Yes"));
    EXPECT_EQ(w->cmb_shape->currentIndex(), 0);
    EXPECT_EQ(listRow(0), (QStringList{"1.2", "north wall", "rectangle_area", "10-6", "8-3", "0-0",
                                       "0-0", "2", "YES"}));

    // The item has to be picked again for the next line.
    line(QStringLiteral("south wall"), {"1-0", "1-0"}, QStringLiteral("1"));
    save();
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Please Select the Schedule Item "});
}

// Fractional fields are 16-bit whole numbers, a half going to the even one; only in feet is
// 12 or more refused, and only before rounding.
TEST_F(DimsTest, FractionalFieldsRoundHalfToEven) {
    struct Case {
        const char* project;
        const char* frac;
        int stored;
    };
    const Case cases[] = {
        {"Ring Road", "5.5", 6},   {"Ring Road", "4.5", 4},     {"Ring Road", "11.5", 12},
        {"Ring Road", "11.9", 12}, {"Metro Depot", "5", 50},    {"Metro Depot", "05", 50},
        {"Metro Depot", "0", 0},   {"Metro Depot", "125", 125},
    };
    int n = 0;
    for (const auto& k : cases) {
        SCOPED_TRACE(std::string(k.project) + " " + k.frac);
        pickProject(QString::fromLatin1(k.project));
        typeBill(QStringLiteral("B1"));
        pickItem(w->Lst_Schd->topLevelItem(0)->text(0));
        const QString narration = QStringLiteral("line %1").arg(++n);
        line(narration, {"2-0", "1-0"}, QStringLiteral("1"));
        w->txtdim11->setText(QString::fromLatin1(k.frac)); // as the edit would put it back
        save();
        ASSERT_TRUE(messages().shown.empty()) << messages().shown[0].text.toStdString();
        const auto r = db().first(
            QStringLiteral("select * from BillMaster where tw_item_narration=?"), {narration});
        ASSERT_TRUE(r);
        EXPECT_EQ(r->number("tw_dim1_inches"), k.stored);
    }
    // 2 ft 12 in is 3 ft: the rounded inches count in the area.
    const auto r = db().first(
        QStringLiteral("select tw_cal_Area from BillMaster where tw_item_narration='line 3'"));
    EXPECT_DOUBLE_EQ(r->value(0).toDouble(), 3.0);
}

TEST_F(DimsTest, SameNarrationOverwritesOtherwiseAdds) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    auto enter = [&](const char* sch, const QString& narration, const char* d1) {
        pickItem(QString::fromLatin1(sch));
        line(narration, {QString::fromLatin1(d1), "1-0"}, QStringLiteral("1"));
        save();
        ASSERT_TRUE(messages().shown.empty()) << messages().shown[0].text.toStdString();
    };
    const QString quoted = QStringLiteral("Ram's \"porch\"");
    enter("1.1", quoted, "2-0");
    enter("1.1", quoted, "5-0"); // same item and narration: overwritten
    enter("1.2", quoted, "7-0"); // another item: a line of its own
    enter("1.1", QStringLiteral("Ram's porch 2"), "9-0");
    typeBill(QStringLiteral("B'2"));
    enter("1.1", quoted, "4-0"); // another bill
    const auto rows = lines();
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0].text("tw_item_narration"), quoted);
    EXPECT_EQ(rows[0].number("tw_dim1"), 5);
    EXPECT_EQ(rows[0].number("tw_cal_Area"), 5);
    EXPECT_EQ(rows[1].text("tw_sch_num"), QStringLiteral("1.2"));
    EXPECT_EQ(rows[3].text("tw_bill_num"), QStringLiteral("B'2"));
    EXPECT_EQ(w->dimlist->topLevelItemCount(), 1);
}

TEST_F(DimsTest, CategoryIsReadAtSaving) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    pickItem(QStringLiteral("1.1"));
    db().exec(QStringLiteral("update Sch_master set tw_category_name='BW-9' where tw_sch_num=?"),
              {QStringLiteral("1.1")});
    line(QStringLiteral("wall"), {"1-0", "1-0"}, QStringLiteral("1"));
    save();
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0].text("tw_category_name"), QStringLiteral("BW-9"));
}

TEST_F(DimsTest, CalculationFailuresShowCriticallyAndStoreNothing) {
    struct Case {
        const char* project;
        const char* shape;
        QStringList pairs;
        const char* qty;
        const char* message;
    };
    const Case cases[] = {
        {"Odd Units", "rectangle_area", {"1-0", "1-0"}, "1", "Division by zero"},
        {"Ring Road",
         "triangle_area",
         {"1-0", "1-0", "5-0"},
         "1",
         "Invalid procedure call or argument"},
        {"Ring Road", "rectangle_area", {"1-0", "1-0"}, "2 nos", "Type mismatch"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.message);
        pickProject(QString::fromLatin1(k.project));
        typeBill(QStringLiteral("B1"));
        pickItem(w->Lst_Schd->topLevelItem(0)->text(0));
        pickShape(QString::fromLatin1(k.shape));
        line(QStringLiteral("bad"), k.pairs, QString::fromLatin1(k.qty));
        messages().clear();
        save();
        ASSERT_EQ(messages().shown.size(), 1u);
        EXPECT_EQ(messages().shown[0].text, QString::fromLatin1(k.message));
        EXPECT_EQ(messages().shown[0].flags, ui::Critical);
        EXPECT_TRUE(lines().empty());
        EXPECT_EQ(w->txt_narration->text(), QStringLiteral("bad")); // nothing cleared
    }
    // Shapes without a divisor still work in an unknown measure system.
    pickProject(QStringLiteral("Odd Units"));
    typeBill(QStringLiteral("B1"));
    pickItem(QStringLiteral("9"));
    pickShape(QStringLiteral("lumpsum"));
    line(QStringLiteral("sum"), {"1500-6"}, QStringLiteral("2"));
    messages().clear();
    save();
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0].number("tw_cal_Area"), 3000);
}

TEST_F(DimsTest, DoubleClickPutsTheLineBackForEditing) {
    pickProject(QStringLiteral("Metro Depot"));
    typeBill(QStringLiteral("M1"));
    pickItem(QStringLiteral("7"));
    pickShape(QStringLiteral("cuboid_volume"));
    w->cmbbillded->setCurrentIndex(1);
    line(QStringLiteral("raft"), {"2-5", "3-25", "1-0"}, QStringLiteral("1.5"));
    save();
    pickShape(QStringLiteral("linear"));
    w->cmbbillded->setCurrentIndex(0);
    EXPECT_EQ(listRow(0), (QStringList{"7", "raft", "cuboid_volume", "2-50", "3-25", "1-0", "0-0",
                                       "1.5", "YES"}));
    EXPECT_FALSE(w->cmd_delete->isEnabled());

    doubleClickLine(0);
    EXPECT_TRUE(w->cmd_delete->isEnabled());
    EXPECT_EQ(w->rt_sch_item->toPlainText(), QStringLiteral("Concrete"));
    EXPECT_EQ(w->txt_narration->text(), QStringLiteral("raft"));
    EXPECT_EQ(w->cmb_shape->currentText(), QStringLiteral("cuboid_volume"));
    EXPECT_EQ(w->lbldim3->text(), QStringLiteral("Height"));
    EXPECT_EQ(w->txt_qty->text(), QStringLiteral("1.5"));
    EXPECT_EQ(w->cmbbillded->currentText(), QStringLiteral("Yes"));
    EXPECT_EQ(w->txtdim1->text(), QStringLiteral("2"));
    EXPECT_EQ(w->txtdim11->text(), QStringLiteral("50"));
    EXPECT_EQ(w->txtdim22->text(), QStringLiteral("25"));
    EXPECT_EQ(w->txtdim4->text(), QStringLiteral("0")); // a dimension the shape doesn't ask for
    EXPECT_FALSE(w->txtdim4->isEnabled());

    // Saved unchanged, the line is found and keeps its 50; a new narration adds a line.
    save();
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0].number("tw_dim1_inches"), 50);
    EXPECT_DOUBLE_EQ(lines()[0].number("tw_cal_Area"), 12.19); // 2.5 x 3.25 x 1 x 1.5 = 12.1875
    doubleClickLine(0);
    w->txt_narration->setText(QStringLiteral("raft 2"));
    save();
    EXPECT_EQ(lines().size(), 2u);
}

TEST_F(DimsTest, DoubleClickOnAnUnknownShapeKeepsTheShapeShown) {
    db().insert(QStringLiteral("BillMaster"), {{QStringLiteral("tw_contract_num"), "P-1"},
                                               {QStringLiteral("tw_bill_num"), "B1"},
                                               {QStringLiteral("tw_sch_num"), "1.1"},
                                               {QStringLiteral("tw_item_narration"), "old"},
                                               {QStringLiteral("tw_Shape"), "RECTANGLE_AREA"},
                                               {QStringLiteral("tw_dim1"), 3},
                                               {QStringLiteral("tw_dim1_inches"), 4},
                                               {QStringLiteral("tw_quantity"), 1},
                                               {QStringLiteral("tw_deduction"), 0}});
    pickProject(QStringLiteral("Ring Road"));
    pick(w->cmb_bill_num, QStringLiteral("B1"));
    pickShape(QStringLiteral("linear"));
    doubleClickLine(0);
    EXPECT_EQ(w->cmb_shape->currentText(), QStringLiteral("linear"));
    EXPECT_EQ(w->txtdim1->text(), QStringLiteral("3"));
    EXPECT_EQ(w->txtdim11->text(), QStringLiteral("4"));
    EXPECT_EQ(w->cmbbillded->currentText(), QStringLiteral("No"));
}

TEST_F(DimsTest, DeleteAsksAndRemovesTheLine) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    for (const char* n : {"first", "second"}) {
        pickItem(QStringLiteral("1.1"));
        line(QString::fromLatin1(n), {"1-0", "1-0"}, QStringLiteral("1"));
        save();
    }
    ASSERT_EQ(w->dimlist->topLevelItemCount(), 2);

    auto clickLine = [&](int i) {
        const QRect r = w->dimlist->visualItemRect(w->dimlist->topLevelItem(i));
        QTest::mouseClick(w->dimlist->viewport(), Qt::LeftButton, {}, r.center());
    };
    clickLine(1);
    EXPECT_TRUE(w->cmd_delete->isEnabled());
    messages().answers.push_back(ui::Answer::Cancel);
    QTest::mouseClick(w->cmd_delete, Qt::LeftButton);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, QStringLiteral("You are Deleting : second"));
    EXPECT_EQ(messages().shown[0].flags & 0x7, ui::OkCancel);
    EXPECT_EQ(lines().size(), 2u);
    EXPECT_FALSE(w->cmd_delete->isEnabled());

    clickLine(1);
    messages().clear();
    QTest::mouseClick(w->cmd_delete, Qt::LeftButton);
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0].text("tw_item_narration"), QStringLiteral("first"));
    EXPECT_EQ(w->dimlist->topLevelItemCount(), 1);
    EXPECT_FALSE(w->cmd_delete->isEnabled());

    // The bill's last line gone, the bill leaves the drop-down when the project is picked again.
    clickLine(0);
    QTest::mouseClick(w->cmd_delete, Qt::LeftButton);
    EXPECT_TRUE(lines().empty());
    pickProject(QStringLiteral("Ring Road"));
    EXPECT_EQ(w->cmb_bill_num->count(), 0);

    // With nothing listed the button only says so.
    w->cmd_delete->setEnabled(true);
    messages().clear();
    QTest::mouseClick(w->cmd_delete, Qt::LeftButton);
    EXPECT_EQ(messages().texts(), std::vector<QString>{"No item selected"});
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_FALSE(w->cmd_delete->isEnabled());
}

TEST_F(DimsTest, PickingABillListsItsLinesAndDisablesDelete) {
    pickProject(QStringLiteral("Ring Road"));
    typeBill(QStringLiteral("B1"));
    pickItem(QStringLiteral("1.1"));
    line(QStringLiteral("one"), {"1-0", "1-0"}, QStringLiteral("1"));
    save();
    typeBill(QStringLiteral("B2"));
    pickItem(QStringLiteral("1.1"));
    line(QStringLiteral("two"), {"1-0", "1-0"}, QStringLiteral("1"));
    save();
    // A typed new bill shows in the list only after the project is picked again.
    EXPECT_EQ(w->cmb_bill_num->count(), 0);
    pickProject(QStringLiteral("Ring Road"));
    ASSERT_EQ(w->cmb_bill_num->count(), 2);
    w->cmd_delete->setEnabled(true);
    pick(w->cmb_bill_num, QStringLiteral("B1"));
    ASSERT_EQ(w->dimlist->topLevelItemCount(), 1);
    EXPECT_EQ(w->dimlist->topLevelItem(0)->text(1), QStringLiteral("one"));
    EXPECT_FALSE(w->cmd_delete->isEnabled());
}

TEST_F(DimsTest, ChangingProjectKeepsTheHalfTypedLine) {
    pickProject(QStringLiteral("Ring Road"));
    line(QStringLiteral("half"), {"3-4"}, QStringLiteral("2"));
    pickProject(QStringLiteral("Metro Depot"));
    EXPECT_EQ(w->txt_narration->text(), QStringLiteral("half"));
    EXPECT_EQ(w->txtdim1->text(), QStringLiteral("3"));
    EXPECT_EQ(w->txt_qty->text(), QStringLiteral("2"));
    EXPECT_EQ(w->dimlist->topLevelItemCount(), 0);
}

TEST_F(DimsTest, KeyRules) {
    pickProject(QStringLiteral("Ring Road"));
    pickShape(QStringLiteral("trapezium_volume"));
    // The whole part takes digits; a point jumps to the pair's fractional field.
    w->txtdim2->setFocus();
    QTest::keyClicks(w->txtdim2, QStringLiteral("1a2-3"));
    EXPECT_EQ(w->txtdim2->text(), QStringLiteral("123"));
    QTest::keyClicks(w->txtdim2, QStringLiteral("."));
    EXPECT_EQ(w->txtdim2->text(), QStringLiteral("123"));
    EXPECT_EQ(QApplication::focusWidget(), w->txtdim22);
    QCoreApplication::processEvents();
    w->txtdim2->end(false);
    QTest::keyClicks(w->txtdim2, QStringLiteral("456"));
    EXPECT_EQ(w->txtdim2->text(), QStringLiteral("1234")); // four digits at most
    QTest::keyClick(w->txtdim2, Qt::Key_Backspace);
    EXPECT_EQ(w->txtdim2->text(), QStringLiteral("123"));

    // Every fractional field is allowed a point only while txtdim11 holds none.
    QTest::keyClicks(w->txtdim22, QStringLiteral(".x."));
    EXPECT_EQ(w->txtdim22->text(), QStringLiteral(".."));
    QTest::keyClicks(w->txtdim11, QStringLiteral("1.5.9"));
    EXPECT_EQ(w->txtdim11->text(), QStringLiteral("1.5"));
    QTest::keyClicks(w->txtdim33, QStringLiteral("7.5"));
    EXPECT_EQ(w->txtdim33->text(), QStringLiteral("75"));
    QTest::keyClicks(w->txtdim44, QStringLiteral("1234"));
    EXPECT_EQ(w->txtdim44->text(), QStringLiteral("123"));

    // Quantity and narration take anything.
    QTest::keyClicks(w->txt_qty, QStringLiteral("2.5 nos"));
    EXPECT_EQ(w->txt_qty->text(), QStringLiteral("2.5 nos"));
}

} // namespace
