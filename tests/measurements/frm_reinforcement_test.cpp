// The reinforcement entry screen, driven through its controls by object name.

#include "measurements/frm_reinforcement.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QFocusEvent>
#include <QTest>

#include <memory>

namespace {

using twtest::messages;

class ReinforcementTest : public twtest::AppFolderTest {
protected:
    void SetUp() override {
        AppFolderTest::SetUp();
        project(QStringLiteral("P-1"), QStringLiteral("Ring Road"), QStringLiteral("Feet"));
        project(QStringLiteral("M-7"), QStringLiteral("Metro Depot"), QStringLiteral("Metre"));
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
    void open() {
        w.reset(new Frm_Reinforcement);
        w->setAttribute(Qt::WA_DeleteOnClose, false);
        w->show();
        QApplication::setActiveWindow(w.get());
        ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    }
    void pick(QComboBox* combo, const QString& text) {
        const int i = combo->findText(text);
        ASSERT_GE(i, 0) << text.toStdString();
        combo->setCurrentIndex(i);
        emit combo->activated(i);
    }
    void pickProject(const QString& name) { pick(w->CmbCntNum, name); }
    // The fields of one line, typed as given; the bill and diameter are set as texts.
    void line(const QString& bill, const QString& narration, const QString& dia, const QString& nos,
              const QString& whole, const QString& frac, const QString& remarks = {}) {
        w->CmbBlNo->setEditText(bill);
        w->rtb_nrtn->setText(narration);
        w->CmbDia->setEditText(dia);
        w->TxtNos->setText(nos);
        w->TxtMtFt->setText(whole);
        w->TxtCmIn->setText(frac);
        w->TxtRmrks->setText(remarks);
    }
    void add() { QTest::mouseClick(w->CmdAdd, Qt::LeftButton); }
    // Leaves a field as a Tab would, and lets its rule run.
    void leave(QWidget* field) {
        QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(field, &out);
        QCoreApplication::processEvents();
    }
    tw::Rows stored() {
        return db().rows(QStringLiteral("select * from reinforcementmaster order by rowid"));
    }
    QStringList gridRow(int i) { return twtest::rowCells(w->LstVwRnftDet, i); }
    void clickRow(int i) {
        auto* it = w->LstVwRnftDet->topLevelItem(i);
        ASSERT_NE(it, nullptr);
        const QRect r = w->LstVwRnftDet->visualItemRect(it);
        QTest::mouseClick(w->LstVwRnftDet->viewport(), Qt::LeftButton, {}, r.center());
    }

    std::unique_ptr<Frm_Reinforcement> w;
};

TEST_F(ReinforcementTest, OpensOnTheFirstProject) {
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Reinforcement Screen"));
    EXPECT_EQ(w->CmbCntNum->currentText(), QStringLiteral("Ring Road"));
    EXPECT_EQ(w->contractNumber(), QStringLiteral("P-1"));
    EXPECT_EQ(w->LblMtFt->text(), QStringLiteral("Ft"));
    EXPECT_EQ(w->LblCmIn->text(), QStringLiteral("Ins"));
    EXPECT_EQ(w->Label1->text(), QStringLiteral("Feet            In"));
    EXPECT_EQ(w->CmbBlNo->count(), 1);
    EXPECT_EQ(w->CmbBlNo->currentText(), QStringLiteral("Add New"));
    const auto dias = db().rows(QStringLiteral("select tw_diameter from diameter"));
    ASSERT_EQ(w->CmbDia->count(), int(dias.size()) + 1);
    EXPECT_EQ(w->CmbDia->itemText(1), dias[0].text(0));
    EXPECT_EQ(w->CmbDia->currentText(), QStringLiteral("Add New"));
    EXPECT_FALSE(w->CmdRem->isEnabled());

    pickProject(QStringLiteral("Metro Depot"));
    EXPECT_EQ(w->LblMtFt->text(), QStringLiteral("Mt"));
    EXPECT_EQ(w->LblCmIn->text(), QStringLiteral("Cms"));
    EXPECT_EQ(w->Label1->text(), QStringLiteral("Mtrs             CM"));
}

TEST_F(ReinforcementTest, AddChecksRunInOrder) {
    struct Case {
        const char* name;
        const char* project;
        const char* bill;
        const char* narration;
        const char* dia;
        const char* nos;
        const char* whole;
        const char* frac;
        const char* text;
        const char* title;
        const char* focus;
    };
    const Case cases[] = {
        {"length empty", "Ring Road", "", "", "Add New", "", "", "", "Fill in numbers only",
         "Details", "TxtMtFt"},
        {"two points", "Ring Road", "", "", "Add New", "", "3", "1.2.", "Fill in numbers only",
         "Details", "TxtCmIn"},
        {"nos empty", "Ring Road", "", "", "Add New", "", "3", "0", "Fill in numbers only",
         "Details", "TxtNos"},
        {"bill Add New", "Ring Road", "Add New", "", "Add New", "4", "3", "0",
         "Please Enter Bill Number...", "Enter Bill Number", "CmbBlNo"},
        {"bill empty", "Ring Road", "", "", "Add New", "4", "3", "0", "Please Enter Bill Number...",
         "Enter Bill Number", "CmbBlNo"},
        {"narration", "Ring Road", "B1", "", "Add New", "4", "3", "0",
         "Please Enter Narration Details...", "Enter Narration", "rtb_nrtn"},
        {"diameter Add New", "Ring Road", "B1", "beam", "Add New", "4", "3", "12",
         "Please Select Diameter from the List...", "Enter Diameter", "CmbDia"},
        {"diameter empty", "Ring Road", "B1", "beam", "", "4", "3", "12",
         "Please Select Diameter from the List...", "Enter Diameter", "CmbDia"},
        {"inches", "Ring Road", "B1", "beam", "8 mm", "4", "3", "12",
         "Inches Cannot be less than 12...", "Inches", "TxtCmIn"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.name);
        pickProject(QString::fromLatin1(k.project));
        line(QString::fromLatin1(k.bill), QString::fromLatin1(k.narration),
             QString::fromLatin1(k.dia), QString::fromLatin1(k.nos), QString::fromLatin1(k.whole),
             QString::fromLatin1(k.frac));
        w->CmdAdd->setFocus();
        QCoreApplication::processEvents();
        messages().clear();
        add();
        ASSERT_EQ(messages().shown.size(), 1u);
        EXPECT_EQ(messages().shown[0].text, QString::fromLatin1(k.text));
        EXPECT_EQ(messages().shown[0].title, QString::fromLatin1(k.title));
        EXPECT_EQ(messages().shown[0].flags, ui::Information);
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), QString::fromLatin1(k.focus));
        EXPECT_TRUE(stored().empty());
    }
}

// The length columns: the whole part, its unit, the fractional part, its unit; the total in
// the unit of the whole part, with centimetres counted as hundredths of a metre.
TEST_F(ReinforcementTest, LengthAndTotalLength) {
    struct Case {
        const char* project;
        const char* nos;
        const char* whole;
        const char* frac;
        const char* length;
        const char* total;
        std::vector<QString> warnings;
    };
    const Case cases[] = {
        {"Ring Road", "10", "12", "6", "12 Ft 6 Ins", "125", {}},
        {"Ring Road", "3", "5", "2.5", "5 Ft 2.5 Ins", "15.625", {}},
        {"Metro Depot", "4", "3", "50", "3 Mt 50 Cms", "14", {}},
        {"Metro Depot", "1", "3", "5", "3 Mt 5 Cms", "3.05", {}},
        // 100 cm or more warns and is saved all the same.
        {"Metro Depot",
         "1",
         "3",
         "120",
         "3 Mt 120 Cms",
         "4.2",
         {"Inches Cannot be less than 100..."}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.length);
        pickProject(QString::fromLatin1(k.project));
        line(QStringLiteral("B1"), QStringLiteral("col"), QStringLiteral("8 mm"),
             QString::fromLatin1(k.nos), QString::fromLatin1(k.whole), QString::fromLatin1(k.frac));
        messages().clear();
        add();
        EXPECT_EQ(messages().texts(), k.warnings);
        ASSERT_EQ(w->LstVwRnftDet->topLevelItemCount(), 1);
        EXPECT_EQ(gridRow(0),
                  (QStringList{"1", "col", "8", QString::fromLatin1(k.nos),
                               QString::fromLatin1(k.length), QString::fromLatin1(k.total), ""}));
        db().exec(QStringLiteral("delete from reinforcementmaster"));
    }
}

TEST_F(ReinforcementTest, AddStoresOverwritesByNarrationAndClears) {
    pickProject(QStringLiteral("Metro Depot"));
    line(QStringLiteral("B'1"), QStringLiteral("Ram's beam"), QStringLiteral("12 mm"),
         QStringLiteral("4"), QStringLiteral("3"), QStringLiteral("50"), QStringLiteral("top"));
    add();
    ASSERT_TRUE(messages().shown.empty());
    // The line is cleared; bill and diameter stay for the next bar.
    for (auto* f : {w->rtb_nrtn, w->TxtMtFt, w->TxtCmIn, w->TxtNos, w->TxtRmrks})
        EXPECT_TRUE(f->text().isEmpty()) << f->objectName().toStdString();
    EXPECT_EQ(w->CmbBlNo->currentText(), QStringLiteral("B'1"));
    EXPECT_EQ(w->CmbDia->currentText(), QStringLiteral("12 mm"));
    EXPECT_EQ(QApplication::focusWidget(), w->rtb_nrtn);
    EXPECT_TRUE(w->CmdRem->isEnabled());

    line(QStringLiteral("B'1"), QStringLiteral("Ram's beam"), QStringLiteral("16"),
         QStringLiteral("6"), QStringLiteral("2"), QStringLiteral("25"), QStringLiteral("bottom"));
    add();
    line(QStringLiteral("B'1"), QStringLiteral("slab"), QStringLiteral("10 mm"),
         QStringLiteral("20"), QStringLiteral("4"), QStringLiteral("0"));
    add();
    const auto rows = stored();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].text("tw_contract_num"), QStringLiteral("M-7"));
    EXPECT_EQ(rows[0].text("tw_bill_num"), QStringLiteral("B'1"));
    EXPECT_EQ(rows[0].text("tw_narration"), QStringLiteral("Ram's beam"));
    EXPECT_EQ(rows[0].text("tw_diameter"), QStringLiteral("16"));
    EXPECT_EQ(rows[0].number("tw_length_qty"), 6);
    EXPECT_EQ(rows[0].number("tw_length_ft"), 2);
    EXPECT_EQ(rows[0].text("tw_length_inches"), QStringLiteral("25"));
    EXPECT_EQ(rows[0].text("tw_remarks"), QStringLiteral("bottom"));
    EXPECT_EQ(rows[1].text("tw_diameter"), QStringLiteral("10"));
    EXPECT_EQ(gridRow(0),
              (QStringList{"1", "Ram's beam", "16", "6", "2 Mt 25 Cms", "13.5", "bottom"}));
    EXPECT_EQ(gridRow(1)[0], QStringLiteral("2"));

    // The bill joins the list when the project is picked again, and picking it lists its lines.
    pickProject(QStringLiteral("Metro Depot"));
    EXPECT_EQ(w->CmbBlNo->count(), 2);
    EXPECT_EQ(w->CmbBlNo->currentText(), QStringLiteral("Add New"));
    pick(w->CmbBlNo, QStringLiteral("B'1"));
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 2);
    EXPECT_TRUE(w->CmdRem->isEnabled());
}

TEST_F(ReinforcementTest, DoubleClickPutsTheLineBackAndSavingOverwritesIt) {
    for (const char* project : {"Ring Road", "Metro Depot"}) {
        SCOPED_TRACE(project);
        pickProject(QString::fromLatin1(project));
        line(QStringLiteral("B1"), QStringLiteral("lintel"), QStringLiteral("10 mm"),
             QStringLiteral("7"), QStringLiteral("12"), QStringLiteral("6"), QStringLiteral("r"));
        add();
        const QString length = gridRow(0)[4];
        emit w->LstVwRnftDet->itemDoubleClicked(w->LstVwRnftDet->topLevelItem(0), 0);
        EXPECT_EQ(w->rtb_nrtn->text(), QStringLiteral("lintel"));
        EXPECT_EQ(w->CmbDia->currentText(), QStringLiteral("10"));
        EXPECT_EQ(w->TxtMtFt->text(), QStringLiteral("12 "));
        EXPECT_EQ(w->TxtCmIn->text(), QStringLiteral("6 "));
        EXPECT_EQ(w->TxtNos->text(), QStringLiteral("7"));
        EXPECT_EQ(w->TxtRmrks->text(), QStringLiteral("r"));
        w->TxtNos->setText(QStringLiteral("9"));
        messages().clear();
        add();
        EXPECT_TRUE(messages().shown.empty());
        ASSERT_EQ(stored().size(), 1u);
        EXPECT_EQ(stored()[0].number("tw_length_qty"), 9);
        EXPECT_EQ(gridRow(0)[4], length);
        db().exec(QStringLiteral("delete from reinforcementmaster"));
    }
}

TEST_F(ReinforcementTest, RemoveAsksAndDeletesTheClickedLine) {
    pickProject(QStringLiteral("Metro Depot"));
    const char* names[] = {"a", "b", "c"};
    for (const char* n : names) {
        line(QStringLiteral("B1"), QString::fromLatin1(n), QStringLiteral("8 mm"),
             QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("50"));
        add();
    }
    line(QStringLiteral("B1"), QStringLiteral("d"), QStringLiteral("8 mm"), QStringLiteral("2"),
         QStringLiteral("3"), QStringLiteral("2.5"));
    add();
    ASSERT_EQ(stored().size(), 4u);

    // Nothing clicked since opening.
    messages().clear();
    QTest::mouseClick(w->CmdRem, Qt::LeftButton);
    EXPECT_EQ(messages().texts(),
              std::vector<QString>{"Please Select an Item to be removed from the List..."});
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("Delete Items"));
    EXPECT_EQ(QApplication::focusWidget(), w->LstVwRnftDet);

    clickRow(1);
    messages().clear();
    messages().answers.push_back(ui::Answer::Cancel);
    QTest::mouseClick(w->CmdRem, Qt::LeftButton);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(
        messages().shown[0].text,
        QStringLiteral("You are Deleting : b,Diameter : 8, Nos. : 2 and Length : 3 Mt 50 Cms"));
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("Deletion of Reinforcement"));
    EXPECT_EQ(messages().shown[0].flags & 0x7, ui::OkCancel);
    EXPECT_EQ(stored().size(), 4u);
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 4);
    EXPECT_TRUE(w->CmdRem->isEnabled());

    QTest::mouseClick(w->CmdRem, Qt::LeftButton);
    ASSERT_EQ(stored().size(), 3u);
    EXPECT_EQ(stored()[1].text("tw_narration"), QStringLiteral("c"));
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 3);
    EXPECT_FALSE(w->CmdRem->isEnabled());

    // The point of 2.5 is lost reading the length back, so that line is not found: it leaves
    // the grid but stays in the table.
    clickRow(2);
    QTest::mouseClick(w->CmdRem, Qt::LeftButton);
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 2);
    EXPECT_EQ(stored().size(), 3u);
}

TEST_F(ReinforcementTest, SaveButtonDoesNothingAndCancelOnlyClears) {
    line(QStringLiteral("B1"), QStringLiteral("beam"), QStringLiteral("8 mm"), QStringLiteral("2"),
         QStringLiteral("3"), QStringLiteral("5"));
    add();
    line(QStringLiteral("B1"), QStringLiteral("beam"), QStringLiteral("8 mm"), QStringLiteral("9"),
         QStringLiteral("9"), QStringLiteral("9"));
    QTest::mouseClick(w->CmdSave, Qt::LeftButton);
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(stored()[0].number("tw_length_qty"), 2);
    EXPECT_EQ(w->TxtNos->text(), QStringLiteral("9"));
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 1);

    QTest::mouseClick(w->CmdCancl, Qt::LeftButton);
    for (auto* f : {w->rtb_nrtn, w->TxtMtFt, w->TxtCmIn, w->TxtNos, w->TxtRmrks})
        EXPECT_TRUE(f->text().isEmpty()) << f->objectName().toStdString();
    EXPECT_EQ(w->LstVwRnftDet->topLevelItemCount(), 0);
    EXPECT_EQ(stored().size(), 1u);
    EXPECT_EQ(QApplication::focusWidget(), w->CmbBlNo);
}

TEST_F(ReinforcementTest, TypedDiameterIsLearntOnLeavingTheList) {
    auto known = [&](const QString& d) {
        return db()
            .first(QStringLiteral("select count(*) from diameter where tw_diameter=?"), {d})
            ->value(0)
            .toInt();
    };
    const int before = int(db().rows(QStringLiteral("select * from diameter")).size());
    struct Case {
        const char* typed;
        const char* learnt; // nullptr: nothing added
    };
    const Case cases[] = {
        {"Add New", nullptr}, {"8 mm", nullptr}, {" 18 mm ", "18 mm"}, {"18 mm", nullptr}};
    int added = 0;
    for (const auto& k : cases) {
        SCOPED_TRACE(k.typed);
        w->CmbDia->setEditText(QString::fromLatin1(k.typed));
        leave(w->CmbDia);
        if (k.learnt) {
            ++added;
            EXPECT_EQ(known(QString::fromLatin1(k.learnt)), 1);
        }
        EXPECT_EQ(int(db().rows(QStringLiteral("select * from diameter")).size()), before + added);
    }
    EXPECT_EQ(known(QStringLiteral("Add New")), 0);
}

TEST_F(ReinforcementTest, LeavingFieldsWarns) {
    // A bill number of 30 characters or more is refused on leaving; 29 pass.
    w->CmbBlNo->setEditText(QString(29, u'9'));
    leave(w->CmbBlNo);
    EXPECT_TRUE(messages().shown.empty());
    w->CmbBlNo->setEditText(QString(30, u'9'));
    leave(w->CmbBlNo);
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Maximum 30 Characters Allowed ..."});
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("Bill Number"));
    EXPECT_EQ(QApplication::focusWidget(), w->CmbBlNo);
    w->CmbBlNo->setEditText(QStringLiteral("B1"));

    // Centimetres or inches: the length first, then an empty field becomes 0, then 12 inches
    // are refused in feet.
    messages().clear();
    leave(w->TxtCmIn);
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Please Enter Meters/Feet..."});
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("Length Meters/Feet"));
    EXPECT_EQ(QApplication::focusWidget(), w->TxtMtFt);
    messages().clear();
    w->TxtMtFt->setText(QStringLiteral("3"));
    leave(w->TxtCmIn);
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(w->TxtCmIn->text(), QStringLiteral("0"));
    w->TxtCmIn->setText(QStringLiteral("12"));
    leave(w->TxtCmIn);
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Inches Cannot be less than 12..."});
    EXPECT_EQ(QApplication::focusWidget(), w->TxtCmIn);
    pickProject(QStringLiteral("Metro Depot"));
    messages().clear();
    leave(w->TxtCmIn);
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(ReinforcementTest, KeyRulesAndTheirWarnings) {
    struct Case {
        const char* field;
        QString start;
        const char* keys;
        QString expected;
        std::vector<QString> warnings;
        const char* title;
    };
    const Case cases[] = {
        {"TxtMtFt", "", "1a2.3", "123", {}, ""},
        {"TxtMtFt", "1234", "5", "1234", {"You Cannot Enter More Than 4 Digits..."}, "Meters/Feet"},
        {"TxtNos", "12", "3x", "123", {}, ""},
        {"TxtNos", "12345", "6", "12345", {"You Cannot Enter More than 5 Digits..."}, "Quantity"},
        {"TxtCmIn", "", "2.5.x", "2.5.", {}, ""},
        {"TxtRmrks",
         QString(254, u'r'),
         "ab",
         QString(254, u'r') + QStringLiteral("ab"),
         {"You Cannot Enter More than 255 Characters..."},
         "Remarks"},
        {"rtb_nrtn", QString(49, u'n'), "ab", QString(50, u'n').replace(49, 1, u'a'), {}, ""},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(std::string(k.field) + " " + k.keys);
        auto* f = w->findChild<QLineEdit*>(QString::fromLatin1(k.field));
        ASSERT_NE(f, nullptr);
        f->setText(k.start);
        f->end(false);
        messages().clear();
        QTest::keyClicks(f, QString::fromLatin1(k.keys));
        EXPECT_EQ(f->text(), k.expected);
        EXPECT_EQ(messages().texts(), k.warnings);
        if (!k.warnings.empty()) {
            EXPECT_EQ(messages().shown[0].title, QString::fromLatin1(k.title));
        }
    }
}

} // namespace
