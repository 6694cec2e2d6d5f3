// The measurements entry screen, driven through its controls.

#include "screens/measurements/frm_dims.h"

#include "screen_texts.h"

#include <QApplication>
#include <QTest>

namespace {

using meastest::texts;
using twtest::messages;
using twtest::pick;

class DimsTest : public twtest::ScreenTest<frm_dims> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into ContractMaster (tw_contract_num, tw_contract_name, tw_units) "
                  "values (?, ?, ?), (?, ?, ?), (?, ?, ?)",
                  {"P-1", "Ring Road", "Feet", "M-7", "Metro Depot", "Metre", "X-9", "Odd Units",
                   "Yard"});
        db().exec("insert into Sch_master (tw_contract_num, tw_sch_num, tw_item_desc, "
                  "tw_category_name) values (?, ?, ?, ?), (?, ?, ?, ?), (?, ?, ?, ?), (?, ?, ?, ?)",
                  {"P-1", "1.1", "Item 1.1", "BW-1", "P-1", "1.2", "Item 1.2", "PL-2", "M-7", "7",
                   "Item 7", "CC", "X-9", "9", "Item 9", "AN"});
        show();
    }
    void show() {
        open();
        QApplication::setActiveWindow(screen.get());
        ASSERT_TRUE(QTest::qWaitForWindowActive(screen.get()));
    }
    // The project, a typed bill number and a click on the first schedule item.
    void choose(const QString& project, const QString& bill = "B1") {
        pick(screen->cmb_proj_name, project);
        screen->cmb_bill_num->setEditText(bill);
        meastest::clickRow(screen->Lst_Schd, 0);
    }
    // Narration, the pairs as "whole-fraction" texts and the quantity, then a click on save.
    void save(const QString& narration, const QStringList& pairs, const QString& qty) {
        screen->txt_narration->setText(narration);
        for (int i = 0; i < pairs.size(); ++i) {
            const QByteArray pair = QByteArray::number(i + 1);
            edit(("txtdim" + pair).constData())->setText(pairs[i].section(u'-', 0, 0));
            edit(("txtdim" + pair + pair).constData())->setText(pairs[i].section(u'-', 1));
        }
        screen->txt_qty->setText(qty);
        click("cmd_mes_save");
    }
    tw::Rows lines() { return db().keyed("BillMaster"); }
};

TEST_F(DimsTest, ProjectSetsUnitCaptionsBillsAndSchedule) {
    EXPECT_EQ(screen->cmb_proj_name->currentIndex(), -1);
    for (const auto& [num, bill] : {std::pair{"P-1", "B2"}, {"P-1", "B1"}, {"P-1", "B2"}})
        db().insert("BillMaster", {{"tw_contract_num", num}, {"tw_bill_num", bill}});
    screen->txt_narration->setText("half typed");
    const std::tuple<const char*, QStringList, QStringList, int> cases[] = {
        {"Ring Road", {"Feet", "Feet", "Inches", "Inches"}, {"B2", "B1"}, 2},
        {"Metro Depot", {"Metres", "Metres", "CMs", "CMs"}, {}, 1},
        {"Odd Units", {"Feet", "Feet", "Inches", "Inches"}, {}, 1}};
    for (const auto& [project, captions, bills, items] : cases) {
        SCOPED_TRACE(project);
        pick(screen->cmb_proj_name, project);
        EXPECT_EQ(texts(*screen, {"Label89", "Label92", "Label93", "Label96"}), captions);
        EXPECT_EQ(meastest::items(screen->cmb_bill_num), bills);
        EXPECT_EQ(screen->cmb_bill_num->currentText(), QString());
        EXPECT_EQ(screen->Lst_Schd->topLevelItemCount(), items);
    }
    EXPECT_EQ(screen->txt_narration->text(), "half typed"); // a half typed line survives
}

// The first failing check or calculation shows its message, focuses the field a check names
// and writes nothing; what was typed stays for mending.
TEST_F(DimsTest, SaveChecksRunInOrder) {
    const std::array<const char*, 3> cases[] = {
        // project, bill, item picked (+), shape, narration, pairs, quantity; message; field
        {"Ring Road,,-,,,1-0 2-12,", "Inches can not be equal to or greater than 12", "txtdim22"},
        {"Ring Road,,-,,,1-0 2-11,", "Please Enter the Bill Number", "cmb_bill_num"},
        {"Metro Depot,,+,,n,1-999 2-50,1", "Please Enter the Bill Number", "cmb_bill_num"},
        {"Ring Road,B1,-,,,,", "Please Select the Schedule Item ", "rt_sch_item"},
        {"Ring Road,B1,+,,,,", "Please Enter the Narration", "txt_narration"},
        {"Ring Road,B1,+,,wall,,", "Please Enter the Qty", "txt_qty"},
        {"Ring Road,B1,+,,wall,-6 3-0,2", "Please Enter the Length feet", "txtdim1"},
        {"Odd Units,B1,+,rectangle_area,bad,1-0 1-0,1", "Division by zero", nullptr},
        {"Ring Road,B1,+,triangle_area,bad,1-0 1-0 5-0,1", "Invalid procedure call or argument",
         nullptr},
        {"Ring Road,B1,+,rectangle_area,bad,1-0 1-0,2 nos", "Type mismatch", nullptr},
        // Figures beyond their columns, as a line taken back from the list may bring them.
        {"Metro Depot,B1,+,,wall,922337203685478-0 1-0,1",
         "Length can not be more than 922,337,203,685,477", "txtdim1"},
        {"Metro Depot,B1,+,,wall,1-0 1-32768,1", "CMs can not be more than 32,767", "txtdim22"},
        {"Ring Road,B1,+,,wall,1-0 1-0,-922337203685478",
         "Quantity can not be less than -922,337,203,685,477", "txt_qty"},
        // A blank fraction is filled with 00 as its pair passes, though a later pair fails.
        {"Metro Depot,B1,+,,wall,3- -4,2", "Please Enter the Breadth feet", "txtdim2"},
    };
    for (const auto& [line, message, focus] : cases) {
        SCOPED_TRACE(message);
        const QStringList f = QString::fromLatin1(line).split(u',');
        show();
        choose(f[0], f[1]);
        if (f[2] == "-")
            screen->rt_sch_item->clear();
        if (!f[3].isEmpty())
            pick(screen->cmb_shape, f[3]);
        messages().clear();
        save(f[4], f[5].split(u' ', Qt::SkipEmptyParts), f[6]);
        ASSERT_EQ(messages().texts(), std::vector<QString>{message});
        EXPECT_EQ(messages().shown[0].flags, !focus ? ui::Critical
                                             : QString(message).contains(" can not be ")
                                                 ? ui::Information
                                                 : ui::Ok);
        EXPECT_EQ(messages().shown[0].title, "Tallywright");
        EXPECT_TRUE(focus ? twtest::hasFocus(field(focus))
                          : screen->txt_narration->text() == "bad");
        EXPECT_TRUE(lines().empty());
    }
    EXPECT_EQ(screen->txtdim11->text(), "00");
}

// A save writes the line, clears it for the next one but for the bill and the deduction choice;
// a double click brings it back, and saving it again overwrites it unless the narration changed.
TEST_F(DimsTest, SaveWritesALineThatADoubleClickBringsBack) {
    const QString quoted = "Ram's \"raft\"";
    choose("Metro Depot", "M1");
    pick(screen->cmb_shape, "cuboid_volume");
    pick(screen->cmbbillded, "Yes");
    save(quoted, {"2-5", "3-25", "1-0"}, "1.5");
    ASSERT_TRUE(messages().shown.empty()) << messages().shown[0].text.toStdString();
    EXPECT_EQ(texts(*screen, {"txt_narration", "txt_qty", "txtdim1", "txtdim22", "rt_sch_item",
                              "cmb_shape", "cmb_bill_num", "cmbbillded"}),
              (QStringList{"", "", "", "", "", "rectangle_area", "M1", "Yes"}));

    pick(screen->cmbbillded, "No");
    auto doubleClick = [&] {
        screen->dimlist->setCurrentItem(screen->dimlist->topLevelItem(0));
        emit screen->dimlist->itemDoubleClicked(screen->dimlist->topLevelItem(0), 0);
    };
    doubleClick();
    EXPECT_EQ(texts(*screen, {"rt_sch_item", "txt_narration", "cmb_shape", "lbldim3", "txt_qty",
                              "cmbbillded", "txtdim1", "txtdim11", "txtdim22", "txtdim4"}),
              (QStringList{"Item 7", quoted, "cuboid_volume", "Height", "1.5", "Yes", "2", "50",
                           "25", "0"}));
    EXPECT_FALSE(screen->txtdim4->isEnabled()); // a dimension the shape doesn't ask for
    EXPECT_TRUE(screen->cmd_delete->isEnabled());
    db().exec("update Sch_master set tw_category_name=? where tw_sch_num=?", {"CC-9", "7"});
    click("cmd_mes_save");
    ASSERT_EQ(lines().size(), 1u);
    const QVariantList expected{
        "M-7", "M1", "7",   quoted,          2, 3,      1,  0, 50, 25,
        0,     0,    12.19, "cuboid_volume", 1, "CC-9", 1.5}; // 2.5 x 3.25 x 1.5
    for (int i = 0; i < expected.size(); ++i) // by the table's positions, behind tw_recordkey
        EXPECT_EQ(lines()[0][i + 1].toString(), expected[i].toString()) << i;
    EXPECT_EQ(
        twtest::rowCells(screen->dimlist, 0),
        (QStringList{"7", quoted, "cuboid_volume", "2-50", "3-25", "1-0", "0-0", "1.5", "YES"}));
    meastest::expectColumnsFit(screen->dimlist);
    meastest::expectColumnsFit(screen->Lst_Schd);

    doubleClick();
    screen->txt_narration->setText("raft 2");
    click("cmd_mes_save"); // a renamed line is a line of its own
    choose("Metro Depot", "M'2");
    save(quoted, {"1-0", "1-0"}, "1"); // and so is the same narration in another bill
    EXPECT_EQ(lines().size(), 3u);
}

// A fractional field is a 16-bit whole number, a half going to the even one; only in feet is
// 12 or more refused, and only before rounding.
TEST_F(DimsTest, FractionalFieldsAreStoredRounded) {
    const std::tuple<const char*, const char*, int, double> cases[] = {
        {"Ring Road", "5.5", 6, 2.5},   {"Ring Road", "4.5", 4, 2.33},
        {"Ring Road", "11.9", 12, 3},   {"Metro Depot", "5", 50, 2.5},
        {"Metro Depot", "05", 50, 2.5}, {"Metro Depot", "125", 125, 2.12}};
    for (const auto& [project, frac, stored, area] : cases) {
        SCOPED_TRACE(std::string(project) + " " + frac);
        choose(project);
        save(frac, {QStringLiteral("2-") + frac, "1-0"}, "1");
        const auto r = db().find("BillMaster", "tw_item_narration=?", {frac});
        ASSERT_TRUE(r);
        EXPECT_EQ(r->number("tw_dim1_inches"), stored);
        EXPECT_DOUBLE_EQ(r->number("tw_cal_Area"), area);
    }
}

// A shape without a divisor and with one dimension works whatever the measure system; a pair
// it doesn't ask for is switched off and blanked.
TEST_F(DimsTest, LumpsumTakesOneAmountInAnySystem) {
    choose("Odd Units");
    pick(screen->cmb_shape, "lumpsum");
    EXPECT_EQ(texts(*screen, {"lbldim1", "lbldim2", "txtdim2"}), (QStringList{"Amount", "", ""}));
    EXPECT_FALSE(screen->txtdim22->isEnabled());
    save("sum", {"1500-6"}, "2");
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0].number("tw_cal_Area"), 3000);
}

// The Down key walks the bill list: each press shows the next bill's lines, the focus stays.
TEST_F(DimsTest, DownKeyWalksTheBills) {
    for (const auto& [bill, narration] : {std::pair{"B1", "a"}, {"B2", "b"}, {"B2", "c"}})
        db().insert(
            "BillMaster",
            {{"tw_contract_num", "P-1"}, {"tw_bill_num", bill}, {"tw_item_narration", narration}});
    pick(screen->cmb_proj_name, "Ring Road");
    meastest::expectDownWalks(screen->cmb_bill_num, screen->dimlist,
                              {{"B1", 1}, {"B2", 2}, {"B2", 2}});
}

// The question goes through the real message box: Cancel keeps the line, OK deletes it.
TEST_F(DimsTest, DeleteAsksOnTheRealBox) {
    for (const auto& [bill, narration] :
         {std::pair{"B2", "other bill"}, {"B1", "first"}, {"B1", "second"}}) {
        choose("Ring Road", bill);
        save(narration, {"1-0", "1-0"}, "1");
    }
    pick(screen->cmb_proj_name, "Ring Road");
    pick(screen->cmb_bill_num, "B1");
    ASSERT_EQ(screen->dimlist->topLevelItemCount(), 2);
    EXPECT_FALSE(screen->cmd_delete->isEnabled());
    for (const char* answer : {"Cancel", "OK"}) {
        meastest::clickRow(screen->dimlist, 1);
        EXPECT_TRUE(screen->cmd_delete->isEnabled());
        EXPECT_EQ(twtest::withRealBoxes({answer}, [&] { click("cmd_delete"); }),
                  QStringList{"You are Deleting : second"});
        EXPECT_FALSE(screen->cmd_delete->isEnabled());
    }
    ASSERT_EQ(lines().size(), 2u);
    EXPECT_EQ(lines()[1].text("tw_item_narration"), "first");
    EXPECT_EQ(twtest::rowCells(screen->dimlist, 0).value(1), "first");
    EXPECT_EQ(screen->dimlist->topLevelItemCount(), 1);

    screen->dimlist->clear();
    screen->cmd_delete->setEnabled(true);
    messages().clear();
    click("cmd_delete");
    EXPECT_EQ(messages().texts(), std::vector<QString>{"No item selected"});
    EXPECT_FALSE(screen->cmd_delete->isEnabled());
}

// The whole part takes four digits and a point moves on to the pair's fractional field; a
// fractional field takes three characters, and a point only while txtdim11 holds none.
TEST_F(DimsTest, KeyRules) {
    pick(screen->cmb_shape, "trapezium_volume");
    screen->txtdim2->setFocus();
    QCoreApplication::processEvents();
    QTest::keyClicks(screen->txtdim2, "1a2-3.");
    EXPECT_TRUE(twtest::hasFocus(screen->txtdim22));
    QCoreApplication::processEvents();
    screen->txtdim2->end(false);
    QTest::keyClicks(screen->txtdim2, "456");
    QTest::keyClicks(screen->txtdim22, ".x.");
    QTest::keyClicks(screen->txtdim11, "1.5.9");
    QTest::keyClicks(screen->txtdim33, "7.5");
    EXPECT_EQ(texts(*screen, {"txtdim2", "txtdim22", "txtdim11", "txtdim33"}),
              (QStringList{"1234", "..", "1.5", "75"}));
}

} // namespace
