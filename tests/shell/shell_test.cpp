#include "screens/shell/frm_backup.h"
#include "screens/shell/frm_contractinfo.h"
#include "screens/shell/frmsplash.h"
#include "screens/shell/loginform.h"
#include "screens/shell/tallyframe.h"
#include "store/backup.h"
#include "support/fixtures.h"

#include <QAbstractButton>
#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMdiSubWindow>
#include <QRadioButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <csignal>

using twtest::AppFolderTest;
using twtest::messages;

class LoginTest : public AppFolderTest {};

TEST_F(LoginTest, ChecksRunInOrderWithTheirMessages) {
    const struct {
        const char *user, *pass;
        bool withConfig;
        const char* shown; // text|title|focus; empty: logged in; null: nothing at all happens
    } cases[] = {
        {"", "x", true, "Enter User ID|Information|txtuserid"},
        {"admin", "   ", true, "Enter Password|Information|txtpass"},
        {"admin", "Secret", false, nullptr},
        {"someone", "Secret", true, "Invalid User Name|Tallywright|txtuserid"},
        {"admin", "secret", true, "Invalid PassWord |Tallywright|txtpass"},
        {"ADMIN", "Secret", true, ""},
        {"  Admin ", " Secret  ", true, ""},
    };
    const QString cfg = folder() + QStringLiteral("/twk.cfg");
    const QString hash = tw::hashPassword(QStringLiteral("Secret"));
    // A file from before keeps the password in clear: the first login replaces it by the hash.
    for (const auto& c : cases)
        for (const QString& kept : {QStringLiteral(" Secret"), hash}) {
            SCOPED_TRACE(std::string(c.user) + "/" + c.pass + "/" + kept.toStdString());
            QFile::remove(cfg);
            if (c.withConfig)
                writeConfig(QStringLiteral("Admin"), kept);
            messages().clear();
            LoginForm form;
            form.show();
            QSignalSpy ok(&form, &LoginForm::loggedIn);
            form.txtuserid->setText(QString::fromLatin1(c.user));
            form.txtpass->setText(QString::fromLatin1(c.pass));
            form.cmdLogin_clicked();
            EXPECT_EQ(ok.count(), c.shown && !*c.shown ? 1 : 0);
            ASSERT_EQ(messages().shown.size(), c.shown && *c.shown ? 1u : 0u);
            for (const auto& m : messages().shown) {
                EXPECT_EQ(m.flags, ui::Information);
                EXPECT_EQ(m.text + u'|' + m.title + u'|' + form.focusWidget()->objectName(),
                          QString::fromLatin1(c.shown));
            }
            if (c.withConfig) {
                const QString now = tw::readLoginConfig(cfg)->password;
                EXPECT_EQ(tw::isClearPassword(now), ok.isEmpty() && tw::isClearPassword(kept));
                EXPECT_TRUE(tw::passwordMatches(now, QStringLiteral("Secret")));
            }
        }
    // A file that cannot take the hash (a link, never written through) is told, and the right
    // password still logs in.
    writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
    QFile::rename(cfg, cfg + QStringLiteral(".real"));
    QFile::link(QStringLiteral("twk.cfg.real"), cfg);
    messages().clear();
    LoginForm form;
    QSignalSpy ok(&form, &LoginForm::loggedIn);
    form.txtuserid->setText(QStringLiteral("admin"));
    form.txtpass->setText(QStringLiteral("Secret"));
    form.cmdLogin_clicked();
    EXPECT_EQ(ok.count(), 1);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_TRUE(messages().shown[0].text.contains(cfg + QStringLiteral(" is a symbolic link")));
    EXPECT_EQ(tw::readLoginConfig(cfg + QStringLiteral(".real"))->password,
              QStringLiteral("Secret"));
}

TEST_F(LoginTest, AfterTheRealBoxTheTypedIdStaysAndThePasswordIsSelected) {
    writeConfig(QStringLiteral("Admin"), QStringLiteral("Secret"));
    LoginForm form;
    form.show();
    QApplication::setActiveWindow(&form);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    EXPECT_EQ(form.txtuserid->text(), QStringLiteral("Admin"));
    form.txtuserid->setText(QStringLiteral("other"));
    form.txtpass->setText(QStringLiteral("Secret"));
    // The box takes the activation; once it is closed the window system hands it back.
    auto boxThenBack = [&] {
        const auto shown = twtest::withRealBoxes({"OK"}, [&] { form.cmdLogin->click(); });
        form.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&form));
        return shown;
    };
    EXPECT_EQ(boxThenBack(), QStringList{"Invalid User Name"});
    EXPECT_EQ(form.txtuserid->text(), QStringLiteral("other"));
    EXPECT_TRUE(form.txtpass->text().isEmpty());
    EXPECT_TRUE(twtest::hasFocus(form.txtuserid));

    form.txtuserid->setText(QStringLiteral("admin"));
    form.txtpass->setText(QStringLiteral("wrong"));
    EXPECT_EQ(boxThenBack(), QStringList{"Invalid PassWord "});
    EXPECT_EQ(form.txtpass->selectedText(), QStringLiteral("wrong"));
    EXPECT_TRUE(twtest::hasFocus(form.txtpass));

    // Enter logs in from the password, and presses a focused button.
    QSignalSpy ok(&form, &LoginForm::loggedIn);
    QSignalSpy cancelled(&form, &LoginForm::cancelled);
    form.txtpass->setText(QStringLiteral("Secret"));
    QTest::keyClick(form.txtpass, Qt::Key_Return);
    form.cmdCancel->setFocus();
    QTest::keyClick(form.cmdCancel, Qt::Key_Return);
    EXPECT_EQ(ok.count(), 1);
    EXPECT_EQ(cancelled.count(), 1);
}

TEST_F(LoginTest, AStoredIdLongerThanTheFieldsLimitIsOfferedWholeAndLogsIn) {
    const QString id = QStringLiteral("site-office.administrator");
    writeConfig(id, QStringLiteral("Secret"));
    LoginForm form;
    form.show();
    QSignalSpy ok(&form, &LoginForm::loggedIn);
    QTest::keyClicks(form.txtpass, QStringLiteral("Secret"));
    QTest::keyClick(form.txtpass, Qt::Key_Return);
    EXPECT_EQ(form.txtuserid->text(), id);
    EXPECT_EQ(ok.count(), 1);
}

TEST_F(LoginTest, ADamagedConfigIsToldOnceThenWrittenAnew) {
    QFile cfg(folder() + QStringLiteral("/twk.cfg"));
    ASSERT_TRUE(cfg.open(QIODevice::WriteOnly));
    cfg.write("\"localhost\",\"admin\"\n"); // no password
    cfg.close();
    LoginForm form;
    form.show();
    QApplication::setActiveWindow(&form);
    form.hide(); // and back, as after any box
    form.show();
    QApplication::setActiveWindow(&form);
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_TRUE(messages().shown[0].text.contains(QDir::toNativeSeparators(cfg.fileName())));

    messages().clear();
    QTimer::singleShot(0, [] {
        auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dlg && dlg->objectName() == QStringLiteral("FirstRun"));
        for (const char* name : {"txtuserid", "txtpass", "txtpass2"})
            dlg->findChild<QLineEdit*>(QString::fromLatin1(name))->setText(QStringLiteral("Chief"));
        auto* ok = dlg->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        ok->setFocus();
        QTest::keyClick(ok, Qt::Key_Return);
    });
    EXPECT_TRUE(prepareLoginConfig());
    EXPECT_EQ(messages().shown.size(), 1u);
    const auto written = tw::readLoginConfig(cfg.fileName()).value_or(tw::LoginConfig{});
    EXPECT_EQ(written.userid, QStringLiteral("Chief"));
    EXPECT_FALSE(written.password.contains(QStringLiteral("Chief")));
    EXPECT_TRUE(tw::passwordMatches(written.password, QStringLiteral("Chief")));
}

TEST_F(LoginTest, CancelOnTheFirstRunDialogWritesNothingAndTheNextStartAsksAgain) {
    int asked = 0;
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, [&] {
        auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dlg || !dlg->isVisible() || dlg->objectName() != QStringLiteral("FirstRun"))
            return;
        ++asked;
        QTest::mouseClick(dlg->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    });
    cancel.start(10);
    EXPECT_FALSE(prepareLoginConfig()); // the program ends
    EXPECT_FALSE(prepareLoginConfig());
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(QFile::exists(folder() + QStringLiteral("/twk.cfg")));
}

TEST_F(LoginTest, OnlyALiveCopyHoldsTheLock) {
    const QString lockFile = folder() + QStringLiteral("/Tallywright.lock");
    {
        tw::AppLock other(folder()); // a copy that runs
        EXPECT_EQ(other.state(), tw::AppLock::State::Held);
        EXPECT_EQ(claimSingleInstance(), Claim::Running);
        EXPECT_EQ(messages().texts(), std::vector<QString>{"Apllication already Running"});
        // Books on a server keep no second seat out, from this folder or another.
        messages().clear();
        tw::writeLoginConfig(folder() + QStringLiteral("/twk.cfg"),
                             {QStringLiteral("postgresql://books.example:5432/office"),
                              QStringLiteral("clerk"), QString()});
        EXPECT_EQ(claimSingleInstance(), Claim::Only);
        EXPECT_TRUE(messages().shown.empty());
        QFile::remove(folder() + QStringLiteral("/twk.cfg"));
    }
    QFile(lockFile).open(QIODevice::WriteOnly | QIODevice::Truncate); // left empty by one that died
    messages().clear();
    EXPECT_EQ(claimSingleInstance(), Claim::Only);
    EXPECT_TRUE(messages().shown.empty());
    EXPECT_EQ(QFile::permissions(lockFile) & 0x0077, 0); // nobody's but the owner's

    const QString nowhere = folder() + QStringLiteral("/Tallywright.db/sub");
    tw::AppFolder::set(nowhere);
    EXPECT_EQ(claimSingleInstance(), Claim::Failed);
    tw::AppFolder::set(folder());
    ASSERT_EQ(messages().shown.size(), 1u);
    EXPECT_TRUE(messages().shown[0].text.contains(nowhere))
        << messages().shown[0].text.toStdString();
}

TEST_F(AppFolderTest, SplashStepsThroughEveryFileOfTheFolderThenFinishes) {
    QFile(folder() + QStringLiteral("/a.txt")).open(QIODevice::WriteOnly);
    frmSplash splash;
    QSignalSpy done(&splash, &frmSplash::finished);
    QStringList seen;
    for (int tick = 0; done.isEmpty() && tick <= splash.File1->count(); ++tick) {
        splash.Timer1_timeout();
        seen << splash.Label1->text();
    }
    EXPECT_EQ(seen.size(), splash.File1->count() + 1); // every file, then the frame
    EXPECT_TRUE(seen.contains(folder() + QStringLiteral("/a.txt")));
}

class FrameTest : public AppFolderTest {
protected:
    static int count(TallyFrame& f, const char* name) {
        int n = 0;
        for (auto* s : f.mdi->subWindowList())
            n += s->widget() && s->widget()->objectName() == QLatin1String(name);
        return n;
    }
    static QString active(TallyFrame& f) {
        auto* s = f.mdi->activeSubWindow();
        return s && s->widget() ? s->widget()->objectName() : QString();
    }
    static void settle() {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

TEST_F(FrameTest, OpensOnTheDisplayWithOneInstanceOfAScreenAndExitClosesOneAtATime) {
    auto* frame = new TallyFrame;
    frame->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<TallyFrame> alive(frame);
    frame->show();
    EXPECT_TRUE(frame->screen()->availableGeometry().contains(frame->frameGeometry()));
    EXPECT_EQ(frame->lblstore->text(),
              "Books: " + QDir::toNativeSeparators(folder() + "/Tallywright.db"));
    frame->openChild(QStringLiteral("frm_proj"));
    frame->openChild(QStringLiteral("frm_dims"));
    frame->openChild(QStringLiteral("frm_proj"));
    EXPECT_EQ(frame->mdi->subWindowList().size(), 3); // board, projects, measurements
    EXPECT_EQ(active(*frame), QStringLiteral("frm_proj"));
    for (int left = 2; left >= -1; --left) { // with none left, Exit ends the frame
        frame->findChild<QAction*>(QStringLiteral("mnuexit"))->trigger();
        settle();
        EXPECT_EQ(alive ? int(frame->mdi->subWindowList().size()) : -1, left);
    }
}

TEST_F(FrameTest, TheBoardComesBackOnceAndOpensTheChosenScreenOrSaysItIsNotThere) {
    TallyFrame frame;
    frame.show();
    TallyFrame::factories().erase(QStringLiteral("Frm_Reports"));
    QTest::mouseDClick(frame.mdi->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(count(frame, "frm_ContractInfo"), 1); // the board is up already
    auto* info = frame.findChild<frm_ContractInfo*>();
    info->Option5->setChecked(true);
    info->cmdok->click();
    settle();
    ASSERT_EQ(messages().texts(),
              std::vector<QString>{"\"Reports\" is not part of this version yet."});
    EXPECT_EQ(messages().shown[0].flags, ui::Information);
    EXPECT_EQ(count(frame, "frm_ContractInfo"), 1);
    info->Option1->setChecked(true);
    info->cmdok->click();
    settle();
    EXPECT_EQ(count(frame, "frm_ContractInfo"), 0);
    EXPECT_EQ(active(frame), QStringLiteral("frm_dims"));
    QTest::mouseDClick(frame.mdi->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(count(frame, "frm_ContractInfo"), 1);
}

TEST_F(FrameTest, OnTheBoardArrowsPickTheOptionTheyMoveToAndEnterPressesGo) {
    TallyFrame frame;
    frame.show();
    QApplication::setActiveWindow(&frame);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
    auto* info = frame.findChild<frm_ContractInfo*>();
    info->exopt->setFocus(Qt::TabFocusReason); // nothing picked yet
    const struct {
        Qt::Key key;
        QRadioButton* picked;
    } steps[] = {{Qt::Key_Down, info->newopt},
                 {Qt::Key_Down, info->Option1},
                 {Qt::Key_Up, info->newopt},
                 {Qt::Key_Right, info->Option1}};
    for (const auto& s : steps) {
        QTest::keyClick(QApplication::focusWidget(), s.key);
        EXPECT_TRUE(s.picked->isChecked()) << s.picked->objectName().toStdString();
        EXPECT_TRUE(s.picked->hasFocus());
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(count(frame, "frm_ContractInfo"), 0);
    EXPECT_EQ(active(frame), QStringLiteral("frm_dims"));
}

TEST_F(FrameTest, UserGuideOpensInsideTheProgramFromTheMenuAndTheAboutBox) {
    TallyFrame frame;
    frame.show();
    // The guide ships beside the program (the build copies docs/ there), not in the data.
    frame.findChild<QAction*>(QStringLiteral("mnuUsrGd"))->trigger();
    auto* view = frame.findChild<QTextBrowser*>(QStringLiteral("UserGuide"));
    ASSERT_TRUE(view);
    EXPECT_TRUE(view->toPlainText().contains(QStringLiteral("Tallywright User Guide")));
    view->parentWidget()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(frame.findChild<QTextBrowser*>(QStringLiteral("UserGuide")));

    // The about box shows the product's icon (the picture files are built in) and its link
    // leads to the same guide.
    bool marked = false;
    QTimer::singleShot(0, [&] {
        auto* about = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(about);
        marked = !about->findChild<QLabel*>(QStringLiteral("imgMark"))->pixmap().isNull();
        emit about->findChild<QLabel*>(QStringLiteral("lnkSite"))
            ->linkActivated(QStringLiteral("#guide"));
    });
    frame.findChild<QAction*>(QStringLiteral("mnuAbtUs"))->trigger();
    EXPECT_TRUE(marked);
    EXPECT_TRUE(frame.findChild<QTextBrowser*>(QStringLiteral("UserGuide")));
}

TEST_F(FrameTest, EveryScreenFitsA1366x768DisplayAndHasDistinctAccessKeys) {
    QWidget sample; // the check itself finds a shared key
    new QPushButton(QStringLiteral("&Add"), &sample);
    new QPushButton(QStringLiteral("S&ave"), &sample);
    EXPECT_EQ(ui::duplicateAccessKeys(&sample), QStringList{"Alt+A: &Add, S&ave"});

    TallyFrame frame;
    frame.setWindowState(Qt::WindowNoState);
    frame.resize(1366, 768 - 30); // a window manager's title bar takes some 30 pixels
    frame.show();
    const QRect area = frame.mdi->viewport()->rect();
    TallyFrame::factories()[QStringLiteral("Oversized")] = [] { // opens cut to the work area
        auto* w = new QWidget;
        w->resize(2000, 1500);
        return w;
    };
    QStringList names{QStringLiteral("frm_ContractInfo")}; // the board, there from the start
    for (const auto& [name, make] : TallyFrame::factories())
        names << name;
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        QWidget* screen = frame.openChild(name);
        // The customize screen's captions are given as they stand ("Textbox &Foreground" and
        // "&Font"); every other screen has a key for each control.
        const QStringList shared = name == QLatin1String("Frm_Customize")
                                       ? QStringList{"Alt+F: Textbox &Foreground, &Font"}
                                       : QStringList();
        EXPECT_EQ(ui::duplicateAccessKeys(screen), shared);
        for (auto* button : screen->findChildren<QPushButton*>()) // Enter presses it
            EXPECT_TRUE(button->autoDefault()) << button->objectName().toStdString();
        auto* sub = qobject_cast<QMdiSubWindow*>(screen->parentWidget());
        EXPECT_TRUE(area.contains(sub->geometry())) << sub->width() << "x" << sub->height();
        EXPECT_TRUE(name != QStringLiteral("Oversized") || sub->size() == area.size());
        EXPECT_TRUE(sub->contentsRect().contains(screen->geometry())); // wholly in its window
        EXPECT_GE(screen->width(), screen->minimumSizeHint().width());
        EXPECT_GE(screen->height(), screen->minimumSizeHint().height());
        for (auto* button : screen->findChildren<QAbstractButton*>()) { // none is cut off
            const QRect at(button->mapTo(screen, QPoint()), button->size());
            EXPECT_TRUE(!button->isVisibleTo(screen) || screen->rect().contains(at))
                << button->objectName().toStdString();
        }
        sub->close();
        settle();
    }
    TallyFrame::factories().erase(QStringLiteral("Oversized"));
}

TEST_F(FrameTest, AScreenThatClosesItselfTakesItsWindowAndOpensOnceMore) {
    TallyFrame frame;
    frame.show();
    const auto windows = frame.mdi->subWindowList().size();
    for (const auto& [name, button] :
         {std::pair{"frm_setup", "cmdCancel"}, {"Frm_Import", "CmdExit"}}) {
        SCOPED_TRACE(name);
        for (int round = 0; round < 2; ++round) {
            QWidget* screen = frame.openChild(QString::fromLatin1(name));
            EXPECT_EQ(count(frame, name), 1);
            QTest::mouseClick(screen->findChild<QPushButton*>(QString::fromLatin1(button)),
                              Qt::LeftButton);
            settle();
            EXPECT_EQ(frame.mdi->subWindowList().size(), windows);
        }
    }
}

TEST_F(FrameTest, AScreenOpenedWhileAnotherIsMaximizedOpensMaximizedAndWhole) {
    TallyFrame frame;
    frame.show();
    auto* first = qobject_cast<QMdiSubWindow*>(frame.openChild("frm_proj")->parentWidget());
    const QPoint title(first->width() / 2, 8);
    QTest::mouseMove(first, title);
    QTest::mouseDClick(first, Qt::LeftButton, {}, title);
    ASSERT_TRUE(first->isMaximized());
    const QRect area = frame.mdi->viewport()->rect();
    QMdiSubWindow* sub = nullptr;
    for (const char* name :
         {"frm_dims", "Frm_Reinforcement", "Frm_Reports", "frm_payment", "UserGuide"}) {
        SCOPED_TRACE(name);
        if (name == std::string("UserGuide"))
            frame.findChild<QAction*>(QStringLiteral("mnuUsrGd"))->trigger();
        else
            frame.openChild(QString::fromLatin1(name));
        sub = frame.mdi->activeSubWindow();
        ASSERT_EQ(sub->widget()->objectName(), QString::fromLatin1(name));
        EXPECT_TRUE(sub->isMaximized());
        EXPECT_EQ(sub->geometry(), area);
        EXPECT_EQ(sub->widget()->geometry(), sub->contentsRect());
    }
    // Restored, the guide takes the size it asked for.
    sub->showNormal();
    EXPECT_EQ(sub->widget()->size(), QSize(760, 560));
}

// A logout ends the session with SIGHUP or SIGTERM: the event loop ends as when the last window
// closes, so the backup at the end still runs; the program is not killed on the spot.
TEST(SessionEnd, ALogoutsSignalEndsTheEventLoopAndTheProgramGoesOn) {
    quitOnSignals();
    for (int sig : {SIGTERM, SIGHUP}) {
        QTimer stuck;
        stuck.setSingleShot(true);
        QObject::connect(&stuck, &QTimer::timeout, [] { QCoreApplication::exit(7); });
        stuck.start(5000);
        QTimer::singleShot(0, [sig] { ::raise(sig); });
        EXPECT_EQ(QCoreApplication::exec(), 0) << sig;
    }
}

// A seat of an office whose books are on a server: the server's roles log in, the first run
// names the server and checks it, and the frame and the backup screen say where the books are.
class ServerSeatTest : public AppFolderTest {
protected:
    void SetUp() override {
        if (!onServer())
            GTEST_SKIP() << "needs the test server (TW_TEST_SERVER)";
        AppFolderTest::SetUp();
        books = *tw::Store::server();
        for (const auto& [role, rule] :
             {std::pair{clerk, QStringLiteral("login password 'Secret'")},
              std::pair{barred, QStringLiteral("nologin password 'x'")}})
            twtest::asSuperuser(QStringLiteral("create role %1 %2").arg(role, rule));
    }
    void TearDown() override {
        AppFolderTest::TearDown();
        if (onServer())
            for (const QString& role : {clerk, barred})
                twtest::asSuperuser(QStringLiteral("drop role if exists %1").arg(role));
    }
    tw::ServerAddress books;
    const QString clerk = QStringLiteral("tw_clerk_%1").arg(QCoreApplication::applicationPid());
    const QString barred = QStringLiteral("tw_barred_%1").arg(QCoreApplication::applicationPid());
};

TEST_F(ServerSeatTest, TheFirstRunChecksTheServerAndItsRolesLogIn) {
    const QString cfg = folder() + QStringLiteral("/twk.cfg");
    int tries = 0;
    QTimer fill;
    QObject::connect(&fill, &QTimer::timeout, [&] {
        auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dlg || dlg->objectName() != QStringLiteral("FirstRun") || tries == 2)
            return;
        const auto set = [&](const char* name, const QString& text) {
            dlg->findChild<QLineEdit*>(QString::fromLatin1(name))->setText(text);
        };
        auto* server = dlg->findChild<QRadioButton*>("optserver");
        QTest::mouseClick(server, Qt::LeftButton, {}, QPoint(4, server->height() / 2));
        set("txtserver", books.host);
        set("txtport", QString::number(books.port));
        set("txtdatabase", books.database);
        set("txtuserid", clerk.toUpper());
        set("txtpass", tries++ == 0 ? QStringLiteral("secret") : QStringLiteral("Secret"));
        dlg->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    fill.start(10);
    EXPECT_TRUE(prepareLoginConfig());
    EXPECT_EQ(messages().texts(), std::vector<QString>{"Invalid PassWord "});
    const auto written = tw::readLoginConfig(cfg).value_or(tw::LoginConfig{});
    EXPECT_EQ(written.servername, books.url());
    EXPECT_EQ(written.userid, clerk.toUpper());
    EXPECT_EQ(written.password, QString()); // the server keeps the password

    const struct {
        QString user;
        const char* pass;
        const char* shown; // text|focus; empty: logged in
    } cases[] = {
        {clerk.toUpper(), "Secret", ""},
        {clerk, "secret", "Invalid PassWord |txtpass"},
        {QStringLiteral("tw_nobody"), "Secret", "Invalid PassWord |txtpass"},
        {barred, "x", "Invalid User Name|txtuserid"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.user.toStdString() + "/" + c.pass);
        tw::Store::use(std::nullopt);
        messages().clear();
        LoginForm form;
        form.show();
        QSignalSpy ok(&form, &LoginForm::loggedIn);
        form.txtuserid->setText(c.user);
        form.txtpass->setText(QString::fromLatin1(c.pass));
        form.cmdLogin_clicked();
        EXPECT_EQ(ok.count(), *c.shown ? 0 : 1);
        for (const auto& m : messages().shown)
            EXPECT_EQ(m.text + u'|' + form.focusWidget()->objectName(),
                      QString::fromLatin1(c.shown));
        EXPECT_EQ(messages().shown.size(), *c.shown ? 1u : 0u);
        EXPECT_EQ(tw::Store::server().has_value(), ok.count() == 1);
        if (ok.count() == 1) {
            EXPECT_EQ(tw::Store::server()->user, clerk);
        }
    }
    // A server that does not answer is named, in the real box.
    tw::writeLoginConfig(cfg, {QStringLiteral("127.0.0.1:1/books"), clerk, QString()});
    LoginForm form;
    form.show();
    form.txtuserid->setText(clerk);
    form.txtpass->setText(QStringLiteral("Secret"));
    const auto shown = twtest::withRealBoxes({"OK"}, [&] { form.cmdLogin->click(); });
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].startsWith("The server 127.0.0.1:1 cannot be reached."))
        << shown[0].toStdString();
}

TEST_F(ServerSeatTest, TheFrameAndTheBackupScreenSayWhereTheBooksAre) {
    TallyFrame frame;
    EXPECT_EQ(frame.lblstore->text(), "Books: " + books.shown());
    QWidget* screen = frame.openBackup();
    ASSERT_TRUE(screen);
    auto* note = screen->findChild<QLabel*>(QStringLiteral("lblservernote"));
    ASSERT_TRUE(note);
    EXPECT_FALSE(note->isHidden());
    EXPECT_TRUE(note->text().contains(books.shown())) << note->text().toStdString();
    // The desktop's automatic backups are the local file's.
    EXPECT_TRUE(dailyBackup(twtest::scripted()).isEmpty());
    EXPECT_TRUE(closingBackup(twtest::scripted()).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(tw::backup::folder()));
}
