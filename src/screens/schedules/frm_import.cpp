#include "screens/schedules/frm_import.h"

#include "core/projects/projects.h"
#include "screens/schedules/frm_impfile.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QProgressDialog>
#include <QScopeGuard>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>

using namespace tw::schedules;

namespace {

// A refusal that names a control sends the user there; one that names none is only told.
void tell(QWidget* screen, const tw::Refusal& r) {
    if (r.field.isEmpty())
        ui::MsgBox(r.text, r.flags, r.title);
    else
        ui::refuse(screen, r);
}

// An import this short shows no progress: the dialog would only flash.
constexpr int QuietImportMs = 300;
// How long rows are written between two turns of the desktop.
constexpr int WritingTurnMs = 50;

} // namespace

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
    ui::guard([this] { loadProjects(); });
}

void Frm_Import::setImportMode(bool exportOnly) {
    for (QWidget* w : std::initializer_list<QWidget*>{CmdImport, Txt_FileName, CmdBrowse})
        w->setEnabled(!exportOnly);
    CmdExport->setEnabled(exportOnly);
}

void Frm_Import::loadProjects() {
    con.conopen();
    CmbCntrctNm->clear();
    CmbCntrctNm->addItems(tw::projects::numbers(con));
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
    const QString file = Txt_FileName->text();
    if (const auto refused = checkImport(!CmbCntrctNm->currentText().isEmpty() && project_, file))
        return ui::refuse(this, *refused);
    // The workbook is read apart while the desktop goes on drawing, and its rows are written a
    // few at a time between its turns; after a moment a progress box says what is being done and
    // keeps the user's hands off the screens, but for its Cancel, which leaves the project's
    // schedule as it was. The rows are written on this screen's connection.
    QProgressDialog progress(tr("Reading %1 ...").arg(QFileInfo(file).fileName()), tr("Cancel"), 0,
                             0, this);
    progress.setWindowTitle(windowTitle());
    progress.setMinimumWidth(progress.fontMetrics().averageCharWidth() * 40);
    progress.setWindowModality(Qt::ApplicationModal);
    progress.reset(); // it shows when the work takes long, not by a timer of its own
    QElapsedTimer working, turn;
    working.start();
    turn.start();
    const auto whileReading = [&] {
        if (!progress.isVisible() && !progress.wasCanceled() && working.elapsed() >= QuietImportMs)
            progress.show();
        QCoreApplication::processEvents(progress.isVisible() ? QEventLoop::AllEvents
                                                             : QEventLoop::ExcludeUserInputEvents);
        turn.restart();
        return !progress.wasCanceled();
    };
    const auto whileWriting = [&](qsizetype written, qsizetype of) {
        if (turn.elapsed() < WritingTurnMs)
            return true;
        if (progress.maximum() == 0) {
            progress.setLabelText(tr("Adding the rows of %1 ...").arg(QFileInfo(file).fileName()));
            progress.setMaximum(int(std::min<qsizetype>(of, INT_MAX)));
        }
        progress.setValue(int(std::min<qsizetype>(written, INT_MAX)));
        return whileReading();
    };
    importing_ = true;
    const auto finished = qScopeGuard([&] {
        importing_ = false;
        progress.hide();
    });
    try {
        const tw::Message counted =
            importedMessage(importSchedules(con, *project_, file, whileReading, whileWriting));
        progress.hide();
        ui::MsgBox(counted.text, counted.flags, counted.title);
    } catch (const ImportError& e) {
        progress.hide();
        tell(this, failureRefusal(e.kind()));
    } catch (const ImportCancelled&) {
        // Nothing was added to the project; the screen stays as it was for another try.
        Txt_FileName->setFocus();
    }
}

void Frm_Import::CmdExport_clicked() {
    if (const auto refused = checkExport(!CmbCntrctNm->currentText().isEmpty() && project_))
        return ui::refuse(this, *refused);
    const tw::Message done = exportedMessage(exportSchedules(con, *project_));
    ui::MsgBox(done.text, done.flags, done.title);
}

void Frm_Import::closeEvent(QCloseEvent* e) {
    // The screen stays while a workbook is read into its project.
    if (importing_) {
        e->ignore();
        return;
    }
    con.conclose();
    ui::Screen::closeEvent(e);
}
