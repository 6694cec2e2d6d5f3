// Copying schedule items from one project to another through the staging grid.

#include "screens/schedules/frm_schdls.h"
#include "support/fixtures.h"

#include <QApplication>
#include <QTest>

using twtest::messages;

namespace {

class FrmSchdls : public twtest::ScreenTest<Frm_Schdls> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        for (const char* p : {"Alpha", "Beta", "Gamma"})
            db().insert(QStringLiteral("contractmaster"),
                        {{QStringLiteral("tw_contract_num"), QString::fromLatin1(p) + "-1"},
                         {QStringLiteral("tw_contract_name"), QString::fromLatin1(p)}});
        item("Alpha-1", "1", "Old earth work", 8, QStringLiteral("Cu Mt"), "Volume");
        item("Alpha-1", "9", "Site clearance", 2, QStringLiteral("S Mt"), "Area");
        item("Beta-1", "1", "Earth work in excavation", 10.5, QVariant(), "Volume");
        item("Beta-1", "2", "Brick work", 0.00005, QStringLiteral("Cu Mt"), "Volume");
    }
    void item(const QString& project, const QString& number, const QString& desc, double rate,
              const QVariant& label, const QString& measure) {
        db().insert(QStringLiteral("sch_master"),
                    {{QStringLiteral("tw_contract_num"), project},
                     {QStringLiteral("tw_sch_num"), number},
                     {QStringLiteral("tw_item_desc"), desc},
                     {QStringLiteral("tw_item_rate"), rate},
                     {QStringLiteral("tw_unit"), QStringLiteral("Cum")},
                     {QStringLiteral("tw_unit_lable"), label},
                     {QStringLiteral("tw_volarea"), measure},
                     {QStringLiteral("tw_deduction"), 1}});
    }
    // The stored items of a project: number, description, rate, label, measure, deduction.
    QStringList stored(const QString& project) {
        QStringList out;
        for (const tw::Row& r : db().rows(QStringLiteral("select tw_sch_num, tw_item_desc, "
                                                         "tw_item_rate, tw_unit_lable, tw_volarea, "
                                                         "tw_deduction from sch_master where "
                                                         "tw_contract_num=? order by tw_sch_num"),
                                          {project}))
            out << QStringList{r.text(0),
                               r.text(1),
                               tw::numberText(r[2]),
                               QLatin1Char('[') + r.text(3) + QLatin1Char(']'),
                               r.isNull(4) ? QStringLiteral("Null") : r.text(4),
                               tw::numberText(r[5])}
                       .join(QLatin1Char('|'));
        return out;
    }
    QStringList column(QTreeWidget* list, int col) {
        QStringList out;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            out << list->topLevelItem(i)->text(col);
        return out;
    }
    void clickRow(QTreeWidget* list, int row) {
        QTreeWidgetItem* it = list->topLevelItem(row);
        list->setCurrentItem(it);
        emit list->itemClicked(it, 0);
    }
    void TearDown() override {
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
        ScreenTest::TearDown();
    }
};

TEST_F(FrmSchdls, StagesMovesAndSavesOneRowPerNumber) {
    open();
    QApplication::setActiveWindow(screen.get());
    twtest::pick(screen->cmb_toproj, QStringLiteral("Alpha"));
    EXPECT_FALSE(screen->cmb_toproj->isEnabled());
    EXPECT_EQ(column(screen->Lst_SchdA, 0), QStringList({"1", "9"})); // the destination's own
    EXPECT_EQ(screen->CmbSchItm->count(), 2);
    EXPECT_EQ(screen->CmbSchItm->currentText(), "Beta");
    EXPECT_EQ(column(screen->Lst_Schd, 1), QStringList({"Earth work in excavation", "Brick work"}));

    // The two refusals of a single move: nothing picked yet, then a number staged already.
    messages().clear();
    screen->CmdSngl_clicked();
    clickRow(screen->Lst_Schd, 0);
    click("CmdSngl");
    EXPECT_EQ(messages().texts(), std::vector<QString>({"Please Select a Schedule From Schedule "
                                                        "List",
                                                        "This Schedule is already Added..."}));
    EXPECT_TRUE(twtest::hasFocus(screen->Lst_Schd));
    clickRow(screen->Lst_Schd, 1);
    click("CmdSngl");
    EXPECT_EQ(column(screen->Lst_SchdA, 0), QStringList({"1", "9", "2"}));

    // Moving all twice stages every row again, with no test; the store is untouched till Save.
    click("CmdDbl");
    click("CmdDbl");
    EXPECT_EQ(column(screen->Lst_SchdA, 0), QStringList({"1", "9", "2", "1", "2", "1", "2"}));
    EXPECT_EQ(column(screen->Lst_SchdA, 3)[2], "Cu Mt");
    EXPECT_EQ(column(screen->Lst_SchdA, Frm_Schdls::Rate)[2], "0.00005");
    EXPECT_EQ(column(screen->Lst_SchdA, 3)[3], "  ");
    click("CmdCncSch");
    EXPECT_EQ(stored("Alpha-1"), QStringList({"1|Old earth work|8|[Cu Mt]|Volume|1",
                                              "9|Site clearance|2|[S Mt]|Area|1"}));

    click("CmdSvSch");
    // The source's row 1 overwrote the destination's, with its Null label as two blanks; every
    // written row, the destination's own 9 too, lost its type of measure and deduction.
    EXPECT_EQ(stored("Alpha-1"),
              QStringList({"1|Earth work in excavation|10.5|[  ]||0",
                           "2|Brick work|0.00005|[Cu Mt]||0", "9|Site clearance|2|[S Mt]||0"}));
    EXPECT_EQ(stored("Beta-1").size(), 2);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(FrmSchdls, OnlyAMouseClickInAGridEnablesItsButtons) {
    open();
    QApplication::setActiveWindow(screen.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(screen.get()));
    twtest::pick(screen->cmb_toproj, QStringLiteral("Alpha"));
    const std::pair<QTreeWidget*, QList<QPushButton*>> grids[] = {
        {screen->Lst_Schd, {screen->CmdSngl, screen->CmdDbl}},
        {screen->Lst_SchdA, {screen->CmdRmv}}};
    for (const auto& [grid, buttons] : grids) {
        grid->setFocus(Qt::TabFocusReason);
        for (const auto key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Up, Qt::Key_End})
            QTest::keyClick(grid, key);
        for (const QPushButton* b : buttons)
            EXPECT_FALSE(b->isEnabled()) << b->objectName().toStdString();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->visualItemRect(grid->topLevelItem(1)).center());
        for (const QPushButton* b : buttons)
            EXPECT_TRUE(b->isEnabled()) << b->objectName().toStdString();
    }
    // The row a button acts on is the one clicked, however the keys moved since.
    QTest::keyClick(screen->Lst_Schd, Qt::Key_Up);
    click("CmdSngl");
    EXPECT_EQ(column(screen->Lst_SchdA, 0), QStringList({"1", "9", "2"}));
}

TEST_F(FrmSchdls, RemoveAsksAndTouchesOnlyTheGrid) {
    open();
    twtest::pick(screen->cmb_toproj, QStringLiteral("Alpha"));
    clickRow(screen->Lst_Schd, 1);
    click("CmdSngl");
    for (const auto& [button, left] : {std::pair{"Cancel", 3}, std::pair{"OK", 2}}) {
        clickRow(screen->Lst_SchdA, 0);
        const QStringList shown = twtest::withRealBoxes({button}, [&] { click("CmdRmv"); });
        EXPECT_EQ(shown, QStringList{"You are Currently Positioned at 1 Schedule\nDo you want to "
                                     "Remove this Schedule?"});
        EXPECT_EQ(screen->Lst_SchdA->topLevelItemCount(), left) << button;
    }
    EXPECT_EQ(column(screen->Lst_SchdA, 0), QStringList({"9", "2"}));
    EXPECT_EQ(stored("Alpha-1").size(), 2); // the removed row stays in the store
    for (int i = 0; i < 2; ++i) {
        clickRow(screen->Lst_SchdA, 0);
        click("CmdRmv");
    }
    EXPECT_FALSE(screen->CmdSvSch->isEnabled());
    EXPECT_FALSE(screen->CmdSngl->isEnabled());
}

TEST_F(FrmSchdls, RefusalsOfMovingAllAndSaving) {
    struct Case {
        const char* destination;
        std::function<void(Frm_Schdls&)> act;
        QString message;
    };
    const std::vector<Case> cases{
        // Gamma has no items: moving all from it says so.
        {"Beta",
         [](Frm_Schdls& s) {
             twtest::pick(s.CmbSchItm, QStringLiteral("Gamma"));
             s.CmdDbl_clicked();
         },
         "There are no schedules to copy from this porject"},
        // Gamma's grid starts empty, so there is nothing to save.
        {"Gamma", [](Frm_Schdls& s) { s.CmdSvSch_clicked(); },
         "There are no Schedules to SAVE...!"},
    };
    for (const Case& c : cases) {
        open();
        twtest::pick(screen->cmb_toproj, QString::fromLatin1(c.destination));
        messages().clear();
        c.act(*screen);
        EXPECT_EQ(messages().texts(), std::vector<QString>{c.message}) << c.destination;
        EXPECT_NE(QApplication::overrideCursor(), nullptr) << c.destination;
        while (QApplication::overrideCursor())
            QApplication::restoreOverrideCursor();
    }
    EXPECT_EQ(stored("Gamma-1"), QStringList{});
}

} // namespace
