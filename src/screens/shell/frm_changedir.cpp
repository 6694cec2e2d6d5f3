#include "screens/shell/frm_changedir.h"

#include "screens/shell/frm_backup.h"
#include "ui/kit.h"
#include "ui/lookfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QVBoxLayout>

#include <memory>

frm_changedir::frm_changedir(frm_backup* backup, bool forRestore, QWidget* parent)
    : ui::Screen(parent), backup_(backup) {
    setWindowFlag(Qt::Window);
    setWindowTitle(tr("Change Directories"));
    setObjectName(QStringLiteral("frm_changedir"));

    dirs_ = new QFileSystemModel(this);
    dirs_->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    dirs_->setRootPath(QDir::rootPath());
    Dir1 = ui::named(new QTreeView(this), "Dir1");
    Dir1->setModel(dirs_);
    for (int c = 1; c < dirs_->columnCount(); ++c)
        Dir1->hideColumn(c);
    Dir1->header()->hide();
    Dir1->setMinimumSize(260, 220);
    lbl_file = ui::named(new QLabel(tr("Files:"), this), "lbl_file");
    File1 = ui::named(new QListWidget(this), "File1");
    File1->setMinimumWidth(200);
    txt_destname = ui::named(new QLineEdit(this), "txt_destname");
    txt_destname->setMinimumWidth(420);
    ui::selectAllOnFocus(txt_destname);
    cmd_ok = ui::named(new QPushButton(tr("OK"), this), "cmd_ok");
    cmd_cancel = ui::named(new QPushButton(tr("Cancel"), this), "cmd_cancel");

    auto* grid = new QGridLayout(this);
    grid->addWidget(new QLabel(tr("Directories:"), this), 0, 0);
    grid->addWidget(lbl_file, 0, 1);
    grid->addWidget(Dir1, 1, 0);
    grid->addWidget(File1, 1, 1);
    grid->addWidget(new QLabel(tr("Enter or select a destination directory"), this), 2, 0, 1, 2);
    grid->addWidget(txt_destname, 3, 0, 1, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmd_ok);
    buttons->addWidget(cmd_cancel);
    grid->addLayout(buttons, 4, 0, 1, 2);
    lbl_file->setVisible(forRestore);
    File1->setVisible(forRestore);
    ui::tabOrder({Dir1, File1, txt_destname, cmd_ok, cmd_cancel});

    connect(Dir1->selectionModel(), &QItemSelectionModel::currentChanged, this,
            ui::guarded([this] { Dir1_changed(dirs_->filePath(Dir1->currentIndex())); }));
    connect(File1, &QListWidget::itemClicked, this, ui::guarded([this] { File1_itemClicked(); }));
    connect(cmd_ok, &QPushButton::clicked, this, ui::guarded([this] { cmd_ok_clicked(); }));
    connect(cmd_cancel, &QPushButton::clicked, this, ui::guarded([this] { cmd_cancel_clicked(); }));

    // The look values are read with their font defaults, and the fixed look stays.
    if (QFile::exists(look::cfgPath())) {
        look_ = look::textboxvalues(look::lookKeys());
        for (qsizetype i = 5; i < look_.size(); ++i)
            if (look_[i].isEmpty())
                look_[i] = look::lookDefault(look::lookKeys()[i]);
    }
    setFolder(tw::AppFolder::path());
    // The folders are read in the background: the chosen one is brought into view once its
    // parents are there.
    auto once = std::make_shared<QMetaObject::Connection>();
    *once = connect(dirs_, &QFileSystemModel::directoryLoaded, this,
                    [this, once](const QString& loaded) {
                        showFolder(path_);
                        if (QFileInfo(path_).absolutePath() == loaded)
                            disconnect(*once);
                    });
}

void frm_changedir::showFolder(const QString& path) {
    const QModelIndex at = dirs_->index(path);
    if (!at.isValid())
        return;
    for (QModelIndex up = at.parent(); up.isValid(); up = up.parent())
        Dir1->expand(up);
    Dir1->setCurrentIndex(at);
    Dir1->scrollTo(at, QAbstractItemView::PositionAtCenter);
}

void frm_changedir::setFolder(const QString& path) {
    showFolder(path);
    // The tree calls back only when the folder differs from the one shown.
    if (path_ != path)
        Dir1_changed(path);
}

// A backup takes the folder and the fixed name at once; a restore lists the folder's files.
void frm_changedir::Dir1_changed(const QString& path) {
    path_ = path;
    if (File1->isVisibleTo(this)) {
        File1->clear();
        const QStringList files = QDir(path).entryList(QDir::Files, QDir::Name);
        File1->addItems(files);
        return;
    }
    txt_destname->setText(path + (path.endsWith(u'/') ? QString() : QStringLiteral("/")) +
                          QString::fromLatin1(shortName));
}

// Whichever file is clicked, the name taken is the fixed one in the list's folder.
void frm_changedir::File1_itemClicked() {
    txt_destname->setText(path_ + (path_.endsWith(u'/') ? QString() : QStringLiteral("/")) +
                          QString::fromLatin1(shortName));
}

void frm_changedir::cmd_ok_clicked() {
    if (txt_destname->text().isEmpty())
        return ui::refuse(txt_destname, tr("select the Destination Path"), ui::Information,
                          tr("information"));
    if (backup_)
        (File1->isVisibleTo(this) ? backup_->txt_restore : backup_->txt_destname)
            ->setText(txt_destname->text());
    close();
}

// Cancel empties the backup field, also when the picker served a restore.
void frm_changedir::cmd_cancel_clicked() {
    if (backup_)
        backup_->txt_destname->clear();
    close();
}
