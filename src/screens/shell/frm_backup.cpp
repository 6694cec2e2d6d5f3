#include "screens/shell/frm_backup.h"

#include "screens/shell/frm_changedir.h"
#include "store/backup.h"
#include "store/files.h"
#include "ui/kit.h"
#include "ui/lookfile.h"

#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <atomic>
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
// The day's backup unless one of the day exists: the new file, or the text of a failure, or
// that it was stopped.
struct DayBackup {
    QString made, failure;
    bool stopped = false;
};
DayBackup makeDailyBackup(const QDateTime& now, const tw::backup::Copying& copying = {}) {
    try {
        if (!tw::backup::madeOn(now.date()))
            return {tw::backup::makeNow(now, copying), {}};
    } catch (const tw::backup::Stopped&) {
        return {{}, {}, true};
    } catch (const std::exception& e) {
        return {{}, QString::fromUtf8(e.what())};
    }
    return {};
}

// A backup that ends within this long is not shown at all.
constexpr int BackupQuietMs = 300;

// How far the day's backup has come, written by its thread and read by the window's.
struct Copied {
    std::atomic<int> pages{0}, of{0};
    std::atomic<bool> stop{false};
};

// The day's backup in a window's status line, once it has taken a moment: a bar of the pages
// copied and a Cancel that stops it (the books are only read; nothing of the copy is kept).
QWidget* showBackupProgress(QMainWindow* window, const std::shared_ptr<Copied>& copied) {
    auto* box = new QWidget(window->statusBar());
    box->setObjectName(QStringLiteral("backupProgress"));
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QObject::tr("Backing up the books ..."), box);
    label->setObjectName(QStringLiteral("lblBackup"));
    auto* bar = new QProgressBar(box);
    bar->setObjectName(QStringLiteral("prgBackup"));
    bar->setRange(0, 0); // until the first pages are copied
    bar->setMaximumWidth(box->fontMetrics().averageCharWidth() * 30);
    auto* cancel = new QPushButton(QObject::tr("Cancel"), box);
    cancel->setObjectName(QStringLiteral("cmdStopBackup"));
    row->addWidget(label);
    row->addWidget(bar);
    row->addWidget(cancel);
    QObject::connect(cancel, &QPushButton::clicked, box, [copied, cancel, label] {
        copied->stop = true;
        cancel->setEnabled(false);
        label->setText(QObject::tr("Stopping the backup ..."));
    });
    window->statusBar()->addWidget(box);
    box->hide();
    auto* tick = new QTimer(box);
    auto since = std::make_shared<QElapsedTimer>();
    since->start();
    QObject::connect(tick, &QTimer::timeout, box, [box, bar, label, copied, since] {
        // A quick copy comes and goes unseen.
        if (box->isHidden() && since->elapsed() >= BackupQuietMs)
            box->show();
        if (copied->stop)
            return;
        const int of = copied->of, pages = copied->pages;
        if (of > 0 && pages < of) {
            bar->setRange(0, of);
            bar->setValue(pages);
        } else if (of > 0) {
            // Every page copied: the copy is being checked, for a while on a large file.
            bar->setRange(0, 0);
            label->setText(QObject::tr("Checking the backup ..."));
        }
    });
    tick->start(100);
    return box;
}

// The backup's line once it has ended: gone, or for a stopped one a note for a while.
void endBackupProgress(QWidget* box, bool stopped) {
    if (!stopped) {
        delete box;
        return;
    }
    box->findChild<QTimer*>()->stop();
    box->findChild<QProgressBar*>()->hide();
    box->findChild<QPushButton*>()->hide();
    box->findChild<QLabel*>()->setText(
        QObject::tr("The backup of today was cancelled; it is made at the next start."));
    box->show();
    QTimer::singleShot(10000, box, &QObject::deleteLater);
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
    auto copied = std::make_shared<Copied>();
    QThread* thread = QThread::create([result, copied, now] {
        *result = makeDailyBackup(now, [copied](int pages, int of) {
            copied->pages = pages;
            copied->of = of;
            return !copied->stop;
        });
    });
    auto* window = qobject_cast<QMainWindow*>(context);
    QPointer<QWidget> shown = window ? showBackupProgress(window, copied) : nullptr;
    QObject::connect(thread, &QThread::finished, context,
                     [result, &messenger, done = std::move(done), shown] {
                         if (shown)
                             endBackupProgress(shown, result->stopped);
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
