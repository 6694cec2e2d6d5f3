// The desktop program: running-copy test, first run, login, splash, then the frame.

#include "screens/shell/frm_backup.h"
#include "screens/shell/frmsplash.h"
#include "screens/shell/loginform.h"
#include "screens/shell/tallyframe.h"
#include "store/backup.h"
#include "store/store.h"
#include "ui/kit.h"

#include <QApplication>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <memory>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tallywright"));
    QApplication::setApplicationVersion(QStringLiteral(TW_VERSION));
    QApplication::setWindowIcon(productIcon());
    // The splash is not a main window to Qt, so the hand-over from the login would end the
    // program; each window says itself when the program ends.
    QApplication::setQuitOnLastWindowClosed(false);

    switch (claimSingleInstance()) {
    case Claim::Only:
        break;
    case Claim::Running:
        return 0; // the copy that runs is the one to use
    case Claim::Failed:
        return 1;
    }
    // What killed backups and restores left behind goes before anything new is written.
    ui::guard([] { tw::backup::sweep(); });
    quitOnSignals();
    if (!prepareLoginConfig())
        return 0;

    auto* login = new LoginForm;
    login->setAttribute(Qt::WA_DeleteOnClose);
    auto loggedIn = std::make_shared<bool>(false);
    auto frameUp = std::make_shared<bool>(false);
    auto dayBackup = std::make_shared<QPointer<QThread>>();
    QObject::connect(login, &LoginForm::cancelled, &app, &QApplication::quit);
    QObject::connect(login, &QObject::destroyed, &app, [loggedIn] {
        if (!*loggedIn) // closed by its close box
            QApplication::quit();
    });
    QObject::connect(login, &LoginForm::loggedIn, login, [login, loggedIn, frameUp, dayBackup] {
        *loggedIn = true;
        auto* splash = new frmSplash;
        splash->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(splash, &frmSplash::cancelled, qApp, &QApplication::quit);
        QObject::connect(splash, &frmSplash::finished, splash, [frameUp, dayBackup] {
            auto* frame = new TallyFrame;
            frame->setAttribute(Qt::WA_DeleteOnClose);
            QObject::connect(frame, &QObject::destroyed, qApp, &QApplication::quit);
            frame->show();
            *frameUp = true;
            // The day's first backup, once the frame stands to carry a message about it; the
            // frame answers meanwhile.
            QTimer::singleShot(0, frame, [frame, dayBackup] {
                *dayBackup = startDailyBackup(frame, ui::boxes());
            });
        });
        splash->show();
        login->close();
    });
    login->show();
    const int code = app.exec();
    // The day's first backup ends before the last one begins.
    if (*dayBackup)
        (*dayBackup)->wait();
    // The day's work goes into a backup as the session ends, by the last window or by a logout.
    if (*frameUp)
        closingBackup(ui::boxes());
    return code;
}
