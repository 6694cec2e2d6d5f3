#include "screens/measurements/frm_dims.h"

#include "core/measurements/measurements.h"
#include "core/schedules/items.h"
#include "ui/kit.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QScopeGuard>
#include <QVBoxLayout>

#include <algorithm>

namespace {

namespace core = tw::measurements;
using ui::named;

// A dimension field: right-aligned figures, and a length limit on what the user types or
// pastes, leaving text set by the program alone.
void dimensionField(QLineEdit* f, int limit) {
    f->setAlignment(Qt::AlignRight);
    f->setMaximumWidth(f->fontMetrics().horizontalAdvance(QStringLiteral("000000")) + 16);
    ui::typingLimit(f, limit);
}

} // namespace

frm_dims::frm_dims(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_dims"));
    setWindowTitle(tr("Measurements Entry"));

    cmb_proj_name = named(new QComboBox(this), "cmb_proj_name");
    cmb_proj_name->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    cmb_proj_name->setMinimumContentsLength(30);
    cmb_bill_num = named(new QComboBox(this), "cmb_bill_num");
    cmb_bill_num->setEditable(true);
    cmb_bill_num->setInsertPolicy(QComboBox::NoInsert);
    // A bill number is typed as meant: no completion may turn "1" into an existing "12".
    cmb_bill_num->setCompleter(nullptr);
    cmb_bill_num->setMinimumContentsLength(12);

    Lst_Schd = named(new QTreeWidget(this), "Lst_Schd");
    ui::setupListView(Lst_Schd, {tr("Sch No"), tr("Schedule Description")});
    Lst_Schd->setToolTip(tr("Click to Select"));
    ui::fitColumns(Lst_Schd);
    rt_sch_item = named(new QPlainTextEdit(this), "rt_sch_item");
    rt_sch_item->setReadOnly(true);
    rt_sch_item->setTabChangesFocus(true);

    txt_narration = named(new QLineEdit(this), "txt_narration");
    cmb_shape = named(new QComboBox(this), "cmb_shape");
    cmb_shape->setSizeAdjustPolicy(QComboBox::AdjustToContents);

    lbldim1 = named(new QLabel(this), "lbldim1");
    lbldim2 = named(new QLabel(this), "lbldim2");
    lbldim3 = named(new QLabel(this), "lbldim3");
    lbldim4 = named(new QLabel(this), "lbldim4");
    txtdim1 = named(new QLineEdit(this), "txtdim1");
    txtdim11 = named(new QLineEdit(this), "txtdim11");
    txtdim2 = named(new QLineEdit(this), "txtdim2");
    txtdim22 = named(new QLineEdit(this), "txtdim22");
    txtdim3 = named(new QLineEdit(this), "txtdim3");
    txtdim33 = named(new QLineEdit(this), "txtdim33");
    txtdim4 = named(new QLineEdit(this), "txtdim4");
    txtdim44 = named(new QLineEdit(this), "txtdim44");
    lbldim_ = {lbldim1, lbldim2, lbldim3, lbldim4};
    whole_ = {txtdim1, txtdim2, txtdim3, txtdim4};
    frac_ = {txtdim11, txtdim22, txtdim33, txtdim44};
    Label89 = named(new QLabel(tr("Feet"), this), "Label89");
    Label90 = named(new QLabel(tr("Feet"), this), "Label90");
    Label91 = named(new QLabel(tr("Feet"), this), "Label91");
    Label92 = named(new QLabel(tr("Feet"), this), "Label92");
    Label93 = named(new QLabel(tr("Inches"), this), "Label93");
    Label94 = named(new QLabel(tr("Inches"), this), "Label94");
    Label95 = named(new QLabel(tr("Inches"), this), "Label95");
    Label96 = named(new QLabel(tr("Inches"), this), "Label96");

    txt_qty = named(new QLineEdit(this), "txt_qty");
    cmbbillded = named(new QComboBox(this), "cmbbillded");
    cmbbillded->addItems({tr("No"), tr("Yes")});
    cmd_mes_save = named(new QPushButton(tr("&Save"), this), "cmd_mes_save");
    cmd_mes_save->setToolTip(tr("Save Measurement"));
    cmd_delete = named(new QPushButton(tr("X"), this), "cmd_delete");
    dimlist = named(new QTreeWidget(this), "dimlist");
    ui::setupListView(dimlist, {tr("Sch No"), tr("Narration"), tr("Shape"), tr("Dim1"), tr("Dim2"),
                                tr("Dim3"), tr("Dim4"), tr("Qty"), tr("Dedn")});
    dimlist->setToolTip(tr("Double click to modify"));
    ui::fitColumns(dimlist);

    // The whole parts take four digits, the fractional parts three. The limit holds for what
    // is typed or pasted; a line taken back from the list for editing comes in whole.
    for (int i = 0; i < 4; ++i) {
        dimensionField(whole_[i], 4);
        dimensionField(frac_[i], 3);
        // A point in the whole part means "now the fraction": it moves to the pair's
        // fractional field and is not typed.
        QLineEdit* fracField = frac_[i];
        new ui::KeyRule(whole_[i], [fracField](QChar c, const QLineEdit&) {
            if (c == u'.') {
                fracField->setFocus(Qt::TabFocusReason);
                return false;
            }
            if (c == u'\b')
                return true;
            return c >= u'0' && c <= u'9';
        });
        // Every fractional field looks at txtdim11 for a point already typed, so a point there
        // blocks a point in the others while txtdim22 to txtdim44 may take several.
        QLineEdit* first = frac_[0];
        new ui::KeyRule(frac_[i], [first](QChar c, const QLineEdit&) {
            if (c == u'\b')
                return true;
            if (c == u'.')
                return !first->text().contains(u'.');
            return c >= u'0' && c <= u'9';
        });
    }
    ui::selectAllOnFocusBelow(this);

    // ---- layout ----
    auto* top = new QGridLayout;
    top->addWidget(new QLabel(tr("Project name"), this), 0, 0);
    top->addWidget(cmb_proj_name, 0, 1);
    top->addWidget(new QLabel(tr("Estimate/Bill Id"), this), 0, 2);
    top->addWidget(cmb_bill_num, 0, 3);
    top->setColumnStretch(1, 3);
    top->setColumnStretch(3, 1);

    // The schedule to pick from stands beside the line being measured, the lines of the bill
    // below both, so that the screen fits a small display without scrolling.
    auto* schBox = new QVBoxLayout;
    schBox->addWidget(Lst_Schd, 1);
    schBox->addWidget(new QLabel(tr("Selected Schedule Item"), this));
    schBox->addWidget(rt_sch_item);
    rt_sch_item->setFixedHeight(std::max(rt_sch_item->minimumSizeHint().height(),
                                         rt_sch_item->fontMetrics().lineSpacing() * 3 + 12));

    auto* line = new QGroupBox(tr("Measurement"), this);
    auto* lineGrid = new QGridLayout(line);
    lineGrid->addWidget(new QLabel(tr("Narration for the Measurement"), this), 0, 0);
    lineGrid->addWidget(txt_narration, 0, 1, 1, 6);
    lineGrid->addWidget(new QLabel(tr("Shape of Object"), this), 1, 0);
    lineGrid->addWidget(cmb_shape, 1, 1, 1, 3, Qt::AlignLeft);
    const std::array<QLabel*, 4> wholeUnit{Label89, Label90, Label91, Label92};
    const std::array<QLabel*, 4> fracUnit{Label93, Label94, Label95, Label96};
    for (int i = 0; i < 4; ++i) {
        lbldim_[i]->setMinimumWidth(
            lbldim_[i]->fontMetrics().horizontalAdvance(QStringLiteral("Slant Height")) + 8);
        lineGrid->addWidget(lbldim_[i], 2 + i, 0, Qt::AlignRight);
        lineGrid->addWidget(whole_[i], 2 + i, 1);
        lineGrid->addWidget(wholeUnit[i], 2 + i, 2);
        lineGrid->addWidget(frac_[i], 2 + i, 3);
        lineGrid->addWidget(fracUnit[i], 2 + i, 4);
    }
    lineGrid->addWidget(new QLabel(tr("Quantity"), this), 6, 0, Qt::AlignRight);
    lineGrid->addWidget(txt_qty, 6, 1, 1, 3);
    lineGrid->addWidget(new QLabel(tr(" Deduction Measurement ?"), this), 6, 5, Qt::AlignRight);
    lineGrid->addWidget(cmbbillded, 6, 6);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmd_mes_save);
    buttons->addWidget(cmd_delete);
    lineGrid->addLayout(buttons, 7, 0, 1, 7);
    lineGrid->setColumnStretch(5, 1);

    auto* middle = new QHBoxLayout;
    middle->addLayout(schBox, 1);
    middle->addWidget(line);

    auto* box = new QVBoxLayout(this);
    box->addLayout(top);
    box->addLayout(middle);
    box->addWidget(dimlist, 1);

    // Tab order follows the screen from top to bottom, each pair whole part first.
    QList<QWidget*> order{cmb_proj_name, cmb_bill_num, Lst_Schd, txt_narration, cmb_shape};
    for (int i = 0; i < 4; ++i)
        order << whole_[i] << frac_[i];
    order << txt_qty << cmbbillded << cmd_mes_save << cmd_delete << dimlist;
    ui::tabOrder(order);
    rt_sch_item->setFocusPolicy(Qt::ClickFocus);
    // Room for a dozen lines of the bill, within what a 1366x768 display leaves a child screen.
    resize(QSize(980, 580).expandedTo(minimumSizeHint()));

    // ---- events ----
    connect(cmb_proj_name, &QComboBox::activated, this,
            ui::guarded([this] { cmb_proj_name_activated(); }));
    connect(cmb_bill_num, &QComboBox::activated, this,
            ui::guarded([this] { cmb_bill_num_activated(); }));
    connect(Lst_Schd, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { Lst_Schd_itemClicked(); }));
    connect(Lst_Schd, &QTreeWidget::itemSelectionChanged, this,
            ui::guarded([this] { Lst_Schd_itemSelectionChanged(); }));
    connect(cmb_shape, &QComboBox::activated, this, ui::guarded([this] { cmb_shape_activated(); }));
    connect(cmd_mes_save, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_mes_save_clicked(); }));
    connect(dimlist, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { dimlist_itemClicked(); }));
    connect(dimlist, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { dimlist_itemDoubleClicked(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_clicked(); }));

    // ---- opening ----
    ui::guard([this] {
        if (!con.isOpen())
            con.conopen();
        cmb_proj_name->addItems(tw::projectNames(con));
        // No project is chosen until the user picks one.
        cmb_proj_name->setCurrentIndex(-1);
        cmb_shape->addItems(core::shapeNames(con));
    });
    ui::guard([this] { selectShape(0); });
    cmbbillded->setCurrentIndex(0);
    cmd_delete->setEnabled(false);
}

frm_dims::~frm_dims() {
    con.conclose();
}

// The screen's own choice of a shape sets the labels and the fields it asks for, as a pick by
// the user does, also when that shape is already shown.
void frm_dims::selectShape(int index) {
    if (cmb_shape->count() == 0)
        return;
    cmb_shape->setCurrentIndex(index);
    cmb_shape_activated();
}

void frm_dims::cmb_proj_name_activated() {
    const auto project = core::projectByName(con, cmb_proj_name->currentText());
    if (!project)
        return;
    contract = project->number;
    units = project->units;

    cmb_bill_num->clear();
    cmb_bill_num->addItems(core::billNumbers(con, contract));
    // The list is there to pick from; the field itself starts empty.
    cmb_bill_num->setCurrentIndex(-1);

    Lst_Schd->clear();
    for (const auto& [number, description] : tw::schedules::itemNames(con, contract))
        ui::addListRow(Lst_Schd, {number, description});
    ui::fitColumns(Lst_Schd);

    dimlist->clear();
    rt_sch_item->clear();

    const bool metre = units == QLatin1String("Metre");
    for (auto* l : {Label89, Label90, Label91, Label92})
        l->setText(metre ? tr("Metres") : tr("Feet"));
    for (auto* l : {Label93, Label94, Label95, Label96})
        l->setText(core::fractionCaption(units));
}

void frm_dims::cmb_bill_num_activated() {
    Show_Measurements();
    cmd_delete->setEnabled(false);
}

void frm_dims::Lst_Schd_itemClicked() {
    if (Lst_Schd->topLevelItemCount() == 0)
        return;
    const QTreeWidgetItem* item = Lst_Schd->topLevelItem(ui::selectedRow(Lst_Schd));
    if (!item)
        return;
    rt_sch_item->setPlainText(item->text(1));
    sch = item->text(0);
}

// Moving through the schedule with the keys picks the item as a click would.
void frm_dims::Lst_Schd_itemSelectionChanged() {
    Lst_Schd_itemClicked();
}

void frm_dims::cmb_shape_activated() {
    for (auto* l : lbldim_)
        l->clear();
    const QString shape = cmb_shape->currentText();
    if (shape.isEmpty())
        return;
    if (const auto found = core::findShape(con, shape)) {
        for (int i = 0; i < 4; ++i) {
            if (!found->captions[i].isEmpty())
                lbldim_[i]->setText(found->captions[i]);
        }
    }
    // A dimension the shape doesn't ask for can't be typed, and holds nothing.
    for (int i = 0; i < 4; ++i) {
        const bool asked = !lbldim_[i]->text().trimmed().isEmpty();
        whole_[i]->setEnabled(asked);
        frac_[i]->setEnabled(asked);
        if (!asked) {
            whole_[i]->clear();
            frac_[i]->clear();
        }
    }
}

void frm_dims::cmd_mes_save_clicked() {
    core::Line line;
    line.contract = contract;
    line.units = units;
    line.bill = cmb_bill_num->currentText();
    line.sch = sch;
    line.item = rt_sch_item->toPlainText();
    line.narration = txt_narration->text();
    line.shape = cmb_shape->currentText();
    for (int i = 0; i < 4; ++i) {
        line.captions[i] = lbldim_[i]->text();
        line.asked[i] = whole_[i]->isEnabled();
        line.whole[i] = whole_[i]->text();
        line.frac[i] = frac_[i]->text();
    }
    line.qty = txt_qty->text();
    line.deduction = cmbbillded->currentText() != QLatin1String("No");
    std::optional<tw::Refusal> refused;
    {
        // A blank fractional part reads as none and shows so, also when a later check or the
        // arithmetic fails.
        const auto showFilled = qScopeGuard([&] {
            for (int i = 0; i < 4; ++i) {
                if (frac_[i]->text() != line.frac[i])
                    frac_[i]->setText(line.frac[i]);
            }
        });
        const ui::BusyCursor busy;
        refused = core::saveLine(con, line);
    }
    if (refused)
        return ui::refuse(this, *refused);

    // The bill and the deduction choice stay, so a run of lines (or of deductions) goes on
    // without touching them; the schedule item has to be picked again.
    rt_sch_item->clear();
    txt_qty->clear();
    for (int i = 0; i < 4; ++i) {
        whole_[i]->clear();
        frac_[i]->clear();
    }
    txt_narration->clear();
    selectShape(0);
    Show_Measurements();
}

void frm_dims::Show_Measurements() {
    dimlist->clear();
    for (const QStringList& cells :
         core::Show_Measurements(con, contract, cmb_bill_num->currentText()))
        ui::addListRow(dimlist, cells);
    ui::fitColumns(dimlist);
}

void frm_dims::dimlist_itemClicked() {
    cmd_delete->setEnabled(dimlist->topLevelItemCount() > 0);
}

void frm_dims::dimlist_itemDoubleClicked() {
    if (dimlist->topLevelItemCount() == 0) {
        cmd_delete->setEnabled(false);
        return;
    }
    cmd_delete->setEnabled(true);
    const QTreeWidgetItem* row = dimlist->currentItem();
    if (!row)
        return;
    const QString lineSch = row->text(0);
    if (const auto item = core::findItem(con, contract, lineSch))
        rt_sch_item->setPlainText(item->description);
    txt_narration->setText(row->text(1));
    sch = lineSch;
    for (int i = 0; i < cmb_shape->count(); ++i) {
        if (cmb_shape->itemText(i) == row->text(2)) {
            selectShape(i);
            break;
        }
    }
    txt_qty->setText(row->text(7));
    const int dedn = cmbbillded->findText(row->text(8), Qt::MatchFixedString);
    if (dedn >= 0)
        cmbbillded->setCurrentIndex(dedn);
    // "12-6": the whole part left of the first hyphen, the fractional part behind it.
    for (int i = 0; i < 4; ++i) {
        const QString cell = row->text(3 + i);
        const qsizetype dash = cell.indexOf(u'-');
        whole_[i]->setText(dash < 0 ? cell : cell.left(dash));
        frac_[i]->setText(dash < 0 ? QString() : cell.mid(dash + 1, 6));
    }
}

void frm_dims::cmd_delete_clicked() {
    const QTreeWidgetItem* row = dimlist->topLevelItem(ui::selectedRow(dimlist));
    if (!row) {
        ui::MsgBox(tr("No item selected"), ui::Information);
        cmd_delete->setEnabled(false);
        return;
    }
    if (ui::MsgBox(tr("You are Deleting : ") + row->text(1), ui::OkCancel) == ui::Answer::Ok)
        core::deleteLine(con, contract, cmb_bill_num->currentText(), row->text(0), row->text(1));
    Show_Measurements();
    cmd_delete->setEnabled(false);
}
