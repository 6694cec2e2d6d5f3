#include "screens/measurements/frm_reinforcement.h"

#include "core/measurements/steel.h"
#include "core/projects/projects.h"
#include "ui/kit.h"
#include "values/values.h"

#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

namespace {

namespace core = tw::steel;
using ui::named;

const QString addNew = QStringLiteral("Add New");

// A key rule that lets `pass` through and warns, without stopping the key, once the field
// already holds `limit` characters. Backspace never warns.
void warnAtLength(QLineEdit* field, int limit, bool trimmed, const QString& text,
                  const QString& title, std::function<bool(QChar)> pass) {
    new ui::KeyRule(field, [=](QChar c, const QLineEdit& f) {
        if (!pass(c))
            return false;
        const qsizetype length = trimmed ? f.text().trimmed().size() : f.text().size();
        if (c != u'\b' && c != u'\r' && length >= limit)
            ui::MsgBox(text, ui::Ok, title);
        return true;
    });
}

bool digitOrBackspace(QChar c) {
    return c == u'\b' || (c >= u'0' && c <= u'9');
}

} // namespace

Frm_Reinforcement::Frm_Reinforcement(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("Frm_Reinforcement"));
    setWindowTitle(tr("Reinforcement Screen"));

    CmbCntNum = named(new QComboBox(this), "CmbCntNum");
    CmbCntNum->setEditable(true);
    CmbCntNum->setInsertPolicy(QComboBox::NoInsert);
    CmbCntNum->setToolTip(tr("Contract Number"));
    CmbCntNum->setMinimumContentsLength(30);
    CmbBlNo = named(new QComboBox(this), "CmbBlNo");
    CmbBlNo->setEditable(true);
    CmbBlNo->setInsertPolicy(QComboBox::NoInsert);
    // A typed bill number stays as typed; completion would turn "1" into an existing "12".
    CmbBlNo->setCompleter(nullptr);
    CmbBlNo->setToolTip(tr("Max. 20 Characters Allowed"));
    CmbBlNo->setMinimumContentsLength(14);
    // The length limits hold for typing: a line taken back from the grid comes in whole.
    rtb_nrtn = named(new QLineEdit(this), "rtb_nrtn");
    ui::typingLimit(rtb_nrtn, 50);
    CmbDia = named(new QComboBox(this), "CmbDia");
    CmbDia->setEditable(true);
    CmbDia->setInsertPolicy(QComboBox::NoInsert);
    CmbDia->setCompleter(nullptr);
    CmbDia->setToolTip(tr("Diameter"));
    CmbDia->setMinimumContentsLength(8);
    TxtNos = named(new QLineEdit(this), "TxtNos");
    ui::typingLimit(TxtNos, 5);
    TxtMtFt = named(new QLineEdit(this), "TxtMtFt");
    ui::typingLimit(TxtMtFt, 4);
    TxtMtFt->setToolTip(tr("Meters/Feet"));
    TxtCmIn = named(new QLineEdit(this), "TxtCmIn");
    ui::typingLimit(TxtCmIn, 7);
    TxtCmIn->setToolTip(tr("Centimeters/Inches"));
    TxtRmrks = named(new QLineEdit(this), "TxtRmrks");
    TxtRmrks->setToolTip(tr("You Can Enter Max. 255 Characters ONLY"));
    LblMtFt = named(new QLabel(tr("Mt"), this), "LblMtFt");
    LblCmIn = named(new QLabel(tr("Cms"), this), "LblCmIn");
    Label1 = named(new QLabel(tr("In Metres & CM"), this), "Label1");
    // The arrow puts the line down into the list; it carries no caption, so it takes no access
    // key from the captioned buttons.
    CmdAdd = named(new QPushButton(style()->standardIcon(QStyle::SP_ArrowDown), QString(), this),
                   "CmdAdd");
    CmdAdd->setToolTip(tr("Add the line to the list"));
    CmdRem = named(new QPushButton(tr("X"), this), "CmdRem");
    CmdCancl = named(new QPushButton(tr("Can&cel"), this), "CmdCancl");
    CmdSave = named(new QPushButton(tr("S&ave"), this), "CmdSave");
    CmdExit = named(new QPushButton(tr("E&xit"), this), "CmdExit");
    LstVwRnftDet = named(new QTreeWidget(this), "LstVwRnftDet");
    ui::setupListView(LstVwRnftDet, {tr("Item No."), tr("Narration"), tr("DiaMeter"), tr("Nos."),
                                     tr("Length"), tr("Total Length"), tr("Remarks")});
    LstVwRnftDet->setToolTip(tr("Double click to edit"));
    ui::fitColumns(LstVwRnftDet);

    for (auto* f : {TxtNos, TxtMtFt, TxtCmIn})
        f->setAlignment(Qt::AlignRight);
    warnAtLength(TxtMtFt, 4, true, tr("You Cannot Enter More Than 4 Digits..."), tr("Meters/Feet"),
                 digitOrBackspace);
    warnAtLength(TxtNos, 5, false, tr("You Cannot Enter More than 5 Digits..."), tr("Quantity"),
                 digitOrBackspace);
    // Centimetres or inches may take a point, and a second one too: the add checks refuse a
    // text that isn't a number.
    ui::decimalRule(TxtCmIn, false);
    const auto any = [](QChar) { return true; };
    warnAtLength(TxtRmrks, 255, false, tr("You Cannot Enter More than 255 Characters..."),
                 tr("Remarks"), any);
    warnAtLength(rtb_nrtn, 255, false, tr("You Cannot Enter More than 255 Characters..."),
                 tr("Narration"), any);
    ui::selectAllOnFocusBelow(this);

    // ---- layout ----
    auto* grid = new QGridLayout;
    grid->addWidget(new QLabel(tr("Project Id"), this), 0, 0);
    grid->addWidget(CmbCntNum, 0, 1, 1, 4);
    grid->addWidget(new QLabel(tr("Bill Number"), this), 0, 5);
    grid->addWidget(CmbBlNo, 0, 6, 1, 2);
    grid->addWidget(new QLabel(tr("Narration"), this), 1, 0);
    grid->addWidget(rtb_nrtn, 1, 1, 1, 7);
    grid->addWidget(Label1, 2, 3, 1, 4, Qt::AlignLeft | Qt::AlignBottom);
    grid->addWidget(new QLabel(tr("Diameter in MM"), this), 3, 0);
    grid->addWidget(CmbDia, 3, 1);
    grid->addWidget(new QLabel(tr("Nos."), this), 3, 2, Qt::AlignRight);
    auto* lengths = new QHBoxLayout;
    lengths->addWidget(TxtNos);
    lengths->addSpacing(12);
    lengths->addWidget(TxtMtFt);
    lengths->addWidget(LblMtFt);
    lengths->addWidget(TxtCmIn);
    lengths->addWidget(LblCmIn);
    lengths->addStretch();
    grid->addLayout(lengths, 3, 3, 1, 5);
    const int digitWidth = TxtNos->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 12;
    TxtNos->setFixedWidth(digitWidth);
    TxtMtFt->setFixedWidth(digitWidth);
    TxtCmIn->setFixedWidth(digitWidth);
    Label1->setIndent(digitWidth + 18);
    grid->addWidget(new QLabel(tr("Remarks"), this), 4, 0);
    grid->addWidget(TxtRmrks, 4, 1, 1, 6);
    grid->addWidget(CmdAdd, 4, 7);
    grid->setColumnStretch(4, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(CmdRem);
    buttons->addStretch();
    buttons->addWidget(CmdCancl);
    buttons->addWidget(CmdSave);
    buttons->addWidget(CmdExit);

    auto* box = new QVBoxLayout(this);
    box->addLayout(grid);
    box->addWidget(LstVwRnftDet, 1);
    box->addLayout(buttons);

    ui::tabOrder({CmbCntNum, CmbBlNo, rtb_nrtn, CmbDia, TxtNos, TxtMtFt, TxtCmIn, TxtRmrks, CmdAdd,
                  LstVwRnftDet, CmdRem, CmdCancl, CmdSave, CmdExit});
    resize(820, 520);

    // ---- events ----
    connect(CmbCntNum, &QComboBox::activated, this, ui::guarded([this] { CmbCntNum_activated(); }));
    connect(CmbBlNo, &QComboBox::activated, this, ui::guarded([this] { CmbBlNo_activated(); }));
    connect(CmdAdd, &QPushButton::clicked, this, ui::guarded([this] { CmdAdd_clicked(); }));
    connect(LstVwRnftDet, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { ui::guard([&] { LstVwRnftDet_itemClicked(item); }); });
    connect(LstVwRnftDet, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        ui::guard([&] { LstVwRnftDet_itemDoubleClicked(item); });
    });
    connect(CmdRem, &QPushButton::clicked, this, ui::guarded([this] { CmdRem_clicked(); }));
    connect(CmdCancl, &QPushButton::clicked, this, ui::guarded([this] { CmdCancl_clicked(); }));
    connect(CmdSave, &QPushButton::clicked, this, [this] { CmdSave_clicked(); });
    connect(CmdExit, &QPushButton::clicked, this, ui::guarded([this] { CmdExit_clicked(); }));
    for (QWidget* w : {static_cast<QWidget*>(CmbBlNo), static_cast<QWidget*>(CmbDia),
                       static_cast<QWidget*>(TxtCmIn)})
        w->installEventFilter(this);

    // ---- opening ----
    CmdRem->setEnabled(false);
    ui::guard([this] {
        CmbCntNum->addItems(tw::projectNames(con));
        CmbDia->addItem(addNew);
        CmbDia->addItems(core::diameters(con));
        CmbDia->setCurrentIndex(0);
    });
    if (CmbCntNum->count() > 0) {
        CmbCntNum->setCurrentIndex(0);
        ui::guard([this] { CmbCntNum_activated(); });
    }
}

Frm_Reinforcement::~Frm_Reinforcement() {
    con.conclose();
}

// Leaving a field runs its rule once the focus has moved, every time: QLineEdit::editingFinished
// would stay silent when the text is unchanged, and a refused bill number must be refused again
// until it is mended. Switching to another program or opening the field's own drop-down is no
// leaving.
bool Frm_Reinforcement::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
            void (Frm_Reinforcement::*rule)() = nullptr;
            if (watched == CmbBlNo)
                rule = &Frm_Reinforcement::CmbBlNo_editingFinished;
            else if (watched == CmbDia)
                rule = &Frm_Reinforcement::CmbDia_editingFinished;
            else if (watched == TxtCmIn)
                rule = &Frm_Reinforcement::TxtCmIn_editingFinished;
            // A screen being closed has no leaving to check.
            if (rule)
                QTimer::singleShot(0, this, [this, rule] {
                    if (isVisible())
                        ui::guard([&] { (this->*rule)(); });
                });
        }
    }
    return ui::Screen::eventFilter(watched, event);
}

void Frm_Reinforcement::CmbCntNum_activated() {
    const QString name = CmbCntNum->currentText();
    if (!name.isEmpty()) {
        if (const auto r = tw::projects::findByName(con, name)) {
            units = r->text(QStringLiteral("tw_units"));
            contract = r->text(QStringLiteral("tw_contract_num"));
        }
        if (units == QLatin1String("Feet")) {
            LblMtFt->setText(tr("Ft"));
            LblCmIn->setText(tr("Ins"));
            Label1->setText(tr("Feet            In"));
        } else {
            LblMtFt->setText(tr("Mt"));
            LblCmIn->setText(tr("Cms"));
            Label1->setText(tr("Mtrs             CM"));
        }
    }
    CmbBlNo->clear();
    CmbBlNo->addItem(addNew);
    CmbBlNo->addItems(core::billNumbers(con, contract));
    CmbBlNo->setCurrentIndex(0);
    tw::reporttableerror(ui::boxes(), {}, {});
}

void Frm_Reinforcement::CmbBlNo_activated() {
    Show_Reinforcement();
    if (LstVwRnftDet->topLevelItemCount() > 0)
        CmdRem->setEnabled(true);
}

void Frm_Reinforcement::Show_Reinforcement() {
    LstVwRnftDet->clear();
    for (const QStringList& cells : core::Show_Reinforcement(
             con, contract, CmbBlNo->currentText(), LblMtFt->text() == QLatin1String("Ft")))
        ui::addListRow(LstVwRnftDet, cells);
    ui::fitColumns(LstVwRnftDet);
}

void Frm_Reinforcement::CmdAdd_clicked() {
    core::Line line;
    line.contract = contract;
    line.bill = CmbBlNo->currentText();
    line.narration = rtb_nrtn->text();
    line.diameter = CmbDia->currentText();
    line.nos = TxtNos->text();
    line.whole = TxtMtFt->text();
    line.frac = TxtCmIn->text();
    line.remarks = TxtRmrks->text();
    line.feet = LblMtFt->text() == QLatin1String("Ft");
    const core::AddOutcome outcome = core::addLine(con, line);
    if (outcome.warning)
        ui::refuse(this, *outcome.warning);
    if (outcome.refusal)
        return ui::refuse(this, *outcome.refusal);

    rtb_nrtn->clear();
    rtb_nrtn->setFocus();
    for (auto* f : {TxtMtFt, TxtCmIn, TxtNos, TxtRmrks})
        f->clear();
    CmdRem->setEnabled(true);
    Show_Reinforcement();
}

void Frm_Reinforcement::LstVwRnftDet_itemClicked(QTreeWidgetItem* item) {
    if (!item)
        return;
    analysis_row_index = qint16(LstVwRnftDet->indexOfTopLevelItem(item) + 1);
    CmdRem->setEnabled(true);
}

void Frm_Reinforcement::LstVwRnftDet_itemDoubleClicked(QTreeWidgetItem* item) {
    if (!item)
        return;
    rtb_nrtn->setText(item->text(1));
    CmbDia->setEditText(item->text(2));
    TxtCmIn->clear();
    TxtMtFt->clear();
    // "12 Ft 6 Ins": the whole part stands before the first mark, the fractional part from
    // behind the unit word and its blank up to the second mark.
    const bool metre = units.startsWith(u'M');
    const QString length = item->text(4);
    const qsizetype first = length.indexOf(metre ? u'M' : u'F');
    const qsizetype second = length.indexOf(metre ? u'C' : u'I');
    if (first >= 0) {
        TxtMtFt->setText(length.left(first));
        if (second >= first + 3)
            TxtCmIn->setText(length.mid(first + 3, second - first - 3));
    }
    TxtNos->setText(item->text(3));
    TxtRmrks->setText(item->text(6));
}

void Frm_Reinforcement::CmdRem_clicked() {
    const int index = analysis_row_index;
    QTreeWidgetItem* row = index > 0 ? LstVwRnftDet->topLevelItem(index - 1) : nullptr;
    if (!row) {
        ui::refuse(LstVwRnftDet, tr("Please Select an Item to be removed from the List..."), ui::Ok,
                   tr("Delete Items"));
        return;
    }
    const QString narration = row->text(1);
    const QString diameter = row->text(2);
    const QString nos = row->text(3);
    const QString length = row->text(4);
    const auto answer =
        ui::MsgBox(tr("You are Deleting : ") + narration + u',' + tr("Diameter : ") + diameter +
                       u',' + tr(" Nos. : ") + nos + tr(" and Length : ") + length,
                   ui::OkCancel, tr("Deletion of Reinforcement"));
    if (answer != ui::Answer::Ok) {
        LstVwRnftDet->setCurrentItem(row);
        LstVwRnftDet->setFocus();
        if (LstVwRnftDet->topLevelItemCount() == 0)
            CmdRem->setEnabled(false);
        return;
    }
    core::deleteLine(con, contract, CmbBlNo->currentText(), narration, diameter, nos, length);
    delete row;
    CmdRem->setEnabled(false);
}

void Frm_Reinforcement::CmdCancl_clicked() {
    for (auto* f : {rtb_nrtn, TxtMtFt, TxtCmIn, TxtNos, TxtRmrks})
        f->clear();
    LstVwRnftDet->clear();
    CmbBlNo->setFocus();
}

// Saving happens line by line through CmdAdd; this button is kept on the screen and does
// nothing.
void Frm_Reinforcement::CmdSave_clicked() {}

void Frm_Reinforcement::CmdExit_clicked() {
    con.conclose();
    if (parentWidget())
        parentWidget()->close();
    else
        close();
}

void Frm_Reinforcement::CmbBlNo_editingFinished() {
    if (CmbBlNo->currentText().size() >= 30)
        ui::refuse(CmbBlNo, tr("Maximum 30 Characters Allowed ..."), ui::Ok, tr("Bill Number"));
}

// A size typed into the list is learnt on leaving it, and the drop-down offers it the next time
// the screen opens. It is learnt in the one spelling a line stores, so that a line taken back
// for editing never teaches the list a second name for a size it has.
void Frm_Reinforcement::CmbDia_editingFinished() {
    const QString dia = CmbDia->currentText();
    if (dia != addNew)
        core::learnDiameter(con, dia);
}

void Frm_Reinforcement::TxtCmIn_editingFinished() {
    if (TxtMtFt->text().isEmpty()) {
        ui::refuse(TxtMtFt, tr("Please Enter Meters/Feet..."), ui::Ok, tr("Length Meters/Feet"));
        return;
    }
    if (TxtCmIn->text().isEmpty())
        TxtCmIn->setText(QStringLiteral("0"));
    if (LblMtFt->text() == QLatin1String("Ft") && tw::leadingNumber(TxtCmIn->text()) >= 12)
        ui::refuse(TxtCmIn, tr("Inches Cannot be less than 12..."), ui::Ok, tr("Inches"));
}
