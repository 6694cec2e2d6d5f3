#include "screens/projects/frm_proj.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTest>

namespace {

using twtest::messages;
using Texts = std::vector<QString>;

class FrmProjTest : public twtest::ScreenTest<frm_proj> {
protected:
    void typeId(const QString& id) { screen->cmbcontractno->setEditText(id); }
    void save() { click("cmdcontractsave"); }
    tw::Rows projects() { return db().keyed("contractmaster"); }
};

TEST_F(FrmProjTest, FirstFailingSaveCheckShowsItsMessageFocusesAndWritesNothing) {
    const QString info = "Information", domain = "Please enter the correct domain";
    struct Case {
        QString id, name, email, tax, text, title;
        const char* focus;
    } cases[] = {
        {"", "", "x", "", "Please Enter Project Id", info, "cmbcontractno"},
        {" Add New ", "T", "", "", "Please Enter Project Id", info, "cmbcontractno"},
        {"P1", "  ", "bad", "", "Please Enter the Project Name", info, "txtcontractname"},
        {"P1", "T", "mail.example.in", "", "Email id format is wrong, please retype the Email-id",
         "Retype email id", "txtclientemail"},
        {"P1", "T", "a@b.in", "", domain, "Enter correct domain", "txtclientemail"},
        {"P1", "T", "", ".", "The tax rate \".\" is not a number.", "Tallywright", "txttaxrate"},
    };
    for (const Case& c : cases) {
        auto& w = open();
        messages().clear();
        typeId(c.id);
        w.txtcontractname->setText(c.name);
        w.txtclientemail->setText(c.email);
        w.txttaxrate->setText(c.tax);
        save();
        ASSERT_EQ(messages().texts(), Texts{c.text});
        EXPECT_EQ(messages().shown[0].title, c.title);
        const QWidget* got = w.focusWidget();
        EXPECT_TRUE(got && (got == field(c.focus) || field(c.focus)->isAncestorOf(got))) << c.focus;
        EXPECT_TRUE(projects().empty());
    }
}

TEST_F(FrmProjTest, SavingWritesTrimmedFieldsBlanksAndZerosAndAnIdInAnyCaseOverwrites) {
    auto& w = open();
    typeId("P1");
    w.txtcontractname->setText("Tower");
    save();
    typeId("P2");
    w.txtcontractname->setText("  Tower Block ");
    w.txtclientrefdate->setValue(QDate(2024, 1, 5));
    w.txttaxrate->setText("9.5");
    w.txtunitrate->setCurrentIndex(w.txtunitrate->findText("Metre"));
    w.txtclientcity->setText(" Pune ");
    w.txtclientphone1->setText("0201234567890123456789012");
    w.txtclientemail->setText("  x@telecommunity.in "); // "com" inside a word is enough
    save();
    ASSERT_TRUE(messages().shown.empty());
    const auto rows = projects();
    ASSERT_EQ(rows.size(), 2u);
    const std::tuple<const char*, QString, QString> expected[] = {
        {"tw_contract_name", "Tower", "Tower Block"},
        {"tw_client_ref_date", " ", "05-01-2024"},
        {"tw_start_date", " ", " "},
        {"tw_Client_city", " ", "Pune"},
        {"tw_Client_Pin", "0", "0"},
        {"tw_Client_phone1", "0", "0201234567890123456789012"}, // 25 digits, leading zero kept
        {"tw_Client_email", " ", "x@telecommunity.in"},
        {"tw_tax_rate", "0", "9.5"},
        {"tw_units", "", "Metre"}}; // no system picked writes none
    for (const auto& [column, empty, filled] : expected) {
        EXPECT_EQ(rows[0].text(column), empty) << column;
        EXPECT_EQ(rows[1].text(column), filled) << column;
    }
    // The Id in another case is the same project; with no system picked it keeps its own. New
    // Ids are listed when the screen opens again.
    typeId("p2");
    w.txtcontractname->setText("Second");
    w.txtunitrate->setCurrentIndex(-1);
    save();
    EXPECT_EQ(w.cmbcontractno->findText("P2"), -1);
    open();
    twtest::pick(screen->cmbcontractno, "P2");
    EXPECT_EQ(screen->txtcontractname->text(), "Second");
    EXPECT_EQ(screen->txtunitrate->currentText(), "Metre");
    EXPECT_EQ(projects().size(), 2u);
}

TEST_F(FrmProjTest, PickingShowsTheProjectAndLeavingAWrongDatePutsItBack) {
    const QString longName(60, u'N'); // over the 50 characters a name is typed with
    db().exec("insert into contractmaster (tw_contract_num, tw_contract_name, tw_client_ref, "
              "tw_start_date, tw_end_date, tw_tax_rate, tw_Client_Pin, tw_Client_Name) values "
              "(?,?,?,?,?,?,?,?)",
              {"P1", "Tower", " ", "01-03-2024", "30-06-2024", 12.5, 0, longName});
    auto& w = open();
    QApplication::setActiveWindow(&w);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&w));
    EXPECT_EQ(w.cmbcontractno->currentText(), ""); // nothing an innocent save could overwrite
    twtest::pick(w.cmbcontractno, "P1");
    // A stored blank and a 0 show as nothing; a project without a system shows "Feet".
    EXPECT_EQ(w.txtcontractname->text() + w.txtclientref->text() + w.txtclientpin->text(), "Tower");
    EXPECT_EQ(w.txttaxrate->text(), "12.5");
    EXPECT_EQ(w.txtunitrate->currentText(), "Feet");
    EXPECT_EQ(w.txtclientname->text(), longName); // shown whole, and typing adds nothing
    QTest::keyClicks(w.txtclientname, "X");
    EXPECT_EQ(w.txtclientname->text(), longName);

    const QString early = "StartDate should be Less than Enddate";
    const QString late = "End date should be greater than startdate";
    const std::tuple<QString, ui::DateEdit*, QDate, QDate, QString, QString> cases[] = {
        {"P1", w.txtclientstartdate, {2024, 7, 1}, {2024, 3, 1}, early, "Tallywright"},
        {"P1", w.txtclientenddate, {2024, 2, 1}, {2024, 6, 30}, late, "End Date"},
        {"Add New", w.txtclientenddate, {2024, 2, 1}, QDate::currentDate(), late, "End Date"}};
    for (const auto& [id, date, wrong, back, text, title] : cases) {
        messages().clear();
        w.txtclientstartdate->setValue({2024, 3, 1}); // the same day as an end passes
        w.txtclientenddate->setValue({2024, 3, 1});
        typeId(id);
        date->setFocus();
        QTest::keyClick(date, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(date, wrong.toString("ddMMyyyy")); // taken as the field is left
        w.txtcontractname->setFocus();                      // leaves the date
        ASSERT_EQ(messages().texts(), Texts{text});
        EXPECT_EQ(messages().shown[0].title, title);
        EXPECT_EQ(date->value(), back);
        EXPECT_EQ(QApplication::focusWidget(), date);
    }
}

TEST_F(FrmProjTest, TaxRateLimitsAndTheLongIdWarning) {
    auto& w = open();
    QTest::keyClicks(w.txttaxrate, "99");
    EXPECT_TRUE(messages().shown.empty());
    w.txttaxrate->clear();
    QTest::keyClicks(w.txttaxrate, "100"); // over 99 empties the field
    EXPECT_EQ(w.txttaxrate->text(), "");
    ASSERT_EQ(messages().texts(), Texts{"Tax should not be Greaterthan 99"});
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);

    messages().clear();
    QTest::keyClicks(w.cmbcontractno->lineEdit(), QString(30, u'X')); // 30 pass
    QTest::keyClicks(w.cmbcontractno->lineEdit(), "Y");
    ASSERT_EQ(messages().texts(), Texts{"Maximum 30 Characters only Allowed..."});
    EXPECT_EQ(messages().shown[0].title, "Contact Number");
    EXPECT_EQ(w.cmbcontractno->currentText().size(), 31); // the text stays
}

TEST_F(FrmProjTest, CancelEmptiesTheFieldsButKeepsTheSystemAndStaysOpen) {
    auto& w = open();
    typeId("P1");
    const auto edits = w.findChildren<QLineEdit*>(QRegularExpression("^txt"));
    QString left;
    for (auto* e : edits)
        e->setText("1");
    w.txtunitrate->setCurrentIndex(1);
    click("cmdcontractclose");
    for (auto* e : edits)
        left += e->text();
    EXPECT_EQ(edits.size(), 14);
    EXPECT_EQ(left + w.cmbcontractno->currentText(), "");
    EXPECT_EQ(w.txtunitrate->currentText(), "Metre");
    EXPECT_TRUE(w.isVisible());
}

} // namespace
