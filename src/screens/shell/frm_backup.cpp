#include "screens/shell/frm_backup.h"

#include "screens/shell/frm_changedir.h"
#include "store/backup.h"
#include "store/files.h"
#include "ui/kit.h"
#include "ui/lookfile.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>

#include <cstdio>
#include <memory>

namespace {
QString shortFile() {
    return tw::AppFolder::file(QString::fromLatin1(shortName));
}

bool sameFile(const QString& a, const QString& b) {
    const QString ca = QFileInfo(a).canonicalFilePath();
    return !ca.isEmpty() && ca == QFileInfo(b).canonicalFilePath();
}
} // namespace

void copyReplacing(const QString& from, const QString& to) {
    if (!QFileInfo(from).isFile())
        throw tw::Error(QObject::tr("File not found: %1").arg(from));
    if (sameFile(from, to))
        throw tw::Error(QObject::tr("%1 cannot be copied onto itself.").arg(to));
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        throw tw::Error(
            QObject::tr("Cannot copy %1 to %2: %3").arg(from, to, source.errorString()));
    // Written beside the target and renamed when whole: a copy that fails midway (a full disk)
    // leaves the target as it was. The database in use is never the target.
    tw::AtomicFile copy(to, tw::AtomicFile::Kind::OwnerOnly);
    while (!source.atEnd()) {
        const QByteArray chunk = source.read(1 << 20);
        if (chunk.isEmpty())
            throw tw::Error(
                QObject::tr("Cannot copy %1 to %2: %3").arg(from, to, source.errorString()));
        copy.write(chunk);
    }
    copy.commit();
}

frm_backup::frm_backup(QWidget* parent) : ui::Screen(parent) {
    setWindowTitle(tr("Backup Form"));
    txt_destname = ui::named(new QLineEdit, "txt_destname");
    cmd_browse_backup = ui::named(new QPushButton(tr("Browse")), "cmd_browse_backup");
    cmd_backup = ui::named(new QPushButton(tr("BackUp Now.....")), "cmd_backup");
    txt_restore = ui::named(new QLineEdit, "txt_restore");
    cmd_browse_restore = ui::named(new QPushButton(tr("Browse")), "cmd_browse_restore");
    cmd_restore = ui::named(new QPushButton(tr("Restore")), "cmd_restore");
    // Both frames: a note, the file field with its Browse, and the action under them.
    auto frame = [this](const QString& title, const QString& note, const QString& caption,
                        QLineEdit* field, QPushButton* browse, QPushButton* action) {
        auto* group = new QGroupBox(title, this);
        field->setMinimumWidth(320);
        auto* grid = new QGridLayout(group);
        grid->addWidget(new QLabel(note, group), 0, 0, 1, 3);
        grid->addWidget(new QLabel(caption, group), 1, 0);
        grid->addWidget(field, 1, 1);
        grid->addWidget(browse, 1, 2);
        grid->addWidget(action, 2, 2);
        return group;
    };
    auto* backup = frame(tr("Backup"), tr("This Option Will BackUp Your DataBase"),
                         tr("Distination DataBase"), txt_destname, cmd_browse_backup, cmd_backup);
    auto* restore = frame(tr("Restore"), tr("This Option Will Restore Your DataBase"),
                          tr("Source DataBase"), txt_restore, cmd_browse_restore, cmd_restore);

    prog_save = ui::named(new QProgressBar(this), "prog_save");
    prog_save->setRange(0, 100);
    prog_save->setValue(0);
    prog_save->setTextVisible(false);
    prog_save->hide();
    Timer = ui::named(new QTimer(this), "Timer");
    Command1 = ui::named(new QPushButton(tr("Cancel"), this), "Command1");
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(prog_save, 1);
    bottom->addWidget(Command1, 0, Qt::AlignRight);
    auto* box = new QVBoxLayout(this);
    // The books of a server are not a file of this computer: the note says where their backups
    // are made, and the frames below copy files of this computer only.
    lblservernote = ui::named(new QLabel(this), "lblservernote");
    lblservernote->setWordWrap(true);
    if (const auto& server = tw::Store::server()) {
        lblservernote->setText(
            tr("The books are kept in the %1. Its backups are made on the server, by its "
               "owner, or with \"tallywright-cli backup\" (the server's own dump, into %2).")
                .arg(server->shown(), QDir::toNativeSeparators(tw::backup::folder())));
        box->addWidget(lblservernote);
    } else {
        lblservernote->hide();
    }
    box->addWidget(backup);
    box->addWidget(restore);
    box->addLayout(bottom);
    ui::tabOrder({txt_destname, cmd_browse_backup, cmd_backup, txt_restore, cmd_browse_restore,
                  cmd_restore, Command1});
    ui::selectAllOnFocus(txt_destname);
    ui::selectAllOnFocus(txt_restore);
    txt_restore->installEventFilter(this);

    connect(cmd_browse_backup, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_browse_backup_clicked(); }));
    connect(cmd_browse_restore, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_browse_restore_clicked(); }));
    connect(cmd_backup, &QPushButton::clicked, this, ui::guarded([this] { cmd_backup_clicked(); }));
    connect(cmd_restore, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_restore_clicked(); }));
    connect(Timer, &QTimer::timeout, this, [this] { Timer_timeout(); });
    connect(Command1, &QPushButton::clicked, this, [this] { Command1_clicked(); });

    // The look values are read for this screen but its fixed look stays.
    if (QFile::exists(look::cfgPath()))
        look_ = look::textboxvalues(look::lookKeys());
}

frm_changedir* frm_backup::picker() const {
    return picker_;
}

void frm_backup::openPicker(bool forRestore) {
    if (picker_)
        picker_->close();
    picker_ = new frm_changedir(this, forRestore, this);
    picker_->setAttribute(Qt::WA_DeleteOnClose);
    picker_->show();
    picker_->raise();
}

void frm_backup::cmd_browse_backup_clicked() {
    openPicker(false);
}

void frm_backup::cmd_browse_restore_clicked() {
    openPicker(true);
}

void frm_backup::showProgress() {
    prog_save->setVisible(true);
    prog_save->setValue(prog_save->minimum());
}

void frm_backup::cmd_backup_clicked() {
    if (txt_destname->text().isEmpty())
        return ui::refuse(txt_destname, tr("Slect destination file"), ui::Information,
                          tr("information"));
    counter_ = 0;
    copyReplacing(shortFile(), txt_destname->text());
    showProgress();
    txt_destname->clear();
}

void frm_backup::cmd_restore_clicked() {
    if (txt_restore->text().isEmpty())
        return ui::refuse(txt_restore, tr("Select Restore File"), ui::Information,
                          tr("Information"));
    QString failure;
    try {
        copyReplacing(txt_restore->text(), shortFile());
    } catch (const tw::Error& e) {
        failure = e.text();
    }
    showProgress();
    txt_restore->clear();
    if (!failure.isEmpty())
        ui::MsgBox(failure);
    txt_restore->setFocus();
}

// One step of the bar; at its maximum the bar goes away and starts over next time.
void frm_backup::Timer_timeout() {
    if (counter_ == 0)
        counter_ = 1;
    prog_save->setValue(qMin(counter_, prog_save->maximum()));
    if (prog_save->value() == prog_save->maximum()) {
        Timer->stop();
        prog_save->hide();
        counter_ = 1;
        prog_save->setValue(prog_save->minimum());
    } else {
        ++counter_;
    }
}

void frm_backup::Command1_clicked() {
    close();
}

// Each key typed into a restore path that is already longer than 55 characters warns; the key
// itself is dropped and the text is not cut.
bool frm_backup::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txt_restore && event->type() == QEvent::KeyPress &&
        !static_cast<QKeyEvent*>(event)->text().isEmpty() &&
        txt_restore->text().trimmed().size() > 55) {
        ui::refuse(txt_restore, tr("Maximum Allowed Characters are 55 Only"), ui::Information,
                   tr("File Name"));
        return true;
    }
    return ui::Screen::eventFilter(watched, event);
}

namespace {
// The day's backup unless one of the day exists: the new file, or the text of a failure.
struct DayBackup {
    QString made, failure;
};
DayBackup makeDailyBackup(const QDateTime& now) {
    try {
        if (!tw::backup::madeOn(now.date()))
            return {tw::backup::makeNow(now), {}};
    } catch (const std::exception& e) {
        return {{}, QString::fromUtf8(e.what())};
    }
    return {};
}

void tellFailure(tw::Messenger& messenger, const DayBackup& result) {
    if (!result.failure.isEmpty())
        messenger.say(QObject::tr("The automatic backup of today could not be made: %1\n"
                                  "Your data is as it was; make a copy of it soon.")
                          .arg(result.failure),
                      tw::Exclamation);
}
} // namespace

QString dailyBackup(tw::Messenger& messenger, const QDateTime& now) {
    // A server's books are backed up where the server is; the desktop's are the local file's.
    if (tw::Store::server())
        return {};
    const DayBackup result = makeDailyBackup(now);
    tellFailure(messenger, result);
    return result.made;
}

QThread* startDailyBackup(QObject* context, tw::Messenger& messenger,
                          std::function<void(const QString&)> done, const QDateTime& now) {
    if (tw::Store::server())
        return nullptr;
    // The copy works on a handle of its own to the file, never on a connection of the window.
    auto result = std::make_shared<DayBackup>();
    QThread* thread = QThread::create([result, now] { *result = makeDailyBackup(now); });
    QObject::connect(thread, &QThread::finished, context,
                     [result, &messenger, done = std::move(done)] {
                         tellFailure(messenger, *result);
                         if (done)
                             done(result->made);
                     });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
    return thread;
}

QString closingBackup(tw::Messenger& messenger, const QDateTime& now) {
    if (tw::Store::server())
        return {};
    try {
        return tw::backup::makeNow(now);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "Tallywright: the backup at the end could not be made: %s\n",
                     e.what());
        messenger.say(QObject::tr("The backup at the end of the session could not be made: %1\n"
                                  "Your data is as it was; make a copy of it soon.")
                          .arg(QString::fromUtf8(e.what())),
                      tw::Exclamation);
    }
    return {};
}
