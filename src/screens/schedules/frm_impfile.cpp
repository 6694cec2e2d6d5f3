#include "screens/schedules/frm_impfile.h"

#include "ui/kit.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

Frm_ImpFile::Frm_ImpFile(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("Frm_ImpFile"));
    setWindowTitle(tr("Select File"));
    setModal(true);

    // The dialog's own widgets are used inside this screen, so Ok and Cancel stay this screen's.
    File1 = ui::named(new QFileDialog(this, QString(), QDir::homePath()), "File1");
    File1->setWindowFlags(Qt::Widget);
    File1->setOption(QFileDialog::DontUseNativeDialog);
    File1->setFileMode(QFileDialog::ExistingFile);
    File1->setNameFilter(tr("Workbooks (*.xls *.xlsx *.ods)"));
    if (auto* own = File1->findChild<QDialogButtonBox*>())
        own->hide();
    txt_destname = ui::named(new QLineEdit(this), "txt_destname");
    cmd_ok = ui::named(new QPushButton(tr("Ok"), this), "cmd_ok");
    cmd_cancel = ui::named(new QPushButton(tr("Cancel"), this), "cmd_cancel");
    cmd_ok->setDefault(true);

    auto* name = new QLabel(tr("Enter Or Select a File"), this);
    name->setBuddy(txt_destname);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(name);
    bottom->addWidget(txt_destname, 1);
    bottom->addWidget(cmd_ok);
    bottom->addWidget(cmd_cancel);
    auto* box = new QVBoxLayout(this);
    box->addWidget(File1, 1);
    box->addLayout(bottom);

    connect(File1, &QFileDialog::currentChanged, this,
            [this](const QString& p) { ui::guard([&] { File1_currentChanged(p); }); });
    connect(File1, &QFileDialog::fileSelected, this,
            [this](const QString& p) { ui::guard([&] { File1_fileSelected(p); }); });
    connect(cmd_ok, &QPushButton::clicked, this, ui::guarded([this] { cmd_ok_clicked(); }));
    connect(cmd_cancel, &QPushButton::clicked, this, &QDialog::reject);
    resize(720, 480);
}

void Frm_ImpFile::File1_currentChanged(const QString& path) {
    if (QFileInfo(path).isFile())
        txt_destname->setText(QDir::toNativeSeparators(path));
}

void Frm_ImpFile::File1_fileSelected(const QString& path) {
    File1_currentChanged(path);
    cmd_ok_clicked();
}

void Frm_ImpFile::cmd_ok_clicked() {
    if (txt_destname->text().isEmpty()) {
        ui::MsgBox(tr("select the Correct Path and File Name"), ui::Ok, tr("File Name"));
        return;
    }
    if (!QFileInfo(txt_destname->text()).isFile()) {
        ui::refuse(txt_destname, tr("File Not Found..."), ui::Ok, tr("File Name"));
        return;
    }
    accept();
}
