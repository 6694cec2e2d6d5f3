#include "screens/projects/frm_schentry.h"

#include "core/projects/projects.h"
#include "core/schedules/items.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// What a 1366x768 display leaves a screen of the frame once the frame's title and menu, the
// screen's own title bar and the task bar have their room.
constexpr QSize kLargest(1340, 620);

// No column of the list grows wider than about this many characters, so that a long
// description leaves the columns after it in view; its tool tip shows it whole.
constexpr int kWidestColumnChars = 60;

// Sets a list to the first entry equal to `text`; a text the list lacks leaves it as it is.
void pickEntry(QComboBox* list, const QString& text) {
    const int i = list->findText(text);
    if (i >= 0)
        list->setCurrentIndex(i);
}

} // namespace

frm_schentry::frm_schentry(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_schentry"));
    setWindowTitle(tr("Schedule of Works Definition"));

    fraSchedule = ui::named(new QGroupBox(tr("Add Schedule Items ..."), this), "fraSchedule");
    cmb_projname = ui::named(new QComboBox(fraSchedule), "cmb_projname");
    txt_schnum = ui::named(new QLineEdit(fraSchedule), "txt_schnum");
    // Ten characters as typed; a longer number that came in by a workbook or a copy loads whole,
    // so saving it changes that item instead of making a cut one.
    ui::typingLimit(txt_schnum, 10);
    RtItmDsc = ui::named(new QTextEdit(fraSchedule), "RtItmDsc");
    // Only the plain text is kept, so pasted formatting is not taken in; Tab moves on as in
    // every other field.
    RtItmDsc->setAcceptRichText(false);
    RtItmDsc->setTabChangesFocus(true);
    cmb_category = ui::named(new QComboBox(fraSchedule), "cmb_category");
    cmb_volarea = ui::named(new QComboBox(fraSchedule), "cmb_volarea");
    cmb_unitnos = ui::named(new QComboBox(fraSchedule), "cmb_unitnos");
    unitlbl = ui::named(new QLabel(fraSchedule), "unitlbl");
    txtschitemrate = ui::named(new QLineEdit(fraSchedule), "txtschitemrate");
    txtschitemrate->setAlignment(Qt::AlignRight);
    ui::decimalRule(txtschitemrate, true);
    cmd_save_sch = ui::named(new QPushButton(tr("&Save Schedule Item"), this), "cmd_save_sch");
    cmd_delete = ui::named(new QPushButton(tr("&Delete Schedule Item"), this), "cmd_delete");
    schlist = ui::named(new QTreeWidget(this), "schlist");
    ui::setupListView(schlist,
                      {tr("Sl No"), tr("Sch. No"), tr("Schedule Item Description"), tr("Category"),
                       tr("Unit Rate"), tr("Unit Label"), tr("Type of Measure")});
    schlist->setToolTip(tr("Double click to Edit item"));
    // Columns take the width of their lines, not what is left of the row.
    schlist->header()->setStretchLastSection(false);
    schlist->header()->setMaximumSectionSize(fontMetrics().averageCharWidth() * kWidestColumnChars);
    schlist->headerItem()->setTextAlignment(UnitRate, Qt::AlignRight | Qt::AlignVCenter);

    const int charWidth = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    txt_schnum->setMaximumWidth(charWidth * 14 + 16);
    txtschitemrate->setMaximumWidth(charWidth * 14 + 16);
    RtItmDsc->setFixedHeight(fontMetrics().lineSpacing() * 4 + 12);
    schlist->setMinimumHeight(fontMetrics().lineSpacing() * 10);
    unitlbl->setMinimumWidth(charWidth * 8);
    for (auto* c : {cmb_category, cmb_volarea, cmb_unitnos})
        c->setMinimumContentsLength(10);
    cmb_projname->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    cmb_projname->setMinimumContentsLength(30);

    auto label = [](const QString& caption, QWidget* buddy) {
        auto* l = new QLabel(caption, buddy->parentWidget());
        l->setBuddy(buddy);
        return l;
    };
    auto* g = new QGridLayout(fraSchedule);
    g->addWidget(label(tr("Project name"), cmb_projname), 0, 0);
    g->addWidget(cmb_projname, 0, 1, 1, 3);
    g->addWidget(label(tr("Schedule Item No."), txt_schnum), 1, 0);
    g->addWidget(txt_schnum, 1, 1, Qt::AlignLeft);
    g->addWidget(label(tr("Item Description"), RtItmDsc), 2, 0, Qt::AlignTop);
    g->addWidget(RtItmDsc, 2, 1, 1, 3);
    g->addWidget(label(tr("Item Category"), cmb_category), 3, 0);
    g->addWidget(cmb_category, 3, 1);
    g->addWidget(label(tr("Type of Measure"), cmb_volarea), 3, 2);
    g->addWidget(cmb_volarea, 3, 3);
    g->addWidget(label(tr("Unit"), cmb_unitnos), 4, 0);
    auto* unit = new QHBoxLayout;
    unit->addWidget(cmb_unitnos, 1);
    unit->addWidget(unitlbl);
    g->addLayout(unit, 4, 1);
    g->addWidget(label(tr("Unit Rate in (Rs.)"), txtschitemrate), 4, 2);
    g->addWidget(txtschitemrate, 4, 3, Qt::AlignLeft);
    g->setColumnStretch(1, 1);
    g->setColumnStretch(3, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmd_save_sch);
    buttons->addWidget(cmd_delete);
    auto* box = new QVBoxLayout(this);
    box->addWidget(fraSchedule);
    box->addLayout(buttons);
    box->addWidget(schlist, 1);

    ui::tabOrder({cmb_projname, txt_schnum, RtItmDsc, cmb_category, cmb_volarea, cmb_unitnos,
                  txtschitemrate, cmd_save_sch, cmd_delete, schlist});
    ui::selectAllOnFocusBelow(this);

    connect(cmb_projname, &QComboBox::activated, this,
            ui::guarded([this] { cmb_projname_activated(); }));
    connect(cmb_category, &QComboBox::activated, this,
            ui::guarded([this] { cmb_category_activated(); }));
    connect(cmb_volarea, &QComboBox::activated, this,
            ui::guarded([this] { cmb_volarea_activated(); }));
    connect(schlist, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { schlist_itemClicked(); }));
    connect(schlist, &QTreeWidget::itemSelectionChanged, this,
            ui::guarded([this] { schlist_itemSelectionChanged(); }));
    // Activation is the double click, and Enter on a line for those who work by keyboard.
    connect(schlist, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
        ui::guard([this, item] { schlist_itemActivated(item); });
    });
    connect(cmd_save_sch, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_save_sch_clicked(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_clicked(); }));

    ui::guard([this] { loadLists(); });
    resize(sizeHint());
}

frm_schentry::~frm_schentry() {
    con.conclose();
}

QSize frm_schentry::sizeHint() const {
    const QMargins m = layout()->contentsMargins();
    const int list = schlist->header()->length() + 2 * schlist->frameWidth() +
                     schlist->verticalScrollBar()->sizeHint().width() + m.left() + m.right();
    QSize hint = ui::Screen::sizeHint();
    hint.setWidth(std::max(hint.width(), list));
    return hint.boundedTo(kLargest);
}

void frm_schentry::loadLists() {
    if (!con.isOpen())
        con.conopen();
    cmb_projname->clear();
    cmb_projname->addItems(tw::projectNames(con));
    cmd_delete->setEnabled(false);

    // The categories are listed before any project is picked, when no measure system is known
    // yet, so the list always holds the metre categories, also for a project in feet. Picking
    // a category looks its rate up in the table of the project's own system.
    const tw::schedules::ItemLists lists = tw::schedules::itemLists(con, units_);
    const std::pair<QComboBox*, const QStringList*> fills[] = {{cmb_volarea, &lists.measureTypes},
                                                               {cmb_unitnos, &lists.units},
                                                               {cmb_category, &lists.categories}};
    for (const auto& [list, entries] : fills) {
        list->clear();
        list->addItems(*entries);
        // Nothing is picked until the user picks: an item may be saved without one.
        list->setCurrentIndex(-1);
    }

    if (cmb_projname->count() == 0)
        throw tw::Error(tr("No project has been defined yet. Define a project first."));
    cmb_projname->setCurrentIndex(0);
    cmb_projname_activated();
}

void frm_schentry::cmb_projname_activated() {
    contractNum_.clear();
    units_.clear();
    if (const auto project = tw::projects::findByName(con, cmb_projname->currentText())) {
        contractNum_ = project->text(QStringLiteral("tw_contract_num"));
        units_ = project->text(QStringLiteral("tw_units"));
    }
    ReloadList();
}

void frm_schentry::ReloadList(const QString& current) {
    // Rebuilding the lines is no pick of the user's: the delete button keeps its state.
    const QSignalBlocker quiet(schlist);
    schlist->clear();
    QTreeWidgetItem* keep = nullptr;
    for (QStringList cells : tw::schedules::itemLines(con, contractNum_)) {
        const QString desc = cells[Description];
        // A line of the list shows the description on one line; the tip shows it whole.
        cells[Description].replace(u'\n', u' ');
        auto* item = ui::addListRow(schlist, cells);
        item->setToolTip(Description, desc);
        item->setTextAlignment(UnitRate, Qt::AlignRight | Qt::AlignVCenter);
        // Item numbers compare as the store compares them: "2a" is the item "2A".
        if (!keep && !current.isEmpty() &&
            item->text(SchNo).compare(current, Qt::CaseInsensitive) == 0)
            keep = item;
    }
    // Sized now, not later, so that the size hint of a screen about to open knows the columns.
    ui::fitColumns(schlist);
    if (keep)
        schlist->setCurrentItem(keep);
    else if (schlist->topLevelItemCount() > 0)
        schlist->setCurrentItem(schlist->topLevelItem(0), 0, QItemSelectionModel::NoUpdate);
}

void frm_schentry::cmb_category_activated() {
    const QString category = cmb_category->currentText();
    const auto rate = tw::schedules::categoryRate(con, units_, category);
    if (!rate) {
        // The rate of the category picked before must not stand beside this name, where a save
        // would store the two together.
        txtschitemrate->clear();
        cmb_category->setCurrentIndex(-1);
        throw tw::Error(
            tr("The category \"%1\" is not among the categories in %2.")
                .arg(category, units_ == QLatin1String("Feet") ? tr("feet") : tr("metres")));
    }
    txtschitemrate->setText(*rate);
}

void frm_schentry::cmb_volarea_activated() {
    unitlbl->setText(
        tw::schedules::unitLabel(con, units_, cmb_volarea->currentText(), unitlbl->text()));
}

QTreeWidgetItem* frm_schentry::pickedLine() const {
    const int row = ui::selectedRow(schlist);
    return row >= 0 ? schlist->topLevelItem(row) : nullptr;
}

void frm_schentry::schlist_itemClicked() {
    if (const auto* line = pickedLine(); line && !line->text(SchNo).isEmpty())
        cmd_delete->setEnabled(true);
}

void frm_schentry::schlist_itemActivated(QTreeWidgetItem* item) {
    if (!item || schlist->topLevelItemCount() == 0)
        return;
    const auto stored = tw::schedules::findItem(con, contractNum_, item->text(SchNo));
    if (!stored)
        return;
    txt_schnum->setText(stored->number);
    RtItmDsc->setPlainText(stored->description);
    pickEntry(cmb_unitnos, stored->unit);
    // The category's own rate is not looked up here: the item's stored rate replaces it below,
    // and a category missing from the feet table must not keep the item from loading.
    pickEntry(cmb_category, stored->category);
    if (stored->label)
        unitlbl->setText(*stored->label);
    if (stored->measureType) {
        const int i = cmb_volarea->findText(*stored->measureType);
        if (i >= 0) {
            cmb_volarea->setCurrentIndex(i);
            cmb_volarea_activated();
        }
    }
    txtschitemrate->setText(stored->rate);
}

void frm_schentry::cmd_save_sch_clicked() {
    const QString schNum = txt_schnum->text();
    const tw::schedules::Item typed{schNum,
                                    RtItmDsc->toPlainText(),
                                    txtschitemrate->text(),
                                    cmb_unitnos->currentText(),
                                    cmb_category->currentText(),
                                    unitlbl->text(),
                                    cmb_volarea->currentText()};
    if (const auto refused = tw::schedules::saveItem(con, contractNum_, typed))
        return ui::refuse(this, *refused);
    ReloadList(schNum);
    RtItmDsc->clear();
    txtschitemrate->clear();
    txt_schnum->clear();
    txt_schnum->setFocus();
}

void frm_schentry::cmd_delete_clicked() {
    const QTreeWidgetItem* line = pickedLine();
    const QString schNum = line ? line->text(SchNo) : QString();
    if (schNum.isEmpty())
        ui::MsgBox(tr("No item selected"), ui::Information);
    else if (ui::MsgBox(tr("You are Deleting : ") + schNum + QStringLiteral(" - ") +
                            line->text(Description),
                        ui::OkCancel) == ui::Answer::Ok)
        tw::schedules::deleteItem(con, contractNum_, schNum);
    ReloadList(schNum);
    cmd_delete->setEnabled(false);
}
