#pragma once
// The picker that serves the backup screen: a folder tree and, for a restore, the files of the
// folder. Whatever is chosen, the file name taken is Talywright.db.

#include "ui/screen.h"

#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>

class frm_backup;

class frm_changedir : public ui::Screen {
    Q_OBJECT
public:
    // `forRestore` shows the file list and hands the choice to the restore field.
    explicit frm_changedir(frm_backup* backup, bool forRestore, QWidget* parent = nullptr);

    // The folder shown, as a change of the folder list makes it.
    void setFolder(const QString& path);
    QString folder() const { return path_; }

    void Dir1_changed(const QString& path);
    void File1_itemClicked();
    void cmd_ok_clicked();
    void cmd_cancel_clicked();

    QTreeView* Dir1;
    QLabel* lbl_file;
    QListWidget* File1;
    QLineEdit* txt_destname;
    QPushButton* cmd_ok;
    QPushButton* cmd_cancel;

private:
    void showFolder(const QString& path);
    QFileSystemModel* dirs_;
    QPointer<frm_backup> backup_;
    QString path_;
    QStringList look_;
};
