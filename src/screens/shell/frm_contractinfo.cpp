#include "screens/shell/frm_contractinfo.h"

#include "ui/kit.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

frm_ContractInfo::frm_ContractInfo(QWidget* parent) : ui::Screen(parent) {
    setObjectName(QStringLiteral("frm_ContractInfo"));
    setWindowTitle(tr("  Project Information ..."));
    auto option = [this](const char* name, const QString& caption) {
        return ui::named(new QRadioButton(caption, this), name);
    };
    exopt = option("exopt", tr("Projects"));
    newopt = option("newopt", tr("Schedules Entry"));
    Option1 = option("Option1", tr("Measurements"));
    Option2 = option("Option2", tr("Rate Analysis for a Project"));
    Option3 = option("Option3", tr("Rate Analysis for Categories"));
    Option4 = option("Option4", tr("Reinforcement Entry"));
    Option5 = option("Option5", tr("Reports"));
    cmdok = ui::named(new QPushButton(tr("&Go"), this), "cmdok");
    cmdok->setDefault(true);
    cmdCancel = ui::named(new QPushButton(tr("&Cancel"), this), "cmdCancel");

    auto* name = new QLabel(tr("Tallywright"), this);
    QFont f = name->font();
    f.setPointSize(f.pointSize() + 10);
    f.setBold(true);
    name->setFont(f);
    auto* motto = new QLabel(tr("Measure it once, bill it right."), this);
    motto->setStyleSheet(QStringLiteral("font-style: italic"));

    auto* group = new QGroupBox(tr("Tally Wright"), this);
    auto* column = new QVBoxLayout(group);
    for (auto* r : options()) {
        column->addWidget(r);
        r->installEventFilter(this);
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdok);
    buttons->addWidget(cmdCancel);
    auto* box = new QVBoxLayout(this);
    box->addWidget(name);
    box->addWidget(motto);
    box->addWidget(group);
    box->addLayout(buttons);

    connect(cmdok, &QPushButton::clicked, this, ui::guarded([this] { cmdok_clicked(); }));
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_clicked(); });
    setFixedSize(sizeHint().expandedTo(QSize(360, 0)));
}

frm_ContractInfo::~frm_ContractInfo() {
    con.conclose();
}

QList<QRadioButton*> frm_ContractInfo::options() const {
    return {exopt, newopt, Option1, Option2, Option3, Option4, Option5};
}

bool frm_ContractInfo::eventFilter(QObject* watched, QEvent* event) {
    const auto* option = qobject_cast<QRadioButton*>(watched);
    if (event->type() != QEvent::KeyPress || !option)
        return ui::Screen::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        cmdok->click();
        return true;
    }
    int step = 0;
    if (key == Qt::Key_Down || key == Qt::Key_Right)
        step = 1;
    else if (key == Qt::Key_Up || key == Qt::Key_Left)
        step = -1;
    if (!step)
        return false;
    const QList<QRadioButton*> all = options();
    QRadioButton* next = all[(all.indexOf(option) + step + all.size()) % all.size()];
    next->setChecked(true);
    next->setFocus();
    return true;
}

void frm_ContractInfo::cmdok_clicked() {
    const std::pair<QRadioButton*, const char*> choices[] = {
        {exopt, "frm_proj"},           {newopt, "frm_schentry"}, {Option1, "frm_dims"},
        {Option2, "Frm_RateAnalysis"}, {Option3, "catrateanal"}, {Option4, "Frm_Reinforcement"},
        {Option5, "Frm_Reports"}};
    for (const auto& [option, screen] : choices) {
        if (option->isChecked()) {
            if (!ui::openScreen(QString::fromLatin1(screen))) {
                // The board stays, so another choice can be made.
                ui::MsgBox(tr("\"%1\" is not part of this version yet.").arg(option->text()),
                           ui::Information);
                return;
            }
            close();
            return;
        }
    }
}

void frm_ContractInfo::cmdCancel_clicked() {
    close();
}
