#include "projects/frm_schentry.h"

#include "store/store.h"
#include "values/values.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

#include <algorithm>

namespace {

using tw::numberText;

QComboBox* list(QWidget* parent, const char* name) {
    auto* c = new QComboBox(parent);
    c->setObjectName(QString::fromLatin1(name));
    return c;
}

} // namespace

frm_schentry::frm_schentry(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_schentry"));
    setWindowTitle(tr("Schedule of Works Definition"));

    fraSchedule = new QGroupBox(tr("Add Schedule Items ..."), this);
    fraSchedule->setObjectName(QStringLiteral("fraSchedule"));
    cmb_projname = list(fraSchedule, "cmb_projname");
    txt_schnum = new QLineEdit(fraSchedule);
    txt_schnum->setObjectName(QStringLiteral("txt_schnum"));
    txt_schnum->setMaxLength(10);
    RtItmDsc = new QTextEdit(fraSchedule);
    RtItmDsc->setObjectName(QStringLiteral("RtItmDsc"));
    // Only the plain text is kept, so pasted formatting is not taken in; Tab moves on as in
    // every other field.
    RtItmDsc->setAcceptRichText(false);
    RtItmDsc->setTabChangesFocus(true);
    cmb_category = list(fraSchedule, "cmb_category");
    cmb_volarea = list(fraSchedule, "cmb_volarea");
    cmb_unitnos = list(fraSchedule, "cmb_unitnos");
    unitlbl = new QLabel(fraSchedule);
    unitlbl->setObjectName(QStringLiteral("unitlbl"));
    txtschitemrate = new QLineEdit(fraSchedule);
    txtschitemrate->setObjectName(QStringLiteral("txtschitemrate"));
    txtschitemrate->setAlignment(Qt::AlignRight);
    ui::decimalRule(txtschitemrate, true);
    cmd_save_sch = new QPushButton(tr("Save Schedule Item"), this);
    cmd_save_sch->setObjectName(QStringLiteral("cmd_save_sch"));
    cmd_delete = new QPushButton(tr("Delete Schedule Item"), this);
    cmd_delete->setObjectName(QStringLiteral("cmd_delete"));
    schlist = new QTreeWidget(this);
    schlist->setObjectName(QStringLiteral("schlist"));
    ui::setupListView(schlist,
                      {tr("Sl No"), tr("Sch. No"), tr("Schedule Item Description"), tr("Category"),
                       tr("Unit Rate"), tr("Unit Label"), tr("Type of Measure")});
    schlist->setToolTip(tr("Double click to Edit item"));

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
    // The description takes the room there is; the short columns are as wide as their
    // captions, so every column stays in view without scrolling sideways.
    auto* header = schlist->header();
    header->setStretchLastSection(false);
    const QFontMetrics hm(header->font());
    const std::pair<Column, int> widths[] = {{SlNo, 5},      {SchNo, 10},    {Category, 16},
                                             {UnitRate, 12}, {UnitLabel, 7}, {TypeOfMeasure, 8}};
    for (const auto& [column, chars] : widths) {
        const int caption = hm.horizontalAdvance(schlist->headerItem()->text(column));
        header->resizeSection(column, std::max(caption, charWidth * chars) + 16);
    }
    header->setSectionResizeMode(Description, QHeaderView::Stretch);
    schlist->headerItem()->setTextAlignment(UnitRate, Qt::AlignRight | Qt::AlignVCenter);

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
    auto* desc = label(tr("Item Description"), RtItmDsc);
    g->addWidget(desc, 2, 0, Qt::AlignTop);
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

    QWidget* order[] = {cmb_projname, txt_schnum,     RtItmDsc,     cmb_category, cmb_volarea,
                        cmb_unitnos,  txtschitemrate, cmd_save_sch, cmd_delete,   schlist};
    for (size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
    ui::selectAllOnFocusBelow(this);

    connect(cmb_projname, &QComboBox::activated, this,
            ui::guarded([this] { cmb_projname_Click(); }));
    connect(cmb_category, &QComboBox::activated, this,
            ui::guarded([this] { cmb_category_Click(); }));
    connect(cmb_volarea, &QComboBox::activated, this, ui::guarded([this] { cmb_volarea_Click(); }));
    connect(schlist, &QTreeWidget::itemClicked, this, ui::guarded([this] { schlist_Click(); }));
    // Activation is the double click, and Enter on a line for those who work by keyboard.
    connect(schlist, &QTreeWidget::itemActivated, this,
            [this](QTreeWidgetItem* item) { ui::guard([this, item] { schlist_DblClick(item); }); });
    connect(cmd_save_sch, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_save_sch_clicked(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_clicked(); }));

    resize(900, 600);
    ui::guard([this] { Form_Load(); });
}

frm_schentry::~frm_schentry() {
    con.conclose();
}

void frm_schentry::Form_Load() {
    if (!con.isOpen())
        con.conopen();
    cmb_projname->clear();
    for (const auto& r :
         con.rows(QStringLiteral("select tw_contract_name from contractmaster order by rowid")))
        cmb_projname->addItem(r.text(0));
    cmd_delete->setEnabled(false);

    auto fill = [this](QComboBox* box, const QString& sql) {
        box->clear();
        for (const auto& r : con.rows(sql))
            box->addItem(r.text(0));
        // Nothing is picked until the user picks: an item may be saved without one.
        box->setCurrentIndex(-1);
    };
    fill(cmb_volarea, QStringLiteral("select tw_volarea from volarea order by rowid"));
    fill(cmb_unitnos, QStringLiteral("select units from units order by rowid"));
    // The categories are listed before any project is picked, when no measure system is known
    // yet, so the list always holds the metre categories, also for a project in feet. Picking
    // a category looks its rate up in the table of the project's own system.
    fill(cmb_category,
         units_ == QLatin1String("Feet")
             ? QStringLiteral("select tw_category_name from categorylist_feet order by rowid")
             : QStringLiteral("select tw_category_name from categorylist_meter order by rowid"));

    if (cmb_projname->count() == 0)
        throw tw::Error(tr("No project has been defined yet. Define a project first."));
    cmb_projname->setCurrentIndex(0);
    cmb_projname_Click();
}

void frm_schentry::cmb_projname_Click() {
    contractNum_.clear();
    units_.clear();
    const auto row =
        con.first(QStringLiteral("select * from contractmaster where tw_contract_name=?"),
                  {cmb_projname->currentText()});
    if (row) {
        contractNum_ = row->text(QStringLiteral("tw_contract_num"));
        units_ = row->text(QStringLiteral("tw_units"));
    }
    ReloadList();
}

void frm_schentry::ReloadList() {
    schlist->clear();
    slno_ = 1;
    for (const auto& r :
         con.rows(QStringLiteral("select * from sch_master where tw_contract_num=? order by rowid"),
                  {contractNum_})) {
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
        ++slno_;
    }
}

void frm_schentry::cmb_category_Click() {
    const bool feet = units_ == QLatin1String("Feet");
    const QString category = cmb_category->currentText();
    const auto row = con.first(
        feet ? QStringLiteral("select * from categorylist_feet where tw_category_name=?")
             : QStringLiteral("select * from categorylist_meter where tw_category_name=?"),
        {category});
    if (!row)
        throw tw::Error(tr("The category \"%1\" is not among the categories in %2.")
                            .arg(category, feet ? tr("feet") : tr("metres")));
    txtschitemrate->setText(numberText(row->value(QStringLiteral("tw_rate"))));
}

void frm_schentry::cmb_volarea_Click() {
    const QString shortWord =
        units_ == QLatin1String("Metre") ? QStringLiteral("Mt") : QStringLiteral("ft");
    const auto row = con.first(QStringLiteral("select * from volarea where tw_volarea=?"),
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

void frm_schentry::schlist_Click() {
    const int row = ui::selectedRow(schlist);
    if (schlist->topLevelItemCount() > 0 && row >= 0 &&
        !schlist->topLevelItem(row)->text(SchNo).isEmpty())
        cmd_delete->setEnabled(true);
}

std::optional<tw::Row> frm_schentry::findItem(const QString& schNum) const {
    // The item number is the key within a project; the old store compared it without regard to
    // case, so "2a" finds the item "2A".
    return con.first(QStringLiteral("select rowid, * from sch_master where tw_contract_num=? "
                                    "and tw_sch_num=? collate nocase"),
                     {contractNum_, schNum});
}

void frm_schentry::pick(QComboBox* list, const QString& text) {
    const int i = list->findText(text);
    if (i >= 0)
        list->setCurrentIndex(i);
}

void frm_schentry::schlist_DblClick(QTreeWidgetItem* item) {
    if (!item || schlist->topLevelItemCount() == 0)
        return;
    const auto row = findItem(item->text(SchNo));
    if (!row)
        return;
    txt_schnum->setText(row->text(QStringLiteral("tw_sch_num")));
    RtItmDsc->setPlainText(row->text(QStringLiteral("tw_item_desc")));
    pick(cmb_unitnos, row->text(QStringLiteral("tw_unit")));
    // The category's own rate is not looked up here: the item's stored rate replaces it below,
    // and a category missing from the feet table must not keep the item from loading.
    pick(cmb_category, row->text(QStringLiteral("tw_category_name")));
    if (!row->isNull(QStringLiteral("tw_unit_lable")))
        unitlbl->setText(row->text(QStringLiteral("tw_unit_lable")));
    if (!row->isNull(QStringLiteral("tw_volarea"))) {
        const int i = cmb_volarea->findText(row->text(QStringLiteral("tw_volarea")));
        if (i >= 0) {
            cmb_volarea->setCurrentIndex(i);
            cmb_volarea_Click();
        }
    }
    txtschitemrate->setText(numberText(row->value(QStringLiteral("tw_item_rate"))));
}

void frm_schentry::cmd_save_sch_clicked() {
    auto check = [](bool ok, const QString& text, QWidget* focus) {
        if (ok)
            return true;
        ui::MsgBox(text, ui::Information);
        focus->setFocus();
        return false;
    };
    if (!check(!txt_schnum->text().trimmed().isEmpty(), tr("Schedule Item Number is not entered!"),
               txt_schnum))
        return;
    if (!check(!RtItmDsc->toPlainText().trimmed().isEmpty(),
               tr("Schedule Item Description is not entered!"), RtItmDsc))
        return;
    const QString rateText = txtschitemrate->text().trimmed();
    if (!check(!rateText.isEmpty(), tr("Schedule Item Unit Rate is not entered!"), txtschitemrate))
        return;
    const auto rate = tw::strictNumber(rateText);
    if (!rate) {
        txtschitemrate->setFocus();
        throw tw::Error(tr("The unit rate \"%1\" is not a number.").arg(rateText));
    }
    if (contractNum_.isEmpty())
        throw tw::Error(tr("No project is picked. Define a project first."));

    const QString schNum = txt_schnum->text();
    tw::Values values{{QStringLiteral("tw_item_desc"), RtItmDsc->toPlainText()},
                      {QStringLiteral("tw_item_rate"), *rate},
                      {QStringLiteral("tw_unit"), cmb_unitnos->currentText()},
                      {QStringLiteral("tw_category_name"), cmb_category->currentText()},
                      {QStringLiteral("tw_unit_lable"), unitlbl->text()},
                      {QStringLiteral("tw_volarea"), cmb_volarea->currentText()},
                      {QStringLiteral("tw_deduction"), 0}};
    tw::Transaction tx(con);
    if (const auto found = findItem(schNum)) {
        con.update(QStringLiteral("sch_master"), found->value(0).toLongLong(), values);
    } else {
        values.insert(values.begin(), {{QStringLiteral("tw_contract_num"), contractNum_},
                                       {QStringLiteral("tw_sch_num"), schNum}});
        con.insert(QStringLiteral("sch_master"), values);
    }
    tx.commit();

    ReloadList();
    RtItmDsc->clear();
    txtschitemrate->clear();
    txt_schnum->clear();
    txt_schnum->setFocus();
}

void frm_schentry::cmd_delete_clicked() {
    const int row = ui::selectedRow(schlist);
    const QTreeWidgetItem* item = row >= 0 ? schlist->topLevelItem(row) : nullptr;
    const QString schNum = item ? item->text(SchNo) : QString();
    if (schNum.isEmpty()) {
        ui::MsgBox(tr("No item selected"), ui::Information);
    } else if (ui::MsgBox(tr("You are Deleting : ") + schNum + QStringLiteral(" - ") +
                              item->text(Description),
                          ui::OkCancel | ui::Question) == ui::Answer::Ok) {
        tw::Transaction tx(con);
        if (const auto found = findItem(schNum))
            con.remove(QStringLiteral("sch_master"), found->value(0).toLongLong());
        tx.commit();
    }
    ReloadList();
    cmd_delete->setEnabled(false);
}
