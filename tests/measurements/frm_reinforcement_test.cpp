// The reinforcement entry screen, driven through its controls.

#include "screens/measurements/frm_reinforcement.h"

#include "screen_texts.h"

#include <QApplication>
#include <QFocusEvent>
#include <QTest>

namespace {

using meastest::shown;
using meastest::texts;
using twtest::messages;
using twtest::pick;

class ReinforcementTest : public twtest::ScreenTest<Frm_Reinforcement> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into ContractMaster (tw_contract_num, tw_contract_name, tw_units) "
                  "values (?, ?, ?), (?, ?, ?)",
                  {"P-1", "Ring Road", "Feet", "M-7", "Metro Depot", "Metre"});
        open();
        QApplication::setActiveWindow(screen.get());
        ASSERT_TRUE(QTest::qWaitForWindowActive(screen.get()));
    }
    // Types a line: bill, narration, diameter, nos, whole and fractional length, remarks; then
    // clicks the arrow (or the button named).
    void add(const QStringList& f, const char* button = "CmdAdd") {
        const char* names[] = {"CmbBlNo", "rtb_nrtn", "CmbDia",  "TxtNos",
                               "TxtMtFt", "TxtCmIn",  "TxtRmrks"};
        for (int i = 0; i < 7; ++i) {
            if (auto* list = screen->findChild<QComboBox*>(names[i]))
                list->setEditText(f.value(i));
            else
                edit(names[i])->setText(f.value(i));
        }
        click(button);
    }
    // Leaves a field as a Tab would, and lets its rule run.
    void leave(QWidget* field) {
        QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(field, &out);
        QCoreApplication::processEvents();
    }
    tw::Rows stored() { return db().keyed("reinforcementmaster"); }
    QStringList gridRow(int i) { return twtest::rowCells(screen->LstVwRnftDet, i); }
};

// The first failing check shows its message in information style, selects and focuses its
// field, and writes nothing.
TEST_F(ReinforcementTest, AddChecksRunInOrderAndOnlyTheArrowSaves) {
    // The screen opens on the first project with nothing chosen.
    EXPECT_EQ(texts(*screen, {"CmbCntNum", "CmbBlNo", "CmbDia"}),
              (QStringList{"Ring Road", "Add New", "Add New"}));
    EXPECT_FALSE(screen->CmdRem->isEnabled());
    const std::array<const char*, 4> cases[] = {
        // bill, narration, diameter, nos, whole, fraction; message; title; field
        {",,Add New,,,", "Fill in numbers only", "Details", "TxtMtFt"},
        {",,Add New,,3,1.2.", "Fill in numbers only", "Details", "TxtCmIn"},
        {",,Add New,,3,0", "Fill in numbers only", "Details", "TxtNos"},
        {"Add New,,Add New,4,3,0", "Please Enter Bill Number...", "Enter Bill Number", "CmbBlNo"},
        {",,Add New,4,3,0", "Please Enter Bill Number...", "Enter Bill Number", "CmbBlNo"},
        {"B1,,Add New,4,3,0", "Please Enter Narration Details...", "Enter Narration", "rtb_nrtn"},
        {"B1,beam,Add New,4,3,12", "Please Select Diameter from the List...", "Enter Diameter",
         "CmbDia"},
        {"B1,beam,,4,3,12", "Please Select Diameter from the List...", "Enter Diameter", "CmbDia"},
        {"B1,beam,8 mm,4,3,12", "Inches Cannot be less than 12...", "Inches", "TxtCmIn"},
        {"B1,beam,8 mm,922337203685478,3,0", "Nos. can not be more than 922,337,203,685,477",
         "Tallywright", "TxtNos"},
    };
    for (const auto& [line, message, title, focus] : cases) {
        SCOPED_TRACE(std::string(message) + " " + focus);
        messages().clear();
        add(QString::fromLatin1(line).split(u','));
        ASSERT_EQ(shown(), QStringList{title + QString(": ") + message});
        EXPECT_EQ(messages().shown[0].flags, ui::Information);
        EXPECT_TRUE(twtest::hasFocus(field(focus)));
        EXPECT_TRUE(stored().empty());
    }
    // Lines are saved one by one through the arrow: the save button does nothing, and cancel
    // only clears the line and the list.
    add({"B1", "beam", "8 mm", "2", "3", "5"});
    add({"B1", "beam", "8 mm", "9", "3", "5"}, "CmdSave");
    click("CmdCancl");
    EXPECT_EQ(texts(*screen, {"rtb_nrtn", "TxtNos"}), (QStringList{"", ""}));
    EXPECT_EQ(screen->LstVwRnftDet->topLevelItemCount(), 0);
    ASSERT_EQ(stored().size(), 1u);
    EXPECT_EQ(stored()[0].number("tw_length_qty"), 2);
    EXPECT_TRUE(twtest::hasFocus(screen->CmbBlNo));
}

// The Length column: whole part, unit, fractional part, unit; the total in the unit of the
// whole part, with centimetres counted as hundredths of a metre.
TEST_F(ReinforcementTest, LengthAndTotalLength) {
    const std::array<const char*, 7> cases[] = {
        // project, nos, whole, fraction, Length, Total Length, warning
        {"Ring Road", "10", "12", "6", "12 Ft 6 Ins", "125", nullptr},
        {"Ring Road", "3", "5", "2.5", "5 Ft 2.5 Ins", "15.625", nullptr},
        {"Metro Depot", "4", "3", "50", "3 Mt 50 Cms", "14", nullptr},
        {"Metro Depot", "1", "3", "5", "3 Mt 5 Cms", "3.05", nullptr},
        {"Metro Depot", "1", "3", "120", "3 Mt 120 Cms", "4.2",
         "Inches Cannot be less than 100..."},
    };
    for (const auto& [project, nos, whole, frac, length, total, warning] : cases) {
        SCOPED_TRACE(length);
        pick(screen->CmbCntNum, project);
        EXPECT_EQ(screen->Label1->text(),
                  QString(project) == "Ring Road" ? "Feet            In" : "Mtrs             CM");
        messages().clear();
        add({"B1", "col", "8 mm", nos, whole, frac});
        EXPECT_EQ(messages().texts(),
                  warning ? std::vector<QString>{warning} : std::vector<QString>{});
        EXPECT_EQ(gridRow(0), (QStringList{"1", "col", "8", nos, length, total, ""}));
        db().exec("delete from reinforcementmaster");
    }
}

// An added line is cleared for the next bar but for bill and diameter; a double click brings
// it back, and adding it again overwrites the line of the same narration.
TEST_F(ReinforcementTest, AddWritesALineThatADoubleClickBringsBack) {
    const std::array<const char*, 4> cases[] = {{"Ring Road", "P-1", "12 Ft 6 Ins", "37.5"},
                                                {"Metro Depot", "M-7", "12 Mt 6 Cms", "36.18"}};
    for (const auto& [project, number, length, total] : cases) {
        SCOPED_TRACE(project);
        pick(screen->CmbCntNum, project);
        add({"B'1", "Ram's beam", "12 mm", "4", "12", "6", "top"});
        EXPECT_EQ(texts(*screen, {"rtb_nrtn", "TxtMtFt", "TxtCmIn", "TxtNos", "TxtRmrks", "CmbBlNo",
                                  "CmbDia"}),
                  (QStringList{"", "", "", "", "", "B'1", "12 mm"}));
        EXPECT_TRUE(twtest::hasFocus(screen->rtb_nrtn));
        EXPECT_TRUE(screen->CmdRem->isEnabled());
        emit screen->LstVwRnftDet->itemDoubleClicked(screen->LstVwRnftDet->topLevelItem(0), 0);
        EXPECT_EQ(
            texts(*screen, {"rtb_nrtn", "CmbDia", "TxtMtFt", "TxtCmIn", "TxtNos", "TxtRmrks"}),
            (QStringList{"Ram's beam", "12", "12 ", "6 ", "4", "top"}));
        screen->TxtNos->setText("3");
        click("CmdAdd");
        add({"B'1", "slab", "10 mm", "20", "4", "0"});
        ASSERT_EQ(stored().size(), 2u);
        const QVariantList expected{number, "B'1", "Ram's beam", "12", 3.0, 12.0, 6.0, "top"};
        for (int i = 0; i < expected.size(); ++i) // by the table's positions
            EXPECT_EQ(stored()[0][i], expected[i]) << stored()[0].columnName(i).toStdString();
        EXPECT_EQ(gridRow(0), (QStringList{"1", "Ram's beam", "12", "3", length, total, "top"}));
        meastest::expectColumnsFit(screen->LstVwRnftDet);
        // The bill joins the list when the project is picked again, and lists its lines.
        pick(screen->CmbCntNum, project);
        EXPECT_EQ(meastest::items(screen->CmbBlNo), (QStringList{"Add New", "B'1"}));
        pick(screen->CmbBlNo, "B'1");
        EXPECT_EQ(screen->LstVwRnftDet->topLevelItemCount(), 2);
        db().exec("delete from reinforcementmaster");
    }
    EXPECT_TRUE(messages().shown.empty());
}

// A line taken back from the grid comes in whole, however long its texts and figures, and is
// saved whole.
TEST_F(ReinforcementTest, DoubleClickBringsALongLineBackWhole) {
    const QString narration(60, u'n');
    db().insert("reinforcementmaster", {{"tw_contract_num", "M-7"},
                                        {"tw_bill_num", "B1"},
                                        {"tw_narration", narration},
                                        {"tw_diameter", "8"},
                                        {"tw_length_qty", 123456},
                                        {"tw_length_ft", 12345},
                                        {"tw_length_inches", 1234.5678}});
    pick(screen->CmbCntNum, "Metro Depot");
    pick(screen->CmbBlNo, "B1");
    emit screen->LstVwRnftDet->itemDoubleClicked(screen->LstVwRnftDet->topLevelItem(0), 0);
    EXPECT_EQ(texts(*screen, {"rtb_nrtn", "TxtNos", "TxtMtFt", "TxtCmIn"}),
              (QStringList{narration, "123456", "12345 ", "1234.5678 "}));
    click("CmdAdd");
    ASSERT_EQ(stored().size(), 1u);
    EXPECT_EQ(stored()[0].number("tw_length_qty"), 123456);
    EXPECT_EQ(stored()[0].number("tw_length_inches"), 1234.5678);
}

// A size typed into the list is learnt on leaving it, once, by its number of millimetres; a
// text without a number is learnt once as it stands.
TEST_F(ReinforcementTest, DiameterIsLearntByItsNumber) {
    auto known = [&] {
        QStringList sizes;
        for (const auto& r : db().keyed("diameter"))
            sizes << r.text(0);
        return sizes;
    };
    QStringList expected = known();
    ASSERT_TRUE(expected.contains("8") || expected.contains("8 mm")) << "the seed's 8 mm bar";
    const std::pair<const char*, const char*> cases[] = {
        {"Add New", nullptr}, {"8", nullptr},  {"8 mm", nullptr},  {"08", nullptr},
        {" 8 ", nullptr},     {"", ""},        {"", nullptr},      {"no size", "no size"},
        {" 18 mm ", "18"},    {"18", nullptr}, {"018 mm", nullptr}};
    for (const auto& [typed, learnt] : cases) {
        SCOPED_TRACE(typed);
        screen->CmbDia->setEditText(typed);
        leave(screen->CmbDia);
        if (learnt)
            expected << learnt;
        EXPECT_EQ(known(), expected);
    }
}

// The question goes through the real message box: Cancel keeps the line, OK deletes it, the
// numbers read back from Length finding the stored row in either measure system.
TEST_F(ReinforcementTest, RemoveAsksOnTheRealBox) {
    add({"B1", "x", "8 mm", "2", "3", "0"});
    click("CmdRem"); // nothing clicked since the screen opened
    EXPECT_EQ(shown(),
              QStringList{"Delete Items: Please Select an Item to be removed from the List..."});
    EXPECT_TRUE(twtest::hasFocus(screen->LstVwRnftDet));
    db().exec("delete from reinforcementmaster");

    for (const auto& [project, whole, frac, length] :
         {std::array<const char*, 4>{"Ring Road", "12", "6", "12 Ft 6 Ins"},
          {"Metro Depot", "3", "50", "3 Mt 50 Cms"}}) {
        SCOPED_TRACE(project);
        pick(screen->CmbCntNum, project);
        add({"B1", "a", "8 mm", "2", whole, frac});
        add({"B1", "b", "8 mm", "2", whole, frac});
        const QStringList question{
            QStringLiteral("You are Deleting : b,Diameter : 8, Nos. : 2 and Length : ") + length};
        for (const auto& [button, left] : {std::pair{"Cancel", 2}, {"OK", 1}}) {
            meastest::clickRow(screen->LstVwRnftDet, 1);
            EXPECT_EQ(twtest::withRealBoxes({button}, [&] { click("CmdRem"); }), question);
            EXPECT_EQ(int(stored().size()), left) << button;
            EXPECT_EQ(screen->LstVwRnftDet->topLevelItemCount(), left);
            EXPECT_EQ(screen->CmdRem->isEnabled(), left == 2); // still on the kept line
        }
        ASSERT_EQ(stored().size(), 1u);
        EXPECT_EQ(stored()[0].text("tw_narration"), "a");
        db().exec("delete from reinforcementmaster");
    }
}

// The Down key walks the bill list from "Add New": each press shows the next bill's lines, and
// the focus stays.
TEST_F(ReinforcementTest, DownKeyWalksTheBills) {
    for (const auto& [bill, narration] : {std::pair{"B1", "a"}, {"B2", "b"}, {"B2", "c"}})
        db().insert(
            "reinforcementmaster",
            {{"tw_contract_num", "P-1"}, {"tw_bill_num", bill}, {"tw_narration", narration}});
    pick(screen->CmbCntNum, "Ring Road");
    meastest::expectDownWalks(screen->CmbBlNo, screen->LstVwRnftDet,
                              {{"B1", 1}, {"B2", 2}, {"B2", 2}});
}

TEST_F(ReinforcementTest, LeavingFieldsWarns) {
    // A bill number of 30 characters or more is refused on every leaving; 29 pass.
    screen->CmbBlNo->setEditText(QString(29, u'9'));
    leave(screen->CmbBlNo);
    EXPECT_TRUE(messages().shown.empty());
    screen->CmbBlNo->setEditText(QString(30, u'9'));
    leave(screen->CmbBlNo);
    leave(screen->CmbBlNo);
    EXPECT_EQ(shown(), QStringList(2, "Bill Number: Maximum 30 Characters Allowed ..."));
    EXPECT_TRUE(twtest::hasFocus(screen->CmbBlNo));
    screen->CmbBlNo->setEditText("B1");

    // Centimetres or inches: the length first, then an empty field becomes 0, then 12 inches
    // are refused in feet only.
    messages().clear();
    leave(screen->TxtCmIn);
    EXPECT_EQ(shown(), QStringList{"Length Meters/Feet: Please Enter Meters/Feet..."});
    EXPECT_TRUE(twtest::hasFocus(screen->TxtMtFt));
    screen->TxtMtFt->setText("3");
    leave(screen->TxtCmIn);
    EXPECT_EQ(screen->TxtCmIn->text(), "0");
    screen->TxtCmIn->setText("12");
    leave(screen->TxtCmIn);
    EXPECT_EQ(shown().value(1), "Inches: Inches Cannot be less than 12...");
    EXPECT_TRUE(twtest::hasFocus(screen->TxtCmIn));
    pick(screen->CmbCntNum, "Metro Depot");
    leave(screen->TxtCmIn);
    EXPECT_EQ(messages().shown.size(), 2u);
}

TEST_F(ReinforcementTest, KeyRulesAndTheirWarnings) {
    const std::array<QString, 5> cases[] = {
        // field, text before, keys, text after, warning shown
        {"TxtMtFt", "1234", "5", "1234", "Meters/Feet: You Cannot Enter More Than 4 Digits..."},
        {"TxtNos", "12345", "6", "12345", "Quantity: You Cannot Enter More than 5 Digits..."},
        {"TxtCmIn", "", "2.5.x", "2.5.", ""},
        {"TxtRmrks", QString(254, u'r'), "ab", QString(254, u'r') + "ab",
         "Remarks: You Cannot Enter More than 255 Characters..."},
        {"rtb_nrtn", QString(49, u'n'), "ab", QString(49, u'n') + "a", ""},
    };
    for (const auto& [name, before, keys, after, warning] : cases) {
        SCOPED_TRACE(name.toStdString() + " " + keys.toStdString());
        QLineEdit* f = edit(name.toLatin1().constData());
        f->setText(before);
        f->end(false);
        messages().clear();
        QTest::keyClicks(f, keys);
        EXPECT_EQ(f->text(), after);
        EXPECT_EQ(shown(), warning.isEmpty() ? QStringList{} : QStringList{warning});
    }
}

} // namespace
