#include "screens/schedules/frm_import.h"
#include "screens/shell/frm_backup.h"
#include "screens/shell/frm_changedir.h"
#include "screens/shell/frm_customize.h"
#include "screens/shell/frm_setup.h"
#include "screens/shell/tallyframe.h"
#include "store/backup.h"
#include "support/fixtures.h"
#include "ui/lookfile.h"

#include <QAction>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <optional>

#include <sqlite3.h>

using twtest::messages;
using Texts = std::vector<QString>;

namespace {
void put(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}
QByteArray got(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}
QString cfgIn(const QString& folder) {
    return folder + QStringLiteral("/Tallywright.cfg");
}
const QByteArray orgLines = "Company Name=Sharma Builders\nAddress1=12 Ring Road\nAddress2=Ward 4\n"
                            "City=Pune\nPin=411001\nEmail=a@b.com\nURL=www.sb.in\nPhone1=020-5\n"
                            "Phone2=+91 20\nMobile=98220\nFax=021\nCEOName=R Sharma\n";
const QByteArray lookLines = "BackColor=255\nForeColor=65280\nTextColor=16711680\n"
                             "TextForeColor=0\nCommandButton=255\nBold=True\nItalic=False\n"
                             "Underline=False\nStrike=True\nFont=Sans\nSize=10\n";
} // namespace

using SetupTest = twtest::ScreenTest<frm_setup>;
using CustomizeTest = twtest::ScreenTest<Frm_Customize>;

TEST_F(SetupTest, LoadsByPositionWhateverTheKeysSayAndAShortFileIsAnErrorNotAnEnd) {
    const struct {
        QByteArray file;
        const char* name; // txtnameoforg after the load
        const char* ceo;
        int errors;
    } cases[] = {
        {orgLines + lookLines, "Sharma Builders", "R Sharma", 0},
        // The keys are not read: line 1 gives what stands from character 14 on.
        {QByteArray("XXXXXXXXXXXXXAcme\n") + orgLines.mid(orgLines.indexOf('\n') + 1), "Acme",
         "R Sharma", 0},
        {orgLines.left(orgLines.indexOf("Fax=")), "Sharma Builders", "", 1},
        {QByteArray("Company Name=Acme\nAdd\n"), "Acme", "", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        put(cfgIn(folder()), c.file);
        messages().clear();
        open();
        EXPECT_EQ(screen->txtnameoforg->text(), QString::fromLatin1(c.name));
        EXPECT_EQ(screen->txtceo->text(), QString::fromLatin1(c.ceo));
        ASSERT_EQ(int(messages().shown.size()), c.errors);
        if (c.errors) {
            EXPECT_EQ(messages().shown[0].flags & ui::Critical, ui::Critical);
        }
        EXPECT_TRUE(screen->CmdSave->isEnabled());
    }
}

TEST_F(SetupTest, SaveChecksInOrderThenRewritesTheFileWithTheLookReset) {
    const std::tuple<const char*, const char*, QString> cases[] = {
        // name, email; text|title|focus of the one message
        {"  ", "x", "Name of organization can not be blank|Tallywright|txtnameoforg"},
        {"Acme", "acme.com",
         "Email id format is wrong, please retype the Email-id|Retype email id|txtemail"},
        {"Acme", "a@b.xyz", "Please enter the correct domain|Enter correct domain|txtemail"},
        {"Acme", "", "Saved to configuration file|Information|"},
        {" Acme ", "a@b.co.in", "Saved to configuration file|Information|"},
    };
    const QString file = cfgIn(folder());
    for (const auto& [name, email, shown] : cases) {
        SCOPED_TRACE(shown.toStdString());
        put(file, orgLines + lookLines);
        open();
        messages().clear();
        screen->txtnameoforg->setText(name);
        screen->txtemail->setText(email);
        screen->txtfax->clear();
        screen->CmdSave_clicked();
        ASSERT_EQ(messages().shown.size(), 1u);
        const auto& m = messages().shown[0];
        const QWidget* focus = screen->focusWidget();
        const bool saved = m.text.startsWith(QLatin1String("Saved"));
        EXPECT_EQ(m.text + u'|' + m.title + u'|' +
                      (saved || !focus ? QString() : focus->objectName()),
                  shown);
        QByteArray want = orgLines + lookLines; // a refused save leaves the file as it was
        if (saved) {
            want = orgLines + "BackColor=\nForeColor=\nTextColor=\nTextForeColor=\nCommandButton=\n"
                              "Bold=False\nItalic=False\nUnderline=False\nStrike=False\n"
                              "Font=MS Sans Serif\nSize=8\n";
            want.replace("Company Name=Sharma Builders", "Company Name=Acme");
            want.replace("Email=a@b.com", "Email=" + QByteArray(email));
            want.replace("Fax=021", "Fax=");
        }
        EXPECT_EQ(got(file), want);
    }
}

TEST_F(SetupTest, WithNoFileTheScreenStartsEmptyAndSaveMakesItWithBareLookKeys) {
    open();
    EXPECT_TRUE(screen->txtnameoforg->text().isEmpty());
    screen->txtnameoforg->setText(QStringLiteral("Acme"));
    screen->CmdSave_clicked();
    QByteArray want = "Company Name=Acme\n";
    for (const QString& k : look::allKeys().mid(1))
        want += k.toLatin1() + '\n';
    EXPECT_EQ(got(cfgIn(folder())), want);
}

// A limit holds what is typed; a longer text written by hand into the file is kept whole.
// The file is put in place whole and never written through a link: a link is refused, naming
// the file, and the file it points to stays as it was.
TEST_F(SetupTest, TheFileIsNeverWrittenThroughALink) {
    const QString elsewhere = folder() + QStringLiteral("/elsewhere.cfg");
    put(elsewhere, orgLines + lookLines);
    ASSERT_TRUE(QFile::link(elsewhere, cfgIn(folder())));
    open();
    messages().clear();
    screen->CmdSave_clicked();
    EXPECT_EQ(messages().texts(), Texts{cfgIn(folder()) + " is a symbolic link; Tallywright "
                                                          "writes no file through one."});
    EXPECT_EQ(got(elsewhere), orgLines + lookLines);
}

TEST_F(SetupTest, ALineLongerThanItsFieldIsLoadedAndSavedWhole) {
    const QByteArray name(50, 'N'), mobile = "98220 12345 6";
    QByteArray file = orgLines + lookLines;
    file.replace("Sharma Builders", name).replace("98220", mobile);
    put(cfgIn(folder()), file);
    open();
    EXPECT_EQ(screen->txtnameoforg->text(), QString::fromLatin1(name));
    screen->CmdSave->click();
    EXPECT_TRUE(got(cfgIn(folder())).contains("Company Name=" + name + "\n"));
    EXPECT_TRUE(got(cfgIn(folder())).contains("Mobile=" + mobile + "\n"));
    screen->txtnameoforg->clear();
    QTest::keyClicks(screen->txtnameoforg, QString(40, u'x'));
    EXPECT_EQ(screen->txtnameoforg->text().size(), 35);
}

TEST_F(SetupTest, NumberFieldsDropBackspaceAndTextFieldsKeepIt) {
    open();
    QTest::keyClicks(screen->txtpin, QStringLiteral("41a 1"));
    QTest::keyClick(screen->txtpin, Qt::Key_Backspace);
    EXPECT_EQ(screen->txtpin->text(), QStringLiteral("41 1"));
    QTest::keyClicks(screen->txtcity, QStringLiteral("Pune"));
    QTest::keyClick(screen->txtcity, Qt::Key_Backspace);
    EXPECT_EQ(screen->txtcity->text(), QStringLiteral("Pun"));
}

TEST_F(CustomizeTest, ReturnParameterTakesTheFirstLineHoldingTheKeyInAnyCase) {
    put(cfgIn(folder()), "textforecolor= 7 \nForeColor=9\nsize=11\n");
    for (const auto& [key, want] :
         {std::pair{"ForeColor=", "7"}, {"TextForeColor=", "7"}, {"Size=", "11"}, {"Font=", ""}}) {
        QString field = QStringLiteral("kept"); // a key not found leaves the field as it was
        EXPECT_EQ(look::returnparameter(QString::fromLatin1(key), field), QString::fromLatin1(want))
            << key;
        EXPECT_EQ(field, *want ? QString::fromLatin1(want) : QStringLiteral("kept"));
    }
}

TEST_F(CustomizeTest, ApplyWritesTheLoadedValuesBackWithDefaultsFilledIn) {
    const struct {
        QByteArray file, look;
    } cases[] = {
        {orgLines, "BackColor=2147483663\nForeColor=2147483662\nTextColor=2147483653\n"
                   "TextForeColor=0\nCommandButton=16711680\nBold=False\nItalic=False\n"
                   "Underline=False\nStrike=False\nFont=MS Sans Serif\nSize=8\n"},
        {orgLines + lookLines, lookLines},
        {orgLines + QByteArray(lookLines).replace("Size=10", "Size=0"),
         QByteArray(lookLines).replace("Size=10", "Size=8")},
    };
    for (const auto& c : cases) {
        put(cfgIn(folder()), c.file);
        open();
        screen->cmd_apply_clicked();
        EXPECT_EQ(got(cfgIn(folder())), orgLines + c.look);
    }
}

TEST_F(CustomizeTest, ColoursKeepTheirByteOrderAndFontSizeTwelveIsRefused) {
    put(cfgIn(folder()), orgLines);
    open();
    screen->pickColour = [](const QColor&) { return std::optional<QColor>(QColor(1, 2, 3)); };
    screen->Cmd_Tabs_backcolor_clicked();
    EXPECT_EQ(screen->value(QStringLiteral("BackColor=")), QStringLiteral("197121"));
    EXPECT_EQ(screen->lblAmount->palette().color(QPalette::Window), QColor(1, 2, 3));
    EXPECT_EQ(screen->cmd_apply->palette().color(QPalette::Button), QColor(0, 0, 255));
    EXPECT_EQ(look::toColor(2147483663LL, QPalette()), QPalette().color(QPalette::Button));

    for (int size : {11, 12}) {
        SCOPED_TRACE(size);
        messages().clear();
        const QFont picked(QStringLiteral("Serif"), size, QFont::Bold);
        screen->pickFont = [picked](const QFont&) { return std::optional<QFont>(picked); };
        screen->cmdFont_clicked();
        EXPECT_EQ(screen->value(QStringLiteral("Size=")), QStringLiteral("11"));
        EXPECT_EQ(screen->value(QStringLiteral("Bold=")), QStringLiteral("True"));
        EXPECT_EQ(messages().texts(),
                  size == 12 ? Texts{"Maximum Font size selectable is 11"} : Texts{});
    }
    EXPECT_EQ(screen->lblDescription->font().pointSize(), 11);
}

class BackupTest : public twtest::ScreenTest<frm_backup> {
protected:
    QString shortFile() const { return folder() + QStringLiteral("/Talywright.db"); }
    QString live() const { return folder() + QStringLiteral("/Tallywright.db"); }
};

TEST_F(BackupTest, BackupCopiesTheShortNamedFileOverwritingWithoutAQuestion) {
    open();
    const QString dest = folder() + QStringLiteral("/copy.db");
    put(dest, "old");
    screen->cmd_backup_clicked();
    EXPECT_EQ(messages().texts(), Texts{"Slect destination file"});
    // No short-named file: a message box, and the program and the destination go on.
    messages().clear();
    screen->txt_destname->setText(dest);
    EXPECT_FALSE(ui::guard([&] { screen->cmd_backup_clicked(); }));
    EXPECT_EQ(got(dest), "old");
    put(shortFile(), "short");
    // Never a copy onto itself (the destination the picker offers first), nor over the open
    // database or its journal: a box names the file, and the bar does not show.
    const QByteArray before = got(live());
    screen->cmd_browse_backup_clicked();
    screen->picker()->cmd_ok_clicked();
    for (const QString& onto : {screen->txt_destname->text(), live(), live() + "-journal"}) {
        screen->txt_destname->setText(onto);
        const QStringList shown =
            twtest::withRealBoxes({"OK"}, [&] { screen->cmd_backup->click(); });
        ASSERT_EQ(shown.size(), 1);
        EXPECT_TRUE(shown[0].startsWith(onto + u' ')) << shown[0].toStdString();
        EXPECT_FALSE(screen->prog_save->isVisible());
    }
    EXPECT_EQ(got(shortFile()), "short");
    EXPECT_EQ(got(live()), before);
    EXPECT_FALSE(QFile::exists(live() + "-journal"));
    screen->txt_destname->setText(dest);
    EXPECT_TRUE(twtest::withRealBoxes({}, [&] { screen->cmd_backup->click(); }).isEmpty());
    EXPECT_EQ(got(dest), "short");
    EXPECT_TRUE(screen->txt_destname->text().isEmpty());
    EXPECT_TRUE(screen->prog_save->isVisible());
    EXPECT_EQ(screen->prog_save->value(), screen->prog_save->minimum());
}

TEST_F(BackupTest, RestoreWritesTheShortNameBesideTheLiveDatabaseAndNeverOverIt) {
    open();
    const QByteArray before = got(live());
    const QString source = folder() + QStringLiteral("/from.db");
    put(source, "saved");
    for (const QString& path : {source, live(), folder() + QStringLiteral("/missing.db")}) {
        SCOPED_TRACE(path.toStdString());
        messages().clear();
        screen->txt_restore->setText(path);
        screen->cmd_restore_clicked();
        EXPECT_EQ(got(live()), before);
        EXPECT_TRUE(screen->txt_restore->text().isEmpty());
        EXPECT_EQ(screen->focusWidget(), screen->txt_restore);
        EXPECT_EQ(messages().shown.size(), path.endsWith(QLatin1String("missing.db")) ? 1u : 0u);
    }
    EXPECT_EQ(got(shortFile()), before); // the last good restore was of the live file
    EXPECT_EQ(twtest::withRealBoxes({"OK"}, [&] { screen->cmd_restore->click(); }),
              QStringList{"Select Restore File"});
}

TEST_F(BackupTest, ALongRestorePathWarnsOnEachKeyAndIsNotCut) {
    open();
    const QString path = QStringLiteral("/") + QString(54, u'a');
    screen->txt_restore->setText(path);
    QTest::keyClick(screen->txt_restore, Qt::Key_B);
    EXPECT_EQ(messages().shown.size(), 0u); // 56 characters only now
    QTest::keyClick(screen->txt_restore, Qt::Key_C);
    QTest::keyClick(screen->txt_restore, Qt::Key_D);
    EXPECT_EQ(messages().texts(), Texts(2, "Maximum Allowed Characters are 55 Only"));
    EXPECT_EQ(messages().shown[0].title, QStringLiteral("File Name"));
    EXPECT_EQ(screen->txt_restore->text(), path + u'b');
}

TEST_F(BackupTest, ThePickerGivesTheShortNameAndItsCancelEmptiesTheBackupField) {
    open();
    const QString sub = folder() + QStringLiteral("/data");
    QDir().mkpath(sub);
    put(sub + QStringLiteral("/other.xls"), "x");
    const QString want = sub + QStringLiteral("/Talywright.db");

    screen->cmd_browse_backup_clicked();
    frm_changedir* picker = screen->picker();
    ASSERT_NE(picker, nullptr);
    EXPECT_FALSE(picker->File1->isVisibleTo(picker));
    picker->setFolder(QStringLiteral("/"));
    EXPECT_EQ(picker->txt_destname->text(), QStringLiteral("/Talywright.db"));
    picker->setFolder(sub);
    EXPECT_EQ(picker->txt_destname->text(), want);
    picker->cmd_ok_clicked();
    EXPECT_EQ(screen->txt_destname->text(), want);

    screen->txt_restore->setText(QStringLiteral("kept"));
    screen->cmd_browse_restore_clicked();
    picker = screen->picker();
    picker->setFolder(sub);
    ASSERT_EQ(picker->File1->count(), 1);
    picker->txt_destname->clear();
    messages().clear();
    picker->cmd_ok_clicked();
    EXPECT_EQ(messages().texts(), Texts{"select the Destination Path"});
    picker->File1->setCurrentRow(0);
    picker->File1_itemClicked();
    EXPECT_EQ(picker->txt_destname->text(), want);
    picker->cmd_cancel_clicked();
    EXPECT_EQ(screen->txt_restore->text(), QStringLiteral("kept"));
    EXPECT_TRUE(screen->txt_destname->text().isEmpty());
}

class AutoBackupTest : public twtest::AppFolderTest {
protected:
    // Another program writing the books: it holds the file's lock until release().
    class Writer {
    public:
        Writer() {
            sqlite3_open(QFile::encodeName(tw::AppFolder::databasePath()).constData(), &db_);
            holds_ = sqlite3_exec(db_, "begin exclusive", nullptr, nullptr, nullptr) == SQLITE_OK;
        }
        ~Writer() { release(); }
        bool holds() const { return holds_; }
        void release() {
            if (db_)
                sqlite3_exec(db_, "rollback", nullptr, nullptr, nullptr);
            sqlite3_close(db_);
            db_ = nullptr;
        }

    private:
        sqlite3* db_ = nullptr;
        bool holds_ = false;
    };
};

// The day's backup is made while the window goes on answering: with another program writing the
// file, the copy waits for it, and an event posted meanwhile is answered before the copy ends.
TEST_F(AutoBackupTest, TheDaysBackupLeavesTheWindowAnswering) {
    const QDateTime morning(QDate(2026, 3, 2), QTime(9, 0));
    Writer writer;
    ASSERT_TRUE(writer.holds());
    QObject window;
    std::optional<QString> made;
    ASSERT_TRUE(startDailyBackup(
        &window, twtest::scripted(), [&](const QString& file) { made = file; }, morning));
    bool answered = false;
    QTimer::singleShot(0, &window, [&] { answered = true; });
    // A guard against a hang, not a measure of time.
    const QDeadlineTimer guard(60000);
    while (!answered && !guard.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    EXPECT_TRUE(answered);
    EXPECT_FALSE(made); // the copy still waits for the writer
    writer.release();
    while (!made && !guard.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    ASSERT_TRUE(made);
    EXPECT_EQ(tw::backup::check(*made), QStringLiteral("ok"));
    EXPECT_TRUE(messages().shown.empty());
}

// A day's backup that takes a while shows in the main window's status line; its Cancel stops
// the copy even while it waits for another program's write: nothing is left, nothing is said
// but a note in the status line, and the next start makes the day's backup.
TEST_F(AutoBackupTest, TheDaysBackupShowsItsProgressAndItsCancelStopsIt) {
    const QDateTime morning(QDate(2026, 3, 2), QTime(9, 0));
    Writer writer;
    ASSERT_TRUE(writer.holds());
    QMainWindow window;
    window.show();
    std::optional<QString> made;
    ASSERT_TRUE(startDailyBackup(
        &window, twtest::scripted(), [&](const QString& file) { made = file; }, morning));
    // A guard against a hang, not a measure of time.
    const QDeadlineTimer guard(60000);
    QWidget* shown = nullptr;
    while (!(shown && shown->isVisible()) && !made && !guard.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        shown = window.findChild<QWidget*>(QStringLiteral("backupProgress"));
    }
    ASSERT_TRUE(shown && shown->isVisible());
    auto* cancel = shown->findChild<QPushButton*>(QStringLiteral("cmdStopBackup"));
    ASSERT_TRUE(cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
    while (!made && !guard.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->isEmpty());
    // The line says so for a while, without its bar and button.
    ASSERT_TRUE(shown->isVisible());
    EXPECT_EQ(shown->findChild<QLabel*>(QStringLiteral("lblBackup"))->text(),
              QStringLiteral("The backup of today was cancelled; it is made at the next start."));
    EXPECT_FALSE(cancel->isVisible());
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_TRUE(QDir(tw::backup::folder()).entryList(QDir::Files).isEmpty());
    EXPECT_FALSE(tw::backup::madeOn(morning.date()));

    writer.release();
    made.reset();
    ASSERT_TRUE(startDailyBackup(
        &window, twtest::scripted(), [&](const QString& file) { made = file; }, morning));
    while (!made && !guard.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    ASSERT_TRUE(made);
    EXPECT_EQ(tw::backup::check(*made), QStringLiteral("ok"));
    EXPECT_EQ(window.findChildren<QWidget*>(QStringLiteral("backupProgress")).size(), 1);
}

TEST_F(AutoBackupTest, OneADayAtStartEveryEndAndAFailureToldOnceWithoutStopping) {
    const QDateTime morning(QDate(2026, 3, 2), QTime(9, 0));
    const QString first = dailyBackup(twtest::scripted(), morning);
    ASSERT_FALSE(first.isEmpty());
    EXPECT_EQ(tw::backup::check(first), QStringLiteral("ok"));
    EXPECT_TRUE(dailyBackup(twtest::scripted(), morning.addSecs(3600)).isEmpty());
    EXPECT_FALSE(closingBackup(twtest::scripted(), morning.addSecs(7200)).isEmpty());
    EXPECT_EQ(tw::backup::list().size(), 2u);
    EXPECT_FALSE(dailyBackup(twtest::scripted(), morning.addDays(1)).isEmpty());

    // A backups folder that cannot be written: one message, the database as it was.
    QDir(tw::backup::folder()).removeRecursively();
    put(tw::backup::folder(), "not a folder");
    const QByteArray live = got(tw::AppFolder::databasePath());
    EXPECT_TRUE(dailyBackup(twtest::scripted(), morning.addDays(2)).isEmpty());
    EXPECT_EQ(messages().shown.size(), 1u);
    // The end of a session says so too: the desktop shows it in a box.
    EXPECT_TRUE(closingBackup(twtest::scripted(), morning.addDays(2)).isEmpty());
    EXPECT_EQ(messages().shown.size(), 2u);
    EXPECT_EQ(got(tw::AppFolder::databasePath()), live);
}

class FrameOperationsTest : public twtest::AppFolderTest {};

// The export is reached only through the frame's operation; the menu's Import then turns the
// same open screen back to importing.
TEST_F(FrameOperationsTest, TheMenusImportTurnsAnOpenExportBackToImporting) {
    auto& f = TallyFrame::factories();
    f[QStringLiteral("Frm_Import")] = [] { return new Frm_Import; };
    {
        TallyFrame frame;
        frame.show();
        auto* exporting = qobject_cast<Frm_Import*>(frame.openImport(true));
        ASSERT_NE(exporting, nullptr);
        EXPECT_TRUE(exporting->CmdExport->isEnabled());
        EXPECT_FALSE(exporting->CmdImport->isEnabled());
        frame.findChild<QAction*>(QStringLiteral("import"))->trigger();
        EXPECT_FALSE(exporting->CmdExport->isEnabled());
        EXPECT_TRUE(exporting->CmdImport->isEnabled());
    }
    f.erase(QStringLiteral("Frm_Import"));
}
