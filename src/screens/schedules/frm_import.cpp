#include "screens/schedules/frm_import.h"

#include "screens/schedules/frm_impfile.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace tw::schedules;

Frm_Import::Frm_Import(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("Frm_Import"));
    setWindowTitle(tr("Import / Export Form"));

    CmbCntrctNm = ui::named(new QComboBox(this), "CmbCntrctNm");
    CmbCntrctNm->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    CmbCntrctNm->setMinimumContentsLength(20);
    Txt_FileName = ui::named(new QLineEdit(this), "Txt_FileName");
    Txt_FileName->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    CmdBrowse = ui::named(new QPushButton(tr("Browse"), this), "CmdBrowse");
    CmdImport = ui::named(new QPushButton(tr("Import"), this), "CmdImport");
    CmdExport = ui::named(new QPushButton(tr("Export"), this), "CmdExport");
    CmdExit = ui::named(new QPushButton(tr("E&xit"), this), "CmdExit");
    Lbl_Import =
        ui::named(new QLabel(tr("Please Select an Excel File to Import"), this), "Lbl_Import");

    auto* project = new QLabel(tr("Project Name"), this);
    project->setBuddy(CmbCntrctNm);
    auto* g = new QGridLayout;
    g->addWidget(project, 0, 0);
    g->addWidget(CmbCntrctNm, 0, 1, Qt::AlignLeft);
    g->addWidget(Lbl_Import, 1, 0, 1, 3);
    g->addWidget(Txt_FileName, 2, 0, 1, 2);
    g->addWidget(CmdBrowse, 2, 2);
    g->setColumnStretch(1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (auto* b : {CmdImport, CmdExport, CmdExit})
        buttons->addWidget(b);
    auto* box = new QVBoxLayout(this);
    box->addLayout(g);
    box->addStretch();
    box->addLayout(buttons);

    ui::tabOrder({CmbCntrctNm, Txt_FileName, CmdBrowse, CmdImport, CmdExport, CmdExit});
    ui::selectAllOnFocusBelow(this);

    connect(CmbCntrctNm, &QComboBox::activated, this,
            ui::guarded([this] { CmbCntrctNm_activated(); }));
    connect(CmdBrowse, &QPushButton::clicked, this, ui::guarded([this] { CmdBrowse_clicked(); }));
    connect(CmdImport, &QPushButton::clicked, this, ui::guarded([this] { CmdImport_clicked(); }));
    connect(CmdExport, &QPushButton::clicked, this, ui::guarded([this] { CmdExport_clicked(); }));
    connect(CmdExit, &QPushButton::clicked, this, &QWidget::close);

    setImportMode(false);
    ui::guard([this] { Form_Load(); });
}

void Frm_Import::setImportMode(bool exportOnly) {
    for (QWidget* w : std::initializer_list<QWidget*>{CmdImport, Txt_FileName, CmdBrowse})
        w->setEnabled(!exportOnly);
    CmdExport->setEnabled(exportOnly);
}

void Frm_Import::Form_Load() {
    con.conopen();
    QStringList numbers;
    con.contractno(numbers, QStringLiteral("numbers only"));
    CmbCntrctNm->clear();
    CmbCntrctNm->addItems(numbers);
    CmbCntrctNm->setCurrentIndex(-1);
}

void Frm_Import::CmbCntrctNm_activated() {
    project_ = findProject(con, CmbCntrctNm->currentText());
}

void Frm_Import::CmdBrowse_clicked() {
    Frm_ImpFile picker(this);
    if (picker.exec() == QDialog::Accepted)
        Txt_FileName->setText(picker.path());
    else
        Txt_FileName->clear();
}

void Frm_Import::CmdImport_clicked() {
    if (CmbCntrctNm->currentText().isEmpty() || !project_) {
        ui::MsgBox(tr("Please Select a Contract Number...!"), ui::Ok, tr("Select Contract Number"));
        CmbCntrctNm->setFocus();
        return;
    }
    if (Txt_FileName->text().isEmpty()) {
        ui::refuse(Txt_FileName, tr("Please Select a File Name (Excel File)..."), ui::Ok,
                   tr("Select File Name"));
        return;
    }
    if (!QFileInfo(Txt_FileName->text()).isFile()) {
        ui::refuse(Txt_FileName, tr("File Not Found..."), ui::Ok, tr("File Name"));
        return;
    }
    try {
        const tw::Message done =
            importedMessage(importSchedules(con, *project_, Txt_FileName->text()));
        ui::MsgBox(done.text, done.flags, done.title);
    } catch (const ImportError& e) {
        const tw::Message m = failureMessage(e.kind());
        if (e.kind() == ImportFailure::FewColumns)
            ui::refuse(Txt_FileName, m.text, m.flags, m.title);
        else
            ui::MsgBox(m.text, m.flags, m.title);
    }
}

void Frm_Import::CmdExport_clicked() {
    if (CmbCntrctNm->currentText().isEmpty() || !project_) {
        ui::MsgBox(tr("Please Select A Contract Number...!"), ui::Ok, tr("Select Contract Number"));
        CmbCntrctNm->setFocus();
        return;
    }
    const tw::Message done = exportedMessage(exportSchedules(con, *project_));
    ui::MsgBox(done.text, done.flags, done.title);
}

void Frm_Import::closeEvent(QCloseEvent* e) {
    con.conclose();
    ui::Screen::closeEvent(e);
}
