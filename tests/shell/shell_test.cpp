#include "shell/frm_contractinfo.h"
#include "shell/frmsplash.h"
#include "shell/loginform.h"
#include "shell/tallyframe.h"
#include "support/fixtures.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>

using twtest::AppFolderTest;
using twtest::messages;

namespace {

struct LoginCase {
    const char* name;
    const char* user;
    const char* pass;
    bool withConfig;
    // What the user sees, in order; an empty text means the login went through.
    const char* message;
    const char* title;
    int icon;
    const char* focus;
};

} // namespace

class LoginTest : public AppFolderTest {};

TEST_F(LoginTest, ChecksRunInOrderWithTheirMessages) {
    const LoginCase cases[] = {
        {"empty user", "", "x", true, "Enter User ID", "Information", ui::Information, "txtuserid"},
        {"blank user", "   ", "x", true, "Enter User ID", "Information", ui::Information,
         "txtuserid"},
        {"blank password", "admin", "   ", true, "Enter Password", "Information", ui::Information,
         "txtpass"},
        {"no config", "admin", "Secret", false, nullptr, nullptr, 0, nullptr},
        {"wrong user", "someone", "Secret", true, "Invalid User Name", "Tallywright",
         ui::Information, "txtuserid"},
        {"wrong case password", "admin", "secret", true, "Invalid PassWord ", "Tallywright",
         ui::Information, "txtpass"},
        {"user in other case", "ADMIN", "Secret", true, "", nullptr, 0, nullptr},
        {"blanks around", "  Admin ", " Secret  ", true, "", nullptr, 0, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(folder() + QStringLiteral("/twk.cfg"));
        if (c.withConfig)
            writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
        messages().clear();
        LoginForm form;
        form.show();
        QSignalSpy ok(&form, &LoginForm::loggedIn);
        form.txtuserid->setText(QString::fromLatin1(c.user));
        form.txtpass->setText(QString::fromLatin1(c.pass));
        form.cmdLogin_clicked();
        if (!c.message) { // nothing at all happens
            EXPECT_TRUE(messages().shown.empty());
            EXPECT_EQ(ok.count(), 0);
            continue;
        }
        if (!*c.message) {
            EXPECT_TRUE(messages().shown.empty());
            EXPECT_EQ(ok.count(), 1);
            continue;
        }
        ASSERT_EQ(messages().shown.size(), 1u);
        EXPECT_EQ(messages().shown[0].text, QString::fromLatin1(c.message));
        EXPECT_EQ(messages().shown[0].title, QString::fromLatin1(c.title));
        EXPECT_EQ(messages().shown[0].flags, c.icon);
        EXPECT_EQ(ok.count(), 0);
        ASSERT_TRUE(form.focusWidget());
        EXPECT_EQ(form.focusWidget()->objectName(), QString::fromLatin1(c.focus));
    }
}

TEST_F(LoginTest, WrongUserEmptiesThePasswordAndWrongPasswordSelectsIt) {
    writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
    LoginForm form;
    form.show();
    form.txtuserid->setText(QStringLiteral("other"));
    form.txtpass->setText(QStringLiteral("Secret"));
    form.cmdLogin_clicked();
    EXPECT_TRUE(form.txtpass->text().isEmpty());
    form.txtuserid->setText(QStringLiteral("admin"));
    form.txtpass->setText(QStringLiteral("wrong"));
    form.cmdLogin_clicked();
    EXPECT_EQ(form.txtpass->selectedText(), QStringLiteral("wrong"));
}

TEST_F(LoginTest, UserIdFieldDropsKeysOutsideItsSet) {
    LoginForm form;
    form.show();
    form.txtuserid->setFocus();
    QTest::keyClicks(form.txtuserid, QStringLiteral("ab C-1./_x'\"@#9"));
    QTest::keyClick(form.txtuserid, Qt::Key_Return);
    EXPECT_EQ(form.txtuserid->text(), QStringLiteral("ab C-1./_x9"));
    QTest::keyClick(form.txtuserid, Qt::Key_Backspace);
    EXPECT_EQ(form.txtuserid->text(), QStringLiteral("ab C-1./_x"));
    QTest::keyClicks(form.txtuserid, QStringLiteral("0123456789abc"));
    EXPECT_EQ(form.txtuserid->text().size(), 20);
}

TEST_F(LoginTest, EnterInThePasswordLogsIn) {
    writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
    LoginForm form;
    form.show();
    QSignalSpy ok(&form, &LoginForm::loggedIn);
    form.txtuserid->setText(QStringLiteral("admin"));
    form.txtpass->setText(QStringLiteral("Secret"));
    QTest::keyClick(form.txtpass, Qt::Key_Return);
    EXPECT_EQ(ok.count(), 1);
}

TEST_F(LoginTest, ComingBackFillsTheUserAndClearsThePassword) {
    writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
    LoginForm form;
    form.txtpass->setText(QStringLiteral("typed"));
    QEvent activate(QEvent::WindowActivate);
    QApplication::sendEvent(&form, &activate);
    EXPECT_EQ(form.txtuserid->text(), QStringLiteral("Admin"));
    EXPECT_TRUE(form.txtpass->text().isEmpty());
}

class SplashTest : public AppFolderTest {};

TEST_F(SplashTest, StepsThroughEveryFileOfTheFolderThenFinishes) {
    for (const char* n : {"a.txt", "b.txt"}) {
        QFile f(QDir(folder()).filePath(QString::fromLatin1(n)));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    frmSplash splash;
    QSignalSpy done(&splash, &frmSplash::finished);
    const int files = splash.File1->count();
    EXPECT_EQ(files, int(QDir(folder()).entryList(QDir::Files).size()));
    QStringList seen;
    for (int i = 0; i < files; ++i) {
        splash.Timer1_timeout();
        seen << splash.Label1->text();
    }
    EXPECT_EQ(done.count(), 0);
    EXPECT_TRUE(seen.contains(folder() + QStringLiteral("/a.txt")));
    splash.Timer1_timeout();
    EXPECT_EQ(done.count(), 1);
    EXPECT_FALSE(splash.Timer1->isActive());
}

class FrameTest : public AppFolderTest {
protected:
    void SetUp() override {
        AppFolderTest::SetUp();
        // A plain child stands in for a screen, so the frame's rules are tried on their own.
        TallyFrame::factories()[QStringLiteral("frm_proj")] = [] { return new QWidget; };
        TallyFrame::factories()[QStringLiteral("frm_dims")] = [] { return new QWidget; };
    }
    void TearDown() override {
        TallyFrame::factories().erase(QStringLiteral("frm_proj"));
        TallyFrame::factories().erase(QStringLiteral("frm_dims"));
        AppFolderTest::TearDown();
    }
    static int children(TallyFrame& f) { return int(f.mdi->subWindowList().size()); }
    static QString active(TallyFrame& f) {
        auto* s = f.mdi->activeSubWindow();
        return s && s->widget() ? s->widget()->objectName() : QString();
    }
};

TEST_F(FrameTest, OpensWithTheBoardAndEveryMenuEntry) {
    TallyFrame frame;
    frame.show();
    EXPECT_EQ(frame.windowTitle(), QStringLiteral(" Tallywright Main Screen"));
    EXPECT_EQ(active(frame), QStringLiteral("frm_ContractInfo"));
    EXPECT_TRUE(tw::Tallywrightmod::boardopen);
    const std::pair<const char*, const char*> entries[] = {
        {"msnuprojs", "Define / Modify projects"},
        {"schenter", "Enter Schedule Items"},
        {"copysch", "Copy Schedule Items from One Project to Another"},
        {"dimentry", "Measurements Entry"},
        {"mnurnfrc", "Re&inforcement"},
        {"Report_Generation", "&Reports"},
        {"mnuexit", "E&xit"},
        {"mnupayment", "Payments"},
        {"rtanal", "Rate Analysis for a Project"},
        {"analcats", "Rate Analysis for standard Categories"},
        {"materials", "Maintain Materials"},
        {"import", "Import"},
        {"setup", "Set Up"},
        {"mnuUsrGd", "User Guide"},
        {"mnuAbtUs", "About Us"},
        {"mnurtedt", "Edit"},
    };
    for (const auto& [name, caption] : entries) {
        auto* a = frame.findChild<QAction*>(QString::fromLatin1(name));
        ASSERT_TRUE(a) << name;
        EXPECT_EQ(a->text(), QString::fromLatin1(caption)) << name;
    }
    // A screen with a maker is open to the user; one without stays greyed.
    EXPECT_TRUE(frame.findChild<QAction*>(QStringLiteral("msnuprojs"))->isEnabled());
    EXPECT_FALSE(frame.findChild<QAction*>(QStringLiteral("mnupayment"))->isEnabled());
    QStringList menus;
    for (QAction* a : frame.menuBar()->actions())
        menus << a->text();
    EXPECT_EQ(menus, (QStringList{"&File", "&Tools", "&Window", "Help"}));
    EXPECT_FALSE(frame.mnurtanl->menuAction()->isVisible() &&
                 frame.menuBar()->actions().contains(frame.mnurtanl->menuAction()));
}

TEST_F(FrameTest, OneInstanceOfAScreenAndExitClosesOneChildAtATime) {
    auto* frame = new TallyFrame;
    frame->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<TallyFrame> alive(frame);
    frame->show();
    frame->openChild(QStringLiteral("frm_proj"));
    frame->openChild(QStringLiteral("frm_dims"));
    frame->openChild(QStringLiteral("frm_proj"));
    EXPECT_EQ(children(*frame), 3); // board, projects, measurements
    EXPECT_EQ(active(*frame), QStringLiteral("frm_proj"));

    for (int left = 2; left >= 0; --left) {
        frame->findChild<QAction*>(QStringLiteral("mnuexit"))->trigger();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ASSERT_TRUE(alive);
        EXPECT_EQ(children(*frame), left);
    }
    EXPECT_FALSE(tw::Tallywrightmod::boardopen);
    // With no child open, Exit ends the frame.
    frame->findChild<QAction*>(QStringLiteral("mnuexit"))->trigger();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(alive);
}

TEST_F(FrameTest, BackgroundDoubleClickBringsTheBoardBackOnlyOnce) {
    TallyFrame frame;
    frame.show();
    auto board = [&] {
        int n = 0;
        for (auto* s : frame.mdi->subWindowList())
            n += s->widget() && s->widget()->objectName() == QLatin1String("frm_ContractInfo");
        return n;
    };
    QTest::mouseDClick(frame.mdi->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(board(), 1); // the board is up already

    auto* info = frame.findChild<frm_ContractInfo*>();
    info->cmdCancel_clicked();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(board(), 0);
    EXPECT_FALSE(tw::Tallywrightmod::boardopen);
    QTest::mouseDClick(frame.mdi->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(board(), 1);
}

TEST_F(FrameTest, BoardOpensTheFirstChosenScreenAndGoes) {
    TallyFrame frame;
    frame.show();
    auto* info = frame.findChild<frm_ContractInfo*>();
    info->cmdok_clicked(); // nothing chosen: the board stays
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_TRUE(frame.findChild<frm_ContractInfo*>());
    info->Option1->setChecked(true);
    info->cmdok_clicked();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(frame.findChild<frm_ContractInfo*>());
    EXPECT_EQ(active(frame), QStringLiteral("frm_dims"));
}

TEST_F(FrameTest, UserGuideOpensInsideTheProgram) {
    QDir(folder()).mkdir(QStringLiteral("docs"));
    QFile guide(folder() + QStringLiteral("/docs/user-guide.html"));
    ASSERT_TRUE(guide.open(QIODevice::WriteOnly));
    guide.write("<html><body><h1>Guide</h1></body></html>");
    guide.close();
    TallyFrame frame;
    frame.show();
    frame.findChild<QAction*>(QStringLiteral("mnuUsrGd"))->trigger();
    auto* view = frame.findChild<QTextBrowser*>(QStringLiteral("UserGuide"));
    ASSERT_TRUE(view);
    EXPECT_TRUE(view->toPlainText().contains(QStringLiteral("Guide")));
}

TEST_F(FrameTest, MissingGuideIsAMessageNotAnEnd) {
    TallyFrame frame;
    frame.show();
    frame.findChild<QAction*>(QStringLiteral("mnuUsrGd"))->trigger();
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_EQ(messages().shown[0].flags, ui::Critical);
    EXPECT_TRUE(frame.isVisible());
}
