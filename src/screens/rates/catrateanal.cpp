#include "screens/rates/catrateanal.h"

#include "core/rates/categories.h"
#include "core/rates/materials.h"
#include "core/rates/slots.h"
#include "screens/rates/rateform.h"
#include "values/values.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStyle>
#include <QVBoxLayout>

using tw::doubleText;
using tw::leadingNumber;
using tw::rates::amountOf;
using ui::named;

namespace {

using rates::caption;
using rates::freeCombo;
namespace catslot = tw::catslot;

QLineEdit* shownField(QWidget* parent, const char* name) {
    auto* e = named(new QLineEdit(parent), name);
    e->setEnabled(false);
    e->setAlignment(Qt::AlignRight);
    return e;
}

void noSelection(QComboBox* c) {
    c->setCurrentIndex(-1);
    c->setEditText(QString());
}

} // namespace

catrateanal::catrateanal(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("catrateanal"));
    setWindowTitle(tr("Rate Analysis for Standard Categories"));

    fraUnits = named(new QGroupBox(tr("Rate Analysis for Categories"), this), "fraUnits");
    cmb_units = named(new QComboBox(fraUnits), "cmb_units");
    cmb_units->addItems({tr("Metre"), tr("Feet")});
    cmb_units->installEventFilter(this);
    btngo = named(new QPushButton(tr("Go"), fraUnits), "btngo");

    fraRateAnalysis = named(new QGroupBox(tr("Rate Analysis"), this), "fraRateAnalysis");
    auto* f = fraRateAnalysis;
    txtcatname = named(new QLineEdit(f), "txtcatname");
    ui::typingLimit(txtcatname, 50);
    txtcatdesc = named(new QLineEdit(f), "txtcatdesc");
    cmb_volarea = freeCombo(f, "cmb_volarea", 14);
    cmb_volarea->installEventFilter(this);
    cmbunitnos = freeCombo(f, "cmbunitnos", 14);
    Label7 = named(new QLabel(f), "Label7");
    Label7->setMinimumWidth(fontMetrics().averageCharWidth() * 8);
    cmbmatl = freeCombo(f, "cmbmatl", 14);
    cmbmatl->setMinimumContentsLength(30);
    cmbmatl->installEventFilter(this);
    txtmatqty = named(new QLineEdit(f), "txtmatqty");
    ui::typingLimit(txtmatqty, 10);
    txtmatqty->setAlignment(Qt::AlignRight);
    // Any number of points passes; the quantity counts up to the second one.
    ui::decimalRule(txtmatqty, false);
    txt_unitlbl = shownField(f, "txt_unitlbl");
    txt_unitrt = shownField(f, "txt_unitrt");
    txt_amt = shownField(f, "txt_amt");
    txt_item_unit_cost = shownField(f, "txt_item_unit_cost");
    savematl =
        named(new QPushButton(style()->standardIcon(QStyle::SP_ArrowDown), {}, f), "savematl");
    savematl->setToolTip(tr("Add Material"));
    delmatl = named(new QPushButton(tr("X"), f), "delmatl");
    delmatl->setToolTip(tr("Delete Material"));
    matlist = named(new QTreeWidget(f), "matlist");
    ui::setupListView(matlist, {tr("Sl. No."), tr("Material"), tr("Unit Qty"), tr("Units"),
                                tr("Cost Per Unit"), tr("Unit Rate for the Item")});
    saverate = named(new QPushButton(tr("Save"), f), "saverate");
    clrfrm = named(new QPushButton(tr("Clear Form"), f), "clrfrm");
    delcatitem = named(new QPushButton(tr("Delete Catgory Item"), f), "delcatitem");
    catlist = named(new QTreeWidget(f), "catlist");
    ui::setupListView(catlist, {tr("Category Item Name"), tr("Description of the Category"),
                                tr("Unit Nos"), tr("Unit Rate"), tr("Area/Volume")});
    catlist->setToolTip(tr("Double Click to Edit"));
    const int line = fontMetrics().lineSpacing();
    matlist->setMinimumHeight(line * 8);
    catlist->setMinimumHeight(line * 8);

    auto label = caption;
    auto* top = new QHBoxLayout(fraUnits);
    top->addWidget(label(tr("Select Units"), cmb_units));
    top->addWidget(cmb_units);
    top->addWidget(btngo);
    top->addStretch();

    auto* g = new QGridLayout;
    g->addWidget(label(tr("Name of Category Item"), txtcatname), 0, 0);
    g->addWidget(txtcatname, 0, 1, 1, 3);
    g->addWidget(label(tr("Description of the Item"), txtcatdesc), 1, 0);
    g->addWidget(txtcatdesc, 1, 1, 1, 5);
    g->addWidget(label(tr("Measure Type"), cmb_volarea), 2, 0);
    g->addWidget(cmb_volarea, 2, 1);
    g->addWidget(label(tr("Units"), cmbunitnos), 2, 2);
    g->addWidget(cmbunitnos, 2, 3);
    g->addWidget(Label7, 2, 4);
    g->addWidget(label(tr("Material Description"), cmbmatl), 3, 0);
    g->addWidget(cmbmatl, 3, 1, 1, 3);
    g->addWidget(label(tr("Quantity per Unit"), txtmatqty), 4, 0);
    g->addWidget(txtmatqty, 4, 1);
    g->addWidget(label(tr("Units"), txt_unitlbl), 4, 2);
    g->addWidget(txt_unitlbl, 4, 3);
    g->addWidget(label(tr("Cost per Unit"), txt_unitrt), 5, 0);
    g->addWidget(txt_unitrt, 5, 1);
    g->addWidget(label(tr("Cost of the Material"), txt_amt), 5, 2);
    g->addWidget(txt_amt, 5, 3);
    auto* matButtons = new QHBoxLayout;
    matButtons->addWidget(savematl);
    matButtons->addWidget(delmatl);
    g->addLayout(matButtons, 5, 4, 1, 2);
    auto* total = new QHBoxLayout;
    total->addStretch();
    total->addWidget(label(tr("Unit Rate for the Item"), txt_item_unit_cost));
    total->addWidget(txt_item_unit_cost);
    auto* itemButtons = new QHBoxLayout;
    itemButtons->addStretch();
    itemButtons->addWidget(saverate);
    itemButtons->addWidget(clrfrm);
    itemButtons->addWidget(delcatitem);
    auto* inner = new QVBoxLayout(f);
    inner->addLayout(g);
    inner->addWidget(matlist, 1);
    inner->addLayout(total);
    inner->addLayout(itemButtons);
    inner->addWidget(label(tr("Available Categories List"), catlist));
    inner->addWidget(catlist, 1);
    auto* box = new QVBoxLayout(this);
    box->addWidget(fraUnits);
    box->addWidget(fraRateAnalysis, 1);
    fraRateAnalysis->hide();

    ui::tabOrder({cmb_units, btngo, txtcatname, txtcatdesc, cmb_volarea, cmbunitnos, cmbmatl,
                  txtmatqty, savematl, delmatl, matlist, saverate, clrfrm, delcatitem, catlist});
    ui::selectAllOnFocusBelow(this);

    connect(btngo, &QPushButton::clicked, this, ui::guarded([this] { btngo_clicked(); }));
    connect(cmbmatl, &QComboBox::activated, this, ui::guarded([this] { cmbmatl_activated(); }));
    connect(txtmatqty, &QLineEdit::textChanged, this,
            ui::guarded([this] { txtmatqty_textChanged(); }));
    connect(txtmatqty, &QLineEdit::editingFinished, this,
            ui::guarded([this] { txtmatqty_editingFinished(); }));
    connect(savematl, &QPushButton::clicked, this, ui::guarded([this] { savematl_clicked(); }));
    connect(matlist, &QTreeWidget::itemClicked, this,
            ui::guarded([this] { matlist_itemClicked(); }));
    connect(matlist, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { matlist_itemDoubleClicked(); }));
    connect(delmatl, &QPushButton::clicked, this, ui::guarded([this] { delmatl_clicked(); }));
    connect(saverate, &QPushButton::clicked, this, ui::guarded([this] { saverate_clicked(); }));
    connect(clrfrm, &QPushButton::clicked, this, ui::guarded([this] { clrfrm_clicked(); }));
    connect(catlist, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { catlist_itemDoubleClicked(); }));
    connect(delcatitem, &QPushButton::clicked, this, ui::guarded([this] { delcatitem_clicked(); }));
}

catrateanal::~catrateanal() {
    con.conclose();
}

bool catrateanal::eventFilter(QObject* watched, QEvent* event) {
    if (watched == cmb_units && event->type() == QEvent::FocusIn) {
        // The list starts from Metre every time it is entered; Feet is a deliberate pick.
        cmb_units->setCurrentIndex(0);
    } else if (event->type() == QEvent::FocusOut) {
        if (watched == cmb_volarea)
            ui::guard([this] { cmb_volarea_editingFinished(); });
        else if (watched == cmbmatl)
            ui::guard([this] { cmbmatl_editingFinished(); });
    }
    return ui::Screen::eventFilter(watched, event);
}

// Leaving the kind of measure with an entry of its list shows the unit label; leaving it with
// a kind typed in hides it.
void catrateanal::cmb_volarea_editingFinished() {
    const int at = cmb_volarea->currentIndex();
    if (at >= 0 && cmb_volarea->itemText(at) == cmb_volarea->currentText())
        ShowUnitLabel();
    else
        Label7->hide();
}

void catrateanal::cmbmatl_activated() {
    LookupMaterial();
}

void catrateanal::cmbmatl_editingFinished() {
    LookupMaterial();
}

void catrateanal::btngo_clicked() {
    if (!con.isOpen())
        con.conopen();
    measure_system = cmb_units->currentIndex() == 0 ? QStringLiteral("M") : QStringLiteral("F");
    fraRateAnalysis->show();
    FillCategoryList();
    FillMaterialCombo();
    FillMeasureTypes();
    FillUnitNos();
    ClearCategoryForm();
    cmb_units->setEnabled(false);
    Label7->hide();
    delmatl->setEnabled(false);
    growToShowAll();
    txtcatname->setFocus();
}

void catrateanal::growToShowAll() {
    layout()->activate();
    auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget());
    if (!sub) {
        if (isWindow())
            resize(size().expandedTo(sizeHint()));
        return;
    }
    if (sub->isMaximized() || sub->isMinimized() || !sub->mdiArea())
        return;
    const QSize room = sub->mdiArea()->viewport()->size();
    sub->resize(sub->size().expandedTo(sub->sizeHint()).boundedTo(room));
    // The list of categories is the widest part: it gets room for all its columns too.
    ui::fitColumns(catlist);
    const int hidden = catlist->header()->length() - catlist->viewport()->width();
    if (hidden > 0)
        sub->resize(QSize(sub->width() + hidden, sub->height()).boundedTo(room));
    sub->move(qBound(0, sub->x(), qMax(0, room.width() - sub->width())),
              qBound(0, sub->y(), qMax(0, room.height() - sub->height())));
}

void catrateanal::FillCategoryList() {
    catlist->clear();
    for (const QStringList& cells : tw::rates::FillCategoryList(con, measure_system))
        ui::addListRow(catlist, cells);
}

void catrateanal::FillUnitNos() {
    cmbunitnos->clear();
    cmbunitnos->addItems(tw::rates::unitNos(con));
    // Filling the list picks nothing: an item whose unit is not in it loads with no unit, and
    // its save asks for one.
    noSelection(cmbunitnos);
}

void catrateanal::FillMeasureTypes() {
    cmb_volarea->addItems(tw::rates::measureTypes(con, measure_system));
}

void catrateanal::FillMaterialCombo() {
    cmbmatl->addItems(tw::rates::materialNames(con));
}

void catrateanal::LookupMaterial() {
    if (const auto price = tw::rates::LookupMaterial(con, cmbmatl->currentText())) {
        txt_unitrt->setText(price->rate);
        txt_unitlbl->setText(price->unitLabel);
    }
}

void catrateanal::ShowUnitLabel() {
    const auto label = tw::rates::ShowUnitLabel(cmb_volarea->currentText(),
                                                cmb_units->currentText() == QLatin1String("Metre"));
    Label7->setText(label.text);
    Label7->setVisible(label.shown);
}

void catrateanal::ClearCategoryForm() {
    for (auto* c : {cmb_volarea, cmbunitnos, cmbmatl})
        noSelection(c);
    for (auto* e : {txt_amt, txt_item_unit_cost, txtcatname, txtcatdesc, txt_unitrt, txtmatqty})
        e->clear();
    matlist->clear();
}

void catrateanal::clrfrm_clicked() {
    ClearCategoryForm();
}

void catrateanal::txtmatqty_textChanged() {
    txt_amt->setText(amountOf(txtmatqty->text(), txt_unitrt->text()));
}

void catrateanal::txtmatqty_editingFinished() {
    txtmatqty_textChanged();
}

void catrateanal::savematl_clicked() {
    if (cmbmatl->currentText().isEmpty())
        return ui::refuse(cmbmatl, tr("No material selected"));
    if (txtmatqty->text().isEmpty())
        return ui::refuse(txtmatqty, tr("Quantity not entered"));
    if (txt_unitrt->text().isEmpty()) {
        // A name the price list lacks has no cost, and the cost field is never open to the
        // user, so the add cannot go on.
        ui::MsgBox(tr("No material selected"));
        throw tw::Error(tr("\"%1\" is not in the price list: the cost per unit cannot be "
                           "entered. Add it under Maintain Materials first.")
                            .arg(cmbmatl->currentText()));
    }
    // The eleventh row is still taken; the check counts the rows standing before the add.
    if (matlist->topLevelItemCount() > catslot::count)
        return void(
            ui::MsgBox(tr("You can enter maximum of only ten materials per Category Item")));

    // A quantity taken back from a stored item may be longer than one typed, and beyond the
    // largest figure the books hold.
    if (const double typed = leadingNumber(txtmatqty->text()); !tw::fitsMoney(typed))
        return ui::refuse(txtmatqty, tw::tooLargeText(tr("Quantity per Unit"), typed));

    const QString material = cmbmatl->currentText();
    const QString qty = txtmatqty->text();
    const QString cost = txt_unitrt->text();
    const QString amount = amountOf(qty, cost);
    bool placed = false;
    for (int i = 0; i < matlist->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = matlist->topLevelItem(i);
        const bool same = row->text(MatMaterial) == material;
        const bool blank = !same && row->text(MatMaterial).trimmed().isEmpty();
        if (!same && !blank)
            continue;
        // A blanked row is taken over as it stands: its unit cell keeps what it had.
        if (blank)
            row->setText(MatMaterial, material);
        row->setText(MatQty, qty);
        row->setText(MatCost, cost);
        row->setText(MatAmount, amount);
        placed = true;
        if (blank)
            break;
    }
    if (!placed)
        ui::addListRow(matlist, {QString::number(matlist->topLevelItemCount() + 1), material, qty,
                                 txt_unitlbl->text(), cost, amount});

    // The total goes through the text of the field row by row.
    txt_item_unit_cost->clear();
    for (int i = 0; i < matlist->topLevelItemCount(); ++i)
        txt_item_unit_cost->setText(
            doubleText(leadingNumber(txt_item_unit_cost->text()) +
                       leadingNumber(matlist->topLevelItem(i)->text(MatAmount))));
    noSelection(cmbmatl);
    txtmatqty->clear();
    txt_unitrt->clear();
    delmatl->setEnabled(false);
}

void catrateanal::matlist_itemClicked() {
    QTreeWidgetItem* row = matlist->currentItem();
    if (matlist->topLevelItemCount() > 0 && row && !row->text(MatMaterial).isEmpty())
        delmatl->setEnabled(true);
}

void catrateanal::matlist_itemDoubleClicked() {
    QTreeWidgetItem* row = matlist->currentItem();
    if (matlist->topLevelItemCount() == 0 || !row || row->text(MatMaterial).isEmpty())
        return;
    delmatl->setEnabled(true);
    const int entry =
        cmbmatl->findText(row->text(MatMaterial), Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (entry >= 0)
        cmbmatl->setCurrentIndex(entry);
    else
        noSelection(cmbmatl);
    txtmatqty->setText(row->text(MatQty));
    // Until the quantity is changed, the amount field shows the cost of the row.
    txt_amt->setText(row->text(MatCost));
    // The price shown is today's price from the list, not the one the row was added with.
    LookupMaterial();
    if (!txt_unitrt->text().isEmpty())
        txt_unitrt->setText(tw::formatFixed2(leadingNumber(txt_unitrt->text())));
}

void catrateanal::delmatl_clicked() {
    QTreeWidgetItem* row = matlist->currentItem();
    if (!row)
        return;
    if (row->text(MatMaterial).isEmpty()) {
        ui::MsgBox(tr("The row is blank"), ui::OkCancel);
        return;
    }
    if (ui::MsgBox(tr("Delete this Material?"), ui::OkCancel) == ui::Answer::Ok) {
        // The rows below move up a place and the last one is left blank for the next add;
        // the total keeps the deleted amount until then.
        const int count = matlist->topLevelItemCount();
        for (int i = matlist->indexOfTopLevelItem(row); i + 1 < count; ++i)
            for (int c = MatMaterial; c <= MatAmount; ++c)
                matlist->topLevelItem(i)->setText(c, matlist->topLevelItem(i + 1)->text(c));
        for (int c = MatMaterial; c <= MatAmount; ++c)
            matlist->topLevelItem(count - 1)->setText(c, QString());
    }
    delmatl->setEnabled(false);
}

void catrateanal::saverate_clicked() {
    tw::rates::Category item{txtcatname->text(),         txtcatdesc->text(),
                             cmb_volarea->currentText(), cmbunitnos->currentText(),
                             txt_item_unit_cost->text(), {}};
    for (int i = 0; i < matlist->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = matlist->topLevelItem(i);
        item.materials.push_back({row->text(MatMaterial), row->text(MatQty), row->text(MatCost)});
    }
    if (const auto refused = tw::rates::saveCategory(con, measure_system, item))
        return ui::refuse(this, *refused);
    ClearCategoryForm();
    FillCategoryList();
}

void catrateanal::catlist_itemDoubleClicked() {
    QTreeWidgetItem* picked = catlist->currentItem();
    if (!picked)
        return;
    FillUnitNos();
    const auto found = tw::rates::loadCategory(con, measure_system, picked->text(0));
    if (found) {
        txtcatname->setText(found->name);
        txtcatdesc->setText(found->description);
        if (!found->rate.isEmpty())
            txt_item_unit_cost->setText(found->rate);
        if (!txt_item_unit_cost->text().isEmpty())
            txt_item_unit_cost->setText(
                tw::formatFixed2(leadingNumber(txt_item_unit_cost->text())));
        const int entry = cmb_volarea->findText(found->measureType, Qt::MatchExactly);
        if (entry >= 0)
            cmb_volarea->setCurrentIndex(entry);
        else
            cmb_volarea->setEditText(found->measureType);
        const int unit = cmbunitnos->findText(found->unit);
        if (unit >= 0)
            cmbunitnos->setCurrentIndex(unit);
    }
    matlist->clear();
    if (found) {
        for (const QStringList& cells : found->rows)
            ui::addListRow(matlist, cells);
    }
    ShowUnitLabel();
    noSelection(cmbmatl);
    txt_unitrt->clear();
}

void catrateanal::delcatitem_clicked() {
    QTreeWidgetItem* picked = catlist->currentItem();
    if (!picked)
        return;
    const QString name = picked->text(0);
    if (name == QLatin1String("0") || picked->text(1).isEmpty()) {
        ui::MsgBox(tr("The row is blank"), ui::OkCancel);
        return;
    }
    if (ui::MsgBox(tr("Delete this Category Item? - ") + name, ui::OkCancel) != ui::Answer::Ok)
        return;
    tw::rates::deleteCategory(con, measure_system, name);
    FillCategoryList();
}
