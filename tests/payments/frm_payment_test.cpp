#include "screens/payments/frm_payment.h"

#include "cli.h"
#include "support/fixtures.h"

#include <QApplication>
#include <QDate>
#include <QFocusEvent>
#include <QTest>

namespace {

using twtest::messages;
using Texts = std::vector<QString>;

class FrmPaymentTest : public twtest::ScreenTest<frm_payment> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into contractmaster (tw_contract_num, tw_contract_name) "
                  "values (?, ?), (?, ?)",
                  {"P1", "Tower", "P2", "Empty Plot"});
        db().exec("insert into billsraised (tw_contract_num, tw_bill_num, tw_bill_amount) "
                  "values (?, ?, ?), (?, ?, ?)",
                  {"P1", "RA-1", 1000.125, "P1", "RA-2", 0.375});
    }
    // Every field a save needs, filled.
    void fill(const QString& receipt, const QString& amount = "100") {
        screen->txt_amount->setText(amount);
        screen->txt_tds->setText("2");
        screen->txt_recoveries->setText("0");
        screen->cmb_typofpmnt->setEditText("Cheque");
        screen->txt_receiptno->setText(receipt);
        screen->txt_chkno->setText("123456");
        screen->txt_bank->setText("State Bank");
        screen->txt_branch->setText("Camp");
    }
    void save() { click("cmd_save"); }
    tw::Rows payments() { return db().keyed("payment_rec"); }
    bool focused(QWidget* w) const {
        const QWidget* got = screen->focusWidget();
        return got && (got == w || w->isAncestorOf(got));
    }
};

TEST_F(FrmPaymentTest, FirstBlankFieldOfASaveIsToldFocusedAndNothingIsWritten) {
    auto& w = open();
    const std::pair<QWidget*, const char*> cases[] = {
        {w.txt_amount, "Payment Amount is blank!!"},
        {w.txt_tds, "TDS Amount is blank!!"},
        {w.txt_recoveries, "Recoveries Amount is blank!!"},
        {w.cmb_typofpmnt, "Type of Payment is blank!!"},
        {w.txt_receiptno, "Receipt/Voucher number is blank!!"},
        {w.txt_chkno, "Cheque/DD number is blank!!"},
        {w.txt_bank, "Bank Name is blank!!"},
        {w.txt_branch, "Branch name is blank!!"},
    };
    // Each case blanks its field (with spaces) and every field after it, so only the order of
    // the checks decides which message comes.
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        fill("R1");
        for (std::size_t j = i; j < std::size(cases); ++j) {
            if (auto* e = qobject_cast<QLineEdit*>(cases[j].first))
                e->setText(j == i ? "   " : "");
            else
                w.cmb_typofpmnt->setEditText("");
        }
        messages().clear();
        save();
        ASSERT_EQ(messages().texts(), Texts{cases[i].second});
        EXPECT_EQ(messages().shown[0].flags, ui::Information);
        EXPECT_EQ(messages().shown[0].title, "Tallywright");
        EXPECT_TRUE(focused(cases[i].first)) << cases[i].second;
        EXPECT_TRUE(payments().empty());
    }
}

TEST_F(FrmPaymentTest, AReceiptNumberIsUniqueWithinItsBillOnly) {
    auto& w = open();
    fill("O'Neil V-7");
    save();
    fill("o'neil v-7", "50"); // the same number in another case is the same voucher
    messages().clear();
    save();
    ASSERT_EQ(messages().texts(),
              Texts{"Details are already exisiting. Enter another Receipt/Voucher Number"});
    EXPECT_TRUE(focused(w.txt_receiptno));
    EXPECT_EQ(payments().size(), 1u);

    twtest::pick(w.Cmbpaybillno, "RA-2");
    messages().clear();
    save();
    EXPECT_TRUE(messages().shown.empty());
    const auto rows = payments();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].text("tw_bill_num"), "RA-2");
    EXPECT_EQ(rows[1].text("tw_recpt_num"), "o'neil v-7");
}

TEST_F(FrmPaymentTest, SaveReadsAmountsUpToASecondPointListsThemAndTotalsAmountsOnly) {
    auto& w = open();
    fill("R1", "1.2.3");
    w.txt_tds->setText("12.5");
    w.txt_recoveries->setText("7");
    w.BillDate->setValue(QDate(2024, 3, 5));
    save();
    fill("R2", ".");
    save();
    fill("R3", "500.25");
    save();
    ASSERT_TRUE(messages().shown.empty());

    const auto rows = payments();
    ASSERT_EQ(rows.size(), 3u);
    QStringList first;
    for (const char* column :
         {"tw_netamt", "tw_tdsamt", "tw_recamt", "tw_recpt_date", "tw_contract_num", "tw_bill_num"})
        first << rows[0].text(column);
    EXPECT_EQ(first, (QStringList{"1.2", "12.5", "7", "05-03-2024", "P1", "RA-1"}));
    EXPECT_EQ(rows[1].number("tw_netamt"), 0);
    EXPECT_EQ(twtest::rowCells(w.pmntlist, 0),
              (QStringList{"1", "R1", "05-03-2024", "1.2", "12.5", "7"}));
    EXPECT_EQ(twtest::rowCells(w.pmntlist, 2).value(0), "3");
    // 1.2 + 0 + 500.25: neither TDS nor recoveries are in the total.
    EXPECT_EQ(w.txt_totamt->text(), "501.45");

    // The payment's fields are empty and dated today again; the bill stays picked.
    QString left = w.cmb_typofpmnt->currentText();
    for (auto* f : {w.txt_receiptno, w.txt_amount, w.txt_tds, w.txt_recoveries, w.txt_chkno,
                    w.txt_bank, w.txt_branch})
        left += f->text();
    EXPECT_EQ(left, "");
    EXPECT_EQ(w.BillDate->value(), QDate::currentDate());
    EXPECT_EQ(w.dt_chkdt->value(), QDate::currentDate());
    EXPECT_EQ(w.CmbPayCno->currentText() + w.Cmbpaybillno->currentText(), "TowerRA-1");

    // Another bill shows its own payments, and none is a blank total.
    twtest::pick(w.Cmbpaybillno, "RA-2");
    EXPECT_EQ(w.pmntlist->topLevelItemCount(), 0);
    EXPECT_TRUE(w.txt_totamt->text().isEmpty());
}

TEST_F(FrmPaymentTest, BillAmountIsRoundedHalfEvenAndAProjectWithoutBillsHasNone) {
    auto& w = open();
    EXPECT_FALSE(w.cmd_delete->isEnabled());
    EXPECT_EQ(w.txt_bl_amount->text(), "1000.12"); // 1000.125 is a hair below the half
    twtest::pick(w.Cmbpaybillno, "RA-2");
    EXPECT_EQ(w.txt_bl_amount->text(), "0.38");

    twtest::pick(w.CmbPayCno, "Empty Plot");
    EXPECT_EQ(w.Cmbpaybillno->count(), 0);
    EXPECT_TRUE(w.txt_bl_amount->text().isEmpty());
    // Told when tabbed into, not when focus comes back from the box itself.
    QFocusEvent tabbedIn(QEvent::FocusIn, Qt::TabFocusReason);
    QFocusEvent backFromBox(QEvent::FocusIn, Qt::ActiveWindowFocusReason);
    for (QFocusEvent* e : {&tabbedIn, &backFromBox, &tabbedIn})
        QApplication::sendEvent(w.Cmbpaybillno, e);
    EXPECT_EQ(messages().texts(), Texts(2, "No bills raised in this project"));
    // A payment may still be written, against an empty bill, and is listed and deleted by it.
    fill("R1");
    save();
    ASSERT_EQ(payments().size(), 1u);
    EXPECT_EQ(payments()[0].text("tw_contract_num"), "P2");
    EXPECT_FALSE(payments()[0].isNull("tw_bill_num"));
    ASSERT_EQ(w.pmntlist->topLevelItemCount(), 1);
    QTest::mouseClick(w.pmntlist->viewport(), Qt::LeftButton, {},
                      w.pmntlist->visualItemRect(w.pmntlist->topLevelItem(0)).center());
    click("cmd_delete");
    EXPECT_TRUE(payments().empty());
}

// A figure beyond the money the books hold is refused, naming its field, and nothing is
// written; the largest that fits is taken.
TEST_F(FrmPaymentTest, AmountsBeyondTheMoneyLimitAreRefused) {
    auto& w = open();
    const QString tooLarge = "922337203685478";
    const std::pair<QLineEdit*, const char*> cases[] = {
        {w.txt_amount, "Amount can not be more than 922,337,203,685,477"},
        {w.txt_tds, "TDS can not be more than 922,337,203,685,477"},
        {w.txt_recoveries, "Other Recoveries can not be more than 922,337,203,685,477"}};
    for (const auto& [field, message] : cases) {
        fill("R1");
        field->setText(tooLarge);
        if (field == w.txt_amount) { // once through the real box
            EXPECT_EQ(twtest::withRealBoxes({"OK"}, [&] { save(); }), QStringList{message});
        } else {
            messages().clear();
            save();
            EXPECT_EQ(messages().texts(), Texts{message});
        }
        EXPECT_TRUE(focused(field)) << message;
        EXPECT_TRUE(payments().empty());
    }
    fill("R1", "922337203685477");
    save();
    ASSERT_EQ(payments().size(), 1u);
    EXPECT_EQ(payments()[0].number("tw_netamt"), 922337203685477.0);
}

// The total adds the amounts as figures, however large a stored one is.
TEST_F(FrmPaymentTest, TotalOfAVeryLargeReceiptIsWhole) {
    db().exec("insert into payment_rec (tw_contract_num, tw_bill_num, tw_recpt_num, tw_netamt) "
              "values ('P1', 'RA-1', 'R1', 1e38), ('P1', 'RA-1', 'R2', 0.00005)");
    auto& w = open();
    EXPECT_EQ(w.txt_totamt->text(), "100000000000000000000000000000000000000");
    EXPECT_EQ(twtest::rowCells(w.pmntlist, 1).value(3), "0.00005");
}

// The Down key moves to the next bill and shows its amount and payments; the focus stays.
TEST_F(FrmPaymentTest, DownKeyMovesToTheNextBill) {
    auto& w = open();
    QApplication::setActiveWindow(&w);
    w.Cmbpaybillno->setFocus(Qt::TabFocusReason);
    for (const char* bill : {"RA-2", "RA-2"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        EXPECT_EQ(w.Cmbpaybillno->currentText() + " " + w.txt_bl_amount->text(),
                  QString(bill) + " 0.38");
        EXPECT_TRUE(focused(w.Cmbpaybillno));
    }
}

TEST_F(FrmPaymentTest, DeleteAsksThroughTheRealBoxAndDeletesOnlyOnYes) {
    auto& w = open();
    w.cmd_delete->setEnabled(true);
    click("cmd_delete");
    EXPECT_EQ(messages().texts(), Texts{"There are no items to delete"});
    fill("R1");
    save();
    fill("R2", "40");
    save();
    for (const auto& [button, left] : {std::pair{"&No", 2u}, {"&Yes", 1u}}) {
        w.pmntlist->setCurrentItem(w.pmntlist->topLevelItem(0));
        w.pmntlist->itemClicked(w.pmntlist->topLevelItem(0), 0);
        ASSERT_TRUE(w.cmd_delete->isEnabled());
        EXPECT_EQ(twtest::withRealBoxes({button}, [&] { click("cmd_delete"); }),
                  QStringList{"You are Deleting : R1"});
        EXPECT_EQ(payments().size(), left) << button;
        EXPECT_FALSE(w.cmd_delete->isEnabled());
    }
    EXPECT_EQ(payments()[0].text("tw_recpt_num"), "R2");
    EXPECT_EQ(w.pmntlist->topLevelItemCount(), 1);
    EXPECT_EQ(w.txt_totamt->text(), "40");
}

// The command line stores the row the screen stores for the same payment, column by column:
// the project's and the bill's numbers as stored, the amounts read as typed, the dates' text.
TEST_F(FrmPaymentTest, TheCommandLineStoresWhatTheScreenStores) {
    auto& w = open();
    twtest::pick(w.Cmbpaybillno, "RA-2");
    fill("R 7", "1.2.3");
    w.txt_tds->setText("12.5");
    w.cmb_typofpmnt->setEditText(QString::fromUtf8("Chèque"));
    w.BillDate->setValue(QDate(2024, 3, 5));
    w.dt_chkdt->setValue(QDate(2024, 2, 29));
    save();
    ASSERT_EQ(payments().size(), 1u);
    const tw::Row byScreen = payments()[0];
    db().exec("delete from payment_rec");

    QString out, err;
    QTextStream o(&out), e(&err);
    const QStringList args{
        "--folder", folder(),        "payment",   "add",       "--project",
        "p1",       "--bill",        "ra-2",      "--receipt", "R 7",
        "--date",   "05-03-2024",    "--amount",  "1.2.3",     "--tds",
        "12.5",     "--recoveries",  "0",         "--type",    QString::fromUtf8("Chèque"),
        "--bank",   "State Bank",    "--branch",  "Camp",      "--cheque",
        "123456",   "--cheque-date", "29-02-2024"};
    ASSERT_EQ(cli::run(args, o, e), 0) << err.toStdString();
    ASSERT_EQ(payments().size(), 1u);
    const tw::Row byCommand = payments()[0];
    ASSERT_EQ(byCommand.count(), byScreen.count());
    // Each value with its type: 0 stored as a number is not "0" stored as a text.
    const auto shown = [](const QVariant& v) {
        return QString::fromLatin1(v.typeName()) + u' ' + v.toString();
    };
    for (int c = 0; c < byScreen.count(); ++c)
        EXPECT_EQ(shown(byCommand.value(c)), shown(byScreen.value(c)))
            << byScreen.columnName(c).toStdString();
}

TEST_F(FrmPaymentTest, TypedTextIsStoredAsTypedAndALongTypeIsToldButKept) {
    auto& w = open();
    QTest::keyClicks(w.txt_amount, "1a.2.3-");
    EXPECT_EQ(w.txt_amount->text(), "1.2.3"); // a second point passes, letters do not

    fill("R9");
    w.cmb_typofpmnt->setEditText("Demand draft from HO"); // 20 characters
    EXPECT_TRUE(messages().shown.empty());
    w.cmb_typofpmnt->setEditText("Demand draft from HO!");
    EXPECT_EQ(w.cmb_typofpmnt->currentText(), "Demand draft from HO!");
    save(); // the store keeps 20 characters: a longer type is refused, not cut
    EXPECT_EQ(messages().texts(), Texts(2, "Type of Payment can not be more than 20 characters"));
    EXPECT_TRUE(payments().empty());

    const QString receipt = "O'Neil \"7\"";
    const QString bank = QString::fromUtf8("भारतीय स्टेट बैंक");
    const QString branch = QString(50, QChar(u'ß'));
    fill(receipt);
    w.txt_bank->setText(bank);
    w.txt_branch->setText(branch);
    w.cmb_typofpmnt->setEditText("Chèque");
    messages().clear();
    save();
    ASSERT_TRUE(messages().shown.empty());
    ASSERT_EQ(payments().size(), 1u);
    const auto row = payments()[0];
    EXPECT_EQ(QStringList(
                  {row.text("tw_recpt_num"), row.text("tw_bank_name"), row.text("tw_branch_name")}),
              (QStringList{receipt, bank, branch}));
    EXPECT_EQ(twtest::rowCells(w.pmntlist, 0).value(1), receipt);

    // The type typed once is offered the next time the screen opens.
    auto& again = open();
    EXPECT_EQ(again.cmb_typofpmnt->findText("Chèque"), 0);
}

} // namespace
