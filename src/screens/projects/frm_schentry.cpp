#include "screens/projects/frm_schentry.h"

#include "store/store.h"
#include "values/values.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace {

using tw::numberText;

// What a 1366x768 display leaves a screen of the frame once the frame's title and menu, the
// screen's own title bar and the task bar have their room.
constexpr QSize kLargest(1340, 620);

// No column of the list grows wider than about this many characters, so that a long
// description leaves the columns after it in view; its tool tip shows it whole.
constexpr int kWidestColumnChars = 60;

// A list or caption as it is written: an item saved with nothing picked stores an empty text,
// never Null (a Null unit label or type of measure would list as "XXX" and "xxx").
QString storedText(const QString& text) {
    return text.isNull() ? QStringLiteral("") : text;
}

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
    // A line reached with the arrow keys is picked as a click picks it.
    connect(schlist, &QTreeWidget::itemSelectionChanged, this,
            ui::guarded([this] { schlist_itemClicked(); }));
    // Activation is the double click, and Enter on a line for those who work by keyboard.
    connect(schlist, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
        ui::guard([this, item] { schlist_itemActivated(item); });
    });
    connect(cmd_save_sch, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_save_sch_clicked(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_clicked(); }));

    ui::guard([this] { Form_Load(); });
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

void frm_schentry::Form_Load() {
    if (!con.isOpen())
        con.conopen();
    cmb_projname->clear();
    for (const auto& r : con.keyed(QStringLiteral("contractmaster")))
        cmb_projname->addItem(r.text(QStringLiteral("tw_contract_name")));
    cmd_delete->setEnabled(false);

    auto fill = [this](QComboBox* list, const QString& table, const QString& column) {
        list->clear();
        for (const auto& r : con.keyed(table))
            list->addItem(r.text(column));
        // Nothing is picked until the user picks: an item may be saved without one.
        list->setCurrentIndex(-1);
    };
    fill(cmb_volarea, QStringLiteral("volarea"), QStringLiteral("tw_volarea"));
    fill(cmb_unitnos, QStringLiteral("units"), QStringLiteral("units"));
    // The categories are listed before any project is picked, when no measure system is known
    // yet, so the list always holds the metre categories, also for a project in feet. Picking
    // a category looks its rate up in the table of the project's own system.
    fill(cmb_category,
         units_ == QLatin1String("Feet") ? QStringLiteral("categorylist_feet")
                                         : QStringLiteral("categorylist_meter"),
         QStringLiteral("tw_category_name"));

    if (cmb_projname->count() == 0)
        throw tw::Error(tr("No project has been defined yet. Define a project first."));
    cmb_projname->setCurrentIndex(0);
    cmb_projname_activated();
}

void frm_schentry::cmb_projname_activated() {
    contractNum_.clear();
    units_.clear();
    const auto row = con.find(QStringLiteral("contractmaster"),
                              QStringLiteral("tw_contract_name=?"), {cmb_projname->currentText()});
    if (row) {
        contractNum_ = row->text(QStringLiteral("tw_contract_num"));
        units_ = row->text(QStringLiteral("tw_units"));
    }
    ReloadList();
}

void frm_schentry::ReloadList(const QString& current) {
    // Rebuilding the lines is no pick of the user's: the delete button keeps its state.
    const QSignalBlocker quiet(schlist);
    schlist->clear();
    slno_ = 1;
    QTreeWidgetItem* keep = nullptr;
    for (const auto& r : con.keyed(QStringLiteral("sch_master"),
                                   QStringLiteral("tw_contract_num=?"), {contractNum_})) {
        const QString desc = r.text(QStringLiteral("tw_item_desc"));
        auto* item = ui::addListRow(
            schlist,
            {QString::number(slno_), r.text(QStringLiteral("tw_sch_num")),
             // A line of the list shows the description on one line; the tip shows it whole.
             QString(desc).replace(u'\n', u' '), r.text(QStringLiteral("tw_category_name")),
             numberText(r.value(QStringLiteral("tw_item_rate"))),
             r.isNull(QStringLiteral("tw_unit_lable")) ? QStringLiteral("XXX")
                                                       : r.text(QStringLiteral("tw_unit_lable")),
             r.isNull(QStringLiteral("tw_volarea")) ? QStringLiteral("xxx")
                                                    : r.text(QStringLiteral("tw_volarea"))});
        item->setToolTip(Description, desc);
        item->setTextAlignment(UnitRate, Qt::AlignRight | Qt::AlignVCenter);
        // Item numbers compare as the store compares them: "2a" is the item "2A".
        if (!keep && !current.isEmpty() &&
            item->text(SchNo).compare(current, Qt::CaseInsensitive) == 0)
            keep = item;
        ++slno_;
    }
    // Sized now, not later, so that the size hint of a screen about to open knows the columns.
    ui::fitColumns(schlist);
    if (keep)
        schlist->setCurrentItem(keep);
    else if (schlist->topLevelItemCount() > 0)
        schlist->setCurrentItem(schlist->topLevelItem(0), 0, QItemSelectionModel::NoUpdate);
}

void frm_schentry::cmb_category_activated() {
    const bool feet = units_ == QLatin1String("Feet");
    const QString category = cmb_category->currentText();
    const auto row =
        con.find(feet ? QStringLiteral("categorylist_feet") : QStringLiteral("categorylist_meter"),
                 QStringLiteral("tw_category_name=?"), {category});
    if (!row) {
        // The rate of the category picked before must not stand beside this name, where a save
        // would store the two together.
        txtschitemrate->clear();
        cmb_category->setCurrentIndex(-1);
        throw tw::Error(tr("The category \"%1\" is not among the categories in %2.")
                            .arg(category, feet ? tr("feet") : tr("metres")));
    }
    txtschitemrate->setText(numberText(row->value(QStringLiteral("tw_rate"))));
}

void frm_schentry::cmb_volarea_activated() {
    const QString shortWord =
        units_ == QLatin1String("Metre") ? QStringLiteral("Mt") : QStringLiteral("ft");
    const auto row = con.find(QStringLiteral("volarea"), QStringLiteral("tw_volarea=?"),
                              {cmb_volarea->currentText()});
    if (!row)
        return;
    const QString type = row->text(QStringLiteral("tw_volarea"));
    const QString front = row->text(QStringLiteral("tw_label"));
    if (type == QLatin1String("Area") || type == QLatin1String("Volume") ||
        type == QLatin1String("Linear"))
        unitlbl->setText(front + shortWord);
    else if (type == QLatin1String("Count"))
        unitlbl->setText(front);
    else if (type == QLatin1String("Set"))
        unitlbl->setText(QStringLiteral("Sets"));
    else if (type == QLatin1String("Lumpsum"))
        unitlbl->setText(QStringLiteral("Lumpsum"));
}

QTreeWidgetItem* frm_schentry::pickedLine() const {
    const int row = ui::selectedRow(schlist);
    return row >= 0 ? schlist->topLevelItem(row) : nullptr;
}

void frm_schentry::schlist_itemClicked() {
    if (const auto* line = pickedLine(); line && !line->text(SchNo).isEmpty())
        cmd_delete->setEnabled(true);
}

std::optional<tw::Row> frm_schentry::findItem(const QString& schNum) const {
    return con.find(QStringLiteral("sch_master"),
                    QStringLiteral("tw_contract_num=? and tw_sch_num=?"), {contractNum_, schNum});
}

void frm_schentry::schlist_itemActivated(QTreeWidgetItem* item) {
    if (!item || schlist->topLevelItemCount() == 0)
        return;
    const auto row = findItem(item->text(SchNo));
    if (!row)
        return;
    txt_schnum->setText(row->text(QStringLiteral("tw_sch_num")));
    RtItmDsc->setPlainText(row->text(QStringLiteral("tw_item_desc")));
    pickEntry(cmb_unitnos, row->text(QStringLiteral("tw_unit")));
    // The category's own rate is not looked up here: the item's stored rate replaces it below,
    // and a category missing from the feet table must not keep the item from loading.
    pickEntry(cmb_category, row->text(QStringLiteral("tw_category_name")));
    if (!row->isNull(QStringLiteral("tw_unit_lable")))
        unitlbl->setText(row->text(QStringLiteral("tw_unit_lable")));
    if (!row->isNull(QStringLiteral("tw_volarea"))) {
        const int i = cmb_volarea->findText(row->text(QStringLiteral("tw_volarea")));
        if (i >= 0) {
            cmb_volarea->setCurrentIndex(i);
            cmb_volarea_activated();
        }
    }
    txtschitemrate->setText(numberText(row->value(QStringLiteral("tw_item_rate"))));
}

void frm_schentry::cmd_save_sch_clicked() {
    // A field is missing only when it is empty: an item number of blanks is a number.
    if (txt_schnum->text().isEmpty())
        return ui::refuse(txt_schnum, tr("Schedule Item Number is not entered!"));
    if (RtItmDsc->toPlainText().isEmpty())
        return ui::refuse(RtItmDsc, tr("Schedule Item Description is not entered!"));
    const QString rateText = txtschitemrate->text();
    if (rateText.isEmpty())
        return ui::refuse(txtschitemrate, tr("Schedule Item Unit Rate is not entered!"));
    const auto rate = tw::strictNumber(rateText);
    if (!rate)
        return ui::refuse(txtschitemrate, tr("The unit rate \"%1\" is not a number.").arg(rateText),
                          ui::Critical);
    // The bills sum rates in the money type: a rate it cannot hold would break every bill of
    // the item.
    if (!tw::fitsMoney(*rate))
        return ui::refuse(txtschitemrate, tw::tooLargeText(tr("Unit Rate"), *rate), ui::Critical);
    if (contractNum_.isEmpty())
        throw tw::Error(tr("No project is picked. Define a project first."));

    const QString schNum = txt_schnum->text();
    tw::Values values{{QStringLiteral("tw_item_desc"), RtItmDsc->toPlainText()},
                      {QStringLiteral("tw_item_rate"), *rate},
                      {QStringLiteral("tw_unit"), storedText(cmb_unitnos->currentText())},
                      {QStringLiteral("tw_category_name"), storedText(cmb_category->currentText())},
                      {QStringLiteral("tw_unit_lable"), storedText(unitlbl->text())},
                      {QStringLiteral("tw_volarea"), storedText(cmb_volarea->currentText())},
                      {QStringLiteral("tw_deduction"), 0}};
    tw::Transaction tx(con);
    if (const auto found = findItem(schNum)) {
        con.update(QStringLiteral("sch_master"), found->id(), values);
    } else {
        values.insert(values.begin(), {{QStringLiteral("tw_contract_num"), contractNum_},
                                       {QStringLiteral("tw_sch_num"), schNum}});
        con.insert(QStringLiteral("sch_master"), values);
    }
    tx.commit();

    ReloadList(schNum);
    RtItmDsc->clear();
    txtschitemrate->clear();
    txt_schnum->clear();
    txt_schnum->setFocus();
}

void frm_schentry::cmd_delete_clicked() {
    const QTreeWidgetItem* line = pickedLine();
    const QString schNum = line ? line->text(SchNo) : QString();
    if (schNum.isEmpty()) {
        ui::MsgBox(tr("No item selected"), ui::Information);
    } else if (ui::MsgBox(tr("You are Deleting : ") + schNum + QStringLiteral(" - ") +
                              line->text(Description),
                          ui::OkCancel) == ui::Answer::Ok) {
        tw::Transaction tx(con);
        if (const auto found = findItem(schNum))
            con.remove(QStringLiteral("sch_master"), found->id());
        tx.commit();
    }
    ReloadList(schNum);
    cmd_delete->setEnabled(false);
}
