#pragma once
// The login screen: one user, whose id and password stand in twk.cfg.

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

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
    bool event(QEvent* e) override;

private:
    void Form_Activate();
    bool Login_data(QString& userid, QString& password) const;
};

// The running-copy test: true when this is the only copy; otherwise tells the user. The lock
// lives as long as the program.
bool claimSingleInstance();

// When twk.cfg is missing, asks for the user id and a password typed twice and writes the
// file. Gives false when the user gave up.
bool runFirstRunDialog(QWidget* parent = nullptr);
