#include "projects/frm_proj.h"

#include "support/fixtures.h"

#include <QApplication>
#include <QTest>

#include <functional>
#include <memory>

namespace {

using twtest::messages;

class FrmProjTest : public twtest::AppFolderTest {
protected:
    // The screen opens on the test's database, so rows put in before are listed.
    frm_proj& open() {
        screen = std::make_unique<frm_proj>();
        screen->setAttribute(Qt::WA_DeleteOnClose, false);
        return *screen;
    }
    template <class T> T* field(const char* name) {
        auto* w = screen->findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    QLineEdit* edit(const char* name) { return field<QLineEdit>(name); }
    void typeId(const QString& id) { screen->cmbcontractno->setEditText(id); }
    void save() { QTest::mouseClick(field<QPushButton>("cmdcontractsave"), Qt::LeftButton); }
    void pick(const QString& id) {
        auto* list = screen->cmbcontractno;
        const int i = list->findText(id);
        ASSERT_GE(i, 0) << id.toStdString();
        list->setCurrentIndex(i);
        emit list->activated(i);
    }
    tw::Rows projects() {
        return db().rows(QStringLiteral("select * from contractmaster order by tw_pkey"));
    }
    bool hasFocus(QWidget* w) {
        QWidget* f = screen->focusWidget();
        return f == w || (f && w->isAncestorOf(f)) || (f && f->focusProxy() == w);
    }
    std::unique_ptr<frm_proj> screen;
};

TEST_F(FrmProjTest, ListsProjectIdsInStoreOrderWithNothingPicked) {
    for (const char* id : {"Z-9", "A-1", "M-5"})
        db().insert(QStringLiteral("contractmaster"),
                    {{QStringLiteral("tw_contract_num"), QString::fromLatin1(id)},
                     {QStringLiteral("tw_contract_name"), QStringLiteral("n")}});
    auto& w = open();
    ASSERT_EQ(w.cmbcontractno->count(), 3);
    EXPECT_EQ(w.cmbcontractno->itemText(0), "Z-9");
    EXPECT_EQ(w.cmbcontractno->itemText(1), "A-1");
    EXPECT_EQ(w.cmbcontractno->itemText(2), "M-5");
    EXPECT_EQ(w.cmbcontractno->findText(QStringLiteral("Add New")), -1);
    // A project shown before any is picked would be overwritten by an innocent save.
    EXPECT_EQ(w.cmbcontractno->currentText(), "");
    EXPECT_EQ(w.windowTitle(), "Project Definition");
}

// Each case fills the screen, saves, and names the first check that must fail. Nothing may be
// written when a check fails.
struct SaveCheck {
    const char* name;
    QString id, projectName, email;
    QString text, title;
    const char* focus;
};

class FrmProjSaveChecks : public FrmProjTest, public ::testing::WithParamInterface<SaveCheck> {};

TEST_P(FrmProjSaveChecks, FirstFailingCheckShowsItsMessageAndWritesNothing) {
    const SaveCheck& c = GetParam();
    auto& w = open();
    w.show();
    typeId(c.id);
    w.txtcontractname->setText(c.projectName);
    w.txtclientemail->setText(c.email);
    save();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, c.text);
    EXPECT_EQ(messages().shown[0].title, c.title);
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_TRUE(hasFocus(field<QWidget>(c.focus))) << c.focus;
    EXPECT_TRUE(projects().empty());
}

const QString noId = QStringLiteral("Please Enter Project Id");
const QString noName = QStringLiteral("Please Enter the Project Name");
const QString noAt = QStringLiteral("Email id format is wrong, please retype the Email-id");
const QString noDomain = QStringLiteral("Please enter the correct domain");
const QString infoTitle = QStringLiteral("Information");
const QString retype = QStringLiteral("Retype email id");
const QString domain = QStringLiteral("Enter correct domain");

INSTANTIATE_TEST_SUITE_P(
    Order, FrmProjSaveChecks,
    ::testing::Values(
        SaveCheck{"EmptyId", "", "", "x", noId, infoTitle, "cmbcontractno"},
        SaveCheck{"BlankId", "   ", "Tower", "", noId, infoTitle, "cmbcontractno"},
        SaveCheck{"AddNewIsNoId", " Add New ", "Tower", "", noId, infoTitle, "cmbcontractno"},
        SaveCheck{"BlankNameBeforeEmail", "P1", "  ", "bad", noName, infoTitle, "txtcontractname"},
        SaveCheck{"NoAtBeforeDomain", "P1", "Tower", "mail.example.in", noAt, retype,
                  "txtclientemail"},
        SaveCheck{"AtButNoKnownDomain", "P1", "Tower", "a@b.in", noDomain, domain,
                  "txtclientemail"},
        SaveCheck{"FragmentCaseMatters", "P1", "Tower", "a@b.c0m", noDomain, domain,
                  "txtclientemail"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(FrmProjTest, EmailPassesWithAnyFragmentAnywhere) {
    auto& w = open();
    const QString good[] = {"a@b.COM",           "x@y.org",    "x@y.net",      "x@y.gov.in",
                            "x@y.edu",           "x@army.mil", "x@iitb.ac.in", "x@tata.co.in",
                            "x@telecommunity.in" /* "com" inside a word is enough */};
    int n = 0;
    for (const QString& e : good) {
        typeId(QStringLiteral("P%1").arg(++n));
        w.txtcontractname->setText(QStringLiteral("Tower"));
        w.txtclientemail->setText(QStringLiteral("  ") + e + QStringLiteral(" "));
        save();
        EXPECT_TRUE(messages().shown.empty()) << e.toStdString();
        messages().clear();
    }
    const auto rows = projects();
    ASSERT_EQ(rows.size(), std::size(good));
    EXPECT_EQ(rows[0].text("tw_Client_email"), "a@b.COM"); // stored trimmed
}

TEST_F(FrmProjTest, EmptyFieldsAreStoredAsOneBlankOrZero) {
    auto& w = open();
    typeId(QStringLiteral("P1"));
    w.txtcontractname->setText(QStringLiteral("Tower"));
    save();
    ASSERT_TRUE(messages().shown.empty());
    const auto rows = projects();
    ASSERT_EQ(rows.size(), 1u);
    const tw::Row& r = rows[0];
    EXPECT_EQ(r.text("tw_contract_num"), "P1");
    EXPECT_EQ(r.text("tw_contract_name"), "Tower");
    for (const char* col :
         {"tw_client_ref", "tw_client_ref_date", "tw_start_date", "tw_end_date", "tw_Client_Name",
          "tw_client_contact", "tw_Client_adline1", "tw_Client_adline2", "tw_Client_city",
          "tw_Client_email", "tw_Client_url"})
        EXPECT_EQ(r.text(QString::fromLatin1(col)), " ") << col;
    for (const char* col :
         {"tw_Client_Pin", "tw_Client_phone1", "tw_Client_phone2", "tw_Client_Mobile"})
        EXPECT_EQ(r.text(QString::fromLatin1(col)), "0") << col;
    EXPECT_FALSE(r.isNull("tw_tax_rate"));
    EXPECT_EQ(r.number("tw_tax_rate"), 0.0);
    // No measure system was picked, so none is written.
    EXPECT_TRUE(r.isNull("tw_units"));
}

TEST_F(FrmProjTest, FilledFieldsAreStoredTrimmedInTheirColumns) {
    auto& w = open();
    typeId(QStringLiteral("P1"));
    w.txtcontractname->setText(QStringLiteral("  Tower Block "));
    w.txtclientref->setText(QStringLiteral("REF/7"));
    w.txtclientrefdate->setValue(QDate(2024, 1, 5));
    w.txtclientstartdate->setValue(QDate(2024, 2, 1));
    w.txtclientenddate->setValue(QDate(2024, 2, 1)); // the same day is a valid end
    w.txttaxrate->setText(QStringLiteral("9.5"));
    w.txtunitrate->setCurrentIndex(w.txtunitrate->findText(QStringLiteral("Metre")));
    w.txtclientname->setText(QStringLiteral("Client"));
    w.txtclientcontact->setText(QStringLiteral("Contact"));
    w.txtclientadd1->setText(QStringLiteral("Line 1"));
    w.txtclientadd2->setText(QStringLiteral("Line 2"));
    w.txtclientcity->setText(QStringLiteral("Pune"));
    w.txtclientpin->setText(QStringLiteral("411001"));
    w.txtclientphone1->setText(QStringLiteral("0201234567890123456789012"));
    w.txtclientphone2->setText(QStringLiteral("022"));
    w.txtclientmobile->setText(QStringLiteral("9876543210"));
    w.txtclientemail->setText(QStringLiteral("a@b.com"));
    w.txtclienturl->setText(QStringLiteral("www.b.com"));
    save();
    ASSERT_TRUE(messages().shown.empty());
    const auto rows = projects();
    ASSERT_EQ(rows.size(), 1u);
    const tw::Row& r = rows[0];
    const std::pair<const char*, const char*> expected[] = {
        {"tw_contract_name", "Tower Block"},
        {"tw_client_ref", "REF/7"},
        {"tw_client_ref_date", "05-01-2024"},
        {"tw_start_date", "01-02-2024"},
        {"tw_end_date", "01-02-2024"},
        {"tw_units", "Metre"},
        {"tw_Client_Name", "Client"},
        {"tw_client_contact", "Contact"},
        {"tw_Client_adline1", "Line 1"},
        {"tw_Client_adline2", "Line 2"},
        {"tw_Client_city", "Pune"},
        {"tw_Client_Pin", "411001"},
        {"tw_Client_phone1", "0201234567890123456789012"}, // 25 digits, leading zero kept
        {"tw_Client_phone2", "022"},
        {"tw_Client_Mobile", "9876543210"},
        {"tw_Client_email", "a@b.com"},
        {"tw_Client_url", "www.b.com"}};
    for (const auto& [col, value] : expected)
        EXPECT_EQ(r.text(QString::fromLatin1(col)), QString::fromLatin1(value)) << col;
    EXPECT_EQ(r.number("tw_tax_rate"), 9.5);
}

TEST_F(FrmProjTest, SavingAnExistingIdOverwritesItAndANewIdAdds) {
    auto& w = open();
    typeId(QStringLiteral("P1"));
    w.txtcontractname->setText(QStringLiteral("First"));
    w.txtunitrate->setCurrentIndex(1);
    save();
    const qint64 key = projects().at(0).value("tw_pkey").toLongLong();

    // The same Id in another case is the same project: it keeps its Id and takes the values.
    typeId(QStringLiteral("p1"));
    w.txtcontractname->setText(QStringLiteral("Second"));
    w.txtunitrate->setCurrentIndex(-1); // no system picked: the project keeps "Metre"
    save();
    auto rows = projects();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].value("tw_pkey").toLongLong(), key);
    EXPECT_EQ(rows[0].text("tw_contract_num"), "P1");
    EXPECT_EQ(rows[0].text("tw_contract_name"), "Second");
    EXPECT_EQ(rows[0].text("tw_units"), "Metre");

    typeId(QStringLiteral("P2"));
    w.txtcontractname->setText(QStringLiteral("Third"));
    save();
    rows = projects();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].text("tw_contract_num"), "P2");
    EXPECT_EQ(rows[0].text("tw_contract_name"), "Second");
    // The new Id can be picked at once, and the typed text stays as it was.
    EXPECT_GE(w.cmbcontractno->findText(QStringLiteral("P2")), 0);
    EXPECT_EQ(w.cmbcontractno->currentText(), "P2");
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmProjTest, QuotesInIdAndNameAreStoredAndFoundAsTyped) {
    const QString id = QStringLiteral("O'Neil \"B\" -- ;");
    const QString name = QStringLiteral("D'Souza's 'Tower'); drop table contractmaster; --");
    auto& w = open();
    typeId(id);
    w.txtcontractname->setText(name);
    w.txtclientname->setText(QStringLiteral("O'Brien"));
    save();
    ASSERT_TRUE(messages().shown.empty());
    // Saving again finds the row by the same awkward Id.
    save();
    auto rows = projects();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].text("tw_contract_num"), id);
    EXPECT_EQ(rows[0].text("tw_contract_name"), name);

    // Opened again, the project is listed and picked by the same Id.
    auto& again = open();
    pick(id);
    EXPECT_EQ(again.txtcontractname->text(), name);
    EXPECT_EQ(again.txtclientname->text(), "O'Brien");
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmProjTest, PickingAProjectShowsItAndRemembersItsDates) {
    db().insert(QStringLiteral("contractmaster"),
                {{QStringLiteral("tw_contract_num"), QStringLiteral("P1")},
                 {QStringLiteral("tw_contract_name"), QStringLiteral("Tower")},
                 {QStringLiteral("tw_client_ref"), QStringLiteral(" ")},
                 {QStringLiteral("tw_start_date"), QStringLiteral("01-03-2024")},
                 {QStringLiteral("tw_end_date"), QStringLiteral("30-06-2024")},
                 {QStringLiteral("tw_client_ref_date"), QStringLiteral(" ")},
                 {QStringLiteral("tw_tax_rate"), 12.5},
                 {QStringLiteral("tw_Client_Pin"), 0},
                 {QStringLiteral("tw_Client_phone1"), QStringLiteral("0201234")},
                 {QStringLiteral("tw_Client_city"), QVariant()}});
    db().insert(QStringLiteral("contractmaster"),
                {{QStringLiteral("tw_contract_num"), QStringLiteral("P2")},
                 {QStringLiteral("tw_contract_name"), QStringLiteral("Bridge")},
                 {QStringLiteral("tw_units"), QStringLiteral("Metre")}});
    auto& w = open();
    pick(QStringLiteral("P2"));
    EXPECT_EQ(w.txtunitrate->currentText(), "Metre");
    pick(QStringLiteral("P1"));
    EXPECT_EQ(w.txtcontractname->text(), "Tower");
    EXPECT_EQ(w.txtclientref->text(), "");
    EXPECT_EQ(w.txtclientcity->text(), "");
    EXPECT_EQ(w.txttaxrate->text(), "12.5");
    EXPECT_EQ(w.txtclientpin->text(), ""); // 0 means none
    EXPECT_EQ(w.txtclientphone1->text(), "0201234");
    EXPECT_TRUE(w.txtclientrefdate->isEmpty());
    EXPECT_EQ(w.txtclientstartdate->valueText(), "01-03-2024");
    EXPECT_EQ(w.txtclientenddate->valueText(), "30-06-2024");
    // A project without a measure system shows the first one.
    EXPECT_EQ(w.txtunitrate->currentText(), "Feet");

    // Moving the start after the end is refused, and the remembered start comes back.
    w.txtclientstartdate->setValue(QDate(2024, 7, 1));
    w.txtclientstartdate_LostFocus();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "StartDate should be Less than Enddate");
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(messages().shown[0].title, "Tallywright");
    EXPECT_EQ(w.txtclientstartdate->valueText(), "01-03-2024");

    messages().clear();
    w.txtclientenddate->setValue(QDate(2024, 2, 1));
    w.txtclientenddate_LostFocus();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "End date should be greater than startdate");
    EXPECT_EQ(messages().shown[0].title, "End Date");
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(w.txtclientenddate->valueText(), "30-06-2024");

    // Start and end on the same day pass both checks.
    messages().clear();
    w.txtclientenddate->setValue(QDate(2024, 3, 1));
    w.txtclientenddate_LostFocus();
    w.txtclientstartdate_LostFocus();
    EXPECT_TRUE(messages().shown.empty());
}

TEST_F(FrmProjTest, DateChecksRunWhenTheFieldIsLeftAndAddNewTakesToday) {
    auto& w = open();
    w.show();
    QApplication::setActiveWindow(&w);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&w));
    typeId(QStringLiteral("Add New"));
    w.txtclientenddate->setValue(QDate(2020, 1, 1));
    w.txtclientstartdate->setValue(QDate(2020, 6, 1));
    w.txtclientstartdate->setFocus();
    w.txtcontractname->setFocus(); // leaves the start date
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "StartDate should be Less than Enddate");
    EXPECT_EQ(w.txtclientstartdate->value(), QDate::currentDate());
    EXPECT_EQ(QApplication::focusWidget(), w.txtclientstartdate);

    messages().clear();
    w.txtclientstartdate->setValue(QDate(2019, 1, 1));
    w.txtclientenddate->setFocus();
    EXPECT_TRUE(messages().shown.empty());
    w.txtclientenddate->setValue(QDate(2018, 1, 1));
    w.txtcontractname->setFocus(); // leaves the end date
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "End date should be greater than startdate");
    EXPECT_EQ(w.txtclientenddate->value(), QDate::currentDate());
}

TEST_F(FrmProjTest, KeyRulesAndTheLongIdWarning) {
    auto& w = open();
    QTest::keyClicks(w.txtclientpin, QStringLiteral("41a1-00 1x"));
    EXPECT_EQ(w.txtclientpin->text(), "411001");
    QTest::keyClicks(w.txtclientmobile, QStringLiteral("+91 98765"));
    EXPECT_EQ(w.txtclientmobile->text(), "9198765");
    QTest::keyClicks(w.txttaxrate, QStringLiteral("9..5"));
    EXPECT_EQ(w.txttaxrate->text(), "9.5");
    QTest::keyClicks(w.txttaxrate, QStringLiteral("5")); // three characters at most
    EXPECT_EQ(w.txttaxrate->text(), "9.5");
    EXPECT_TRUE(messages().shown.empty());

    // 99 is the highest tax rate; more empties the field.
    w.txttaxrate->clear();
    QTest::keyClicks(w.txttaxrate, QStringLiteral("99"));
    EXPECT_TRUE(messages().shown.empty());
    w.txttaxrate->clear();
    QTest::keyClicks(w.txttaxrate, QStringLiteral("100"));
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "Tax should not be Greaterthan 99");
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_EQ(messages().shown[0].title, "Tallywright");
    EXPECT_EQ(w.txttaxrate->text(), "");

    messages().clear();
    QTest::keyClicks(w.cmbcontractno->lineEdit(), QString(30, u'X'));
    EXPECT_TRUE(messages().shown.empty());
    QTest::keyClicks(w.cmbcontractno->lineEdit(), QStringLiteral("Y"));
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].text, "Maximum 30 Characters only Allowed...");
    EXPECT_EQ(messages().shown[0].title, "Contact Number");
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(w.cmbcontractno->currentText().size(), 31); // the text stays
}

TEST_F(FrmProjTest, CancelEmptiesTheFieldsButKeepsDatesAndSystem) {
    auto& w = open();
    w.show();
    typeId(QStringLiteral("P1"));
    QList<QLineEdit*> cleared;
    for (auto* e : w.findChildren<QLineEdit*>()) {
        if (e->objectName().startsWith(QLatin1String("txt"))) {
            e->setText(QStringLiteral("1"));
            cleared << e;
        }
    }
    EXPECT_EQ(cleared.size(), 14);
    w.txtclientstartdate->setValue(QDate(2024, 1, 1));
    w.txtunitrate->setCurrentIndex(1);
    QTest::mouseClick(w.cmdcontractclose, Qt::LeftButton);
    EXPECT_EQ(w.cmbcontractno->currentText(), "");
    EXPECT_EQ(w.cmbcontractno->currentIndex(), -1);
    for (auto* e : cleared)
        EXPECT_EQ(e->text(), "") << e->objectName().toStdString();
    EXPECT_EQ(w.txtclientstartdate->valueText(), "01-01-2024");
    EXPECT_EQ(w.txtunitrate->currentText(), "Metre");
    EXPECT_TRUE(w.isVisible()); // the screen stays open
    EXPECT_TRUE(projects().empty());
}

TEST_F(FrmProjTest, AStoreFailureShowsABoxAndKeepsWhatWasTyped) {
    auto& w = open();
    db().exec(QStringLiteral("drop table contractmaster"));
    typeId(QStringLiteral("P1"));
    w.txtcontractname->setText(QStringLiteral("Tower"));
    save();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_TRUE(
        messages().shown[0].text.contains(QLatin1String("contractmaster"), Qt::CaseInsensitive));
    EXPECT_EQ(w.cmbcontractno->currentText(), "P1");
    EXPECT_EQ(w.txtcontractname->text(), "Tower");
}

TEST_F(FrmProjTest, AlonePointInTheTaxRateIsRefusedBeforeAnythingIsWritten) {
    auto& w = open();
    typeId(QStringLiteral("P1"));
    w.txtcontractname->setText(QStringLiteral("Tower"));
    QTest::keyClicks(w.txttaxrate, QStringLiteral("."));
    save();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_TRUE(projects().empty());
}

} // namespace
