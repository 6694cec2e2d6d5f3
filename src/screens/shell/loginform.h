#pragma once
// The login screen: one user, whose id and password stand in twk.cfg; on a server store, the
// server's roles.

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

namespace tw {
struct ServerAddress;
}

class LoginForm : public QWidget {
    Q_OBJECT
public:
    explicit LoginForm(QWidget* parent = nullptr);

    QLineEdit* txtuserid;
    QLineEdit* txtpass;
    QPushButton* cmdLogin;
    QPushButton* cmdCancel;

    // Compares the typed id and password with twk.cfg; the checks run in a fixed order and the
    // first that fails tells the user and ends the attempt.
    void cmdLogin_clicked();
    void cmdCancel_clicked();

signals:
    void loggedIn();  // go on to the splash
    void cancelled(); // end the program

protected:
    void showEvent(QShowEvent* e) override;

private:
    bool Login_data(QString& servername, QString& userid, QString& password) const;
    void serverLogin(const tw::ServerAddress& server);
    bool filled_ = false;
};

// The running-copy test, before anything else shows. Only: this is the one copy, and the lock
// is held as long as the program runs. Running: another live copy holds it ("Apllication
// already Running" was shown). Failed: the application folder takes no file (a box naming it
// was shown).
enum class Claim { Only, Running, Failed };
Claim claimSingleInstance();

// SIGTERM and SIGHUP (the session ending: a logout, a shutdown) end the program as closing its
// last window does: the event loop is asked to quit, and what follows it in main (the backup at
// the end of the session) still runs.
void quitOnSignals();

// Before the login: a missing twk.cfg is asked for through the first-run dialog; a damaged one
// (empty, too short, unreadable) is told in one box naming the file and then asked for anew the
// same way. Gives false when the user gave up on the dialog: there is no way to log in, and
// nothing was written, so the next start asks again.
bool prepareLoginConfig(QWidget* parent = nullptr);

// Asks where the books are kept (this computer, or a server: host, port, database), the user id
// and a password, and writes twk.cfg. For this computer the password is typed twice and kept as
// a hash; for a server the id and password are a role of the server, checked by logging in
// before the file is written, and the file keeps no password. Gives false when the user gave up.
bool runFirstRunDialog(QWidget* parent = nullptr);
