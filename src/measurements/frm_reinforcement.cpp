#include "measurements/frm_reinforcement.h"

#include "ui/kit.h"
#include "values/values.h"

#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

namespace {

using tw::numberText;
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
    rtb_nrtn = named(new QLineEdit(this), "rtb_nrtn");
    rtb_nrtn->setMaxLength(50);
    CmbDia = named(new QComboBox(this), "CmbDia");
    CmbDia->setEditable(true);
    CmbDia->setInsertPolicy(QComboBox::NoInsert);
    CmbDia->setCompleter(nullptr);
    CmbDia->setToolTip(tr("Diameter"));
    CmbDia->setMinimumContentsLength(8);
    TxtNos = named(new QLineEdit(this), "TxtNos");
    TxtNos->setMaxLength(5);
    TxtMtFt = named(new QLineEdit(this), "TxtMtFt");
    TxtMtFt->setMaxLength(4);
    TxtMtFt->setToolTip(tr("Meters/Feet"));
    TxtCmIn = named(new QLineEdit(this), "TxtCmIn");
    TxtCmIn->setMaxLength(7);
    TxtCmIn->setToolTip(tr("Centimeters/Inches"));
    TxtRmrks = named(new QLineEdit(this), "TxtRmrks");
    TxtRmrks->setToolTip(tr("You Can Enter Max. 255 Characters ONLY"));
    LblMtFt = named(new QLabel(tr("Mt"), this), "LblMtFt");
    LblCmIn = named(new QLabel(tr("Cms"), this), "LblCmIn");
    Label1 = named(new QLabel(tr("In Metres & CM"), this), "Label1");
    CmdAdd = named(new QPushButton(style()->standardIcon(QStyle::SP_ArrowDown), tr("&Add"), this),
                   "CmdAdd");
    CmdRem = named(new QPushButton(tr("X"), this), "CmdRem");
    CmdRem->setFixedWidth(CmdRem->sizeHint().height() * 3 / 2);
    CmdCancl = named(new QPushButton(tr("Can&cel"), this), "CmdCancl");
    CmdSave = named(new QPushButton(tr("S&ave"), this), "CmdSave");
    CmdExit = named(new QPushButton(tr("E&xit"), this), "CmdExit");
    LstVwRnftDet = named(new QTreeWidget(this), "LstVwRnftDet");
    ui::setupListView(LstVwRnftDet, {tr("Item No."), tr("Narration"), tr("DiaMeter"), tr("Nos."),
                                     tr("Length"), tr("Total Length"), tr("Remarks")});
    LstVwRnftDet->setToolTip(tr("Double click to edit"));
    LstVwRnftDet->setColumnWidth(0, 60);
    LstVwRnftDet->setColumnWidth(1, 220);
    LstVwRnftDet->setColumnWidth(2, 70);
    LstVwRnftDet->setColumnWidth(3, 50);
    LstVwRnftDet->setColumnWidth(4, 110);
    LstVwRnftDet->setColumnWidth(5, 90);

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

    const QList<QWidget*> order{CmbCntNum, CmbBlNo,  rtb_nrtn, CmbDia, TxtNos,
                                TxtMtFt,   TxtCmIn,  TxtRmrks, CmdAdd, LstVwRnftDet,
                                CmdRem,    CmdCancl, CmdSave,  CmdExit};
    for (qsizetype i = 0; i + 1 < order.size(); ++i)
        setTabOrder(order[i], order[i + 1]);
    resize(820, 520);

    // ---- events ----
    connect(CmbCntNum, &QComboBox::activated, this, ui::guarded([this] { CmbCntNum_Click(); }));
    connect(CmbBlNo, &QComboBox::activated, this, ui::guarded([this] { CmbBlNo_Click(); }));
    connect(CmdAdd, &QPushButton::clicked, this, ui::guarded([this] { CmdAdd_Click(); }));
    connect(LstVwRnftDet, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { ui::guard([&] { LstVwRnftDet_ItemClick(item); }); });
    connect(LstVwRnftDet, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem* item) { ui::guard([&] { LstVwRnftDet_DblClick(item); }); });
    connect(CmdRem, &QPushButton::clicked, this, ui::guarded([this] { CmdRem_Click(); }));
    connect(CmdCancl, &QPushButton::clicked, this, ui::guarded([this] { CmdCancl_Click(); }));
    connect(CmdSave, &QPushButton::clicked, this, [this] { CmdSave_Click(); });
    connect(CmdExit, &QPushButton::clicked, this, ui::guarded([this] { CmdExit_Click(); }));
    for (QWidget* w : {static_cast<QWidget*>(CmbBlNo), static_cast<QWidget*>(CmbDia),
                       static_cast<QWidget*>(TxtCmIn)})
        w->installEventFilter(this);

    // ---- opening ----
    // Nothing has been clicked in this screen's grid yet.
    tw::Tallywrightmod::analysis_row_index = 0;
    CmdRem->setEnabled(false);
    ui::guard([this] {
        for (const auto& r : con.rows(QStringLiteral("select * from contractmaster")))
            CmbCntNum->addItem(r.text(QStringLiteral("tw_contract_name")));
        CmbDia->addItem(addNew);
        for (const auto& r : con.rows(QStringLiteral("select * from diameter")))
            CmbDia->addItem(r.text(0));
        CmbDia->setCurrentIndex(0);
    });
    if (CmbCntNum->count() > 0) {
        CmbCntNum->setCurrentIndex(0);
        ui::guard([this] { CmbCntNum_Click(); });
    }
}

Frm_Reinforcement::~Frm_Reinforcement() {
    con.conclose();
}

// Leaving a field runs its rule once the focus has moved, as the old screen's lost-focus
// events did. Switching to another program or opening the field's own drop-down is no leaving.
bool Frm_Reinforcement::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
            void (Frm_Reinforcement::*rule)() = nullptr;
            if (watched == CmbBlNo)
                rule = &Frm_Reinforcement::CmbBlNo_LostFocus;
            else if (watched == CmbDia)
                rule = &Frm_Reinforcement::CmbDia_LostFocus;
            else if (watched == TxtCmIn)
                rule = &Frm_Reinforcement::TxtCmIn_LostFocus;
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

void Frm_Reinforcement::CmbCntNum_Click() {
    const QString name = CmbCntNum->currentText();
    if (!name.isEmpty()) {
        if (const auto r = con.first(QStringLiteral("select tw_units,tw_contract_num from "
                                                    "contractmaster where tw_contract_name=?"),
                                     {name})) {
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
    for (const auto& r : con.rows(QStringLiteral("select distinct(tw_bill_num) from "
                                                 "reinforcementmaster where tw_contract_num=?"),
                                  {contract}))
        CmbBlNo->addItem(r.text(0));
    CmbBlNo->setCurrentIndex(0);
    tw::reporttableerror({}, {});
}

void Frm_Reinforcement::CmbBlNo_Click() {
    Show_Reinforcement();
    if (LstVwRnftDet->topLevelItemCount() > 0)
        CmdRem->setEnabled(true);
}

void Frm_Reinforcement::Show_Reinforcement() {
    LstVwRnftDet->clear();
    const QString ft = LblMtFt->text();
    const QString in = LblCmIn->text();
    // In feet the second part counts inches; in metres it is a plain count of centimetres,
    // 5 being 0.05 m.
    const double parts = ft == QLatin1String("Ft") ? 12.0 : 100.0;
    const auto lines = con.rows(QStringLiteral("select * from reinforcementmaster where "
                                               "(tw_contract_num=?) and (tw_bill_num=?)"),
                                {contract, CmbBlNo->currentText()});
    int number = 0;
    for (const auto& r : lines) {
        const QString whole = numberText(r.value(QStringLiteral("tw_length_ft")));
        const QString frac = numberText(r.value(QStringLiteral("tw_length_inches")));
        const double total =
            ((tw::leadingNumber(whole) * parts + tw::leadingNumber(frac)) *
             tw::leadingNumber(numberText(r.value(QStringLiteral("tw_length_qty"))))) /
            parts;
        ui::addListRow(LstVwRnftDet,
                       {QString::number(++number), r.text(QStringLiteral("tw_narration")),
                        r.text(QStringLiteral("tw_diameter")),
                        numberText(r.value(QStringLiteral("tw_length_qty"))),
                        whole + u' ' + ft + u' ' + frac + u' ' + in, tw::doubleText(total),
                        r.text(QStringLiteral("tw_remarks"))});
    }
}

std::optional<tw::Row> Frm_Reinforcement::Find_Reinforcement(const QString& narration) const {
    return con.first(QStringLiteral("select rowid, * from reinforcementmaster where "
                                    "(tw_contract_num=?) and (tw_bill_num=?) and (tw_narration=?)"),
                     {contract, CmbBlNo->currentText(), narration});
}

void Frm_Reinforcement::CmdAdd_Click() {
    auto refuse = [](const QString& text, const QString& title, QWidget* field) {
        ui::MsgBox(text, ui::Information, title);
        if (auto* edit = qobject_cast<QLineEdit*>(field))
            edit->selectAll();
        else if (auto* combo = qobject_cast<QComboBox*>(field); combo && combo->lineEdit())
            combo->lineEdit()->selectAll();
        field->setFocus();
    };
    for (auto* f : {TxtMtFt, TxtCmIn, TxtNos}) {
        if (!tw::strictNumber(f->text())) {
            refuse(tr("Fill in numbers only"), tr("Details"), f);
            return;
        }
    }
    const QString bill = CmbBlNo->currentText();
    if (bill == addNew || bill.isEmpty()) {
        refuse(tr("Please Enter Bill Number..."), tr("Enter Bill Number"), CmbBlNo);
        return;
    }
    if (rtb_nrtn->text().isEmpty()) {
        refuse(tr("Please Enter Narration Details..."), tr("Enter Narration"), rtb_nrtn);
        return;
    }
    const QString dia = CmbDia->currentText();
    if (dia == addNew || dia.isEmpty()) {
        refuse(tr("Please Select Diameter from the List..."), tr("Enter Diameter"), CmbDia);
        return;
    }
    const double inches = tw::leadingNumber(TxtCmIn->text());
    if (LblMtFt->text() == QLatin1String("Ft") && inches >= 12) {
        refuse(tr("Inches Cannot be less than 12..."), tr("Inches"), TxtCmIn);
        return;
    }
    // A hundred centimetres or more is only a warning: the line is saved as typed.
    if (LblMtFt->text() == QLatin1String("Mt") && inches >= 100)
        refuse(tr("Inches Cannot be less than 100..."), tr("Inches"), TxtCmIn);

    {
        tw::Transaction tx(con);
        const QString narration = rtb_nrtn->text();
        tw::Values v{
            {QStringLiteral("tw_narration"), narration},
            // The diameter is kept as its number of millimetres: "12 mm" is stored as 12.
            {QStringLiteral("tw_diameter"), tw::doubleText(tw::leadingNumber(dia))},
            {QStringLiteral("tw_length_qty"), TxtNos->text()},
            {QStringLiteral("tw_length_ft"), tw::leadingNumber(TxtMtFt->text())},
            {QStringLiteral("tw_length_inches"), tw::doubleText(inches)},
            {QStringLiteral("tw_remarks"), TxtRmrks->text()},
        };
        if (const auto found = Find_Reinforcement(narration)) {
            con.update(QStringLiteral("reinforcementmaster"), found->value(0).toLongLong(), v);
        } else {
            v.insert(v.begin(), {{QStringLiteral("tw_contract_num"), contract},
                                 {QStringLiteral("tw_bill_num"), bill}});
            con.insert(QStringLiteral("reinforcementmaster"), v);
        }
        tx.commit();
    }

    rtb_nrtn->clear();
    rtb_nrtn->setFocus();
    for (auto* f : {TxtMtFt, TxtCmIn, TxtNos, TxtRmrks})
        f->clear();
    CmdRem->setEnabled(true);
    Show_Reinforcement();
}

void Frm_Reinforcement::LstVwRnftDet_ItemClick(QTreeWidgetItem* item) {
    if (!item)
        return;
    tw::Tallywrightmod::analysis_row_index = qint16(LstVwRnftDet->indexOfTopLevelItem(item) + 1);
    CmdRem->setEnabled(true);
}

void Frm_Reinforcement::LstVwRnftDet_DblClick(QTreeWidgetItem* item) {
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

void Frm_Reinforcement::CmdRem_Click() {
    const int index = tw::Tallywrightmod::analysis_row_index;
    QTreeWidgetItem* row = index > 0 ? LstVwRnftDet->topLevelItem(index - 1) : nullptr;
    if (!row) {
        ui::MsgBox(tr("Please Select an Item to be removed from the List..."), ui::Ok,
                   tr("Delete Items"));
        LstVwRnftDet->setFocus();
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
    // The numbers are read back from the Length text: digits up to the first other character
    // make the whole part, every later digit joins the fractional part. A point in the second
    // number is lost with this reading, and such a line is not found.
    QString whole, frac;
    qsizetype i = 0;
    while (i < length.size() && length[i].isDigit())
        whole += length[i++];
    for (; i < length.size(); ++i) {
        if (length[i].isDigit())
            frac += length[i];
    }
    {
        tw::Transaction tx(con);
        const auto found = con.first(
            QStringLiteral("select rowid, * from  reinforcementmaster  where (tw_contract_num=?) "
                           "and (tw_bill_num=?) and (tw_narration=?) and (tw_diameter=?) And "
                           "(tw_length_qty = ?) and (tw_length_ft=?) and "
                           "(cast(tw_length_inches as real)=?)"),
            {contract, CmbBlNo->currentText(), narration, diameter, tw::leadingNumber(nos),
             tw::leadingNumber(whole), tw::leadingNumber(frac)});
        if (found)
            con.remove(QStringLiteral("reinforcementmaster"), found->value(0).toLongLong());
        tx.commit();
    }
    delete row;
    CmdRem->setEnabled(false);
}

void Frm_Reinforcement::CmdCancl_Click() {
    for (auto* f : {rtb_nrtn, TxtMtFt, TxtCmIn, TxtNos, TxtRmrks})
        f->clear();
    LstVwRnftDet->clear();
    CmbBlNo->setFocus();
}

// Saving happens line by line through CmdAdd; this button is kept on the screen and does
// nothing.
void Frm_Reinforcement::CmdSave_Click() {}

void Frm_Reinforcement::CmdExit_Click() {
    con.conclose();
    if (parentWidget())
        parentWidget()->close();
    else
        close();
}

void Frm_Reinforcement::CmbBlNo_LostFocus() {
    if (CmbBlNo->currentText().size() >= 30) {
        ui::MsgBox(tr("Maximum 30 Characters Allowed ..."), ui::Ok, tr("Bill Number"));
        CmbBlNo->lineEdit()->selectAll();
        CmbBlNo->setFocus();
    }
}

// A size typed into the list is learnt: it joins table diameter, and the drop-down offers it
// the next time the screen opens.
void Frm_Reinforcement::CmbDia_LostFocus() {
    const QString dia = CmbDia->currentText();
    if (dia == addNew)
        return;
    const QString size = dia.trimmed();
    if (!con.first(QStringLiteral("Select * from diameter where tw_diameter=?"), {size})) {
        tw::Transaction tx(con);
        con.insert(QStringLiteral("diameter"), {{QStringLiteral("tw_diameter"), size}});
        tx.commit();
    }
}

void Frm_Reinforcement::TxtCmIn_LostFocus() {
    if (TxtMtFt->text().isEmpty()) {
        ui::MsgBox(tr("Please Enter Meters/Feet..."), ui::Ok, tr("Length Meters/Feet"));
        TxtMtFt->setFocus();
        return;
    }
    if (TxtCmIn->text().isEmpty())
        TxtCmIn->setText(QStringLiteral("0"));
    if (LblMtFt->text() == QLatin1String("Ft") && tw::leadingNumber(TxtCmIn->text()) >= 12) {
        ui::MsgBox(tr("Inches Cannot be less than 12..."), ui::Ok, tr("Inches"));
        TxtCmIn->selectAll();
        TxtCmIn->setFocus();
    }
}
