#include "screens/shell/loginform.h"

#include "store/backup.h"
#include "store/store.h"
#include "ui/kit.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFormLayout>
#include <QGridLayout>
#include <QRadioButton>
#include <QShowEvent>
#include <QSocketNotifier>
#include <QVBoxLayout>

#include <memory>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
QString cfgPath() {
    return tw::AppFolder::file(QStringLiteral("twk.cfg"));
}

// The user id field takes letters, digits and - . / _ and blank; Enter is dropped too. The id
// offered from twk.cfg is shown whole, however long: cut, it could never match the file.
void userIdRule(QLineEdit* field) {
    ui::typingLimit(field, 20);
    ui::charsRule(field, QStringLiteral("-./_ "), true, true);
}
} // namespace

LoginForm::LoginForm(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("LoginForm"));
    setWindowTitle(tr(" Tallywright_Corp [ Login ... ]"));
    txtuserid = ui::named(new QLineEdit(this), "txtuserid");
    userIdRule(txtuserid);
    txtpass = ui::named(new QLineEdit(this), "txtpass");
    txtpass->setEchoMode(QLineEdit::Password);
    cmdLogin = ui::named(new QPushButton(tr("Login"), this), "cmdLogin");
    cmdCancel = ui::named(new QPushButton(tr("Cancel"), this), "cmdCancel");

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
    ui::tabOrder({txtuserid, txtpass, cmdLogin, cmdCancel});
    ui::selectAllOnFocus(txtuserid);
    ui::selectAllOnFocus(txtpass);
    ui::enterPressesButtons(this);

    connect(cmdLogin, &QPushButton::clicked, this, ui::guarded([this] { cmdLogin_clicked(); }));
    connect(txtpass, &QLineEdit::returnPressed, this, ui::guarded([this] { cmdLogin_clicked(); }));
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_clicked(); });
    setMinimumWidth(340);
}

// The stored user id is offered once, when the screen first shows. Later activations (the
// window coming back after a message box) leave what the user typed alone, so a mistyped id
// can be mended and a damaged twk.cfg is told only once.
void LoginForm::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (filled_ || e->spontaneous())
        return;
    filled_ = true;
    txtpass->clear();
    txtpass->setFocus();
    ui::guard([this] {
        if (const auto cfg = tw::readLoginConfig(cfgPath()))
            txtuserid->setText(cfg->userid);
    });
}

bool LoginForm::Login_data(QString& servername, QString& userid, QString& password) const {
    const auto cfg = tw::readLoginConfig(cfgPath());
    if (!cfg)
        return false;
    servername = cfg->servername;
    userid = cfg->userid;
    password = cfg->password;
    return true;
}

void LoginForm::cmdLogin_clicked() {
    if (txtuserid->text().trimmed().isEmpty()) {
        ui::beep();
        ui::refuse(txtuserid, tr("Enter User ID"), ui::Information, tr("Information"));
        return;
    }
    if (txtpass->text().trimmed().isEmpty()) {
        ui::beep();
        ui::refuse(txtpass, tr("Enter Password"), ui::Information, tr("Information"));
        return;
    }
    if (!QFile::exists(cfgPath()))
        return;
    QString servername, userid, password;
    if (!Login_data(servername, userid, password))
        return;
    if (const auto server = tw::ServerAddress::parse(servername))
        return serverLogin(*server);
    if (txtuserid->text().trimmed().toUpper() != userid.toUpper()) {
        txtpass->clear();
        ui::refuse(txtuserid, tr("Invalid User Name"), ui::Information);
        return;
    }
    if (!tw::passwordMatches(password, txtpass->text().trimmed())) {
        ui::refuse(txtpass, tr("Invalid PassWord "), ui::Information);
        return;
    }
    // A file from before the hash gave its password in clear this once; it keeps the hash now.
    // A file that cannot take it is told, and the user, who gave the right password, goes on.
    if (tw::isClearPassword(password))
        ui::guard([this] {
            if (auto cfg = tw::readLoginConfig(cfgPath())) {
                cfg->password = tw::hashPassword(txtpass->text().trimmed());
                tw::writeLoginConfig(cfgPath(), *cfg);
            }
        });
    emit loggedIn();
}

// On a server store the server decides: the user id and password are a role of the server and
// its password, and twk.cfg names only the server. Role names are the server's lower case, as the
// id compares without regard to case.
void LoginForm::serverLogin(const tw::ServerAddress& server) {
    const tw::server::LoginResult result =
        tw::server::login(server, txtuserid->text().trimmed().toLower(), txtpass->text().trimmed());
    switch (result.refusal) {
    case tw::server::Refusal::None: {
        tw::ServerAddress seat = server;
        seat.user = txtuserid->text().trimmed().toLower();
        seat.password = txtpass->text().trimmed();
        tw::Store::use(seat);
        emit loggedIn();
        return;
    }
    case tw::server::Refusal::UserName:
        txtpass->clear();
        return ui::refuse(txtuserid, tr("Invalid User Name"), ui::Information);
    case tw::server::Refusal::Password:
        // The server words an unknown role as a wrong password, so that a guess at a name learns
        // nothing; the password is then what the user is asked to look at again.
        return ui::refuse(txtpass, tr("Invalid PassWord "), ui::Information);
    case tw::server::Refusal::Unreachable:
    case tw::server::Refusal::Other:
        break;
    }
    ui::MsgBox(result.text, ui::Critical);
    txtpass->setFocus();
}

void LoginForm::cmdCancel_clicked() {
    emit cancelled();
}

Claim claimSingleInstance() {
    static std::unique_ptr<tw::AppLock> lock;
    static QString lockedFolder;
    const QString folder = tw::AppFolder::path();
    // Books on a server are for several seats at once, however many copies start from this
    // folder; the lock guards only a file beside the program.
    try {
        if (tw::Store::configured())
            return Claim::Only;
    } catch (const tw::Error&) {
        // A twk.cfg that cannot be read is told at login; until then the books are the file's.
    }
    if (lock && lock->state() == tw::AppLock::State::Held && lockedFolder == folder)
        return Claim::Only;
    lock.reset(); // a lock on another folder goes first
    lock = std::make_unique<tw::AppLock>(folder);
    lockedFolder = folder;
    switch (lock->state()) {
    case tw::AppLock::State::Held:
        return Claim::Only;
    case tw::AppLock::State::Running:
        ui::MsgBox(QObject::tr("Apllication already Running"));
        return Claim::Running;
    case tw::AppLock::State::Failed:
        break;
    }
    ui::MsgBox(lock->error(), ui::Critical);
    return Claim::Failed;
}

namespace {
int signalPipe[2] = {-1, -1};

// A signal handler may do next to nothing: it writes one byte, and the event loop reads it.
void onSignal(int) {
    const char byte = 1;
    const ssize_t sent = ::write(signalPipe[0], &byte, 1);
    Q_UNUSED(sent);
}
} // namespace

void quitOnSignals() {
    if (signalPipe[0] >= 0 ||
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [] {
        char bytes[16];
        while (::read(signalPipe[1], bytes, sizeof bytes) > 0) {
        }
        QCoreApplication::quit();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}

bool prepareLoginConfig(QWidget* parent) {
    try {
        // Without the file the login lets no one in; the dialog offers to write it, and a user
        // who declines has no way in.
        return tw::readLoginConfig(cfgPath()) || runFirstRunDialog(parent);
    } catch (const tw::Error& e) {
        ui::MsgBox(e.text(), ui::Critical);
    }
    return runFirstRunDialog(parent);
}

bool runFirstRunDialog(QWidget* parent) {
    QDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("FirstRun"));
    dlg.setWindowTitle(QObject::tr("Tallywright - First Run"));
    auto* intro = new QLabel(QObject::tr("Choose where the books are kept, and the user id and the "
                                         "password that will open Tallywright."),
                             &dlg);
    intro->setWordWrap(true);
    auto* here = ui::named(new QRadioButton(QObject::tr("This computer"), &dlg), "optlocal");
    auto* remote = ui::named(new QRadioButton(QObject::tr("A server"), &dlg), "optserver");
    here->setChecked(true);
    auto* host = ui::named(new QLineEdit(&dlg), "txtserver");
    auto* port = ui::named(new QLineEdit(QStringLiteral("5432"), &dlg), "txtport");
    ui::digitsRule(port);
    ui::typingLimit(port, 5);
    auto* database = ui::named(new QLineEdit(QStringLiteral("tallywright"), &dlg), "txtdatabase");
    auto* user = ui::named(new QLineEdit(&dlg), "txtuserid");
    userIdRule(user);
    auto* pass = ui::named(new QLineEdit(&dlg), "txtpass");
    auto* again = ui::named(new QLineEdit(&dlg), "txtpass2");
    for (auto* p : {pass, again})
        p->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dlg);
    auto* form = new QFormLayout;
    form->addRow(here);
    form->addRow(remote);
    form->addRow(QObject::tr("Server"), host);
    form->addRow(QObject::tr("Port"), port);
    form->addRow(QObject::tr("Database"), database);
    form->addRow(QObject::tr("User ID"), user);
    form->addRow(QObject::tr("Password"), pass);
    form->addRow(QObject::tr("Password again"), again);
    auto* box = new QVBoxLayout(&dlg);
    box->addWidget(intro);
    box->addLayout(form);
    box->addWidget(buttons);
    ui::tabOrder({here, remote, host, port, database, user, pass, again});
    ui::enterPressesButtons(&dlg);
    dlg.setMinimumWidth(380); // room for the whole title
    // A server's fields count only for a server; its password is the server's, set by its owner.
    const auto choose = [=] {
        for (QWidget* w : std::initializer_list<QWidget*>{host, port, database})
            w->setEnabled(remote->isChecked());
        again->setEnabled(here->isChecked());
    };
    QObject::connect(remote, &QRadioButton::toggled, &dlg, choose);
    choose();

    QObject::connect(buttons, &QDialogButtonBox::rejected, &dlg, &QDialog::reject);
    QObject::connect(
        buttons, &QDialogButtonBox::accepted, &dlg, ui::guarded([&] {
            const QString info = QObject::tr("Information");
            if (remote->isChecked()) {
                if (host->text().trimmed().isEmpty())
                    return ui::refuse(host, QObject::tr("Enter the server"), ui::Information, info);
                if (port->text().toInt() <= 0 || port->text().toInt() > 65535)
                    return ui::refuse(port,
                                      QObject::tr("Enter the port of the server (1 to 65535)"),
                                      ui::Information, info);
                if (database->text().trimmed().isEmpty())
                    return ui::refuse(database, QObject::tr("Enter the database"), ui::Information,
                                      info);
            }
            if (user->text().trimmed().isEmpty())
                return ui::refuse(user, QObject::tr("Enter User ID"), ui::Information, info);
            if (pass->text().trimmed().isEmpty())
                return ui::refuse(pass, QObject::tr("Enter Password"), ui::Information, info);
            if (remote->isChecked()) {
                tw::ServerAddress server;
                server.host = host->text().trimmed();
                server.port = port->text().toInt();
                server.database = database->text().trimmed();
                // The file is written only for a server that lets this user in.
                const auto result = tw::server::login(server, user->text().trimmed().toLower(),
                                                      pass->text().trimmed());
                switch (result.refusal) {
                case tw::server::Refusal::None:
                    break;
                case tw::server::Refusal::UserName:
                    return ui::refuse(user, QObject::tr("Invalid User Name"), ui::Information);
                case tw::server::Refusal::Password:
                    return ui::refuse(pass, QObject::tr("Invalid PassWord "), ui::Information);
                default:
                    return ui::refuse(host, result.text, ui::Critical);
                }
                tw::writeLoginConfig(cfgPath(), {server.url(), user->text().trimmed(), QString()});
                return dlg.accept();
            }
            // The file quotes each value, so a double quote cannot be kept in it.
            if (pass->text().contains(u'"'))
                return ui::refuse(pass, QObject::tr("The password cannot hold a double quote."),
                                  ui::Exclamation);
            if (pass->text() != again->text()) {
                again->clear();
                return ui::refuse(again, QObject::tr("The two passwords differ."), ui::Exclamation);
            }
            tw::writeLoginConfig(cfgPath(), {QStringLiteral("local"), user->text().trimmed(),
                                             tw::hashPassword(pass->text().trimmed())});
            dlg.accept();
        }));
    return dlg.exec() == QDialog::Accepted;
}
