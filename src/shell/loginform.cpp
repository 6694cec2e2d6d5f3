#include "shell/loginform.h"

#include "store/store.h"
#include "ui/kit.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFile>
#include <QFormLayout>
#include <QGridLayout>
#include <QLockFile>
#include <QVBoxLayout>

namespace {
QString cfgPath() {
    return tw::AppFolder::file(QStringLiteral("twk.cfg"));
}

// The user id field takes letters, digits and - . / _ and blank; Enter is dropped too.
void userIdRule(QLineEdit* field) {
    field->setMaxLength(20);
    ui::charsRule(field, QStringLiteral("-./_ "), true, true);
}
} // namespace

LoginForm::LoginForm(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("LoginForm"));
    setWindowTitle(tr(" Tallywright_Corp [ Login ... ]"));
    txtuserid = new QLineEdit(this);
    txtuserid->setObjectName(QStringLiteral("txtuserid"));
    userIdRule(txtuserid);
    txtpass = new QLineEdit(this);
    txtpass->setObjectName(QStringLiteral("txtpass"));
    txtpass->setEchoMode(QLineEdit::Password);
    cmdLogin = new QPushButton(tr("Login"), this);
    cmdLogin->setObjectName(QStringLiteral("cmdLogin"));
    cmdCancel = new QPushButton(tr("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto* title = new QLabel(tr("Tallywright"), this);
    QFont f = title->font();
    f.setPointSize(f.pointSize() + 8);
    f.setBold(true);
    title->setFont(f);
    auto* grid = new QGridLayout(this);
    grid->addWidget(title, 0, 0, 1, 3);
    grid->addWidget(new QLabel(tr("User ID"), this), 1, 0);
    grid->addWidget(txtuserid, 1, 1, 1, 2);
    grid->addWidget(new QLabel(tr("Password"), this), 2, 0);
    grid->addWidget(txtpass, 2, 1, 1, 2);
    grid->addWidget(cmdLogin, 3, 1);
    grid->addWidget(cmdCancel, 3, 2);
    setTabOrder(txtuserid, txtpass);
    setTabOrder(txtpass, cmdLogin);
    setTabOrder(cmdLogin, cmdCancel);
    ui::selectAllOnFocus(txtuserid);
    ui::selectAllOnFocus(txtpass);

    connect(cmdLogin, &QPushButton::clicked, this, ui::guarded([this] { cmdLogin_clicked(); }));
    connect(txtpass, &QLineEdit::returnPressed, this, ui::guarded([this] { cmdLogin_clicked(); }));
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_clicked(); });
    setMinimumWidth(340);
}

bool LoginForm::event(QEvent* e) {
    if (e->type() == QEvent::WindowActivate)
        ui::guard([this] { Form_Activate(); });
    return QWidget::event(e);
}

// Each time the screen comes back the password is asked again.
void LoginForm::Form_Activate() {
    if (const auto cfg = tw::readLoginConfig(cfgPath()))
        txtuserid->setText(cfg->userid);
    txtpass->clear();
    txtpass->setFocus();
}

bool LoginForm::Login_data(QString& userid, QString& password) const {
    const auto cfg = tw::readLoginConfig(cfgPath());
    if (!cfg)
        return false;
    userid = cfg->userid;
    password = cfg->password;
    return true;
}

void LoginForm::cmdLogin_clicked() {
    if (txtuserid->text().trimmed().isEmpty()) {
        ui::beep();
        ui::MsgBox(tr("Enter User ID"), ui::Information, tr("Information"));
        txtuserid->setFocus();
        return;
    }
    if (txtpass->text().trimmed().isEmpty()) {
        ui::beep();
        ui::MsgBox(tr("Enter Password"), ui::Information, tr("Information"));
        txtpass->setFocus();
        return;
    }
    if (!QFile::exists(cfgPath()))
        return;
    QString userid, password;
    if (!Login_data(userid, password))
        return;
    if (txtuserid->text().trimmed().toUpper() != userid.toUpper()) {
        ui::MsgBox(tr("Invalid User Name"), ui::Information);
        txtuserid->setFocus();
        txtpass->clear();
        return;
    }
    if (txtpass->text().trimmed() != password.trimmed()) {
        ui::MsgBox(tr("Invalid PassWord "), ui::Information);
        txtpass->selectAll();
        txtpass->setFocus();
        return;
    }
    emit loggedIn();
}

void LoginForm::cmdCancel_clicked() {
    emit cancelled();
}

bool claimSingleInstance() {
    static QLockFile lock(tw::AppFolder::file(QStringLiteral("Tallywright.lock")));
    lock.setStaleLockTime(0);
    if (lock.isLocked() || lock.tryLock(0))
        return true;
    ui::MsgBox(QObject::tr("Apllication already Running"));
    return false;
}

bool runFirstRunDialog(QWidget* parent) {
    QDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("FirstRun"));
    dlg.setWindowTitle(QObject::tr("Tallywright - First Run"));
    auto* intro = new QLabel(
        QObject::tr("Choose the user id and the password that will open Tallywright."), &dlg);
    intro->setWordWrap(true);
    auto* user = new QLineEdit(&dlg);
    user->setObjectName(QStringLiteral("txtuserid"));
    userIdRule(user);
    auto* pass = new QLineEdit(&dlg);
    pass->setObjectName(QStringLiteral("txtpass"));
    auto* again = new QLineEdit(&dlg);
    again->setObjectName(QStringLiteral("txtpass2"));
    for (auto* p : {pass, again})
        p->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dlg);
    auto* form = new QFormLayout;
    form->addRow(QObject::tr("User ID"), user);
    form->addRow(QObject::tr("Password"), pass);
    form->addRow(QObject::tr("Password again"), again);
    auto* box = new QVBoxLayout(&dlg);
    box->addWidget(intro);
    box->addLayout(form);
    box->addWidget(buttons);

    QObject::connect(buttons, &QDialogButtonBox::rejected, &dlg, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dlg, [&] {
        ui::guard([&] {
            if (user->text().trimmed().isEmpty()) {
                ui::MsgBox(QObject::tr("Enter User ID"), ui::Information,
                           QObject::tr("Information"));
                user->setFocus();
                return;
            }
            if (pass->text().trimmed().isEmpty()) {
                ui::MsgBox(QObject::tr("Enter Password"), ui::Information,
                           QObject::tr("Information"));
                pass->setFocus();
                return;
            }
            // The file quotes each value, so a double quote cannot be kept in it.
            if (pass->text().contains(u'"')) {
                ui::MsgBox(QObject::tr("The password cannot hold a double quote."),
                           ui::Exclamation);
                pass->setFocus();
                return;
            }
            if (pass->text() != again->text()) {
                ui::MsgBox(QObject::tr("The two passwords differ."), ui::Exclamation);
                again->clear();
                again->setFocus();
                return;
            }
            tw::writeLoginConfig(cfgPath(), {QStringLiteral("localhost"), user->text().trimmed(),
                                             pass->text().trimmed()});
            dlg.accept();
        });
    });
    return dlg.exec() == QDialog::Accepted;
}
