#include "screens/rates/frm_rateanalysis.h"

#include "core/projects/projects.h"
#include "core/rates/analysis.h"
#include "core/schedules/items.h"
#include "screens/rates/rateform.h"
#include "values/values.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

using tw::doubleText;
using tw::leadingNumber;
using ui::named;

namespace {

namespace core = tw::rates;
using rates::freeCombo;
constexpr int kMaxRows = 10;

const QString addNew = QStringLiteral("Add New");

// The figure fields: a warning once the field holds `limit` characters (the key then goes
// through as it is, so backspace still works); below it digits, backspace and one point.
void figureRule(QLineEdit* field, int limit, const QString& text, const QString& title) {
    new ui::KeyRule(field, [=](QChar c, const QLineEdit& f) {
        if (f.text().size() >= limit) {
            ui::MsgBox(text, ui::Information, title);
            return true;
        }
        if (c == u'.')
            return !f.text().contains(u'.');
        return c == u'\b' || (c >= u'0' && c <= u'9');
    });
}

// The inch mark typed in a cost item's name is written out: 6" becomes "6 in". Typed keys
// reach the list itself, which hands them on to its editor.
class InchMark : public QObject {
public:
    explicit InchMark(QComboBox* list) : QObject(list), list_(list) {
        list->installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        QLineEdit* edit = list_->lineEdit();
        if (edit && event->type() == QEvent::KeyPress &&
            static_cast<QKeyEvent*>(event)->text() == QLatin1String("\"")) {
            edit->setText(edit->text() + QStringLiteral(" in"));
            edit->setCursorPosition(int(edit->text().size()));
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QComboBox* list_;
};

} // namespace

Frm_RateAnalysis::Frm_RateAnalysis(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("Frm_RateAnalysis"));
    setWindowTitle(tr("Rate Analysis"));

    CmbCntrNm = named(new QComboBox(this), "CmbCntrNm");
    CmbCntrNm->setMinimumContentsLength(30);
    TxtUnits = named(new QLineEdit(this), "TxtUnits");
    TxtUnits->setEnabled(false);
    LstVwSchedule = named(new QTreeWidget(this), "LstVwSchedule");
    ui::setupListView(LstVwSchedule, {tr("Schedule Code"), tr("Schedule Description")});
    LstVwSchedule->setToolTip(tr("Click to select item"));
    RTB_Schedule = named(new QTextEdit(this), "RTB_Schedule");
    RTB_Schedule->setAcceptRichText(false);
    RTB_Schedule->setTabChangesFocus(true);
    CmbCatgry = freeCombo(this, "CmbCatgry", 24);
    TxtUnts = named(new QLineEdit(this), "TxtUnts");
    TxtUnts->setEnabled(false);
    TxtUnts->setReadOnly(true);
    CmbItems = freeCombo(this, "CmbItems", 30);
    new InchMark(CmbItems);
    TxtQty = named(new QLineEdit(this), "TxtQty");
    // The limits hold for typing: a figure taken back from the list comes in whole.
    ui::typingLimit(TxtQty, 15);
    figureRule(TxtQty, 15, tr("You Cannot Enter More than 15 Digits..."), tr("Quantity"));
    TxtRate = named(new QLineEdit(this), "TxtRate");
    ui::typingLimit(TxtRate, 17);
    figureRule(TxtRate, 17, tr("You Cannot Enter More than 17 Digits, Including Decimal Places..."),
               tr("Rate"));
    CmdAdd =
        named(new QPushButton(style()->standardIcon(QStyle::SP_ArrowDown), {}, this), "CmdAdd");
    CmdAdd->setToolTip(tr("Add"));
    CmdDel = named(new QPushButton(tr("X"), this), "CmdDel");
    CmdDel->setToolTip(tr("Delete"));
    LstVwItmDtls = named(new QTreeWidget(this), "LstVwItmDtls");
    ui::setupListView(LstVwItmDtls, {tr("Sl No."), tr("Item Description"), tr("Quantity"),
                                     tr("Rate"), tr("Amount")});
    LstVwItmDtls->setToolTip(tr("Double click to edit"));
    LstVwItmDtls->setContextMenuPolicy(Qt::CustomContextMenu);
    TxtTotAmt = named(new QLineEdit(this), "TxtTotAmt");
    TxtTotAmt->setReadOnly(true);
    TxtTotAmt->setAlignment(Qt::AlignRight);
    CmdSave = named(new QPushButton(tr("&Save"), this), "CmdSave");
    CmdCancl = named(new QPushButton(tr("C&ancel"), this), "CmdCancl");
    CmdExit = named(new QPushButton(tr("E&xit"), this), "CmdExit");
    const int line = fontMetrics().lineSpacing();
    RTB_Schedule->setFixedHeight(line * 3 + 12);
    LstVwSchedule->setMinimumHeight(line * 7);
    LstVwItmDtls->setMinimumHeight(line * 8);

    auto label = rates::caption;
    auto* g = new QGridLayout;
    g->addWidget(label(tr("Project Number"), CmbCntrNm), 0, 0);
    g->addWidget(CmbCntrNm, 0, 1, 1, 3);
    g->addWidget(label(tr("Units"), TxtUnits), 0, 4);
    g->addWidget(TxtUnits, 0, 5);
    g->addWidget(label(tr("Schedule Details"), LstVwSchedule), 1, 0, Qt::AlignTop);
    g->addWidget(LstVwSchedule, 1, 1, 1, 5);
    g->addWidget(label(tr("Schedule Description"), RTB_Schedule), 2, 0, Qt::AlignTop);
    g->addWidget(RTB_Schedule, 2, 1, 1, 5);
    g->addWidget(label(tr("Category"), CmbCatgry), 3, 0);
    g->addWidget(CmbCatgry, 3, 1, 1, 3);
    g->addWidget(label(tr("Units"), TxtUnts), 3, 4);
    g->addWidget(TxtUnts, 3, 5);
    g->addWidget(label(tr("Cost Items"), CmbItems), 4, 0);
    g->addWidget(CmbItems, 4, 1, 1, 5);
    g->addWidget(label(tr("Quantity"), TxtQty), 5, 0);
    g->addWidget(TxtQty, 5, 1);
    g->addWidget(label(tr("Rate"), TxtRate), 5, 2);
    g->addWidget(TxtRate, 5, 3);
    auto* rowButtons = new QHBoxLayout;
    rowButtons->addWidget(CmdAdd);
    rowButtons->addWidget(CmdDel);
    g->addLayout(rowButtons, 5, 4, 1, 2);
    g->setColumnStretch(1, 1);
    g->setColumnStretch(3, 1);
    auto* total = new QHBoxLayout;
    total->addStretch();
    total->addWidget(label(tr("Total :"), TxtTotAmt));
    total->addWidget(TxtTotAmt);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(CmdSave);
    buttons->addWidget(CmdCancl);
    buttons->addWidget(CmdExit);
    auto* box = new QVBoxLayout(this);
    box->addLayout(g);
    box->addWidget(LstVwItmDtls, 1);
    box->addLayout(total);
    box->addLayout(buttons);

    ui::tabOrder({CmbCntrNm, LstVwSchedule, RTB_Schedule, CmbCatgry, CmbItems, TxtQty, TxtRate,
                  CmdAdd, CmdDel, LstVwItmDtls, CmdSave, CmdCancl, CmdExit});
    ui::selectAllOnFocusBelow(this, {TxtUnits, TxtUnts, TxtTotAmt});

    connect(CmbCntrNm, &QComboBox::activated, this, ui::guarded([this] { CmbCntrNm_activated(); }));
    // Pressing on a row remembers it; letting go anywhere over the list, a blank part too,
    // shows what was remembered.
    connect(LstVwSchedule, &QTreeWidget::itemPressed, this,
            [this](QTreeWidgetItem* item) { LstVwSchedule_itemPressed(item); });
    LstVwSchedule->viewport()->installEventFilter(this);
    connect(CmbItems, &QComboBox::activated, this, ui::guarded([this] { CmbItems_activated(); }));
    connect(CmdAdd, &QPushButton::clicked, this, ui::guarded([this] { CmdAdd_clicked(); }));
    connect(LstVwItmDtls, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        ui::guard([this, item] { LstVwItmDtls_itemClicked(item); });
    });
    connect(LstVwItmDtls, &QTreeWidget::itemDoubleClicked, this,
            ui::guarded([this] { LstVwItmDtls_itemDoubleClicked(); }));
    connect(LstVwItmDtls, &QWidget::customContextMenuRequested, this, [this](const QPoint& pos) {
        ui::guard([this, pos] { LstVwItmDtls_customContextMenuRequested(pos); });
    });
    connect(CmdDel, &QPushButton::clicked, this, ui::guarded([this] { CmdDel_clicked(); }));
    connect(CmdSave, &QPushButton::clicked, this, ui::guarded([this] { CmdSave_clicked(); }));
    connect(CmdCancl, &QPushButton::clicked, this, ui::guarded([this] { CmdCancl_clicked(); }));
    connect(CmdExit, &QPushButton::clicked, this, ui::guarded([this] { CmdExit_clicked(); }));

    // ---- opening ----
    ui::guard([this] {
        if (!con.isOpen())
            con.conopen();
        CmbCntrNm->clear();
        CmbCntrNm->addItems(tw::projectNames(con));
        if (CmbCntrNm->count() > 0) {
            CmbCntrNm->setCurrentIndex(0);
            CmbCntrNm_activated();
        }
        // The categories are those of the first project's measure system, whichever project is
        // picked later; the look-ups go to the picked project's table.
        CmbCatgry->clear();
        CmbCatgry->addItems(core::categoryNames(con, TxtUnits->text()));
        if (CmbCatgry->count() > 0)
            CmbCatgry->setCurrentIndex(0);
        CmbItems->clear();
        CmbItems->addItem(addNew);
        CmbItems->addItems(core::costItems(con));
        CmbItems->setCurrentIndex(0);
        if (RTB_Schedule->toPlainText().isEmpty()) {
            CmdAdd->setEnabled(false);
            CmdDel->setEnabled(false);
        }
        CmdSave->setEnabled(false);
    });
}

Frm_RateAnalysis::~Frm_RateAnalysis() {
    con.conclose();
}

void Frm_RateAnalysis::CmbCntrNm_activated() {
    RTB_Schedule->clear();
    LstVwSchedule->clear();
    const QString name = CmbCntrNm->currentText();
    const auto project = tw::projects::findByName(con, name);
    TxtUnits->setText(project ? project->text(QStringLiteral("tw_units")) : QString());
    contractNum_ = project ? project->text(QStringLiteral("tw_contract_num")) : QString();
    const auto items = tw::schedules::itemNames(con, contractNum_);
    if (items.empty()) {
        ui::MsgBox(tr("There are No Schedule Items Defined for ") + name + tr(" Contract..."),
                   ui::Information, tr("Schedule Items"));
        return;
    }
    for (const auto& [number, description] : items)
        ui::addListRow(LstVwSchedule, {number, description});
}

void Frm_RateAnalysis::LstVwSchedule_itemPressed(QTreeWidgetItem* item) {
    scheduleDesc_ = item->text(1);
}

bool Frm_RateAnalysis::eventFilter(QObject* watched, QEvent* event) {
    if (watched == LstVwSchedule->viewport() && event->type() == QEvent::MouseButtonRelease)
        ui::guard([this] { LstVwSchedule_mouseReleased(); });
    return ui::Screen::eventFilter(watched, event);
}

void Frm_RateAnalysis::LstVwSchedule_mouseReleased() {
    RTB_Schedule->setPlainText(scheduleDesc_);
    if (scheduleDesc_.isEmpty()) {
        ui::MsgBox(tr("No Details Found..."), ui::Ok, tr("Details"));
        return;
    }
    const auto item = core::itemCategory(con, contractNum_, scheduleDesc_);
    const QString category = item ? item->category : QString();
    CmbCatgry->setEditText(category.isEmpty() ? tr("Other Category") : category);
    TxtUnts->setText(item ? item->unit : QString());

    LstVwItmDtls->clear();
    const auto analysis = core::categoryAnalysis(con, TxtUnits->text(), CmbCatgry->currentText());
    const bool hasSchedule = !RTB_Schedule->toPlainText().isEmpty();
    if (!analysis) {
        TxtQty->clear();
        TxtRate->clear();
        CmbItems->setFocus();
        TxtTotAmt->setText(QStringLiteral("0"));
        if (hasSchedule)
            CmdAdd->setEnabled(true);
        return;
    }
    for (const QStringList& cells : analysis->rows)
        ui::addListRow(LstVwItmDtls, cells);
    TxtTotAmt->setText(doubleText(analysis->total));
    if (hasSchedule)
        CmdAdd->setEnabled(true);
    // An item that fills all ten slots is never stopped, and leaves saving and deleting as
    // they were.
    if (analysis->stopped && LstVwItmDtls->topLevelItemCount() > 0) {
        CmdSave->setEnabled(true);
        CmdAdd->setEnabled(true);
        CmdDel->setEnabled(true);
    }
}

void Frm_RateAnalysis::CmbItems_activated() {
    const QString item = CmbItems->currentText();
    if (item == addNew)
        return;
    if (const auto rate = core::costItemRate(con, item))
        TxtRate->setText(*rate);
}

void Frm_RateAnalysis::CmdAdd_clicked() {
    // The cost item keeps the rate even when the row is refused for the count below.
    if (const auto refused =
            core::priceCostItem(con, CmbItems->currentText(), TxtQty->text(), TxtRate->text()))
        return ui::refuse(this, *refused);
    const int rows = LstVwItmDtls->topLevelItemCount();
    if (rows >= kMaxRows) {
        ui::MsgBox(tr("You Cannot Enter More Than 10 Items...!!!"), ui::Information,
                   tr("Number of Items"));
        CmdSave->setFocus();
        return;
    }
    ui::addListRow(LstVwItmDtls,
                   {QString::number(rows + 1), CmbItems->currentText(), TxtQty->text(),
                    TxtRate->text(),
                    doubleText(leadingNumber(TxtRate->text()) * leadingNumber(TxtQty->text()))});
    CmdDel->setEnabled(true);
    CmdSave->setEnabled(true);
    SumAnalysisRows();
}

void Frm_RateAnalysis::SumAnalysisRows() {
    double sum = 0;
    for (int i = 0; i < LstVwItmDtls->topLevelItemCount(); ++i) {
        const QString cell = LstVwItmDtls->topLevelItem(i)->text(Amount);
        const auto amount = tw::strictNumber(cell);
        if (!amount)
            throw tw::Error(tr("The amount \"%1\" of row %2 is not a number; the total is left "
                               "as it was.")
                                .arg(cell)
                                .arg(i + 1));
        sum += *amount;
    }
    TxtTotAmt->setText(doubleText(sum));
}

void Frm_RateAnalysis::LstVwItmDtls_itemClicked(QTreeWidgetItem* item) {
    analysis_row_index = qint16(LstVwItmDtls->indexOfTopLevelItem(item) + 1);
}

void Frm_RateAnalysis::editRow() {
    QTreeWidgetItem* selected = LstVwItmDtls->currentItem();
    if (!selected)
        selected = LstVwItmDtls->topLevelItem(0);
    CmbItems->setEditText(selected->text(ItemDesc));
    TxtQty->setText(selected->text(Qty));
    TxtRate->setText(selected->text(Rate));
    TxtQty->selectAll();
    TxtQty->setFocus();
    TxtTotAmt->setText(
        doubleText(leadingNumber(TxtTotAmt->text()) - leadingNumber(selected->text(Amount))));
    const int index = analysis_row_index;
    if (index < 1 || index > LstVwItmDtls->topLevelItemCount())
        throw tw::Error(tr("Row %1 of the list is gone; click the row to edit again.").arg(index));
    // The other rows keep their numbers; the row comes back at the end with the next add.
    delete LstVwItmDtls->takeTopLevelItem(index - 1);
}

void Frm_RateAnalysis::LstVwItmDtls_itemDoubleClicked() {
    if (LstVwItmDtls->topLevelItemCount() == 0)
        return void(
            ui::MsgBox(tr("There are no Items to Edit..."), ui::Information, tr("Select an Item")));
    editRow();
}

QMenu* Frm_RateAnalysis::mnurtanl() const {
    if (auto* frameMenu = window()->findChild<QMenu*>(QStringLiteral("mnurtanl")))
        return frameMenu;
    if (!ownMenu_) {
        auto* self = const_cast<Frm_RateAnalysis*>(this);
        self->ownMenu_ = named(new QMenu(tr("RateAnalysis"), self), "mnurtanl");
        named(self->ownMenu_->addAction(tr("Edit")), "mnurtedt");
    }
    return ownMenu_;
}

void Frm_RateAnalysis::LstVwItmDtls_customContextMenuRequested(const QPoint& pos) {
    if (LstVwItmDtls->topLevelItemCount() == 0)
        return;
    QMenu* menu = mnurtanl();
    QAction* edit = menu->findChild<QAction*>(QStringLiteral("mnurtedt"));
    QMetaObject::Connection link;
    if (edit)
        link =
            connect(edit, &QAction::triggered, this, ui::guarded([this] { mnurtedt_triggered(); }));
    menu->exec(LstVwItmDtls->viewport()->mapToGlobal(pos));
    disconnect(link);
    CmdSave->setEnabled(false);
    CmdDel->setEnabled(false);
}

void Frm_RateAnalysis::mnurtedt_triggered() {
    const QString title = tr("Select an Item");
    if (analysis_row_index == 0)
        return void(ui::MsgBox(tr("There are No Items to Select...!!!"), ui::Information, title));
    if (LstVwItmDtls->topLevelItemCount() == 0)
        return void(ui::MsgBox(tr("There are no Items to Edit..."), ui::Information, title));
    editRow();
    if (LstVwItmDtls->topLevelItemCount() > 0)
        CmdSave->setEnabled(true);
}

void Frm_RateAnalysis::CmdDel_clicked() {
    if (LstVwItmDtls->topLevelItemCount() == 0) {
        ui::MsgBox(tr("There are no Items to Delete..."), ui::Information, tr("Delete Item"));
        return LstVwItmDtls->setFocus();
    }
    const int index = analysis_row_index;
    if (index == 0) {
        ui::MsgBox(tr("Please Select an Item to be removed from the List..."), ui::Information,
                   tr("Delete Items"));
        return LstVwItmDtls->setFocus();
    }
    QTreeWidgetItem* row = LstVwItmDtls->topLevelItem(index - 1);
    if (!row)
        throw tw::Error(
            tr("Row %1 of the list is gone; click the row to delete again.").arg(index));
    const QString desc = row->text(ItemDesc);
    const QString qty = row->text(Qty);
    const QString rate = row->text(Rate);
    const auto answer =
        ui::MsgBox(tr("You are deleting Item : ") + desc + QStringLiteral(",") + tr("Quantity : ") +
                       qty + QStringLiteral(",") + tr(" Rate : ") + rate,
                   ui::OkCancel | ui::Information, tr("Deletion of Items"));
    if (answer != ui::Answer::Ok) {
        LstVwItmDtls->setCurrentItem(row);
        LstVwItmDtls->setFocus();
    } else {
        if (!core::blankSlots(con, TxtUnits->text(), CmbCatgry->currentText(), desc, qty, rate))
            return void(ui::MsgBox(tr("Please Select Correct Category Name"), ui::Information,
                                   tr("Category")));
        delete LstVwItmDtls->takeTopLevelItem(index - 1);
        if (LstVwItmDtls->topLevelItemCount() == 0)
            CmdDel->setEnabled(false);
    }
    SumAnalysisRows();
    if (LstVwItmDtls->topLevelItemCount() > 0)
        CmdSave->setEnabled(true);
}

void Frm_RateAnalysis::CmdSave_clicked() {
    std::vector<core::AnalysisRow> rows;
    for (int i = 0; i < LstVwItmDtls->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = LstVwItmDtls->topLevelItem(i);
        rows.push_back({row->text(ItemDesc), row->text(Qty), row->text(Rate)});
    }
    const QTreeWidgetItem* picked = LstVwSchedule->currentItem();
    if (const auto refused =
            core::saveAnalysis(con, TxtUnits->text(), CmbCatgry->currentText(), rows,
                               TxtUnts->text(), leadingNumber(TxtTotAmt->text()),
                               RTB_Schedule->toPlainText(), picked ? picked->text(0) : QString()))
        return ui::refuse(this, *refused);
    CmdSave->setEnabled(false);
    CmdCancl_clicked();
}

void Frm_RateAnalysis::CmdCancl_clicked() {
    RTB_Schedule->clear();
    for (auto* e : {TxtQty, TxtRate, TxtUnts, TxtTotAmt})
        e->clear();
    CmbItems->setCurrentIndex(0);
    LstVwItmDtls->clear();
    LstVwSchedule->setFocus();
}

void Frm_RateAnalysis::CmdExit_clicked() {
    con.conclose();
    close();
}
