#include "screens/rates/matls.h"

#include "core/rates/materials.h"
#include "core/rates/reprice.h"
#include "core/reports/running_bill.h"
#include "screens/rates/rateform.h"
#include "values/values.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

using ui::named;

matls::matls(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("matls"));
    setWindowTitle(tr("Maintain Materials"));

    cmb_matdesc = named(new QLineEdit(this), "cmb_matdesc");
    ui::typingLimit(cmb_matdesc, 50);
    ui::selectAllOnFocus(cmb_matdesc);
    matrate = named(new QLineEdit(this), "matrate");
    matrate->setAlignment(Qt::AlignRight);
    matrate->setMaximumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 16 + 16);
    // A second point gets through: "1.2.3" is kept as typed and counts as 1.2.
    ui::decimalRule(matrate, false);
    cmb_unitlbl = named(new QComboBox(this), "cmb_unitlbl");
    cmb_unitlbl->setEditable(true);
    cmb_unitlbl->setInsertPolicy(QComboBox::NoInsert);
    savematl = named(new QPushButton(style()->standardIcon(QStyle::SP_DialogSaveButton), {}, this),
                     "savematl");
    savematl->setToolTip(tr("Save"));
    matlcancel = named(new QPushButton(tr("X"), this), "matlcancel");
    matlcancel->setToolTip(tr("Delete"));
    matlist1 = named(new QTreeWidget(this), "matlist1");
    ui::setupListView(matlist1, {tr("Sl. NO"), tr("Units"), tr("Material Description"),
                                 tr("Unit Cost of Material")});
    matlist1->setToolTip(tr("Double click to edit material"));
    matlist1->setMinimumSize(fontMetrics().averageCharWidth() * 80,
                             fontMetrics().lineSpacing() * 12);

    auto* g = new QGridLayout;
    auto label = rates::caption;
    g->addWidget(label(tr("Material Description (50 characters)"), cmb_matdesc), 0, 0);
    g->addWidget(cmb_matdesc, 0, 1, 1, 3);
    g->addWidget(label(tr("Material cost per unit"), matrate), 1, 0);
    g->addWidget(matrate, 1, 1);
    g->addWidget(label(tr("Units"), cmb_unitlbl), 1, 2);
    g->addWidget(cmb_unitlbl, 1, 3);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(savematl);
    buttons->addWidget(matlcancel);
    auto* box = new QVBoxLayout(this);
    box->addLayout(g);
    box->addLayout(buttons);
    box->addWidget(label(tr("List of Existing Materials"), matlist1));
    box->addWidget(matlist1, 1);
    ui::tabOrder({cmb_matdesc, matrate, cmb_unitlbl, savematl, matlcancel, matlist1});

    connect(savematl, &QPushButton::clicked, this, ui::guarded([this] { savematl_clicked(); }));
    connect(matlcancel, &QPushButton::clicked, this, ui::guarded([this] { matlcancel_clicked(); }));
    connect(matlist1, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { matlist1_itemDoubleClicked(); }));

    ui::guard([this] {
        RefreshMaterialList();
        cmb_unitlbl->addItems(tw::reports::UnitLabels(con));
    });
}

matls::~matls() {
    con.conclose();
}

void matls::RefreshMaterialList() {
    matlist1->clear();
    for (const QStringList& cells : tw::rates::materialRows(con))
        ui::addListRow(matlist1, cells);
}

void matls::savematl_clicked() {
    if (const auto refused = tw::rates::checkMaterial(cmb_matdesc->text(), matrate->text()))
        return ui::refuse(this, *refused);
    const bool priced = tw::SaveMaterial(con, ui::boxes(), cmb_matdesc->text(), matrate->text(),
                                         cmb_unitlbl->currentText());
    RefreshMaterialList();
    if (!priced)
        return;
    cmb_matdesc->clear();
    matrate->clear();
    cmb_matdesc->setFocus();
}

void matls::matlist1_itemDoubleClicked() {
    QTreeWidgetItem* row = matlist1->currentItem();
    if (matlist1->topLevelItemCount() == 0 || !row)
        return;
    cmb_matdesc->setText(row->text(Description));
    cmb_unitlbl->setEditText(row->text(UnitLabel));
    matrate->setText(tw::formatFixed2(tw::leadingNumber(row->text(Rate))));
}

void matls::matlcancel_clicked() {
    // With no material selected there is nothing to name in the question, so nothing is asked.
    if (QTreeWidgetItem* row = matlist1->currentItem()) {
        const QString desc = row->text(Description);
        if (ui::MsgBox(tr("You are Deleting : ") + desc, ui::OkCancel) == ui::Answer::Ok)
            tw::rates::deleteMaterial(con, desc);
    }
    RefreshMaterialList();
    cmb_matdesc->clear();
    matrate->clear();
    cmb_matdesc->setFocus();
}
