#include "measurements/frm_dims.h"

#include "measurements/cal_values.h"
#include "ui/kit.h"
#include "values/values.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

namespace {

using tw::numberText;
using ui::named;

// Whether one more typed character fits in `limit`; the selection is replaced by the key.
bool typedRoom(const QLineEdit& f, int limit) {
    return f.text().size() - f.selectedText().size() < limit;
}

// A length limit on what the user types or pastes, leaving text set by the program alone.
void limitTyping(QLineEdit* f, int limit) {
    f->setAlignment(Qt::AlignRight);
    f->setMaximumWidth(f->fontMetrics().horizontalAdvance(QStringLiteral("000000")) + 16);
    QObject::connect(f, &QLineEdit::textEdited, f, [f, limit](const QString& text) {
        if (text.size() > limit)
            f->setText(text.left(limit));
    });
}

const QString findLineSql = QStringLiteral(
    "select rowid, * from BillMaster where (tw_contract_num=?) and (tw_bill_num=?) and "
    "(tw_sch_num =?) and (tw_item_narration=?)");

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
    Lst_Schd->setColumnWidth(0, 70);
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
    cmd_delete->setFixedWidth(cmd_delete->sizeHint().height() * 3 / 2);
    dimlist = named(new QTreeWidget(this), "dimlist");
    ui::setupListView(dimlist, {tr("Sch No"), tr("Narration"), tr("Shape"), tr("Dim1"), tr("Dim2"),
                                tr("Dim3"), tr("Dim4"), tr("Qty"), tr("Dedn")});
    dimlist->setToolTip(tr("Double click to modify"));
    dimlist->header()->setStretchLastSection(false);
    dimlist->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    dimlist->setColumnWidth(0, 70);
    dimlist->setColumnWidth(2, 150);
    for (int c = 3; c <= 8; ++c)
        dimlist->setColumnWidth(c, 64);

    // The whole parts take four digits, the fractional parts three. The limit holds for what
    // is typed or pasted; a line taken back from the list for editing comes in whole.
    for (int i = 0; i < 4; ++i) {
        limitTyping(whole_[i], 4);
        limitTyping(frac_[i], 3);
        // A point in the whole part means "now the fraction": it moves to the pair's
        // fractional field and is not typed.
        QLineEdit* fracField = frac_[i];
        new ui::KeyRule(whole_[i], [fracField](QChar c, const QLineEdit& f) {
            if (c == u'.') {
                fracField->setFocus(Qt::TabFocusReason);
                return false;
            }
            if (c == u'\b')
                return true;
            return c >= u'0' && c <= u'9' && typedRoom(f, 4);
        });
        // Every fractional field looks at txtdim11 for a point already typed, so a point there
        // blocks a point in the others while txtdim22 to txtdim44 may take several.
        QLineEdit* first = frac_[0];
        new ui::KeyRule(frac_[i], [first](QChar c, const QLineEdit& f) {
            if (c == u'\b')
                return true;
            if (c == u'.')
                return !first->text().contains(u'.') && typedRoom(f, 3);
            return c >= u'0' && c <= u'9' && typedRoom(f, 3);
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

    auto* schBox = new QGridLayout;
    schBox->addWidget(Lst_Schd, 0, 0, 2, 1);
    schBox->addWidget(new QLabel(tr("Selected Schedule Item"), this), 0, 1);
    schBox->addWidget(rt_sch_item, 1, 1);
    schBox->setColumnStretch(0, 3);
    schBox->setColumnStretch(1, 2);

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

    auto* box = new QVBoxLayout(this);
    box->addLayout(top);
    box->addLayout(schBox, 2);
    box->addWidget(line);
    box->addWidget(dimlist, 3);

    // Tab order follows the screen from top to bottom, each pair whole part first.
    QList<QWidget*> order{cmb_proj_name, cmb_bill_num, Lst_Schd, txt_narration, cmb_shape};
    for (int i = 0; i < 4; ++i)
        order << whole_[i] << frac_[i];
    order << txt_qty << cmbbillded << cmd_mes_save << cmd_delete << dimlist;
    for (qsizetype i = 0; i + 1 < order.size(); ++i)
        setTabOrder(order[i], order[i + 1]);
    rt_sch_item->setFocusPolicy(Qt::ClickFocus);
    resize(900, 680);

    // ---- events ----
    connect(cmb_proj_name, &QComboBox::activated, this,
            ui::guarded([this] { cmb_proj_name_Click(); }));
    connect(cmb_bill_num, &QComboBox::activated, this,
            ui::guarded([this] { cmb_bill_num_Click(); }));
    connect(Lst_Schd, &QTreeWidget::itemClicked, this, ui::guarded([this] { Lst_Schd_Click(); }));
    // Moving through the schedule with the keys picks the item as a click would.
    connect(Lst_Schd, &QTreeWidget::itemSelectionChanged, this,
            ui::guarded([this] { Lst_Schd_Click(); }));
    connect(cmb_shape, &QComboBox::currentIndexChanged, this,
            ui::guarded([this] { cmb_shape_Click(); }));
    connect(cmd_mes_save, &QPushButton::clicked, this,
            ui::guarded([this] { cmd_mes_save_Click(); }));
    connect(dimlist, &QTreeWidget::itemClicked, this, ui::guarded([this] { dimlist_Click(); }));
    connect(dimlist, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { dimlist_DblClick(); }));
    connect(cmd_delete, &QPushButton::clicked, this, ui::guarded([this] { cmd_delete_Click(); }));

    // ---- opening ----
    ui::guard([this] {
        if (!con.isOpen())
            con.conopen();
        for (const auto& r : con.rows(QStringLiteral("select * from contractmaster")))
            cmb_proj_name->addItem(r.text(QStringLiteral("tw_contract_name")));
        // No project is chosen until the user picks one.
        cmb_proj_name->setCurrentIndex(-1);
        const QSignalBlocker quiet(cmb_shape);
        for (const auto& r : con.rows(QStringLiteral("select * from shapes")))
            cmb_shape->addItem(r.text(QStringLiteral("tw_Shape")));
    });
    ui::guard([this] { selectShape(0); });
    cmbbillded->setCurrentIndex(0);
    cmd_delete->setEnabled(false);
}

frm_dims::~frm_dims() {
    con.conclose();
}

// The shape list always changes through here, so that choosing the shape already shown still
// sets the labels and the fields it asks for.
void frm_dims::selectShape(int index) {
    if (cmb_shape->count() == 0)
        return;
    if (cmb_shape->currentIndex() == index)
        cmb_shape_Click();
    else
        cmb_shape->setCurrentIndex(index);
}

void frm_dims::cmb_proj_name_Click() {
    const auto project =
        con.first(QStringLiteral("select * from contractmaster where tw_contract_name=?"),
                  {cmb_proj_name->currentText()});
    if (!project)
        return;
    contract = project->text(QStringLiteral("tw_contract_num"));
    units = project->text(QStringLiteral("tw_units"));

    cmb_bill_num->clear();
    for (const auto& r :
         con.rows(QStringLiteral("select distinct(tw_bill_num) from billmaster where "
                                 "tw_contract_num=?"),
                  {contract}))
        cmb_bill_num->addItem(r.text(0));
    // The list is there to pick from; the field itself starts empty.
    cmb_bill_num->setCurrentIndex(-1);

    Lst_Schd->clear();
    for (const auto& r :
         con.rows(QStringLiteral("select * from sch_master where tw_contract_num=?"), {contract}))
        ui::addListRow(Lst_Schd, {r.text(QStringLiteral("tw_sch_num")),
                                  r.text(QStringLiteral("tw_item_desc"))});

    dimlist->clear();
    rt_sch_item->clear();

    const bool metre = units == QLatin1String("Metre");
    for (auto* l : {Label89, Label90, Label91, Label92})
        l->setText(metre ? tr("Metres") : tr("Feet"));
    for (auto* l : {Label93, Label94, Label95, Label96})
        l->setText(metre ? tr("CMs") : tr("Inches"));
}

void frm_dims::cmb_bill_num_Click() {
    Show_Measurements();
    cmd_delete->setEnabled(false);
}

void frm_dims::Lst_Schd_Click() {
    if (Lst_Schd->topLevelItemCount() == 0)
        return;
    const QTreeWidgetItem* item = Lst_Schd->currentItem();
    if (!item || !item->isSelected())
        return;
    rt_sch_item->setPlainText(item->text(1));
    sch = item->text(0);
}

void frm_dims::cmb_shape_Click() {
    for (auto* l : lbldim_)
        l->clear();
    const QString shape = cmb_shape->currentText();
    if (shape.isEmpty())
        return;
    // The captions stand in the second to fifth columns of the shape's row.
    if (const auto r =
            con.first(QStringLiteral("Select * from shapes where tw_shape=? "), {shape})) {
        for (int i = 0; i < 4; ++i) {
            const QString caption = r->text(1 + i);
            if (!caption.isEmpty())
                lbldim_[i]->setText(caption);
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

std::optional<tw::Row> frm_dims::Find_Line(const QString& schNum, const QString& narration) const {
    return con.first(findLineSql, {contract, cmb_bill_num->currentText(), schNum, narration});
}

void frm_dims::cmd_mes_save_Click() {
    auto refuse = [](const QString& text, QWidget* field) {
        ui::MsgBox(text, ui::Information);
        field->setFocus();
    };
    // Inches run to 11; a metre's fractional digits have no such limit.
    if (units == QLatin1String("Feet")) {
        for (auto* f : frac_) {
            if (tw::leadingNumber(f->text()) >= 12) {
                refuse(tr("Inches can not be equal to or greater than 12"), f);
                return;
            }
        }
    }
    if (cmb_bill_num->currentText().isEmpty()) {
        ui::MsgBox(tr("Please Enter the Bill Number"));
        cmb_bill_num->setFocus();
        return;
    }
    if (rt_sch_item->toPlainText().isEmpty()) {
        ui::MsgBox(tr("Please Select the Schedule Item "));
        rt_sch_item->setFocus();
        return;
    }
    if (txt_narration->text().isEmpty()) {
        ui::MsgBox(tr("Please Enter the Narration"));
        txt_narration->setFocus();
        return;
    }
    if (txt_qty->text().isEmpty()) {
        ui::MsgBox(tr("Please Enter the Qty"));
        txt_qty->setFocus();
        return;
    }
    // A blank whole part is never allowed; a blank fractional part reads as none, and is
    // filled in as each pair passes, even when a later pair then fails.
    for (int i = 0; i < 4; ++i) {
        if (whole_[i]->isEnabled() && whole_[i]->text().isEmpty()) {
            ui::MsgBox(tr("Please Enter the") + u' ' + lbldim_[i]->text() + tr(" feet"));
            whole_[i]->setFocus();
            return;
        }
        if (frac_[i]->isEnabled() && frac_[i]->text().isEmpty())
            frac_[i]->setText(QStringLiteral("00"));
    }

    const ui::BusyCursor busy;
    tw::Dims dims;
    for (int i = 0; i < 4; ++i) {
        dims.whole[i] = tw::leadingNumber(whole_[i]->text());
        // The fractional part is a 16-bit whole number, a half going to the even one: 11.5
        // passes the inches check above and is stored as 12.
        dims.frac[i] = tw::toInt16(tw::leadingNumber(frac_[i]->text()));
    }
    const double result = tw::Cal_Values(units, cmb_shape->currentText(), dims);
    const double area = tw::lineTotal(result, txt_qty->text());

    {
        tw::Transaction tx(con);
        const QString bill = cmb_bill_num->currentText();
        const QString narration = txt_narration->text();
        const auto category = con.first(
            QStringLiteral("select * from Sch_master where tw_contract_num=? and tw_sch_num=?"),
            {contract, sch});
        tw::Values v;
        for (int i = 0; i < 4; ++i) {
            v.emplace_back(QStringLiteral("tw_dim%1").arg(i + 1), dims.whole[i]);
            v.emplace_back(QStringLiteral("tw_dim%1_inches").arg(i + 1), int(dims.frac[i]));
        }
        v.emplace_back(QStringLiteral("tw_cal_Area"), area);
        v.emplace_back(QStringLiteral("tw_Shape"), cmb_shape->currentText());
        v.emplace_back(QStringLiteral("tw_deduction"),
                       cmbbillded->currentText() == QLatin1String("No") ? 0 : 1);
        // The line follows the category its schedule item has now.
        v.emplace_back(QStringLiteral("tw_category_name"),
                       category ? category->value(QStringLiteral("tw_category_name")) : QVariant());
        v.emplace_back(QStringLiteral("tw_quantity"), tw::leadingNumber(txt_qty->text()));

        if (const auto found = Find_Line(sch, narration)) {
            v.insert(v.begin(), {QStringLiteral("tw_item_narration"), narration});
            con.update(QStringLiteral("BillMaster"), found->value(0).toLongLong(), v);
        } else {
            v.insert(v.begin(), {{QStringLiteral("tw_contract_num"), contract},
                                 {QStringLiteral("tw_bill_num"), bill},
                                 {QStringLiteral("tw_sch_num"), sch},
                                 {QStringLiteral("tw_item_narration"), narration}});
            con.insert(QStringLiteral("BillMaster"), v);
        }
        tx.commit();
    }

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
    const auto lines = con.rows(
        QStringLiteral("select * from billmaster where (tw_contract_num=?) and (tw_bill_num=?)"),
        {contract, cmb_bill_num->currentText()});
    for (const auto& r : lines) {
        QStringList cells{r.text(QStringLiteral("tw_sch_num")),
                          r.text(QStringLiteral("tw_item_narration")),
                          r.text(QStringLiteral("tw_Shape"))};
        for (int i = 1; i <= 4; ++i)
            cells << numberText(r.value(QStringLiteral("tw_dim%1").arg(i))) + u'-' +
                         numberText(r.value(QStringLiteral("tw_dim%1_inches").arg(i)));
        cells << numberText(r.value(QStringLiteral("tw_quantity")));
        cells << (r.value(QStringLiteral("tw_deduction")).toBool() ? QStringLiteral("YES")
                                                                   : QStringLiteral("NO"));
        ui::addListRow(dimlist, cells);
    }
}

void frm_dims::dimlist_Click() {
    cmd_delete->setEnabled(dimlist->topLevelItemCount() > 0);
}

void frm_dims::dimlist_DblClick() {
    if (dimlist->topLevelItemCount() == 0) {
        cmd_delete->setEnabled(false);
        return;
    }
    cmd_delete->setEnabled(true);
    const QTreeWidgetItem* row = dimlist->currentItem();
    if (!row)
        return;
    const QString lineSch = row->text(0);
    if (const auto item = con.first(
            QStringLiteral("select * from sch_master where (tw_contract_num=?) and (tw_sch_num=?)"),
            {contract, lineSch}))
        rt_sch_item->setPlainText(item->text(QStringLiteral("tw_item_desc")));
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

void frm_dims::cmd_delete_Click() {
    const QTreeWidgetItem* row = dimlist->currentItem();
    if (dimlist->topLevelItemCount() == 0 || !row || !row->isSelected()) {
        ui::MsgBox(tr("No item selected"), ui::Information);
        cmd_delete->setEnabled(false);
        return;
    }
    if (ui::MsgBox(tr("You are Deleting : ") + row->text(1), ui::OkCancel) == ui::Answer::Ok) {
        tw::Transaction tx(con);
        if (const auto found = Find_Line(row->text(0), row->text(1)))
            con.remove(QStringLiteral("BillMaster"), found->value(0).toLongLong());
        tx.commit();
    }
    Show_Measurements();
    cmd_delete->setEnabled(false);
}
