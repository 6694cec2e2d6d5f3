#pragma once
// The backup screen copies the file Talywright.db of the application folder to a chosen file,
// and a chosen file back to Talywright.db. The live database, Tallywright.db, is never the one
// written; the automatic backups (store/backup.h) are what protects it.

#include "store/messages.h"
#include "ui/screen.h"

#include <QDateTime>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <functional>

class frm_changedir;

// The file name both backup screens copy from and to.
inline constexpr const char* shortName = "Talywright.db";

class frm_backup : public ui::Screen {
    Q_OBJECT
public:
    explicit frm_backup(QWidget* parent = nullptr);

    void cmd_browse_backup_clicked();
    void cmd_browse_restore_clicked();
    void cmd_backup_clicked();
    void cmd_restore_clicked();
    void Timer_timeout();
    void Command1_clicked();

    // The picker last opened from this screen, while it is open.
    frm_changedir* picker() const;

    QLineEdit* txt_destname;
    QPushButton* cmd_browse_backup;
    QPushButton* cmd_backup;
    QLineEdit* txt_restore;
    QPushButton* cmd_browse_restore;
    QPushButton* cmd_restore;
    QProgressBar* prog_save;
    QTimer* Timer;
    QPushButton* Command1;
    QLabel* lblservernote; // on a server store: where its backups are made

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void openPicker(bool forRestore);
    // Shows the bar as the sign that a copy was made. The timer that would move it has no
    // interval of its own, so the bar stands at its minimum.
    void showProgress();

    QPointer<frm_changedir> picker_;
    QStringList look_;
    int counter_ = 0;
};

// Copies `from` to `to`, replacing `to`. Throws tw::Error with the reason when it fails; `to` is
// then as it was. A file is not copied onto itself, nor onto the database in use or its journal.
void copyReplacing(const QString& from, const QString& to);

// The automatic backup at the first start of a day: made unless one of `now`'s day exists. A
// failure is told once through `messenger`; the program goes on. Gives the new file, if any.
// The automatic backups are the local file's: on a server store neither is made.
QString dailyBackup(tw::Messenger& messenger, const QDateTime& now = QDateTime::currentDateTime());
// The same made on a thread of its own, so the window goes on answering while the file is
// copied (a large file takes a while). When `context` is a main window, a copy that takes more
// than a moment shows in its status line with a bar and a Cancel; a cancelled backup leaves
// nothing and is made at the next start. Once it ends, on the thread of `context` and only while
// `context` lives, a failure is told through `messenger` and `done` gets the new file, if any.
// Gives the thread, which deletes itself when it ends; nullptr on a server store.
QThread* startDailyBackup(QObject* context, tw::Messenger& messenger,
                          std::function<void(const QString&)> done = {},
                          const QDateTime& now = QDateTime::currentDateTime());
// The automatic backup when the session ends, however it ends (the last window closed, a
// logout); a failure is told through `messenger` and written to the error output.
QString closingBackup(tw::Messenger& messenger,
                      const QDateTime& now = QDateTime::currentDateTime());
