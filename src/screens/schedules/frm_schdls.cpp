#include "screens/schedules/frm_schdls.h"

#include "core/projects/projects.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace tw::schedules;

namespace {

// The hourglass of the save and of moving all rows. Some ways out of those actions leave it on,
// so it is set and put back by hand rather than by a guard.
void busy() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
}
void idle() {
    QApplication::restoreOverrideCursor();
}

} // namespace

Frm_Schdls::Frm_Schdls(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("Frm_Schdls"));
    setWindowTitle(tr("Add / Copy Schedules"));

    cmb_toproj = ui::named(new QComboBox(this), "cmb_toproj");
    CmbSchItm = ui::named(new QComboBox(this), "CmbSchItm");
    for (auto* c : {cmb_toproj, CmbSchItm}) {
        c->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        c->setMinimumContentsLength(30);
    }
    Lst_Schd = ui::named(new QTreeWidget(this), "Lst_Schd");
    ui::setupListView(Lst_Schd, {tr("Sch.No."), tr("Schedule Description")});
    Lst_SchdA = ui::named(new QTreeWidget(this), "Lst_SchdA");
    ui::setupListView(Lst_SchdA,
                      {tr("Sch.No."), tr("Schedule Description"), tr("Units"), tr("Unis Label"),
                       tr("Rate"), tr("Category"), tr("Type of Measure")});
    Lst_SchdA->headerItem()->setTextAlignment(Rate, Qt::AlignRight | Qt::AlignVCenter);
    CmdSngl = ui::named(new QPushButton(QStringLiteral(">"), this), "CmdSngl");
    CmdSngl->setToolTip(tr("Copy the selected schedule"));
    CmdDbl = ui::named(new QPushButton(QStringLiteral(">>"), this), "CmdDbl");
    CmdDbl->setToolTip(tr("Copy all schedules"));
    CmdRmv = ui::named(new QPushButton(QStringLiteral("X"), this), "CmdRmv");
    CmdRmv->setToolTip(tr("Remove the selected schedule from the list"));
    CmdSvSch = ui::named(new QPushButton(tr("Save"), this), "CmdSvSch");
    CmdCncSch = ui::named(new QPushButton(tr("Cancel"), this), "CmdCncSch");

    auto* projects = new QGridLayout;
    auto label = [this](const QString& caption, QWidget* buddy) {
        auto* l = new QLabel(caption, this);
        l->setBuddy(buddy);
        return l;
    };
    projects->addWidget(label(tr("Schedules are being Copied To"), cmb_toproj), 0, 0);
    projects->addWidget(cmb_toproj, 0, 1);
    projects->addWidget(label(tr("Items To Be Copied From"), CmbSchItm), 1, 0);
    projects->addWidget(CmbSchItm, 1, 1);
    projects->setColumnStretch(2, 1);

    auto* source = new QGroupBox(tr("Schedule Items of Source Project"), this);
    (new QVBoxLayout(source))->addWidget(Lst_Schd);
    auto* destination = new QGroupBox(tr("Schedule Items of Destination project"), this);
    (new QVBoxLayout(destination))->addWidget(Lst_SchdA);
    auto* moves = new QVBoxLayout;
    moves->addStretch();
    for (auto* b : {CmdSngl, CmdDbl, CmdRmv}) {
        b->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral(">>")) * 3 + 16);
        moves->addWidget(b);
    }
    moves->addStretch();
    auto* grids = new QHBoxLayout;
    grids->addWidget(source, 3);
    grids->addLayout(moves);
    grids->addWidget(destination, 5);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(CmdSvSch);
    buttons->addWidget(CmdCncSch);
    auto* box = new QVBoxLayout(this);
    box->addLayout(projects);
    box->addLayout(grids, 1);
    box->addLayout(buttons);

    ui::tabOrder(
        {cmb_toproj, CmbSchItm, Lst_Schd, CmdSngl, CmdDbl, CmdRmv, Lst_SchdA, CmdSvSch, CmdCncSch});

    connect(cmb_toproj, &QComboBox::activated, this,
            ui::guarded([this] { cmb_toproj_activated(); }));
    connect(CmbSchItm, &QComboBox::activated, this, ui::guarded([this] { CmbSchItm_activated(); }));
    // Only a click picks a row: moving through a grid with the keys enables no button and
    // changes no row that a button acts on.
    connect(Lst_Schd, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { ui::guard([&] { Lst_Schd_itemClicked(item); }); });
    connect(Lst_SchdA, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { ui::guard([&] { Lst_SchdA_itemClicked(item); }); });
    connect(CmdSngl, &QPushButton::clicked, this, ui::guarded([this] { CmdSngl_clicked(); }));
    connect(CmdDbl, &QPushButton::clicked, this, ui::guarded([this] { CmdDbl_clicked(); }));
    connect(CmdRmv, &QPushButton::clicked, this, ui::guarded([this] { CmdRmv_clicked(); }));
    connect(CmdSvSch, &QPushButton::clicked, this, ui::guarded([this] { CmdSvSch_clicked(); }));
    // Cancel leaves the screen as it stands: nothing has reached the store to take back.

    ui::guard([this] { loadProjects(); });
    resize(1200, 560);
}

void Frm_Schdls::loadProjects() {
    con.conopen();
    cmb_toproj->clear();
    cmb_toproj->addItems(projectNames(con));
    cmb_toproj->setCurrentIndex(-1);
    CmbSchItm->clear();
    for (auto* b : {CmdSngl, CmdDbl, CmdRmv, CmdSvSch})
        b->setEnabled(false);
}

void Frm_Schdls::cmb_toproj_activated() {
    if (const auto same = checkDestination(cmb_toproj->currentText(), CmbSchItm->currentText())) {
        ui::MsgBox(same->text, same->flags, same->title);
        return;
    }
    const QString destination = cmb_toproj->currentText();
    dest_contract = tw::projects::numberOf(con, destination);
    // The grid begins with what the destination has, and those rows are written again on save.
    Lst_SchdA->clear();
    staged_.clear();
    stagedRow_ = -1;
    for (const StagedItem& item : scheduleItems(con, dest_contract))
        stage(item);
    CmbSchItm->clear();
    for (const QString& name : projectNames(con))
        if (name != destination)
            CmbSchItm->addItem(name);
    cmb_toproj->setEnabled(false);
    if (CmbSchItm->count() > 0) {
        CmbSchItm->setCurrentIndex(0);
        CmbSchItm_activated();
    }
}

void Frm_Schdls::CmbSchItm_activated() {
    Lst_Schd->clear();
    sourceRow_ = -1;
    source_contract = tw::projects::numberOf(con, CmbSchItm->currentText());
    for (const StagedItem& item : scheduleItems(con, source_contract))
        ui::addListRow(Lst_Schd, {item.number, item.description});
    tw::reporttableerror(ui::boxes(), {}, {});
}

void Frm_Schdls::Lst_Schd_itemClicked(QTreeWidgetItem* item) {
    CmdSngl->setEnabled(true);
    CmdDbl->setEnabled(true);
    sourceRow_ = Lst_Schd->indexOfTopLevelItem(item);
    sourceDescription_ = item->text(1);
}

void Frm_Schdls::Lst_SchdA_itemClicked(QTreeWidgetItem* item) {
    if (Lst_SchdA->topLevelItemCount() > 0)
        CmdRmv->setEnabled(true);
    stagedRow_ = Lst_SchdA->indexOfTopLevelItem(item);
}

void Frm_Schdls::stage(const StagedItem& item) {
    staged_.push_back(item);
    QTreeWidgetItem* row =
        ui::addListRow(Lst_SchdA, {item.number, item.description, item.unit, item.unitLabel,
                                   tw::numberText(item.rate), item.category, item.measureType});
    row->setTextAlignment(Rate, Qt::AlignRight | Qt::AlignVCenter);
}

void Frm_Schdls::CmdSngl_clicked() {
    std::optional<QString> picked;
    if (!sourceDescription_.isEmpty() && sourceRow_ >= 0 &&
        sourceRow_ < Lst_Schd->topLevelItemCount())
        picked = Lst_Schd->topLevelItem(sourceRow_)->text(0);
    const auto moved = stageOne(con, source_contract, staged_, picked);
    if (const auto* refused = std::get_if<tw::Refusal>(&moved))
        return ui::refuse(this, *refused);
    for (const StagedItem& item : std::get<std::vector<StagedItem>>(moved))
        stage(item);
    CmdSvSch->setEnabled(true);
    CmdRmv->setEnabled(true);
}

void Frm_Schdls::CmdDbl_clicked() {
    busy();
    const auto all = stageAll(con, source_contract);
    if (const auto* none = std::get_if<tw::Message>(&all)) {
        // The hourglass is left on here: the user is told there is nothing to copy.
        ui::MsgBox(none->text, none->flags, none->title);
        return;
    }
    // No test for rows staged already: the save writes a number twice to the same row.
    for (const StagedItem& item : std::get<std::vector<StagedItem>>(all))
        stage(item);
    CmdRmv->setEnabled(false);
    CmdSvSch->setEnabled(true);
    idle();
}

void Frm_Schdls::CmdRmv_clicked() {
    const int selected = ui::selectedRow(Lst_SchdA);
    if (selected < 0 || Lst_SchdA->topLevelItem(selected)->text(SchNo).isEmpty()) {
        ui::MsgBox(tr("There are no Schedules to Delete..."), ui::Ok, tr("Delete Schedule"));
        return;
    }
    if (Lst_SchdA->topLevelItemCount() == 0) {
        ui::MsgBox(tr("There are no Schedules to Remove from the List"), ui::Ok,
                   tr("Remove Schedule"));
        return;
    }
    const QString number = Lst_SchdA->topLevelItem(selected)->text(SchNo);
    if (ui::MsgBox(tr("You are Currently Positioned at %1 Schedule\nDo you want to Remove this "
                      "Schedule?")
                       .arg(number),
                   ui::OkCancel, tr("Remove Schedule")) != ui::Answer::Ok)
        return;
    // Only the grid changes: an item the destination had from the start stays in the store.
    const int row = stagedRow_ >= 0 && stagedRow_ < int(staged_.size()) ? stagedRow_ : selected;
    delete Lst_SchdA->takeTopLevelItem(row);
    staged_.erase(staged_.begin() + row);
    stagedRow_ = -1;
    if (staged_.empty())
        for (auto* b : {CmdRmv, CmdSvSch, CmdSngl, CmdDbl})
            b->setEnabled(false);
}

void Frm_Schdls::CmdSvSch_clicked() {
    busy();
    std::optional<tw::Refusal> refused;
    try {
        refused = saveStaged(con, CmbSchItm->currentText(), dest_contract, staged_);
    } catch (...) {
        idle();
        throw;
    }
    if (refused) {
        // The hourglass stays on after either refusal.
        ui::refuse(this, *refused);
        if (staged_.empty())
            CmdSvSch->setEnabled(false);
        return;
    }
    idle();
}

void Frm_Schdls::closeEvent(QCloseEvent* e) {
    con.conclose();
    ui::Screen::closeEvent(e);
}
